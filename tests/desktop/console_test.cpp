#include <gtest/gtest.h>

#include <functional>
#include <string>

#include "support/desktop.h"

namespace {

class ConsoleDesktop : public DesktopTest {
protected:
    void SetUp() override {
        DesktopTest::SetUp();
        Start({}, "window_width 800\nwindow_height 600\n");
    }
    int WaitForInk(int x0, int y0, int w, int h, const std::function<bool(int)>& ok) const {
        int dark = DarkPixels(desk_->Capture(window_), x0, y0, w, h, 150);
        for (int i = 0; i < 50 && !ok(dark); ++i) {
            SleepSeconds(0.2);
            dark = DarkPixels(desk_->Capture(window_), x0, y0, w, h, 150);
        }
        return dark;
    }
    void ExpectOrderlyExit() {
        EXPECT_EQ(vormi_->Wait(20), 0) << vormi_->output();
        EXPECT_NE(dir_.ReadFile("test/scripts/cvars.txt").find("window_width \"800\"\n"), std::string::npos);
    }
};

TEST_F(ConsoleDesktop, GraveOpensTheConsoleWhereTypedCommandsRunAndQuitSaves) {
    desk_->Key(window_, "grave");
    ASSERT_TRUE(Shows(300, 250, RGB{255, 255, 255}, "the log's background"));
    desk_->Type(window_, "clear");
    desk_->Key(window_, "Return");
    EXPECT_EQ(WaitForInk(108, 131, 484, 219, [](int n) { return n == 0; }), 0) << "cleared log";

    desk_->Type(window_, "list_cvar");
    EXPECT_GT(WaitForInk(108, 362, 400, 24, [](int n) { return n > 50; }), 50) << "typed text in the input box";
    desk_->Key(window_, "Return");
    EXPECT_GT(WaitForInk(108, 131, 484, 219, [](int n) { return n > 500; }), 500) << "the listing in the log";

    desk_->Type(window_, "quit");
    desk_->Key(window_, "Return");
    ExpectOrderlyExit();
}

TEST_F(ConsoleDesktop, MainMenuQuitButtonQuits) {
    ASSERT_TRUE(Shows(310, 400, RGB{200, 10, 10}, "the menu's quit button"));
    desk_->Click(window_, 400, 404);
    ExpectOrderlyExit();
}

}  // namespace
