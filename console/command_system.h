// The command system: lines queued with CommandGlobal() run once per frame near the end of the frame.
// A line names a built-in command; any other line goes to the host's fallback handler, or is reported
// as "Unknown command: <name>". Published as "CommandSystemV1".
#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "engine/api.h"

typedef void (*CommandFallbackFn)(const char* line);
// A command added with AddCommand gets the text after its name, leading blanks skipped, as typed.
typedef void (*CommandHandlerFn)(const char* args);

struct CommandLine {
    std::string name;  // the first word
    std::string args;  // the rest of the line, with the quoting rule applied
};

// Splits "name rest of line". The rest loses surrounding text by the quote rule: no quote keeps it as
// read, one quote empties it, two or more keep what lies between the first and the last quote.
CommandLine SplitCommandLine(const std::string& line);

class ICommandSystem {
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
    // Adds a command that runs after the built-ins and before the fallback, listed by "help" and
    // "find" and completed by Tab. A taken name (or an empty one, or a null handler) is refused with
    // one console line: false.
    virtual bool AddCommand(const std::string& name, CommandHandlerFn handler, const std::string& help) = 0;
    // Removes a command added with AddCommand; false when there is none of that name.
    virtual bool RemoveCommand(const std::string& name) = 0;
};

class CommandSystem : public ICommandSystem {
public:
    void ExecuteQueue() override;
    void ListCommands() override;
    void Execute(const char* line) override;
    void SetFallbackHandler(CommandFallbackFn handler) override;
    bool AddCommand(const std::string& name, CommandHandlerFn handler, const std::string& help) override;
    bool RemoveCommand(const std::string& name) override;

    CommandFallbackFn fallback = nullptr;
};

extern "C" {
// Queues a copy of the line; it runs at the end of the current frame.
VORMI_API void CommandGlobal(const char* line);
}

// The name of the i-th built-in command in dispatch order; null past the last.
const char* BuiltinCommandName(size_t index);

extern CommandSystem* g_commandSystem;
extern std::vector<std::string> g_commandQueue;
