#include <gtest/gtest.h>
#include <unistd.h>

#include "console/command_system.h"
#include "console/cvar.h"
#include "console/cvars.h"
#include "engine/engine.h"
#include "support/engine_fixture.h"

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

