#include <gtest/gtest.h>

#include <cstdlib>
#include <memory>
#include <string>
#include <vector>

#include "support/desktop.h"
#include "support/engine_fixture.h"

namespace {

const int kWindowWidth = 800;
const int kWindowHeight = 600;
const RGB kClearGrey = {128, 128, 128};
const RGB kGrabBarBlue = {27, 84, 229};
const RGB kCloseRed = {200, 10, 10};
const RGB kBorderDark = {64, 64, 64};

struct Place {
    int x, y;
};

// Where "test_create_form n" puts its forms: the engine never seeds the C library's generator, so it
// starts from seed 1 as this process does after srand(1).
std::vector<Place> FormPlaces(int count) {
    std::srand(1);
    std::vector<Place> places;
    for (int i = 0; i < count; ++i) {
        const int x = std::rand() % (kWindowWidth + 1);
        const int y = std::rand() % (kWindowHeight + 1);
        places.push_back(Place{x, y});
    }
    return places;
}

// Pixels of the rectangle that are clearly darker than its fill: glyphs of black text.
int DarkPixels(const Image& image, int x0, int y0, int w, int h, int maxSum) {
    int dark = 0;
    for (int y = y0; y < y0 + h; ++y) {
        for (int x = x0; x < x0 + w; ++x) {
            const RGB c = image.At(x, y);
            dark += (c.r + c.g + c.b < maxSum) ? 1 : 0;
        }
    }
    return dark;
}

// The vormi host in an 800x600 window on a private X server.
class FormsDesktop : public ::testing::Test {
protected:
    void SetUp() override {
        if (!DesktopToolsAvailable()) {
            GTEST_SKIP() << "Xvfb, xdotool or ImageMagick's import is missing";
        }
        server_.reset(new XServer());
        ASSERT_TRUE(server_->ok());
        desktop_.reset(new Desktop(server_->display()));
        dir_.WriteFile("test/scripts/cvars.txt", "window_width \"800\"\nwindow_height \"600\"\n");
    }
    void TearDown() override {
        if (process_ && process_->Running()) {
            desktop_->RequestClose(window_);
            EXPECT_EQ(process_->Wait(20.0), 0) << process_->output();
        }
        process_.reset();
        server_.reset();
    }
    void Start(const std::vector<std::string>& args) {
        process_.reset(new VormiProcess(server_->display(), dir_.path(), args));
        window_ = desktop_->FindWindow("Vormi Engine");
        ASSERT_NE(window_, 0u) << process_->output();
        int x, y, w, h;
        ASSERT_TRUE(desktop_->WindowGeometry(window_, &x, &y, &w, &h));
        ASSERT_EQ(w, kWindowWidth);
        ASSERT_EQ(h, kWindowHeight);
    }
    // Waits for the colour at (x, y); the message names the place, the wanted and the last colour.
    ::testing::AssertionResult Shows(int x, int y, RGB want, const char* what) {
        const RGB got = desktop_->WaitForPixel(window_, x, y, want);
        if (got == want) {
            return ::testing::AssertionSuccess();
        }
        return ::testing::AssertionFailure() << what << " at (" << x << ", " << y << "): expected " << ToString(want)
                                             << ", got " << ToString(got);
    }
    // Hides the menus layer (visible at start, it takes every click) and waits for the clear colour.
    void HideMenus(int freeX, int freeY) {
        desktop_->Key(window_, "Escape");
        ASSERT_TRUE(Shows(freeX, freeY, kClearGrey, "clear colour once the menus are hidden"));
    }
    // With nothing open the engine has the mouse in relative mode, where only motion counts: run into
    // the top-left corner, where SDL pins the pointer, then move by the target's coordinates.
    void PointAt(int x, int y) {
        desktop_->MouseMoveRelative(-5000, -5000);
        SleepSeconds(0.1);
        desktop_->MouseMoveRelative(x, y);
        SleepSeconds(0.15);
    }

    TempWorkDir dir_;
    std::unique_ptr<XServer> server_;
    std::unique_ptr<Desktop> desktop_;
    std::unique_ptr<VormiProcess> process_;
    unsigned long window_ = 0;
};

TEST_F(FormsDesktop, EscapeTogglesTheMenusBackdrop) {
    Start({});
    // A corner no menu reaches: translucent grey (80, 80, 80, 200) over the clear colour.
    const RGB backdrop = desktop_->WaitForPixel(window_, 20, 20, RGB{91, 91, 91});
    EXPECT_TRUE(backdrop.r == backdrop.g && backdrop.g == backdrop.b && backdrop.r >= 88 && backdrop.r <= 93)
        << "backdrop " << ToString(backdrop);
    HideMenus(20, 20);
    desktop_->Key(window_, "Escape");
    EXPECT_TRUE(Shows(20, 20, backdrop, "backdrop after the second Escape"));
}

TEST_F(FormsDesktop, CreatedFormsShowBarsCloseButtonsAndTexts) {
    Start({"--exec", "test_create_form 3"});
    const std::vector<Place> forms = FormPlaces(3);
    HideMenus(20, 20);
    const Image image = desktop_->Capture(window_);
    // The first two: the third lies over the body of the second, but none over their title bars.
    for (size_t i = 0; i < 2; ++i) {
        const Place& f = forms[i];
        SCOPED_TRACE("form " + std::to_string(i) + " at " + std::to_string(f.x) + ", " + std::to_string(f.y));
        EXPECT_EQ(ToString(image.At(f.x + 4, f.y + 3)), ToString(kGrabBarBlue));
        EXPECT_EQ(ToString(image.At(f.x + 153, f.y + 2)), ToString(kCloseRed));
        EXPECT_EQ(ToString(image.At(f.x + 199, f.y + 40)), ToString(kBorderDark)) << "right edge of the frame";
        const RGB body = {static_cast<uint8_t>(f.x % 256), static_cast<uint8_t>(f.y % 256),
                          static_cast<uint8_t>((f.x + f.y) % 256)};
        EXPECT_EQ(ToString(image.At(f.x + 100, f.y + 50)), ToString(body));
        EXPECT_GT(DarkPixels(image, f.x + 2, f.y + 2, 146, 21, 150), 20) << "the form's name on the grab bar";
        EXPECT_GT(DarkPixels(image, f.x + 152, f.y + 2, 46, 21, 100), 10) << "\"Close\" on the close button";
    }
}

TEST_F(FormsDesktop, CloseButtonRemovesItsForm) {
    Start({"--exec", "test_create_form 3"});
    const Place f = FormPlaces(3)[1];
    HideMenus(20, 20);
    ASSERT_TRUE(Shows(f.x + 4, f.y + 3, kGrabBarBlue, "grab bar before closing"));
    PointAt(f.x + 175, f.y + 12);
    desktop_->MouseDown();
    desktop_->MouseUp();
    EXPECT_TRUE(Shows(f.x + 4, f.y + 3, kClearGrey, "where the closed form's grab bar was"));
    EXPECT_TRUE(Shows(f.x + 180, f.y + 3, kClearGrey, "where its close button was"));
    const Place other = FormPlaces(3)[0];
    EXPECT_TRUE(Shows(other.x + 4, other.y + 3, kGrabBarBlue, "the other forms stay"));
}

TEST_F(FormsDesktop, DraggingTheGrabBarMovesTheFormWithTheMouse) {
    Start({"--exec", "test_create_form 3"});
    const Place f = FormPlaces(3)[1];
    HideMenus(20, 20);
    ASSERT_TRUE(Shows(f.x + 4, f.y + 3, kGrabBarBlue, "grab bar before the drag"));
    PointAt(f.x + 40, f.y + 10);
    desktop_->MouseDown();
    for (int step = 0; step < 4; ++step) {
        desktop_->MouseMoveRelative(25, 20);
        SleepSeconds(0.1);
    }
    desktop_->MouseUp();
    // Moved by the mouse's offset (100, 80), and raised over the form that covered part of it.
    EXPECT_TRUE(Shows(f.x + 100 + 4, f.y + 80 + 3, kGrabBarBlue, "grab bar after the drag"));
    EXPECT_TRUE(Shows(f.x + 100 + 153, f.y + 80 + 2, kCloseRed, "close button after the drag"));
    EXPECT_TRUE(Shows(f.x + 4, f.y + 3, kClearGrey, "where the grab bar was"));
    // A point of the dragged form's body that the third form covered before.
    const int px = f.x + 114;
    const int py = f.y + 158;
    const RGB body = {static_cast<uint8_t>(f.x % 256), static_cast<uint8_t>(f.y % 256),
                      static_cast<uint8_t>((f.x + f.y) % 256)};
    EXPECT_TRUE(Shows(px, py, body, "the dragged form in front of the one that covered it"));
}

TEST_F(FormsDesktop, DestroyCommandRemovesTheTestPanels) {
    Start({"--exec", "test_create_form 3", "--exec", "test_create_panel 2", "--exec", "test_destroy_panel"});
    HideMenus(20, 20);
    const Image image = desktop_->Capture(window_);
    for (const Place& f : FormPlaces(5)) {
        if (f.x + 4 < kWindowWidth && f.y + 3 < kWindowHeight) {
            EXPECT_EQ(ToString(image.At(f.x + 4, f.y + 3)), ToString(kClearGrey)) << "at " << f.x << ", " << f.y;
        }
    }
}

}  // namespace
