#include "console/console_comforts.h"
#include "console/console_panel.h"
#include "console/console_tools.h"
#include "engine/registry.h"
#include "input/key_binds.h"
#include "support/ui_driver.h"
#include "ui/rich_text_box.h"
#include "ui/text_box.h"

namespace {

std::vector<std::string> s_calls;
void HostCommand(const char* args) { s_calls.push_back(std::string("host:") + args); }
void HostFallback(const char* line) { s_calls.push_back(std::string("fallback:") + line); }

// The engine's cvars, a copy of test/ as the working directory and the log.
class ConsoleTools : public ::testing::Test {
protected:
    void SetUp() override { g_cvars->RegisterAll(CVarDeclarationHead()); }
    void TearDown() override { g_cvars->Clear(); }
    // Runs one line at once and returns what it printed.
    std::string RunLine(const std::string& line) {
        log_.Clear();
        g_commandSystem->Execute(line.c_str());
        return log_.text();
    }
    TempWorkDir dir_;
    LogCapture log_;
};

}  // namespace

TEST_F(ConsoleTools, AddedCommandsRunBeforeTheFallbackShowInHelpAndTakenNamesAreRefused) {
    auto* commands = static_cast<ICommandSystem*>(FindInterface("CommandSystemV1"));
    ASSERT_NE(commands, nullptr);
    commands->SetFallbackHandler(HostFallback);
    EXPECT_TRUE(commands->AddCommand("host_cmd", HostCommand, "does host things"));
    commands->Execute("  host_cmd  a \"b c\"  ");
    commands->Execute("other x");
    EXPECT_EQ(s_calls, (std::vector<std::string>{"host:a \"b c\"", "fallback:other x"}));

    const char* const refused[][2] = {
        {"host_cmd", "AddCommand: 'host_cmd' is already a command\n"},
        {"quit", "AddCommand: 'quit' is already a command\n"},
        {"help", "AddCommand: 'help' is already a command\n"},
        {"two words", "AddCommand: 'two words' needs a one-word name and a handler\n"},
    };
    for (const auto& r : refused) {
        log_.Clear();
        EXPECT_FALSE(commands->AddCommand(r[0], HostCommand, "")) << r[0];
        EXPECT_EQ(log_.text(), r[1]);
    }
    EXPECT_NE(RunLine("help").find("\nhost_cmd - does host things\n"), std::string::npos);
    EXPECT_EQ(RunLine("help host_cmd"), "host_cmd - does host things\n");
    EXPECT_EQ(RunLine("find HOST THINGS"), "host_cmd - does host things\n");
    EXPECT_EQ(RunLine("help frame_delay"),
              "frame_delay \"1\" - milliseconds to sleep after each frame, 0 to 1000\n");

    EXPECT_TRUE(commands->RemoveCommand("host_cmd"));
    EXPECT_FALSE(commands->RemoveCommand("host_cmd"));
    commands->SetFallbackHandler(nullptr);
    EXPECT_EQ(RunLine("host_cmd"), "Unknown command: host_cmd\n");
}

TEST_F(ConsoleTools, ExecRunsCvarLinesAndCommandsInOrderAndStopsAtTheNestingLimit) {
    dir_.WriteFile("test/scripts/a.cfg", "// a comment\r\nframe_delay 7\n\n  echo first\nexec \"b.cfg\"\necho last");
    dir_.WriteFile("test/scripts/b.cfg", "debug_drawoutline \"1\"\necho from b\nwindow_width\n");
    dir_.WriteFile("test/scripts/self.cfg", "echo again\nexec self.cfg\necho never\n");
    cv_window_width.SetString("800");

    EXPECT_EQ(RunLine("exec a.cfg"), "first\nfrom b\nlast\n");
    EXPECT_EQ(cv_frame_delay.intValue, 7);
    EXPECT_EQ(cv_debug_drawoutline.value, "1");
    EXPECT_EQ(cv_window_width.value, "") << "a bare name empties the variable, as typed in the console";

    std::string deep;
    for (int i = 0; i < kMaxExecDepth; ++i) deep += "again\n";
    EXPECT_EQ(RunLine("exec self.cfg"), deep + "exec: self.cfg nests deeper than 8 files; stopped\n");
    EXPECT_EQ(RunLine("exec missing.cfg"), "exec: cannot read test/scripts/missing.cfg\n");
}

TEST_F(ConsoleTools, GetToggleAndCompletion) {
    const char* const lines[][2] = {
        {"toggle debug_drawoutline", ""},
        {"get debug_drawoutline", "debug_drawoutline: \"1\"\n"},
        {"toggle renderer_type SDLRenderer GLRenderer", ""},
        {"get renderer_type", "renderer_type: \"GLRenderer\"\n"},
        {"toggle renderer_type SDLRenderer", "usage: toggle NAME [A B]\n"},
        {"get nope", "get: no variable named 'nope'\n"},
    };
    for (const auto& l : lines) EXPECT_EQ(RunLine(l[0]), l[1]) << l[0];

    const struct { const char* typed; const char* completed; std::vector<std::string> candidates; } cases[] = {
        {"hel", "help ", {}},
        {"tool_", "tool_fps ", {}},
        {"show_", "show_", {"show_console", "show_mainmenu"}},
        {"help list_c", "help list_c", {"list_cmd", "list_cvar"}},
        {"get fra", "get frame_delay ", {}},
        {"get hel", "get hel", {}},
    };
    for (const auto& c : cases) {
        std::vector<std::string> candidates;
        EXPECT_EQ(CompleteConsoleLine(c.typed, &candidates), c.completed) << c.typed;
        EXPECT_EQ(candidates, c.candidates) << c.typed;
    }
}

TEST_F(ConsoleTools, BindsAndHistoryFilesSurviveGarbage) {
    dir_.WriteFile("binds.cfg", "bind F5 \"debug_drawoutline 1\"\nbind NoSuchKey \"x\"\n\x01\x02\xff garbage\n\n"
                                "bind left_ctrl \"echo \"held\"\"\nbind F6\n");
    LoadKeyBinds("binds.cfg");
    EXPECT_EQ(log_.text(), "binds: ignored 3 lines of binds.cfg that are not binds\n");
    EXPECT_EQ(BoundLine("Left Ctrl"), "echo \"held\"");
    ASSERT_TRUE(SaveKeyBinds("saved.cfg"));
    EXPECT_EQ(dir_.ReadFile("saved.cfg"), "bind F5 \"debug_drawoutline 1\"\nbind Left_Ctrl \"echo \"held\"\"\n");

    InputSystem* in = g_inputSystem;
    in->keysPressedNoRepeat[SDL_SCANCODE_F5] = 1;
    in->wantTextInput = true;
    RunKeyBinds();
    EXPECT_EQ(cv_debug_drawoutline.intValue, 0) << "a focused text box takes the keys";
    in->wantTextInput = false;
    RunKeyBinds();
    EXPECT_EQ(cv_debug_drawoutline.intValue, 1);
    in->keysPressedNoRepeat[SDL_SCANCODE_F5] = 0;

    EXPECT_EQ(RunLine("bind Nope x"), "bind: unknown key 'Nope'\n");
    RunLine("unbind F5");
    EXPECT_EQ(RunLine("binds"), "bind Left_Ctrl \"echo \"held\"\"\n");
    ClearKeyBinds();

    std::string many;
    for (int i = 0; i < 600; ++i) many += "line " + std::to_string(i) + "\r\n";
    dir_.WriteFile("many.txt", many);
    dir_.WriteFile("binary.txt", std::string("ok\n\0\x7f", 5));
    std::vector<std::string> entries;
    EXPECT_TRUE(LoadHistoryFile("many.txt", &entries));
    ASSERT_EQ(entries.size(), kMaxSavedHistory);
    EXPECT_EQ(entries.front(), "line 100");
    EXPECT_EQ(entries.back(), "line 599");
    log_.Clear();
    EXPECT_FALSE(LoadHistoryFile("binary.txt", &entries));
    EXPECT_TRUE(entries.empty());
    EXPECT_EQ(log_.text(), "console: binary.txt is not a history file; the history starts empty\n");
}
