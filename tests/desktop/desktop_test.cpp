#include <gtest/gtest.h>

#include <cstdlib>
#include <functional>
#include <string>
#include <vector>

#include "support/desktop.h"

namespace {

const RGB kClearGrey = {128, 128, 128};
const RGB kGrabBarBlue = {27, 84, 229};
const RGB kCloseRed = {200, 10, 10};
const RGB kBorderDark = {64, 64, 64};
const char* const k800x600 = "window_width 800\nwindow_height 600\n";

struct Place {
    int x, y;
    RGB body;  // the colour the test commands give a panel there
};

// Where "test_create_form n" puts its forms in an 800x600 window: the engine never seeds the C
// library's generator, so it starts from seed 1 as this process does after srand(1).
std::vector<Place> FormPlaces(int count) {
    std::srand(1);
    std::vector<Place> places;
    for (int i = 0; i < count; ++i) {
        const int x = std::rand() % 801;
        const int y = std::rand() % 601;
        places.push_back(Place{x, y, RGB{uint8_t(x % 256), uint8_t(y % 256), uint8_t((x + y) % 256)}});
    }
    return places;
}

// The first and last column of the row that has the colour; false when none has.
bool ColourExtent(const Image& image, int y, RGB colour, int* first, int* last) {
    *first = *last = -1;
    for (int x = 0; x < image.width; ++x) {
        if (image.At(x, y) == colour) {
            *last = x;
            *first = *first < 0 ? x : *first;
        }
    }
    return *first >= 0;
}

}  // namespace

TEST_F(DesktopTest, WindowOpensAtEightyPercentEscapeTogglesTheBackdropAndCloseSavesTheSize) {
    Start({});
    int w = 0, h = 0;
    ASSERT_TRUE(Geometry(&w, &h));
    EXPECT_EQ(w, 1024);
    EXPECT_EQ(h, 576);
    // The menus' backdrop, 80,80,80 at alpha 200, over the clear colour.
    const RGB backdrop = {91, 91, 91};
    EXPECT_TRUE(Shows(20, 20, backdrop, "backdrop at start"));
    Key("Escape");
    EXPECT_TRUE(Shows(w - 5, h - 5, kClearGrey, "clear colour after the first Escape"));
    Key("Escape");
    EXPECT_TRUE(Shows(20, 20, backdrop, "backdrop after the second Escape"));
    const std::string cvars = Close();
    EXPECT_NE(cvars.find("window_height \"576\"\nwindow_width \"1024\"\n"), std::string::npos) << cvars;
}

TEST_F(DesktopTest, ResizingTheWindowRescalesTheInterface) {
    // 640x480 is the base size: with autoscale on the scale there is exactly 1. The unseeded C library
    // generator puts the first form at (19, 35) in a 640x480 window.
    Start({"--exec", "test_create_form 1"}, "window_width 640\nwindow_height 480\nviewport_autoscale 1\n");
    Key("Escape");
    const int row = 37;  // two UI units into the grab bar at scale 1
    ASSERT_TRUE(Shows(30, row, kGrabBarBlue, "grab bar"));
    int first1, last1, first2, last2;
    ASSERT_TRUE(ColourExtent(Capture(), row, kGrabBarBlue, &first1, &last1));
    EXPECT_EQ(first1, 20) << "the bevelled border takes the first column";

    X("xdotool windowsize --sync " + window_ + " 960 720 2>/dev/null");
    const int row2 = static_cast<int>(row * 1.5);
    ASSERT_TRUE(Shows(40, row2, kGrabBarBlue, "grab bar after the resize"));
    ASSERT_TRUE(ColourExtent(Capture(), row2, kGrabBarBlue, &first2, &last2));
    EXPECT_NEAR(first2, first1 * 1.5, 1.0);
    EXPECT_NEAR(last2 - first2 + 1, (last1 - first1 + 1) * 1.5, 2.0);
    const std::string cvars = Close();
    EXPECT_NE(cvars.find("window_height \"720\"\nwindow_width \"960\"\n"), std::string::npos) << cvars;
    EXPECT_NE(cvars.find("viewport_scale \"1.500000\"\n"), std::string::npos) << cvars;
}

TEST_F(DesktopTest, GraveOpensTheConsoleWhereTypedCommandsRunAndQuitSaves) {
    Start({}, k800x600);
    const auto inkIn = [&](int x0, int y0, int w, int h, const std::function<bool(int)>& ok) {
        int dark = Capture().Dark(x0, y0, w, h, 150);
        for (int i = 0; i < 50 && !ok(dark); ++i) {
            SleepSeconds(0.2);
            dark = Capture().Dark(x0, y0, w, h, 150);
        }
        return dark;
    };
    Key("grave");
    ASSERT_TRUE(Shows(300, 250, RGB{255, 255, 255}, "the log's background"));
    Type("clear");
    Key("Return");
    EXPECT_EQ(inkIn(108, 131, 484, 219, [](int n) { return n == 0; }), 0) << "cleared log";
    Type("list_cvar");
    EXPECT_GT(inkIn(108, 362, 400, 24, [](int n) { return n > 50; }), 50) << "typed text in the input box";
    Key("Return");
    EXPECT_GT(inkIn(108, 131, 484, 219, [](int n) { return n > 500; }), 500) << "the listing in the log";
    Type("quit");
    Key("Return");
    EXPECT_EQ(vormi_->Wait(20), 0) << vormi_->output();
    EXPECT_NE(dir_.ReadFile("test/scripts/cvars.txt").find("window_width \"800\"\n"), std::string::npos);
}

TEST_F(DesktopTest, MainMenuQuitButtonQuits) {
    Start({}, k800x600);
    ASSERT_TRUE(Shows(310, 400, kCloseRed, "the menu's quit button"));
    Click(400, 404);
    EXPECT_EQ(vormi_->Wait(20), 0) << vormi_->output();
}

TEST_F(DesktopTest, FormsShowTheirPartsAndAreDraggedAndClosedWithTheMouse) {
    Start({"--exec", "test_create_form 3"}, k800x600);
    Key("Escape");
    ASSERT_TRUE(Shows(20, 20, kClearGrey, "clear colour once the menus are hidden"));
    const Image image = Capture();
    const std::vector<Place> forms = FormPlaces(3);
    for (const Place& f : {forms[0], forms[1]}) {
        SCOPED_TRACE("form at " + std::to_string(f.x) + ", " + std::to_string(f.y));
        EXPECT_EQ(ToString(image.At(f.x + 4, f.y + 3)), ToString(kGrabBarBlue));
        EXPECT_EQ(ToString(image.At(f.x + 153, f.y + 2)), ToString(kCloseRed));
        EXPECT_EQ(ToString(image.At(f.x + 199, f.y + 40)), ToString(kBorderDark)) << "right edge of the frame";
        EXPECT_EQ(ToString(image.At(f.x + 100, f.y + 50)), ToString(f.body));
        EXPECT_GT(image.Dark(f.x + 2, f.y + 2, 146, 21, 150), 20) << "the form's name on the grab bar";
        EXPECT_GT(image.Dark(f.x + 152, f.y + 2, 46, 21, 100), 10) << "\"Close\" on the close button";
    }

    // The second form, partly under the third, is dragged by (100, 80) and comes to the front.
    const Place f = forms[1];
    PointAt(f.x + 40, f.y + 10);
    Button("down");
    for (int step = 0; step < 4; ++step) {
        X("xdotool mousemove_relative -- 25 20");
        SleepSeconds(0.1);
    }
    Button("up");
    EXPECT_TRUE(Shows(f.x + 104, f.y + 83, kGrabBarBlue, "grab bar after the drag"));
    EXPECT_TRUE(Shows(f.x + 253, f.y + 82, kCloseRed, "close button after the drag"));
    EXPECT_TRUE(Shows(f.x + 4, f.y + 3, kClearGrey, "where the grab bar was"));
    EXPECT_TRUE(Shows(f.x + 114, f.y + 158, f.body, "the dragged form in front of the one that covered it"));

    // Its close button removes it, uncovering the third form.
    PointAt(f.x + 275, f.y + 92);
    Button("down");
    Button("up");
    EXPECT_TRUE(Shows(f.x + 104, f.y + 83, kClearGrey, "where the closed form's grab bar was"));
    EXPECT_TRUE(Shows(f.x + 114, f.y + 158, forms[2].body, "the form it covered"));
    EXPECT_TRUE(Shows(forms[0].x + 4, forms[0].y + 3, kGrabBarBlue, "the other forms stay"));
}

TEST_F(DesktopTest, DestroyCommandRemovesTheTestPanels) {
    Start({"--exec", "test_create_form 3", "--exec", "test_create_panel 2", "--exec", "test_destroy_panel"},
          k800x600);
    Key("Escape");
    ASSERT_TRUE(Shows(20, 20, kClearGrey, "clear colour once the menus are hidden"));
    const Image image = Capture();
    for (const Place& f : FormPlaces(5)) {
        if (f.x + 4 < 800 && f.y + 3 < 600) {
            EXPECT_EQ(ToString(image.At(f.x + 4, f.y + 3)), ToString(kClearGrey)) << "at " << f.x << ", " << f.y;
        }
    }
}
