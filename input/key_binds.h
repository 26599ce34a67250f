// Key binds: a bound key runs its console line when pressed while no text box has the focus. Keys are
// named as SDL names them (a blank in a name may be written "_": Left_Ctrl). The binds are kept in
// test/scripts/binds.cfg, read at start-up and written at an orderly shutdown. The commands "bind",
// "unbind" and "binds" live in key_binds.cpp.
#pragma once

#include <string>

// Runs the lines of the keys pressed this frame; nothing while text input is on.
void RunKeyBinds();
// Replaces the binds with those of the file. A missing file binds nothing; lines that are not binds
// are skipped with one console line for the whole file.
void LoadKeyBinds(const std::string& path);
// Writes every bind to the file through a temporary and a rename; false (and one line) on failure.
bool SaveKeyBinds(const std::string& path);
void ClearKeyBinds();
// The line bound to the key of that name; "" when none.
std::string BoundLine(const std::string& keyName);

// test/scripts/binds.cfg under the working directory.
std::string KeyBindsPath();
