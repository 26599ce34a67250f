// What the console adds where the basic panel is silent: Tab completion, PageUp/PageDown over the log,
// a history kept across runs in test/scripts/con_history.txt, and the commands "clear" and "condump".
#pragma once

#include <string>
#include <vector>

class ConsolePanel;

// At most this many lines of history are kept across runs.
const size_t kMaxSavedHistory = 500;

// Tab, PageUp and PageDown while the console's input line has the focus.
void HandleConsoleKeys(ConsolePanel* console);

// The history entries the file holds, oldest first. False, with one console line and no entries, when
// the file is not a history file; a missing file is simply an empty history.
bool LoadHistoryFile(const std::string& path, std::vector<std::string>* entries);
// Gives the console the saved history, with the draft slot after it.
void LoadConsoleHistory();
// Writes the console's last entries (the draft excluded) to the history file.
void SaveConsoleHistory();
