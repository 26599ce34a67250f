// The commands that act on panels. They live with the UI because they need its panel types.
#pragma once

struct CommandLine;

void Cmd_ShowConsole(const CommandLine& line);
void Cmd_ShowMainMenu(const CommandLine& line);
void Cmd_OpenOptionsMenu(const CommandLine& line);
void Cmd_TestCreatePanel(const CommandLine& line);
void Cmd_TestCreateForm(const CommandLine& line);
void Cmd_TestDestroyPanel(const CommandLine& line);
