#include <gtest/gtest.h>

#include <cstdlib>
#include <string>
#include <vector>

#include "support/desktop.h"

namespace {

const int kWidth = 800;
const int kHeight = 600;
const RGB kClearGrey = {128, 128, 128};
const RGB kGrabBarBlue = {27, 84, 229};
const RGB kCloseRed = {200, 10, 10};
const RGB kBorderDark = {64, 64, 64};

struct Place {
    int x, y;
    RGB body;  // the colour the test commands give a panel there
};

// Where "test_create_form n" puts its forms: the engine never seeds the C library's generator, so it
// starts from seed 1 as this process does after srand(1).
std::vector<Place> FormPlaces(int count) {
    std::srand(1);
    std::vector<Place> places;
    for (int i = 0; i < count; ++i) {
        const int x = std::rand() % (kWidth + 1);
        const int y = std::rand() % (kHeight + 1);
        places.push_back(Place{x, y, RGB{uint8_t(x % 256), uint8_t(y % 256), uint8_t((x + y) % 256)}});
    }
    return places;
}

class FormsDesktop : public DesktopTest {
protected:
    void StartForms(const std::vector<std::string>& args) {
        Start(args, "window_width \"800\"\nwindow_height \"600\"\n");
        int x, y, w, h;
        ASSERT_TRUE(desk_->WindowGeometry(window_, &x, &y, &w, &h));
        ASSERT_TRUE(w == kWidth && h == kHeight) << w << "x" << h;
        desk_->Key(window_, "Escape");
        ASSERT_TRUE(Shows(20, 20, kClearGrey, "clear colour once the menus are hidden"));
    }
    // With nothing open the engine has the mouse in relative mode, where only motion counts: run into
    // the top-left corner, where SDL pins the pointer, then move by the target's coordinates.
    void PointAt(int x, int y) {
        desk_->MouseMoveRelative(-5000, -5000);
        SleepSeconds(0.1);
        desk_->MouseMoveRelative(x, y);
        SleepSeconds(0.15);
    }
};

TEST_F(FormsDesktop, EscapeTogglesTheMenusBackdrop) {
    Start({});
    const RGB backdrop = desk_->WaitForPixel(window_, 20, 20, RGB{91, 91, 91});
    EXPECT_TRUE(backdrop.r == backdrop.g && backdrop.g == backdrop.b && backdrop.r >= 88 && backdrop.r <= 93)
        << "backdrop " << ToString(backdrop);
    desk_->Key(window_, "Escape");
    EXPECT_TRUE(Shows(20, 20, kClearGrey, "clear colour after the first Escape"));
    desk_->Key(window_, "Escape");
    EXPECT_TRUE(Shows(20, 20, backdrop, "backdrop after the second Escape"));
}

TEST_F(FormsDesktop, CreatedFormsShowBarsCloseButtonsAndTexts) {
    StartForms({"--exec", "test_create_form 3"});
    const Image image = desk_->Capture(window_);
    for (const Place& f : {FormPlaces(3)[0], FormPlaces(3)[1]}) {
        SCOPED_TRACE("form at " + std::to_string(f.x) + ", " + std::to_string(f.y));
        EXPECT_EQ(ToString(image.At(f.x + 4, f.y + 3)), ToString(kGrabBarBlue));
        EXPECT_EQ(ToString(image.At(f.x + 153, f.y + 2)), ToString(kCloseRed));
        EXPECT_EQ(ToString(image.At(f.x + 199, f.y + 40)), ToString(kBorderDark)) << "right edge of the frame";
        EXPECT_EQ(ToString(image.At(f.x + 100, f.y + 50)), ToString(f.body));
        EXPECT_GT(DarkPixels(image, f.x + 2, f.y + 2, 146, 21, 150), 20) << "the form's name on the grab bar";
        EXPECT_GT(DarkPixels(image, f.x + 152, f.y + 2, 46, 21, 100), 10) << "\"Close\" on the close button";
    }
}

TEST_F(FormsDesktop, CloseButtonRemovesItsForm) {
    StartForms({"--exec", "test_create_form 3"});
    const Place f = FormPlaces(3)[1], other = FormPlaces(3)[0];
    ASSERT_TRUE(Shows(f.x + 4, f.y + 3, kGrabBarBlue, "grab bar before closing"));
    PointAt(f.x + 175, f.y + 12);
    desk_->MouseDown();
    desk_->MouseUp();
    EXPECT_TRUE(Shows(f.x + 4, f.y + 3, kClearGrey, "where the closed form's grab bar was"));
    EXPECT_TRUE(Shows(f.x + 180, f.y + 3, kClearGrey, "where its close button was"));
    EXPECT_TRUE(Shows(other.x + 4, other.y + 3, kGrabBarBlue, "the other forms stay"));
}

TEST_F(FormsDesktop, DraggingTheGrabBarMovesTheFormWithTheMouse) {
    StartForms({"--exec", "test_create_form 3"});
    const Place f = FormPlaces(3)[1];
    ASSERT_TRUE(Shows(f.x + 4, f.y + 3, kGrabBarBlue, "grab bar before the drag"));
    PointAt(f.x + 40, f.y + 10);
    desk_->MouseDown();
    for (int step = 0; step < 4; ++step) {
        desk_->MouseMoveRelative(25, 20);
        SleepSeconds(0.1);
    }
    desk_->MouseUp();
    EXPECT_TRUE(Shows(f.x + 104, f.y + 83, kGrabBarBlue, "grab bar after the drag"));
    EXPECT_TRUE(Shows(f.x + 253, f.y + 82, kCloseRed, "close button after the drag"));
    EXPECT_TRUE(Shows(f.x + 4, f.y + 3, kClearGrey, "where the grab bar was"));
    EXPECT_TRUE(Shows(f.x + 114, f.y + 158, f.body, "the dragged form in front of the one that covered it"));
}

TEST_F(FormsDesktop, DestroyCommandRemovesTheTestPanels) {
    StartForms({"--exec", "test_create_form 3", "--exec", "test_create_panel 2", "--exec", "test_destroy_panel"});
    const Image image = desk_->Capture(window_);
    for (const Place& f : FormPlaces(5)) {
        if (f.x + 4 < kWidth && f.y + 3 < kHeight) {
            EXPECT_EQ(ToString(image.At(f.x + 4, f.y + 3)), ToString(kClearGrey)) << "at " << f.x << ", " << f.y;
        }
    }
}

}  // namespace
