#include "console/panel_commands.h"

#include "console/command_system.h"

// No panel of the interface exists yet in this build: each command does what it does when its panel
// is absent, which is nothing. The UI replaces these bodies as its panels land.
void Cmd_ShowConsole(const CommandLine&) {}
void Cmd_ShowMainMenu(const CommandLine&) {}
void Cmd_OpenOptionsMenu(const CommandLine&) {}
void Cmd_TestCreatePanel(const CommandLine&) {}
void Cmd_TestCreateForm(const CommandLine&) {}
void Cmd_TestDestroyPanel(const CommandLine&) {}
