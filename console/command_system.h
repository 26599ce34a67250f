// The command system: lines queued with CommandGlobal() run once per frame near the end of the frame.
// A line names a built-in command; any other line goes to the host's fallback handler, or is reported
// as "Unknown command: <name>". Published as "CommandSystemV1".
#pragma once

#include <string>
#include <vector>

#include "engine/api.h"

typedef void (*CommandFallbackFn)(const char* line);

struct CommandLine {
    std::string name;  // the first word
    std::string args;  // the rest of the line, with the quoting rule applied
};

// Splits "name rest of line". The rest loses surrounding text by the quote rule: no quote keeps it as
// read, one quote empties it, two or more keep what lies between the first and the last quote.
VORMI_API CommandLine SplitCommandLine(const std::string& line);

class VORMI_API ICommandSystem {
public:
    virtual ~ICommandSystem() {}
    // Runs every line that was queued when the call began, then empties the queue.
    virtual void ExecuteQueue() = 0;
    // Prints the command help list.
    virtual void ListCommands() = 0;
    // Splits and dispatches one line at once.
    virtual void Execute(const char* line) = 0;
    // Lines that name no built-in command go to this handler (null: they are reported unknown).
    virtual void SetFallbackHandler(CommandFallbackFn handler) = 0;
};

class VORMI_API CommandSystem : public ICommandSystem {
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

extern VORMI_API CommandSystem* g_commandSystem;
extern VORMI_API std::vector<std::string> g_commandQueue;
