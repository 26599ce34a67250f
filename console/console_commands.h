// Commands added beside the built-ins: the engine's own tools and whatever a host adds through
// ICommandSystem::AddCommand. They run after the built-ins and before the fallback handler. This file
// also knows what every command and every engine variable does, for "help", "find" and completion.
#pragma once

#include <string>
#include <vector>

#include "console/command_system.h"

struct ConsoleCommandInfo {
    std::string name;
    std::string usage;  // the arguments, as "help" shows them ("KEY LINE"); may be empty
    std::string help;   // one line
};

// Refused with one console line (false) when the name is empty, holds a blank, is taken by a built-in
// or an added command, or the handler is null.
bool AddConsoleCommand(const std::string& name, CommandHandlerFn handler, const std::string& usage,
                       const std::string& help);
// False when no added command has that name.
bool RemoveConsoleCommand(const std::string& name);
// Runs the added command of that name with the text after the name in line; false when there is none.
bool RunAddedCommand(const std::string& name, const char* line);
// The text after the first word of a line, leading and trailing blanks dropped, up to a line break.
std::string CommandArgsAsTyped(const char* line);
// Every command, built-in and added, sorted by name.
std::vector<ConsoleCommandInfo> AllCommands();
// What an engine variable does; "" for a name the engine does not describe (a host's variable).
const char* CVarDescription(const std::string& name);

// Adds a command during static initialisation, beside the code it runs.
struct ConsoleCommandReg {
    ConsoleCommandReg(const char* name, CommandHandlerFn handler, const char* usage, const char* help) {
        AddConsoleCommand(name, handler, usage, help);
    }
};
