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
