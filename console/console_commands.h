// What "help", "find" and completion know of commands: the console's tools, registered with a
// ConsoleCommandReg (a CommandReg node and a line of help), the engine's other commands, and those a host
// adds at run time through ICommandSystem::AddCommand, which run after the registered commands and
// before the fallback handler. Also what every engine variable does.
#pragma once

#include <string>
#include <vector>

#include "console/command_system.h"

struct ConsoleCommandInfo {
    std::string name;
    std::string usage;  // the arguments, as "help" shows them ("KEY LINE"); may be empty
    std::string help;   // one line
};

// Refused with one console line (false) when the name is empty, holds a blank, is taken by a registered
// or an added command, or the handler is null.
bool AddConsoleCommand(const std::string& name, CommandHandlerFn handler, const std::string& usage,
                       const std::string& help);
// False when no added command has that name.
bool RemoveConsoleCommand(const std::string& name);
// Runs the added command of that name with the text after the name in line; false when there is none.
bool RunAddedCommand(const std::string& name, const char* line);
// The text after the first word of a line, leading and trailing blanks dropped, up to a line break.
std::string CommandArgsAsTyped(const char* line);
// Every command, registered and added, sorted by name.
std::vector<ConsoleCommandInfo> AllCommands();
// What an engine variable does; "" for a name the engine does not describe (a host's variable).
const char* CVarDescription(const std::string& name);

// A console tool: registered as every command is, with its arguments and one line for "help".
struct ConsoleCommandReg {
    ConsoleCommandReg(const char* name, CommandFn run, const char* usage, const char* help);

    CommandReg node;
    const char* usage;
    const char* help;
    ConsoleCommandReg* next;
};
