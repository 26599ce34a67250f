// The command system: lines queued with CommandGlobal() run once per frame near the end of the frame.
// A line names a registered command; any other line goes to the host's fallback handler, or is reported
// as "Unknown command: <name>". Published as "CommandSystemV1".
//
// A command is declared beside the code it runs, with a static CommandReg node:
//     static void Cmd_Fps(const CommandLine&) { ConMsg("FPS: %i\n", g_fps); }
//     static CommandReg s_fpsCommand("fps", Cmd_Fps);
#pragma once

#include <string>
#include <vector>

#include "console/tokenizer.h"
#include "engine/api.h"

typedef void (*CommandFallbackFn)(const char* line);
typedef void (*CommandFn)(const CommandLine& line);

// One registered command: a static node pushed onto the command list at static initialisation. Names
// are unique, so the order of the list decides nothing but the help listing, which goes by helpOrder.
struct CommandReg {
    CommandReg(const char* name, CommandFn run);
    // A command listed by "list_cmd": its help line, and its place in the listing (lowest first).
    CommandReg(const char* name, CommandFn run, const char* help, int helpOrder);

    const char* name;
    CommandFn run;
    const char* help;
    int helpOrder;
    CommandReg* next;
};

class ICommandSystem {
public:
    virtual ~ICommandSystem() {}
    // Runs every line that was queued when the call began, then empties the queue.
    virtual void ExecuteQueue() = 0;
    // Prints the command help list.
    virtual void ListCommands() = 0;
    // Splits and dispatches one line at once.
    virtual void Execute(const char* line) = 0;
    // Lines that name no registered command go to this handler (null: they are reported unknown).
    virtual void SetFallbackHandler(CommandFallbackFn handler) = 0;
};

class CommandSystem : public ICommandSystem {
public:
    void ExecuteQueue() override;
    void ListCommands() override;
    void Execute(const char* line) override;
    void SetFallbackHandler(CommandFallbackFn handler) override;

    CommandFallbackFn fallback = nullptr;
};

extern "C" {
// Queues a copy of the line; it runs at the end of the current frame.
VORMI_API void CommandGlobal(const char* line);
}

extern CommandSystem* g_commandSystem;
extern std::vector<std::string> g_commandQueue;
