#include "console/tokenizer.h"

#include <cerrno>
#include <cstdlib>

bool IsBlank(char c) {
    return c == ' ' || c == '\t' || c == '\n' || c == '\v' || c == '\f' || c == '\r';
}

static size_t SkipBlanks(const std::string& text, size_t at) {
    while (at < text.size() && IsBlank(text[at])) {
        ++at;
    }
    return at;
}

std::string FirstWord(const std::string& text, size_t* end) {
    const size_t begin = SkipBlanks(text, 0);
    size_t stop = begin;
    while (stop < text.size() && !IsBlank(text[stop])) {
        ++stop;
    }
    if (end) {
        *end = stop;
    }
    return text.substr(begin, stop - begin);
}

void ApplyQuoteRule(std::string* value) {
    const size_t first = value->find('"');
    if (first == std::string::npos) {
        return;
    }
    const size_t last = value->rfind('"');
    if (first == last) {
        // An unbalanced quote drops the value rather than guessing where it ends.
        value->clear();
    } else {
        *value = value->substr(first + 1, last - first - 1);
    }
}

CommandLine SplitCommandLine(const std::string& line) {
    CommandLine result;
    size_t nameEnd = 0;
    result.name = FirstWord(line, &nameEnd);
    if (result.name.empty()) {
        return result;
    }
    const size_t begin = SkipBlanks(line, nameEnd);
    const size_t stop = line.find('\n', begin);
    result.args = line.substr(begin, stop == std::string::npos ? std::string::npos : stop - begin);
    ApplyQuoteRule(&result.args);
    return result;
}

PropertyLine SplitPropertyLine(const std::string& line) {
    PropertyLine result;
    size_t keyEnd = 0;
    result.key = FirstWord(line, &keyEnd);
    result.value = line.substr(keyEnd);
    ApplyQuoteRule(&result.value);
    return result;
}

// Formatted integer extraction: blanks, an optional sign, digits; the number ends at the first
// character that cannot continue it.
static bool ReadInt(const char** cursor, int32_t* out) {
    const char* p = *cursor;
    while (IsBlank(*p)) {
        ++p;
    }
    const char* digits = (*p == '+' || *p == '-') ? p + 1 : p;
    if (*digits < '0' || *digits > '9') {
        return false;
    }
    errno = 0;
    char* end = nullptr;
    const long long n = std::strtoll(p, &end, 10);
    if (errno == ERANGE || n < INT32_MIN || n > INT32_MAX) {
        return false;
    }
    *out = static_cast<int32_t>(n);
    *cursor = end;
    return true;
}

size_t ReadInts(const std::string& text, int32_t* numbers, size_t count) {
    const char* cursor = text.c_str();
    for (size_t i = 0; i < count; ++i) {
        if (!ReadInt(&cursor, &numbers[i])) {
            return i;
        }
    }
    return count;
}
