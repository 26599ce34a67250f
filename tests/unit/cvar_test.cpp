#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdint>
#include <random>
#include <string>

#include "console/command_system.h"
#include "console/cvar.h"
#include "console/cvars.h"
#include "engine/engine.h"
#include "support/engine_fixture.h"

namespace {

// The engine's store, registered once as at start-up, and put back to the defaults after each test.
class CVarStoreTest : public ::testing::Test {
protected:
    void SetUp() override {
        if (g_cvars->vars.empty()) {
            g_cvars->RegisterAll(CVarDeclarationHead());
        }
        for (CVar* var : g_cvars->vars) {
            defaults_.push_back(var->value);
        }
    }
    void TearDown() override {
        for (size_t i = 0; i < g_cvars->vars.size() && i < defaults_.size(); ++i) {
            g_cvars->vars[i]->SetString(defaults_[i]);
        }
    }
    std::vector<std::string> defaults_;
};

int s_callbackA = 0;
int s_callbackB = 0;
CVar* s_lastA = nullptr;
CVar* s_lastB = nullptr;
void CallbackA(CVar* v) { ++s_callbackA; s_lastA = v; }
void CallbackB(CVar* v) { ++s_callbackB; s_lastB = v; }

}  // namespace

TEST(CVar, SettersKeepTextFloatAndIntegerReadingsInStep) {
    CVar var("unit_setters", "1.0", false);
    EXPECT_EQ(var.value, "1.0");
    EXPECT_FLOAT_EQ(var.floatValue, 1.0f);

    var.SetString("1.9");
    EXPECT_FLOAT_EQ(var.floatValue, 1.9f);
    EXPECT_EQ(var.intValue, 1);
    var.SetString("-2.7");
    EXPECT_EQ(var.intValue, -2);
    var.SetString("GLRenderer");
    EXPECT_EQ(var.value, "GLRenderer");
    EXPECT_EQ(var.floatValue, 0.0f);
    EXPECT_EQ(var.intValue, 0);
    var.SetString("  12abc");
    EXPECT_EQ(var.intValue, 12);
    var.SetString("");
    EXPECT_EQ(var.intValue, 0);
    // Out of range for int: saturates rather than overflowing.
    var.SetString("1e30");
    EXPECT_EQ(var.intValue, INT32_MAX);

    var.SetInt(-42);
    EXPECT_EQ(var.value, "-42");
    EXPECT_FLOAT_EQ(var.floatValue, -42.0f);

    var.SetFloat(1.0f);
    EXPECT_EQ(var.value, "1.000000");
    EXPECT_EQ(var.intValue, 1);
    var.SetFloat(-0.5f);
    EXPECT_EQ(var.value, "-0.500000");
    EXPECT_EQ(var.intValue, 0);
}

TEST(CVar, DefaultRunsNoCallbackAndASecondVariableSharesItsMastersValue) {
    s_callbackA = s_callbackB = 0;
    CVar first("unit_shared", "3", true, CallbackA);
    CVar second("unit_shared", "7", true, CallbackB);
    EXPECT_EQ(s_callbackA + s_callbackB, 0);

    CVarInterface store;
    store.RegisterAll(&second);  // second -> first -> older declarations
    EXPECT_EQ(second.master, &second);
    EXPECT_EQ(first.master, &second);
    EXPECT_EQ(store.Find("unit_shared"), &second);

    first.SetString("9");
    EXPECT_EQ(first.value, "9");
    EXPECT_EQ(second.value, "9");
    EXPECT_EQ(second.intValue, 9);
    EXPECT_EQ(s_callbackA, 1);
    EXPECT_EQ(s_lastA, &first);
    EXPECT_EQ(s_callbackB, 1);
    EXPECT_EQ(s_lastB, &second);

    // Setting the master runs only its own callback; the other copy reads the shared value.
    second.SetInt(4);
    EXPECT_EQ(s_callbackA, 1);
    EXPECT_EQ(s_callbackB, 2);
    EXPECT_EQ(second.master->value, "4");
}

TEST_F(CVarStoreTest, StoreHoldsTheFifteenVariablesInReverseDeclarationOrder) {
    LogCapture log;
    g_cvars->List();
    EXPECT_EQ(log.text(),
              "CVars:\n"
              "debug_drawoutline: \"0\"\n"
              "window_minimum_size: \"1\"\n"
              "window_height: \"0\"\n"
              "window_width: \"0\"\n"
              "tool_fps: \"0\"\n"
              "filter_textures: \"1\"\n"
              "viewport_autoscale: \"0\"\n"
              "viewport_scale_noclamp: \"0\"\n"
              "viewport_scale: \"1.0\"\n"
              "renderer_type: \"SDLRenderer\"\n"
              "render_clear: \"1\"\n"
              "render_batching: \"1\"\n"
              "frame_delay: \"1\"\n"
              "enable_screen_keyboard: \"1\"\n"
              "shader_reload: \"0\"\n");
    log.Clear();
    g_commandSystem->Execute("list_cvar");
    EXPECT_EQ(log.text().rfind("CVars:\ndebug_drawoutline", 0), 0u);
}

TEST_F(CVarStoreTest, ParseLineSetsKnownNamesOnly) {
    EXPECT_TRUE(g_cvars->ParseLine("frame_delay 5"));
    EXPECT_EQ(cv_frame_delay.intValue, 5);
    EXPECT_EQ(g_frameDelay, 5u);
    EXPECT_TRUE(g_cvars->ParseLine("frame_delay \"7\""));
    EXPECT_EQ(cv_frame_delay.intValue, 7);
    EXPECT_TRUE(g_cvars->ParseLine("frame_delay \"5"));
    EXPECT_EQ(cv_frame_delay.value, "");
    EXPECT_EQ(cv_frame_delay.intValue, 0);
    EXPECT_TRUE(g_cvars->ParseLine("frame_delay"));
    EXPECT_EQ(cv_frame_delay.value, "");

    EXPECT_FALSE(g_cvars->ParseLine("Frame_Delay 9"));
    EXPECT_FALSE(g_cvars->ParseLine("no_such_var 1"));
    EXPECT_FALSE(g_cvars->ParseLine(""));
    EXPECT_EQ(cv_frame_delay.value, "");

    // The frame delay is clamped into 0..1000 whatever the text says.
    g_cvars->ParseLine("frame_delay -5");
    EXPECT_EQ(g_frameDelay, 0u);
    g_cvars->ParseLine("frame_delay 5000");
    EXPECT_EQ(g_frameDelay, 1000u);
}

TEST_F(CVarStoreTest, FileLinesApplyInOrderAndOddLinesAreIgnored) {
    TempWorkDir dir;
    dir.WriteFile("settings.txt",
                  "frame_delay 3\n"
                  "\n"
                  "# frame_delay 9\n"
                  "unknown_name 12\n"
                  "renderer_type   GLRenderer  \n"
                  "window_width \"800\" trailing\n"
                  "tool_fps \"a \"quoted\" word\"\n"
                  "frame_delay 4\n"
                  "viewport_scale 1.5");  // last line without a newline
    g_cvars->LoadFile("settings.txt");
    EXPECT_EQ(cv_frame_delay.intValue, 4);
    EXPECT_EQ(cv_renderer_type.value, "GLRenderer  ");
    EXPECT_EQ(cv_window_width.intValue, 800);
    EXPECT_EQ(cv_tool_fps.value, "a \"quoted\" word");
    EXPECT_FLOAT_EQ(cv_viewport_scale.floatValue, 1.5f);
}

TEST_F(CVarStoreTest, CrlfFilesKeepTheCarriageReturnInUnquotedValues) {
    // A file edited on another system: quoted values (as the engine writes them) load cleanly; an
    // unquoted value keeps its "\r", which still reads as the same number but is not the same name.
    TempWorkDir dir;
    dir.WriteFile("crlf.txt", "frame_delay \"6\"\r\nrenderer_type SDLRenderer\r\nwindow_height 600\r\n");
    g_cvars->LoadFile("crlf.txt");
    EXPECT_EQ(cv_frame_delay.value, "6");
    EXPECT_EQ(cv_renderer_type.value, "SDLRenderer\r");
    EXPECT_EQ(cv_window_height.intValue, 600);
}

TEST_F(CVarStoreTest, MissingFilePrintsTheErrorLine) {
    LogCapture log;
    g_cvars->LoadFile("./no/such/file.txt");
    EXPECT_EQ(log.text(), "Error: Could not open file './no/such/file.txt'\n");
}

TEST_F(CVarStoreTest, SaveWritesSavedVariablesQuotedInStoreOrderAndLoadsBackTheSame) {
    TempWorkDir dir;
    cv_renderer_type.SetString("odd \"value\" here");
    cv_shader_reload.SetString("1");
    g_cvars->Save();
    bool exists = false;
    const std::string text = dir.ReadFile("test/scripts/cvars.txt", &exists);
    ASSERT_TRUE(exists);
    EXPECT_EQ(text,
              "debug_drawoutline \"0\"\n"
              "window_minimum_size \"1\"\n"
              "window_height \"0\"\n"
              "window_width \"0\"\n"
              "tool_fps \"0\"\n"
              "filter_textures \"1\"\n"
              "viewport_autoscale \"0\"\n"
              "viewport_scale_noclamp \"0\"\n"
              "viewport_scale \"1.0\"\n"
              "renderer_type \"odd \"value\" here\"\n"
              "render_clear \"1\"\n"
              "render_batching \"1\"\n"
              "frame_delay \"1\"\n"
              "enable_screen_keyboard \"1\"\n");
    EXPECT_EQ(access("test/scripts/cvars.txt.tmp", F_OK), -1);
    cv_renderer_type.SetString("x");
    g_cvars->LoadFile("test/scripts/cvars.txt");
    EXPECT_EQ(cv_renderer_type.value, "odd \"value\" here");
}

TEST_F(CVarStoreTest, SaveIntoAnUnwritableFolderReportsAndKeepsTheOldFile) {
    TempWorkDir dir;
    dir.WriteFile("test/scripts/cvars.txt", "frame_delay \"8\"\n");
    const std::string before = dir.ReadFile("test/scripts/cvars.txt");
    LogCapture log;
    // A folder that does not exist cannot take the new file, for root too.
    EXPECT_FALSE(g_cvars->SaveTo("./gone/cvars.txt"));
    EXPECT_EQ(log.text(), "Error: Could not open file './gone/cvars.txt'\n");
    EXPECT_EQ(dir.ReadFile("test/scripts/cvars.txt"), before);
}

TEST_F(CVarStoreTest, ArbitraryBytesNeverBreakTheSplitterOrTheStore) {
    TempWorkDir dir;
    std::mt19937 rng(12345);
    const char alphabet[] = "frame_delay renderer_type \" \t\r\n\v\f0123456789.-+eE\x7f\x80\xff";
    std::string file;
    for (int round = 0; round < 3000; ++round) {
        std::string line;
        const size_t length = rng() % 64;
        for (size_t i = 0; i < length; ++i) {
            line += (rng() % 4 == 0) ? static_cast<char>(rng() % 256) : alphabet[rng() % (sizeof(alphabet) - 1)];
        }
        const CommandLine split = SplitCommandLine(line);
        EXPECT_LE(split.name.size() + split.args.size(), line.size());
        g_cvars->ParseLine(line);
        file += line;
    }
    dir.WriteFile("random.txt", file);
    g_cvars->LoadFile("random.txt");
    EXPECT_LE(g_frameDelay, 1000u);
}

TEST_F(CVarStoreTest, TenMegabyteFileLoads) {
    TempWorkDir dir;
    std::string big;
    big.reserve(10u << 20);
    while (big.size() < (5u << 20)) {
        big += "unknown_setting some value that nobody reads\n";
    }
    big += "frame_delay " + std::string(5u << 20, '7') + "\n";  // one 5 MB line
    big += "window_width 1024\n";
    dir.WriteFile("big.txt", big);
    g_cvars->LoadFile("big.txt");
    EXPECT_EQ(cv_window_width.intValue, 1024);
    // A number too large for a float does not parse, so it reads as 0.
    EXPECT_EQ(cv_frame_delay.intValue, 0);
    EXPECT_EQ(g_frameDelay, 0u);
}
