#include "console/cvar.h"
#include "console/cvars.h"
#include "engine/console_output.h"
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
        {"testcmd ignored args", "Test command Global\n"}};
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
    for (const char* line : {"custom one", "exit", "testcmd", "custom two"}) CommandGlobal(line);
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
    for (const auto& n : names) EXPECT_EQ(common->Find(n.first), n.second) << (n.first ? n.first : "(null)");
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

namespace {

class CVarStoreTest : public ::testing::Test {
protected:
    void SetUp() override { g_cvars->RegisterAll(CVarDeclarationHead()); }
    void TearDown() override { g_cvars->Clear(); }
    TempWorkDir dir_;
};

int s_calls[2];
CVar* s_last[2];
template <int kVar>
void Count(CVar* v) {
    ++s_calls[kVar];
    s_last[kVar] = v;
}

}  // namespace

TEST(CVar, SettersKeepTextFloatAndIntegerReadingsInStep) {
    CVar var("unit_setters", "1.0", false);
    EXPECT_FLOAT_EQ(var.floatValue, 1.0f);
    const struct { const char* text; float f; int32_t i; } strings[] = {
        {"1.9", 1.9f, 1}, {"-2.7", -2.7f, -2}, {"GLRenderer", 0, 0}, {"  12abc", 12, 12}, {"", 0, 0},
        {"1e30", 1e30f, INT32_MAX}};  // out of range saturates
    for (const auto& c : strings) {
        var.SetString(c.text);
        EXPECT_EQ(var.value, c.text);
        EXPECT_FLOAT_EQ(var.floatValue, c.f) << c.text;
        EXPECT_EQ(var.intValue, c.i) << c.text;
    }
    var.SetInt(-42);
    EXPECT_EQ(var.value, "-42");
    EXPECT_FLOAT_EQ(var.floatValue, -42.0f);
    var.SetFloat(-0.5f);
    EXPECT_EQ(var.value, "-0.500000");
    EXPECT_EQ(var.intValue, 0);
}

TEST(CVar, DefaultRunsNoCallbackAndASecondVariableSharesItsMastersValue) {
    CVar first("unit_shared", "3", true, Count<0>), second("unit_shared", "7", true, Count<1>);
    EXPECT_EQ(s_calls[0] + s_calls[1], 0);
    CVarInterface store;
    store.RegisterAll(&second);  // second -> first -> older declarations
    EXPECT_EQ(first.master, &second);
    EXPECT_EQ(store.Find("unit_shared"), &second);
    first.SetString("9");
    EXPECT_EQ(first.value, "9");
    EXPECT_EQ(second.intValue, 9);
    EXPECT_EQ(s_last[0], &first) << "its own callback, then the master's";
    EXPECT_EQ(s_last[1], &second);
    second.SetInt(4);
    EXPECT_EQ(s_calls[0], 1);
    EXPECT_EQ(s_calls[1], 2);
}

TEST_F(CVarStoreTest, ListAndSaveGoInStoreOrderAndTheFileLoadsBackTheSame) {
    const char* const store[][2] = {
        {"debug_drawoutline", "0"}, {"window_minimum_size", "1"}, {"window_height", "0"}, {"window_width", "0"},
        {"tool_fps", "0"}, {"filter_textures", "1"}, {"viewport_autoscale", "0"}, {"viewport_scale_noclamp", "0"},
        {"viewport_scale", "1.0"}, {"renderer_type", "odd \"value\" here"}, {"render_clear", "1"},
        {"render_batching", "1"}, {"frame_delay", "1"}, {"enable_screen_keyboard", "1"}, {"shader_reload", "0"}};
    std::string listed = "CVars:\n", saved;
    for (const auto& v : store) {
        const std::string name = v[0], value = name == "renderer_type" ? "SDLRenderer" : v[1];
        listed += name + ": \"" + value + "\"\n";
        saved += name == "shader_reload" ? "" : name + " \"" + v[1] + "\"\n";
    }
    LogCapture log;
    g_commandSystem->Execute("list_cvar");
    EXPECT_EQ(log.text(), listed);
    cv_renderer_type.SetString("odd \"value\" here");
    cv_shader_reload.SetString("1");
    g_cvars->Save();
    EXPECT_EQ(dir_.ReadFile("test/scripts/cvars.txt"), saved);
    EXPECT_EQ(access("test/scripts/cvars.txt.tmp", F_OK), -1);
    cv_renderer_type.SetString("x");
    g_cvars->LoadFile("test/scripts/cvars.txt");
    EXPECT_EQ(cv_renderer_type.value, "odd \"value\" here");
}

TEST_F(CVarStoreTest, ParseLineSetsKnownNamesOnlyAndTheDelayIsClamped) {
    const struct { const char* line; bool known; const char* value; uint32_t delay; } cases[] = {
        {"frame_delay 5", true, "5", 5}, {"frame_delay \"7\"", true, "7", 7}, {"frame_delay \"5", true, "", 0},
        {"frame_delay 8", true, "8", 8}, {"frame_delay", true, "", 0}, {"Frame_Delay 9", false, "", 0},
        {"no_such_var 1", false, "", 0}, {"", false, "", 0}, {"frame_delay 5000", true, "5000", 1000},
        {"frame_delay -5", true, "-5", 0}};
    for (const auto& c : cases) {
        EXPECT_EQ(g_cvars->ParseLine(c.line), c.known) << c.line;
        EXPECT_EQ(cv_frame_delay.value, c.value) << c.line;
        EXPECT_EQ(g_frameDelay, c.delay) << c.line;
    }
}

TEST_F(CVarStoreTest, FileLinesApplyInOrderOddLinesAreIgnoredAndCrlfKeepsTheReturn) {
    dir_.WriteFile("settings.txt", "frame_delay 3\n\n# frame_delay 9\nunknown_name 12\nrenderer_type   GLRenderer  \n"
                                   "window_width \"800\" trailing\ntool_fps \"a \"quoted\" word\"\nframe_delay 4\n"
                                   "viewport_scale 1.5");  // last line without a newline
    g_cvars->LoadFile("settings.txt");
    EXPECT_EQ(cv_frame_delay.intValue, 4);
    EXPECT_EQ(cv_renderer_type.value, "GLRenderer  ");
    EXPECT_EQ(cv_window_width.intValue, 800);
    EXPECT_EQ(cv_tool_fps.value, "a \"quoted\" word");
    EXPECT_FLOAT_EQ(cv_viewport_scale.floatValue, 1.5f);
    // Quoted values (as the engine writes them) load cleanly from a CRLF file; an unquoted value keeps
    // its "\r", which still reads as the same number but is not the same name.
    dir_.WriteFile("crlf.txt", "frame_delay \"6\"\r\nrenderer_type SDLRenderer\r\nwindow_height 600\r\n");
    g_cvars->LoadFile("crlf.txt");
    EXPECT_EQ(cv_frame_delay.value, "6");
    EXPECT_EQ(cv_renderer_type.value, "SDLRenderer\r");
    EXPECT_EQ(cv_window_height.intValue, 600);
}

TEST_F(CVarStoreTest, UnopenableFilesPrintTheErrorLineAndKeepTheOldFile) {
    dir_.WriteFile("test/scripts/cvars.txt", "frame_delay \"8\"\n");
    LogCapture log;
    g_cvars->LoadFile("./no/such/file.txt");
    EXPECT_FALSE(g_cvars->SaveTo("./gone/cvars.txt"));
    EXPECT_EQ(log.text(),
              "Error: Could not open file './no/such/file.txt'\nError: Could not open file './gone/cvars.txt'\n");
    EXPECT_EQ(dir_.ReadFile("test/scripts/cvars.txt"), "frame_delay \"8\"\n");
}
