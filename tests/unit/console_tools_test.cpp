#include <SDL.h>
#include <gtest/gtest.h>

#include <initializer_list>
#include <string>
#include <vector>

#include "console/command_system.h"
#include "console/console_comforts.h"
#include "console/console_panel.h"
#include "console/console_tools.h"
#include "console/cvars.h"
#include "engine/console_output.h"
#include "engine/registry.h"
#include "input/input_system.h"
#include "input/key_binds.h"
#include "support/engine_fixture.h"
#include "support/ui_driver.h"
#include "ui/rich_text_box.h"
#include "ui/root_panel.h"
#include "ui/text_box.h"

namespace {

std::vector<std::string> s_calls;
void HostCommand(const char* args) { s_calls.push_back(std::string("host:") + args); }
void HostFallback(const char* line) { s_calls.push_back(std::string("fallback:") + line); }

// Runs one line at once and returns what it printed.
std::string RunLine(LogCapture& log, const std::string& line) {
    log.Clear();
    g_commandSystem->Execute(line.c_str());
    return log.text();
}

}  // namespace

TEST(ConsoleCommands, AddedCommandsRunBeforeTheFallbackShowInHelpAndTakenNamesAreRefused) {
    auto* commands = static_cast<ICommandSystem*>(FindInterface("CommandSystemV1"));
    ASSERT_NE(commands, nullptr);
    g_cvars->RegisterAll(CVarDeclarationHead());
    LogCapture log;
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
        log.Clear();
        EXPECT_FALSE(commands->AddCommand(r[0], HostCommand, "")) << r[0];
        EXPECT_EQ(log.text(), r[1]);
    }
    EXPECT_NE(RunLine(log, "help").find("\nhost_cmd - does host things\n"), std::string::npos);
    EXPECT_EQ(RunLine(log, "help host_cmd"), "host_cmd - does host things\n");
    EXPECT_EQ(RunLine(log, "find HOST THINGS"), "host_cmd - does host things\n");
    EXPECT_EQ(RunLine(log, "help frame_delay"), "frame_delay \"1\" - milliseconds to sleep after each frame, 0 to 1000\n");

    EXPECT_TRUE(commands->RemoveCommand("host_cmd"));
    EXPECT_FALSE(commands->RemoveCommand("host_cmd"));
    commands->SetFallbackHandler(nullptr);
    EXPECT_EQ(RunLine(log, "host_cmd"), "Unknown command: host_cmd\n");
    g_cvars->Clear();
}

TEST(ConsoleTools, ExecRunsCvarLinesAndCommandsInOrderAndStopsAtTheNestingLimit) {
    TempWorkDir dir;
    g_cvars->RegisterAll(CVarDeclarationHead());
    LogCapture log;
    dir.WriteFile("test/scripts/a.cfg", "// a comment\r\nframe_delay 7\n\n  echo first\nexec \"b.cfg\"\necho last");
    dir.WriteFile("test/scripts/b.cfg", "debug_drawoutline \"1\"\necho from b\nwindow_width\n");
    dir.WriteFile("test/scripts/self.cfg", "echo again\nexec self.cfg\necho never\n");
    cv_window_width.SetString("800");

    EXPECT_EQ(RunLine(log, "exec a.cfg"), "first\nfrom b\nlast\n");
    EXPECT_EQ(cv_frame_delay.intValue, 7);
    EXPECT_EQ(cv_debug_drawoutline.value, "1");
    EXPECT_EQ(cv_window_width.value, "") << "a bare name empties the variable, as typed in the console";

    std::string deep;
    for (int i = 0; i < kMaxExecDepth; ++i) {
        deep += "again\n";
    }
    EXPECT_EQ(RunLine(log, "exec self.cfg"), deep + "exec: self.cfg nests deeper than 8 files; stopped\n");
    EXPECT_EQ(RunLine(log, "exec missing.cfg"), "exec: cannot read test/scripts/missing.cfg\n");
    g_cvars->Clear();
}

TEST(ConsoleTools, GetToggleAndCompletion) {
    g_cvars->RegisterAll(CVarDeclarationHead());
    LogCapture log;
    const char* const lines[][2] = {
        {"toggle debug_drawoutline", ""},
        {"get debug_drawoutline", "debug_drawoutline: \"1\"\n"},
        {"toggle renderer_type SDLRenderer GLRenderer", ""},
        {"get renderer_type", "renderer_type: \"GLRenderer\"\n"},
        {"toggle renderer_type SDLRenderer", "usage: toggle NAME [A B]\n"},
        {"get nope", "get: no variable named 'nope'\n"},
    };
    for (const auto& l : lines) {
        EXPECT_EQ(RunLine(log, l[0]), l[1]) << l[0];
    }

    const struct {
        const char* typed;
        const char* completed;
        std::vector<std::string> candidates;
    } cases[] = {
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
    g_cvars->Clear();
}

TEST(ConsoleTools, BindsAndHistoryFilesSurviveGarbage) {
    TempWorkDir dir;
    g_cvars->RegisterAll(CVarDeclarationHead());
    LogCapture log;
    dir.WriteFile("binds.cfg", "bind F5 \"debug_drawoutline 1\"\nbind NoSuchKey \"x\"\n\x01\x02\xff garbage\n\n"
                               "bind left_ctrl \"echo \"held\"\"\nbind F6\n");
    LoadKeyBinds("binds.cfg");
    EXPECT_EQ(log.text(), "binds: ignored 3 lines of binds.cfg that are not binds\n");
    EXPECT_EQ(BoundLine("Left Ctrl"), "echo \"held\"");
    ASSERT_TRUE(SaveKeyBinds("saved.cfg"));
    EXPECT_EQ(dir.ReadFile("saved.cfg"), "bind F5 \"debug_drawoutline 1\"\nbind Left_Ctrl \"echo \"held\"\"\n");

    InputSystem* in = g_inputSystem;
    in->keysPressedNoRepeat[SDL_SCANCODE_F5] = 1;
    in->wantTextInput = true;
    RunKeyBinds();
    EXPECT_EQ(cv_debug_drawoutline.intValue, 0) << "a focused text box takes the keys";
    in->wantTextInput = false;
    RunKeyBinds();
    EXPECT_EQ(cv_debug_drawoutline.intValue, 1);
    in->keysPressedNoRepeat[SDL_SCANCODE_F5] = 0;

    EXPECT_EQ(RunLine(log, "bind Nope x"), "bind: unknown key 'Nope'\n");
    RunLine(log, "unbind F5");
    EXPECT_EQ(RunLine(log, "binds"), "bind Left_Ctrl \"echo \"held\"\"\n");
    ClearKeyBinds();

    std::string many;
    for (int i = 0; i < 600; ++i) {
        many += "line " + std::to_string(i) + "\r\n";
    }
    dir.WriteFile("many.txt", many);
    dir.WriteFile("binary.txt", std::string("ok\n\0\x7f", 5));
    std::vector<std::string> entries;
    EXPECT_TRUE(LoadHistoryFile("many.txt", &entries));
    ASSERT_EQ(entries.size(), kMaxSavedHistory);
    EXPECT_EQ(entries.front(), "line 100");
    EXPECT_EQ(entries.back(), "line 599");
    log.Clear();
    EXPECT_FALSE(LoadHistoryFile("binary.txt", &entries));
    EXPECT_TRUE(entries.empty());
    EXPECT_EQ(log.text(), "console: binary.txt is not a history file; the history starts empty\n");
    g_cvars->Clear();
}
