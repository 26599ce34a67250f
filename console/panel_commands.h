// The commands that act on panels. They live with the UI because they need its panel types.
#pragma once

#include <deque>

struct CommandLine;
class Panel;

// The panels made by "test_create_panel" and "test_create_form", not owned; a panel leaves the list
// when the tree frees it. A deque, because the tree frees them mostly in the order they were made.
extern std::deque<Panel*> g_testPanels;

void Cmd_ShowConsole(const CommandLine& line);
void Cmd_ShowMainMenu(const CommandLine& line);
void Cmd_OpenOptionsMenu(const CommandLine& line);
void Cmd_TestCreatePanel(const CommandLine& line);
void Cmd_TestCreateForm(const CommandLine& line);
void Cmd_TestDestroyPanel(const CommandLine& line);
