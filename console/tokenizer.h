// The one tokenizer of command lines, cvar lines and panel script lines: a first word, the rest of the
// line under one quote rule, and one reader of decimal integers.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

struct CommandLine {
    std::string name;  // the first word
    std::string args;  // the rest of the line, with the quoting rule applied
};

// A script property line: its key and its value.
struct PropertyLine {
    std::string key;
    std::string value;
};

// Whitespace as the classic locale has it: space, tab, newline, vertical tab, form feed, return.
bool IsBlank(char c);
// The first whitespace-separated word of the text; *end (when given) receives the index after it.
std::string FirstWord(const std::string& text, size_t* end = nullptr);
// The quote rule: no quote keeps the value as it is, one quote empties it, two or more keep what lies
// strictly between the first and the last (inner quotes included).
void ApplyQuoteRule(std::string* value);
// "name rest of line": the rest starts after the blanks that follow the name and ends at the next line
// feed; then the quote rule.
CommandLine SplitCommandLine(const std::string& line);
// "key value": the value is everything after the key, leading blanks included, then the quote rule.
PropertyLine SplitPropertyLine(const std::string& line);
// Reads up to count decimal integers (leading blanks skipped); stops at the first one that is missing,
// malformed or out of the int32 range, leaving it and every later slot as they were. Returns how many
// were read.
size_t ReadInts(const std::string& text, int32_t* numbers, size_t count);
