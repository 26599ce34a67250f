#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "console/command_system.h"
#include "engine/engine.h"
#include "support/engine_fixture.h"

TEST(SplitCommandLine, NameAndRestWithTheQuoteRules) {
    const char* const cases[][3] = {
        {"frame_delay 5", "frame_delay", "5"},
        {"a  b c", "a", "b c"},
        {"\t name   value with blanks  ", "name", "value with blanks  "},  // no quote: trailing blanks stay
        {"renderer_type \"GLRenderer\" extra", "renderer_type", "GLRenderer"},  // two: text outside dropped
        {"say x\"he said \"hi\"\" y", "say", "he said \"hi\""},  // more: first to last, inner quotes kept
        {"frame_delay \"5", "frame_delay", ""},                   // one quote drops the value
        {"cmd first line\nsecond line", "cmd", "first line"},
        {"   ", "", ""},
        {"", "", ""},
        {"only", "only", ""},
    };
    for (const auto& c : cases) {
        const CommandLine line = SplitCommandLine(c[0]);
        EXPECT_EQ(line.name, c[1]) << c[0];
        EXPECT_EQ(line.args, c[2]) << c[0];
    }
}

namespace {

std::vector<std::string> s_fallbackLines;
void RecordFallback(const char* line) {
    s_fallbackLines.push_back(line);
    CommandGlobal("testcmd");
}

class CommandTest : public ::testing::Test {
protected:
    void SetUp() override {
        g_commandQueue.clear();
        s_fallbackLines.clear();
        g_commandSystem->SetFallbackHandler(nullptr);
        g_quit = false;
    }
    void TearDown() override { g_commandSystem->SetFallbackHandler(nullptr); }
    LogCapture log;
};

}  // namespace

TEST_F(CommandTest, BuiltInsPrintExactlyTheirLinesAndNamesAreCaseSensitive) {
    g_fps = 42;
    const char* const cases[][2] = {
        {"EXIT now", "Unknown command: EXIT\n"},
        {"", "Unknown command: \n"},
        {"testcmd ignored args", "Test command Global\n"},
        {"fps", "FPS: 42\n"},
        {"list_cmd", "Commands:\nexit/quit - closes the application\nshow_mainmenu - shows the main application menu\n"
                     "open_optionsmenu - opens the options menu\n"},
    };
    for (const auto& c : cases) {
        log.Clear();
        g_commandSystem->Execute(c[0]);
        EXPECT_EQ(log.text(), c[1]) << c[0];
    }
    EXPECT_FALSE(g_quit);
}

TEST_F(CommandTest, FallbackGetsTheWholeLineAndLinesQueuedWhileTheQueueRunsAreDropped) {
    g_commandSystem->SetFallbackHandler(RecordFallback);
    g_commandSystem->Execute("  my_cmd  \"a b\"  c ");
    EXPECT_EQ(s_fallbackLines, std::vector<std::string>{"  my_cmd  \"a b\"  c "});
    g_commandQueue.clear();

    CommandGlobal("custom one");
    CommandGlobal("custom two");
    g_commandSystem->ExecuteQueue();
    g_commandSystem->ExecuteQueue();
    EXPECT_EQ(s_fallbackLines, (std::vector<std::string>{"  my_cmd  \"a b\"  c ", "custom one", "custom two"}));
    EXPECT_TRUE(g_commandQueue.empty());
    EXPECT_EQ(log.text().find("Test command Global"), std::string::npos);
}

TEST_F(CommandTest, ExitAndALaterLineInTheSameFrameBothRun) {
    g_commandSystem->SetFallbackHandler(RecordFallback);
    for (const char* quit : {"exit", "quit"}) {
        g_quit = false;
        CommandGlobal(quit);
        CommandGlobal("testcmd");
        g_commandSystem->ExecuteQueue();
        EXPECT_TRUE(g_quit) << quit;
        EXPECT_TRUE(s_fallbackLines.empty()) << "built-ins win over the fallback";
    }
    EXPECT_EQ(log.text(), "Test command Global\nTest command Global\n");
}
