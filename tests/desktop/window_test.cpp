#include <gtest/gtest.h>

#include "support/desktop.h"
#include "support/engine_fixture.h"

class DesktopTest : public ::testing::Test {
protected:
    void SetUp() override {
        ASSERT_TRUE(DesktopToolsAvailable()) << "Xvfb, xdotool or ImageMagick missing (scripts/deps.sh installs them)";
        ASSERT_TRUE(x.ok()) << "Xvfb did not start";
    }
    XServer x{1280, 720};
};

TEST_F(DesktopTest, WindowOpensAtEightyPercentIsClearedGreyAndClosesInAnOrderlyWay) {
    TempWorkDir dir;
    VormiProcess vormi(x.display(), dir.path(), {});
    Desktop desk(x.display());
    const unsigned long window = desk.FindWindow("Vormi Engine");
    ASSERT_NE(window, 0u) << vormi.output();
    int wx, wy, ww, wh;
    ASSERT_TRUE(desk.WindowGeometry(window, &wx, &wy, &ww, &wh));
    EXPECT_EQ(ww, 1024);
    EXPECT_EQ(wh, 576);

    // Escape hides the menus layer shown at start, leaving the clear colour.
    desk.Key(window, "Escape");
    const RGB grey{128, 128, 128};
    EXPECT_EQ(desk.WaitForPixel(window, ww - 5, wh - 5, grey), grey);

    ASSERT_TRUE(desk.RequestClose(window));
    EXPECT_EQ(vormi.Wait(20), 0) << vormi.output();
    bool saved = false;
    const std::string cvars = dir.ReadFile("test/scripts/cvars.txt", &saved);
    EXPECT_TRUE(saved) << vormi.output();
    EXPECT_NE(cvars.find("window_height \"576\"\nwindow_width \"1024\"\n"), std::string::npos) << cvars;
    EXPECT_NE(cvars.find("window_height \"576\"\n"), std::string::npos) << cvars;
}

namespace {

// The first and last x of a colour on one row of a capture; false when the row lacks it.
bool ColourExtent(const Image& image, int y, RGB colour, int* first, int* last) {
    *first = -1;
    *last = -1;
    for (int x = 0; x < image.width; ++x) {
        if (image.At(x, y) == colour) {
            if (*first < 0) {
                *first = x;
            }
            *last = x;
        }
    }
    return *first >= 0;
}

}  // namespace

TEST_F(DesktopTest, ResizingTheWindowRescalesTheInterface) {
    TempWorkDir dir;
    // 640x480 is the base size: with autoscale on the scale there is exactly 1.
    dir.WriteFile("test/scripts/cvars.txt", "window_width 640\nwindow_height 480\nviewport_autoscale 1\n");
    // The unseeded C library generator puts the first form at (19, 35) in a 640x480 window.
    VormiProcess vormi(x.display(), dir.path(), {"--exec", "test_create_form 1"});
    Desktop desk(x.display());
    const unsigned long window = desk.FindWindow("Vormi Engine");
    ASSERT_NE(window, 0u) << vormi.output();
    desk.Key(window, "Escape");  // hide the menus layer's backdrop
    const RGB grabBar{27, 84, 229};
    const int row = 37;  // two UI units into the grab bar at scale 1
    ASSERT_EQ(desk.WaitForPixel(window, 30, row, grabBar), grabBar) << vormi.output();
    int first1, last1;
    ASSERT_TRUE(ColourExtent(desk.Capture(window), row, grabBar, &first1, &last1));
    EXPECT_EQ(first1, 20);  // the bevelled border takes the first column

    // 960x720 fits the 640x480 base 1.5 times.
    desk.ResizeWindow(window, 960, 720);
    const int row2 = static_cast<int>(row * 1.5);
    ASSERT_EQ(desk.WaitForPixel(window, 40, row2, grabBar), grabBar) << vormi.output();
    int first2, last2;
    ASSERT_TRUE(ColourExtent(desk.Capture(window), row2, grabBar, &first2, &last2));
    EXPECT_NEAR(first2, first1 * 1.5, 1.0);
    EXPECT_NEAR(last2 - first2 + 1, (last1 - first1 + 1) * 1.5, 2.0);

    ASSERT_TRUE(desk.RequestClose(window));
    EXPECT_EQ(vormi.Wait(20), 0) << vormi.output();
    const std::string cvars = dir.ReadFile("test/scripts/cvars.txt");
    EXPECT_NE(cvars.find("window_height \"720\"\nwindow_width \"960\"\n"), std::string::npos) << cvars;
    EXPECT_NE(cvars.find("viewport_scale \"1.500000\"\n"), std::string::npos) << cvars;
}
