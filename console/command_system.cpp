#include "console/command_system.h"

#include <climits>
#include <cstdlib>

#include "console/cvar.h"
#include "engine/console_output.h"
#include "engine/engine.h"
#include "engine/registry.h"

std::vector<std::string> g_commandQueue;

// The lines being run; swapped with the queue so that neither vector reallocates in steady state.
static std::vector<std::string> s_runningQueue;

// Constant-initialised, so nodes of any translation unit can push before or after this file's statics.
static CommandReg* s_commandHead = nullptr;

CommandReg::CommandReg(const char* regName, CommandFn regRun) : CommandReg(regName, regRun, nullptr, 0) {}

CommandReg::CommandReg(const char* regName, CommandFn regRun, const char* regHelp, int regHelpOrder)
    : name(regName), run(regRun), help(regHelp), helpOrder(regHelpOrder), next(s_commandHead) {
    s_commandHead = this;
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

static CommandReg s_testCmd("testcmd", Cmd_TestCmd);
static CommandReg s_listCmd("list_cmd", Cmd_ListCmd);
static CommandReg s_listCvar("list_cvar", Cmd_ListCvar);
static CommandReg s_forceExit("force_exit", Cmd_ForceExit);
static CommandReg s_exit("exit", Cmd_Quit, "exit/quit - closes the application", 10);
static CommandReg s_quit("quit", Cmd_Quit);
static CommandReg s_fps("fps", Cmd_Fps);

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
    ConMsg("Commands:\n");
    // Help lines in ascending helpOrder: a few nodes, walked once per line, with nothing to allocate.
    int printed = INT_MIN;
    for (;;) {
        const CommandReg* nextLine = nullptr;
        for (const CommandReg* node = s_commandHead; node; node = node->next) {
            if (node->help && node->helpOrder > printed && (!nextLine || node->helpOrder < nextLine->helpOrder)) {
                nextLine = node;
            }
        }
        if (!nextLine) {
            return;
        }
        ConMsg("%s\n", nextLine->help);
        printed = nextLine->helpOrder;
    }
}

void CommandSystem::Execute(const char* line) {
    if (!line) {
        line = "";
    }
    const CommandLine parsed = SplitCommandLine(line);
    for (const CommandReg* node = s_commandHead; node; node = node->next) {
        if (parsed.name == node->name) {
            node->run(parsed);
            return;
        }
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

extern "C" VORMI_API void CommandGlobal(const char* line) {
    g_commandQueue.emplace_back(line ? line : "");
}

static CommandSystem s_commandSystem;
CommandSystem* g_commandSystem = &s_commandSystem;
EXPOSE_INTERFACE(s_commandSystem, "CommandSystemV1");
