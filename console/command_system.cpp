#include "console/command_system.h"

#include <cstdlib>
#include <cstring>
#include <locale>
#include <sstream>

#include "console/console_commands.h"
#include "console/cvar.h"
#include "console/panel_commands.h"
#include "engine/console_output.h"
#include "engine/engine.h"
#include "engine/registry.h"

std::vector<std::string> g_commandQueue;

// The lines being run; swapped with the queue so that neither vector reallocates in steady state.
static std::vector<std::string> s_runningQueue;

CommandLine SplitCommandLine(const std::string& line) {
    CommandLine result;
    std::istringstream in(line);
    in.imbue(std::locale::classic());
    if (!(in >> result.name)) {
        result.name.clear();
        return result;
    }
    in >> std::ws;
    std::getline(in, result.args);

    const size_t first = result.args.find('"');
    if (first == std::string::npos) {
        return result;
    }
    const size_t last = result.args.rfind('"');
    if (first == last) {
        // An unbalanced quote drops the value rather than guessing where it ends.
        result.args.clear();
    } else {
        result.args = result.args.substr(first + 1, last - first - 1);
    }
    return result;
}

static void Cmd_TestCmd(const CommandLine&) {
    ConMsg("Test command Global\n");
}

static void Cmd_ListCmd(const CommandLine&) {
    g_commandSystem->ListCommands();
}

static void Cmd_ListCvar(const CommandLine&) {
    g_cvars->List();
}

static void Cmd_ForceExit(const CommandLine&) {
    std::exit(0);
}

static void Cmd_Quit(const CommandLine&) {
    g_quit = true;
}

static void Cmd_Fps(const CommandLine&) {
    ConMsg("FPS: %i\n", g_fps);
}

struct BuiltinCommand {
    const char* name;
    void (*run)(const CommandLine& line);
};

// Compared in this order; the first exact match runs.
static const BuiltinCommand kBuiltinCommands[] = {
    {"testcmd", Cmd_TestCmd},
    {"list_cmd", Cmd_ListCmd},
    {"list_cvar", Cmd_ListCvar},
    {"force_exit", Cmd_ForceExit},
    {"exit", Cmd_Quit},
    {"quit", Cmd_Quit},
    {"show_console", Cmd_ShowConsole},
    {"show_mainmenu", Cmd_ShowMainMenu},
    {"open_optionsmenu", Cmd_OpenOptionsMenu},
    {"test_create_panel", Cmd_TestCreatePanel},
    {"test_create_form", Cmd_TestCreateForm},
    {"test_destroy_panel", Cmd_TestDestroyPanel},
    {"fps", Cmd_Fps},
};

void CommandSystem::ExecuteQueue() {
    // A command that runs the queue itself must not swap the lines being walked.
    static bool s_running = false;
    if (s_running) {
        return;
    }
    s_running = true;
    s_runningQueue.swap(g_commandQueue);
    for (const std::string& line : s_runningQueue) {
        Execute(line.c_str());
    }
    s_runningQueue.clear();
    // Lines queued by the commands just run are dropped: each frame runs only what it started with.
    g_commandQueue.clear();
    s_running = false;
}

void CommandSystem::ListCommands() {
    static const char* const kHelp[] = {
        "exit/quit - closes the application",
        "show_mainmenu - shows the main application menu",
        "open_optionsmenu - opens the options menu",
    };
    ConMsg("Commands:\n");
    for (const char* text : kHelp) {
        ConMsg("%s\n", text);
    }
}

void CommandSystem::Execute(const char* line) {
    if (!line) {
        line = "";
    }
    const CommandLine parsed = SplitCommandLine(line);
    for (const BuiltinCommand& command : kBuiltinCommands) {
        if (parsed.name == command.name) {
            command.run(parsed);
            return;
        }
    }
    if (RunAddedCommand(parsed.name, line)) {
        return;
    }
    if (fallback) {
        fallback(line);
        return;
    }
    ConMsg("Unknown command: %s\n", parsed.name.c_str());
}

void CommandSystem::SetFallbackHandler(CommandFallbackFn handler) {
    fallback = handler;
}

bool CommandSystem::AddCommand(const std::string& name, CommandHandlerFn handler, const std::string& help) {
    return AddConsoleCommand(name, handler, "", help);
}

bool CommandSystem::RemoveCommand(const std::string& name) {
    return RemoveConsoleCommand(name);
}

const char* BuiltinCommandName(size_t index) {
    return index < sizeof(kBuiltinCommands) / sizeof(kBuiltinCommands[0]) ? kBuiltinCommands[index].name : nullptr;
}

extern "C" VORMI_API void CommandGlobal(const char* line) {
    g_commandQueue.emplace_back(line ? line : "");
}

static CommandSystem s_commandSystem;
CommandSystem* g_commandSystem = &s_commandSystem;
EXPOSE_INTERFACE(s_commandSystem, "CommandSystemV1");
