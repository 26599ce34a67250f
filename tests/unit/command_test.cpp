#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "console/command_system.h"
#include "console/cvar.h"
#include "engine/console_output.h"
#include "engine/engine.h"
#include "support/engine_fixture.h"

TEST(SplitCommandLine, NameAndRestWithTheQuoteRules) {
    CommandLine l = SplitCommandLine("frame_delay 5");
    EXPECT_EQ(l.name, "frame_delay");
    EXPECT_EQ(l.args, "5");

    l = SplitCommandLine("a  b c");
    EXPECT_EQ(l.name, "a");
    EXPECT_EQ(l.args, "b c");

    // Trailing blanks stay when there is no quote.
    l = SplitCommandLine("\t name   value with blanks  ");
    EXPECT_EQ(l.name, "name");
    EXPECT_EQ(l.args, "value with blanks  ");

    // Two quotes: what lies between them; text outside is dropped.
    l = SplitCommandLine("renderer_type \"GLRenderer\" extra");
    EXPECT_EQ(l.args, "GLRenderer");

    // More quotes: first to last, inner quotes kept.
    l = SplitCommandLine("say x\"he said \"hi\"\" y");
    EXPECT_EQ(l.args, "he said \"hi\"");

    // One quote drops the value.
    l = SplitCommandLine("frame_delay \"5");
    EXPECT_EQ(l.name, "frame_delay");
    EXPECT_EQ(l.args, "");

    // The rest ends at the first newline.
    l = SplitCommandLine("cmd first line\nsecond line");
    EXPECT_EQ(l.args, "first line");

    l = SplitCommandLine("   ");
    EXPECT_EQ(l.name, "");
    EXPECT_EQ(l.args, "");
    l = SplitCommandLine("");
    EXPECT_EQ(l.name, "");
    l = SplitCommandLine("only");
    EXPECT_EQ(l.name, "only");
    EXPECT_EQ(l.args, "");
}

class CommandTest : public ::testing::Test {
protected:
    void SetUp() override {
        g_commandQueue.clear();
        g_commandSystem->SetFallbackHandler(nullptr);
        g_quit = false;
        log.Clear();
    }
    void TearDown() override {
        g_commandSystem->SetFallbackHandler(nullptr);
        g_quit = false;
    }
    LogCapture log;
};

TEST_F(CommandTest, NamesAreCaseSensitiveAndUnknownOnesReportTheFirstWord) {
    g_commandSystem->Execute("EXIT now");
    EXPECT_FALSE(g_quit);
    EXPECT_EQ(log.text(), "Unknown command: EXIT\n");
    log.Clear();
    g_commandSystem->Execute("");
    EXPECT_EQ(log.text(), "Unknown command: \n");
    log.Clear();
    g_commandSystem->Execute("testcmd ignored args");
    EXPECT_EQ(log.text(), "Test command Global\n");
}

static std::vector<std::string> s_fallbackLines;
static void RecordFallback(const char* line) {
    s_fallbackLines.push_back(line);
    // A handler that queues work while the queue runs: that line must never run.
    CommandGlobal("testcmd");
}

TEST_F(CommandTest, FallbackGetsTheWholeLineUnsplit) {
    s_fallbackLines.clear();
    g_commandSystem->SetFallbackHandler(RecordFallback);
    g_commandSystem->Execute("  my_cmd  \"a b\"  c ");
    ASSERT_EQ(s_fallbackLines.size(), 1u);
    EXPECT_EQ(s_fallbackLines[0], "  my_cmd  \"a b\"  c ");
    // Built-ins still win over the fallback.
    g_commandSystem->Execute("exit");
    EXPECT_TRUE(g_quit);
    EXPECT_EQ(s_fallbackLines.size(), 1u);
}

TEST_F(CommandTest, LinesQueuedWhileTheQueueRunsAreDropped) {
    s_fallbackLines.clear();
    g_commandSystem->SetFallbackHandler(RecordFallback);
    CommandGlobal("custom one");
    CommandGlobal("custom two");
    g_commandSystem->ExecuteQueue();
    EXPECT_EQ(s_fallbackLines, (std::vector<std::string>{"custom one", "custom two"}));
    EXPECT_TRUE(g_commandQueue.empty());
    EXPECT_EQ(log.text().find("Test command Global"), std::string::npos);
    // The next frame starts with an empty queue.
    g_commandSystem->ExecuteQueue();
    EXPECT_EQ(s_fallbackLines.size(), 2u);
}

TEST_F(CommandTest, ExitAndALaterLineInTheSameFrameBothRun) {
    CommandGlobal("exit");
    CommandGlobal("testcmd");
    g_commandSystem->ExecuteQueue();
    EXPECT_TRUE(g_quit);
    EXPECT_EQ(log.text(), "Test command Global\n");
    g_quit = false;
    CommandGlobal("quit");
    g_commandSystem->ExecuteQueue();
    EXPECT_TRUE(g_quit);
}

TEST_F(CommandTest, ListCmdPrintsExactlyItsFourLines) {
    g_commandSystem->Execute("list_cmd");
    EXPECT_EQ(log.text(),
              "Commands:\n"
              "exit/quit - closes the application\n"
              "show_mainmenu - shows the main application menu\n"
              "open_optionsmenu - opens the options menu\n");
}

TEST_F(CommandTest, FpsPrintsTheLastSample) {
    g_fps = 42;
    g_commandSystem->Execute("fps");
    EXPECT_EQ(log.text(), "FPS: 42\n");
}

TEST_F(CommandTest, ForceExitEndsTheProcessAtOnceWithStatusZero) {
    EXPECT_EXIT(g_commandSystem->Execute("force_exit"), ::testing::ExitedWithCode(0), "");
}
