#include <gtest/gtest.h>

#include "console/command_system.h"
#include "console/cvar.h"
#include "engine/console_output.h"
#include "engine/engine.h"
#include "engine/engine_common.h"
#include "input/input_system.h"
#include "resources/file_system.h"
#include "resources/font_system.h"
#include "resources/model_mgr.h"
#include "resources/texture_mgr.h"
#include "support/engine_fixture.h"

TEST(Tokenizer, CommandLinesSplitIntoNameAndRestWithTheQuoteRule) {
    const char* const cases[][3] = {
        {"frame_delay 5", "frame_delay", "5"}, {"a  b c", "a", "b c"}, {"   ", "", ""}, {"only", "only", ""},
        {"\t name   value with blanks  ", "name", "value with blanks  "},          // no quote: trailing blanks stay
        {"renderer_type \"GLRenderer\" extra", "renderer_type", "GLRenderer"},  // two: text outside dropped
        {"say x\"he said \"hi\"\" y", "say", "he said \"hi\""},  // more: first to last, inner quotes kept
        {"frame_delay \"5", "frame_delay", ""},                   // one quote drops the value
        {"cmd first line\nsecond line", "cmd", "first line"}, {"cmd\n\n  next", "cmd", "next"}};
    for (const auto& c : cases) {
        const CommandLine line = SplitCommandLine(c[0]);
        EXPECT_EQ(line.name, c[1]) << c[0];
        EXPECT_EQ(line.args, c[2]) << c[0];
    }
}

TEST(Tokenizer, NumbersStopAtTheFirstMissingMalformedOrOutOfRangeOne) {
    const struct { const char* text; size_t read; int32_t first, second; } cases[] = {
        {" 12\t-3 9", 2, 12, -3}, {"+7x 8", 1, 7, 99}, {"5.5 6", 1, 5, 99}, {"abc 3", 0, 99, 99}, {"- 3", 0, 99, 99},
        {"", 0, 99, 99}, {"99999999999 1", 0, 99, 99}, {"-2147483648 2147483647", 2, INT32_MIN, INT32_MAX}};
    for (const auto& c : cases) {
        int32_t numbers[2] = {99, 99};
        EXPECT_EQ(ReadInts(c.text, numbers, 2), c.read) << c.text;
        EXPECT_EQ(numbers[0], c.first) << c.text;
        EXPECT_EQ(numbers[1], c.second) << c.text;
    }
}

static std::vector<std::string> s_fallbackLines;
static void RecordFallback(const char* line) {
    s_fallbackLines.push_back(line);
    CommandGlobal("testcmd");
}

class CommandTest : public ::testing::Test {
protected:
    void SetUp() override {
        g_commandQueue.clear();
        g_quit = false;
    }
    void TearDown() override { g_commandSystem->SetFallbackHandler(nullptr); }
    LogCapture log;
};

TEST_F(CommandTest, CommandsPrintExactlyTheirLinesAndNamesAreCaseSensitive) {
    g_fps = 42;
    const char* const cases[][2] = {
        {"EXIT now", "Unknown command: EXIT\n"}, {"", "Unknown command: \n"}, {"fps", "FPS: 42\n"},
        {"testcmd ignored args", "Test command Global\n"},
        {"list_cmd", "Commands:\nexit/quit - closes the application\nshow_mainmenu - shows the main application menu\n"
                     "open_optionsmenu - opens the options menu\n"}};
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
    g_commandQueue.clear();
    for (const char* line : {"custom one", "exit", "testcmd", "custom two"}) {
        CommandGlobal(line);
    }
    g_commandSystem->ExecuteQueue();
    g_commandSystem->ExecuteQueue();
    EXPECT_EQ(s_fallbackLines, (std::vector<std::string>{"  my_cmd  \"a b\"  c ", "custom one", "custom two"}));
    EXPECT_TRUE(g_commandQueue.empty());
    EXPECT_TRUE(g_quit) << "\"exit\" and the lines after it in the same frame all run";
    EXPECT_EQ(log.text(), "Test command Global\n") << "only the queued testcmd, not those the fallback queued";
}

TEST(Registry, FindsEveryStaticSubsystemByItsExactVersionNameAndNothingElse) {
    IEngineCommon* common = GetEngineCommonInterface();
    ASSERT_NE(common, nullptr);
    const std::pair<const char*, void*> names[] = {
        {"CommandSystemV1", static_cast<ICommandSystem*>(g_commandSystem)}, {"FilesystemV1", g_fileSystem},
        {"CVarV1", static_cast<ICVarInterface*>(g_cvars)}, {"FontSystemV1", g_fontSystem}, {"ModelMgrV1", g_modelMgr},
        {"InputSystemV1", static_cast<IInputSystem*>(g_inputSystem)}, {"TextureMgrV1", g_textureMgr},
        {"CVarV2", nullptr}, {"cvarV1", nullptr}, {"CVARV1", nullptr}, {"CVar", nullptr}, {"CVarV1 ", nullptr},
        {"", nullptr}, {"RendererV1", nullptr}, {nullptr, nullptr}};
    for (const auto& n : names) {
        EXPECT_EQ(common->Find(n.first), n.second) << (n.first ? n.first : "(null)");
    }
}

TEST(ConsoleOutput, TextIsKeptAsGivenUpTo4095BytesInLogAndConsoleText) {
    LogCapture log;
    g_consoleText.clear();
    ConMsg("%s", std::string(5000, 'x').c_str());
    EXPECT_EQ(g_consoleText, std::string(4095, 'x'));
    EXPECT_EQ(log.text(), std::string(4095, 'x') + "\n");
    log.Clear();
    g_consoleText.clear();
    ConMsg("%s", "100%d %s %n done\n");
    ConMsg("second %d", 2);
    EXPECT_EQ(log.text(), "100%d %s %n done\nsecond 2\n");
    EXPECT_EQ(g_consoleText, "100%d %s %n done\nsecond 2") << "no newline added";
}
