// The console as a tool: the grammar shared by script files, key binds and the host ("name value" sets
// a variable, anything else runs as a command), script files under test/scripts/, and name completion.
// The commands "help", "find", "get", "toggle", "echo" and "exec" live in console_tools.cpp.
#pragma once

#include <string>
#include <vector>

// Where scripts, binds and the history live, relative to the working directory.
extern const char* const kScriptFolder;

// Sets the variable a "name value" line names; anything else runs as a command at once.
void RunConsoleLine(const std::string& line);
// Runs the lines of test/scripts/<file> in order: blank lines and "//" comments skipped. A file that
// cannot be opened, or a nesting deeper than kMaxExecDepth, prints one line and runs nothing more.
// False when the file could not be run to its end.
bool ExecScript(const std::string& file);
const int kMaxExecDepth = 8;
// Runs test/scripts/autoexec.cfg when it exists.
void RunAutoexec();

// Completes the word at the end of a console line: the first word from command and variable names,
// the second word of "help", "get" and "toggle" from the names those take. One match gives the whole
// name and a blank; several give their longest common prefix and fill candidates (sorted); none leaves
// the line as it is.
std::string CompleteConsoleLine(const std::string& line, std::vector<std::string>* candidates);

// The lines of a text, without their "\n" or "\r\n"; a last line without a break counts too.
std::vector<std::string> SplitLines(const std::string& text);
// True when every byte is printable ASCII or a tab: what the console's input line can hold.
bool IsTypedText(const std::string& text);
// True when the file can be opened for reading.
bool FileExists(const std::string& path);
// Writes the file through a temporary beside it and a rename, so a failure leaves the old one intact.
bool WriteFileAtomically(const std::string& path, const std::string& contents);
// The whole file, at most maxBytes; false when it cannot be read or is larger.
bool ReadSmallFile(const std::string& path, size_t maxBytes, std::string* contents);
