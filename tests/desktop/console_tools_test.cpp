#include "support/desktop.h"

namespace {

class ConsoleToolsDesktop : public DesktopTest {
protected:
    void StartLogged(const std::string& log, std::vector<std::string> args = {}) {
        log_ = log;
        args.insert(args.end(), {"--log", dir_.path() + "/" + log});
        Start(args, "window_width 800\nwindow_height 600\n");
    }
    ::testing::AssertionResult Logged(const std::string& text) const {
        std::string log;
        if (WaitUntil(10, [&] { return (log = dir_.ReadFile(log_)).find(text) != std::string::npos; })) {
            return ::testing::AssertionSuccess();
        }
        return ::testing::AssertionFailure() << "no \"" << text << "\" in the log:\n" << log;
    }
    void Enter(const std::string& line) {
        Type(line);
        Key("Return");
    }
    // The console log's area of the window, settled.
    std::vector<int> LogArea() const {
        SleepSeconds(0.3);
        const Frame image = Capture();
        std::vector<int> pixels;
        for (int y = 131; y < 350; y += 2) {
            for (int x = 108; x < 590; x += 2) {
                const Color c = image.At(x, y);
                pixels.push_back(c.r << 16 | c.g << 8 | c.b);
            }
        }
        return pixels;
    }

    std::string log_;
};

// One session typed with real keys, then a second start that finds the history of the first. --exec
// takes the console's grammar, except that a bare name prints the variable.
TEST_F(ConsoleToolsDesktop, CompletionScriptsBindsScreenshotsPagingAndHistoryAcrossRuns) {
    dir_.WriteFile("test/scripts/autoexec.cfg", "echo autoexec ran\n");
    dir_.WriteFile("test/scripts/t.cfg", "// sets a variable, then runs a command\nframe_delay 7\necho exec ran\n");
    StartLogged("first.log", {"--exec", "frame_delay 4", "--exec", "frame_delay"});
    EXPECT_TRUE(Logged("Entering main loop"));
    const std::string startLog = dir_.ReadFile("first.log");
    EXPECT_LT(startLog.find("autoexec ran"), startLog.find("Entering main loop")) << startLog;
    EXPECT_NE(startLog.find("frame_delay: \"4\""), std::string::npos) << startLog;
    EXPECT_EQ(startLog.find("] SDL loaded\n"), 24u) << "a [YYYY-MM-DD hh:mm:ss.mmm] stamp on every line: " << startLog;

    Key("grave");
    ASSERT_TRUE(Shows(300, 250, kWhite, "the log's background"));
    Type("hel");
    Key("Tab Return");
    EXPECT_TRUE(Logged("help [NAME] - lists every command"));
    EXPECT_TRUE(Logged("tool_fps \"0\" - shows the FPS readout"));
    const std::vector<int> lastPage = LogArea();
    Key("Prior");
    EXPECT_NE(LogArea(), lastPage) << "PageUp shows earlier lines";

    Type("tool_");
    Key("Tab");
    Enter("1");
    Enter("get tool_fps");
    EXPECT_TRUE(Logged("tool_fps: \"1\""));
    Enter("exec t.cfg");
    EXPECT_TRUE(Logged("exec ran"));

    Enter("bind F5 \"screenshot f5.png\"");
    Key("grave");
    ASSERT_TRUE(Shows(20, 580, Color{91, 91, 91, 255}, "the menus' backdrop with the console closed"));
    Key("F5");
    ASSERT_TRUE(Logged("screenshot: saved f5.png"));
    const Frame screen = Capture();
    const Frame shot = ReadImage(dir_.path() + "/f5.png");
    EXPECT_EQ(shot.width, screen.width);
    EXPECT_EQ(shot.pixels.size(), screen.pixels.size());
    const std::vector<std::pair<int, int>> points = {{5, 5}, {300, 250}, {310, 400}, {400, 300}, {790, 590}};
    for (const auto& [x, y] : points) EXPECT_TRUE(SameColor(shot.At(x, y), screen.At(x, y))) << "at " << x << "," << y;

    Key("grave");
    Enter("echo from history");
    Enter("quit");
    EXPECT_EQ(vormi_->Wait(20), 0) << vormi_->output();
    EXPECT_NE(dir_.ReadFile("test/scripts/cvars.txt").find("frame_delay \"7\"\n"), std::string::npos);
    EXPECT_EQ(dir_.ReadFile("test/scripts/binds.cfg"), "bind F5 \"screenshot f5.png\"\n") << "binds are saved at exit";

    StartLogged("second.log");
    Key("grave");
    ASSERT_TRUE(Shows(300, 250, kWhite, "the log's background"));
    Key("Up Up Return");
    EXPECT_TRUE(Logged("from history")) << "the line typed in the first run, walked to with Up";
}

}  // namespace
