#include "console/console_tools.h"

#include <algorithm>
#include <cctype>
#include <cstdio>

#include "console/command_system.h"
#include "console/console_commands.h"
#include "console/cvar.h"
#include "engine/console_output.h"

const char* const kScriptFolder = "test/scripts/";

// Scripts are typed by people; anything this large is not one.
static const size_t kMaxScriptBytes = 4u << 20;

namespace {

int s_execDepth = 0;
// Set when a nesting went too deep: every enclosing file stops too, so a file that runs itself
// prints one line instead of one per level.
bool s_execAborted = false;

std::vector<std::string> Words(const std::string& text) {
    std::vector<std::string> words;
    size_t pos = text.find_first_not_of(" \t");
    while (pos != std::string::npos) {
        const size_t end = text.find_first_of(" \t", pos);
        words.push_back(text.substr(pos, end - pos));
        pos = end == std::string::npos ? end : text.find_first_not_of(" \t", end);
    }
    return words;
}

std::string Lower(std::string text) {
    std::transform(text.begin(), text.end(), text.begin(), [](unsigned char c) { return std::tolower(c); });
    return text;
}

std::vector<CVar*> SortedCVars() {
    std::vector<CVar*> vars = g_cvars->vars;
    std::sort(vars.begin(), vars.end(), [](const CVar* a, const CVar* b) { return a->name < b->name; });
    return vars;
}

void PrintCommand(const ConsoleCommandInfo& c) {
    ConMsg("%s%s%s - %s\n", c.name.c_str(), c.usage.empty() ? "" : " ", c.usage.c_str(), c.help.c_str());
}

void PrintCVar(const CVar* var) {
    const char* what = CVarDescription(var->name);
    ConMsg("%s \"%s\"%s%s\n", var->name.c_str(), var->master->value.c_str(), *what ? " - " : "", what);
}

void Cmd_Help(const CommandLine& line) {
    const std::string name = FirstWord(line.args);
    const std::vector<ConsoleCommandInfo> commands = AllCommands();
    if (name.empty()) {
        ConMsg("Commands:\n");
        for (const ConsoleCommandInfo& c : commands) {
            PrintCommand(c);
        }
        ConMsg("CVars:\n");
        for (const CVar* var : SortedCVars()) {
            PrintCVar(var);
        }
        return;
    }
    bool found = false;
    for (const ConsoleCommandInfo& c : commands) {
        if (c.name == name) {
            PrintCommand(c);
            found = true;
        }
    }
    if (const CVar* var = g_cvars->Find(name)) {
        PrintCVar(var);
        found = true;
    }
    if (!found) {
        ConMsg("help: no command or variable named '%s'\n", name.c_str());
    }
}

void Cmd_Find(const CommandLine& line) {
    const std::string text = Lower(line.args);
    if (text.empty()) {
        ConMsg("usage: find TEXT\n");
        return;
    }
    bool found = false;
    for (const ConsoleCommandInfo& c : AllCommands()) {
        if (Lower(c.name + " " + c.help).find(text) != std::string::npos) {
            PrintCommand(c);
            found = true;
        }
    }
    for (const CVar* var : SortedCVars()) {
        if (Lower(var->name + " " + CVarDescription(var->name)).find(text) != std::string::npos) {
            PrintCVar(var);
            found = true;
        }
    }
    if (!found) {
        ConMsg("find: nothing matches '%s'\n", line.args.c_str());
    }
}

CVar* FindNamedCVar(const char* command, const std::string& name) {
    CVar* var = g_cvars->Find(name);
    if (!var) {
        ConMsg("%s: no variable named '%s'\n", command, name.c_str());
    }
    return var;
}

void Cmd_Get(const CommandLine& line) {
    const std::string name = FirstWord(line.args);
    if (name.empty()) {
        ConMsg("usage: get NAME\n");
        return;
    }
    if (const CVar* var = FindNamedCVar("get", name)) {
        ConMsg("%s: \"%s\"\n", var->name.c_str(), var->master->value.c_str());
    }
}

void Cmd_Toggle(const CommandLine& line) {
    const std::vector<std::string> words = Words(line.args);
    if (words.size() != 1 && words.size() != 3) {
        ConMsg("usage: toggle NAME [A B]\n");
        return;
    }
    CVar* var = FindNamedCVar("toggle", words[0]);
    if (!var) {
        return;
    }
    if (words.size() == 1) {
        var->SetString(var->master->intValue != 0 ? "0" : "1");
    } else {
        var->SetString(var->master->value == words[1] ? words[2] : words[1]);
    }
}

void Cmd_Echo(const CommandLine& line) {
    ConMsg("%s\n", line.args.c_str());
}

void Cmd_Exec(const CommandLine& line) {
    const std::string& file = line.args;
    if (file.empty()) {
        ConMsg("usage: exec FILE\n");
        return;
    }
    ExecScript(file);
}

ConsoleCommandReg s_help("help", Cmd_Help, "[NAME]", "lists every command and variable, or tells what NAME is");
ConsoleCommandReg s_find("find", Cmd_Find, "TEXT", "finds commands and variables by name or description");
ConsoleCommandReg s_get("get", Cmd_Get, "NAME", "prints a variable's value");
ConsoleCommandReg s_toggle("toggle", Cmd_Toggle, "NAME [A B]", "flips a variable between 0 and 1, or A and B");
ConsoleCommandReg s_echo("echo", Cmd_Echo, "TEXT", "prints TEXT");
ConsoleCommandReg s_exec("exec", Cmd_Exec, "FILE", "runs the lines of test/scripts/FILE");

}  // namespace

void RunConsoleLine(const std::string& line) {
    if (!g_cvars->ParseLine(line)) {
        g_commandSystem->Execute(line.c_str());
    }
}

bool ExecScript(const std::string& file) {
    if (s_execDepth >= kMaxExecDepth) {
        ConMsg("exec: %s nests deeper than %d files; stopped\n", file.c_str(), kMaxExecDepth);
        s_execAborted = true;
        return false;
    }
    const std::string path = std::string(kScriptFolder) + file;
    std::string text;
    if (!ReadSmallFile("./" + path, kMaxScriptBytes, &text)) {
        ConMsg("exec: cannot read %s\n", path.c_str());
        return false;
    }
    ++s_execDepth;
    for (std::string& line : SplitLines(text)) {
        if (s_execAborted) {
            break;
        }
        const size_t start = line.find_first_not_of(" \t");
        if (start == std::string::npos || line.compare(start, 2, "//") == 0) {
            continue;
        }
        line.erase(line.find_last_not_of(" \t") + 1);
        RunConsoleLine(line.substr(start));
    }
    --s_execDepth;
    const bool completed = !s_execAborted;
    if (s_execDepth == 0) {
        s_execAborted = false;
    }
    return completed;
}

void RunAutoexec() {
    if (FileExists(std::string("./") + kScriptFolder + "autoexec.cfg")) {
        ExecScript("autoexec.cfg");
    }
}

std::vector<std::string> SplitLines(const std::string& text) {
    std::vector<std::string> lines;
    size_t pos = 0;
    while (pos < text.size()) {
        size_t end = text.find('\n', pos);
        end = end == std::string::npos ? text.size() : end;
        lines.push_back(text.substr(pos, end - pos));
        if (!lines.back().empty() && lines.back().back() == '\r') {
            lines.back().pop_back();
        }
        pos = end + 1;
    }
    return lines;
}

bool IsTypedText(const std::string& text) {
    return std::all_of(text.begin(), text.end(), [](char c) {
        const unsigned char byte = static_cast<unsigned char>(c);
        return c == '\t' || (byte >= 32 && byte < 127);
    });
}

bool FileExists(const std::string& path) {
    std::FILE* probe = std::fopen(path.c_str(), "rb");
    if (probe) {
        std::fclose(probe);
    }
    return probe != nullptr;
}

std::string CompleteConsoleLine(const std::string& line, std::vector<std::string>* candidates) {
    candidates->clear();
    const size_t lastBlank = line.find_last_of(" \t");
    const std::string head = lastBlank == std::string::npos ? std::string() : line.substr(0, lastBlank + 1);
    const std::string prefix = line.substr(head.size());
    const std::vector<std::string> before = Words(head);

    bool commands = false;
    bool cvars = false;
    if (before.empty()) {
        commands = cvars = true;
    } else if (before.size() == 1 && before[0] == "help") {
        commands = cvars = true;
    } else if (before.size() == 1 && (before[0] == "get" || before[0] == "toggle")) {
        cvars = true;
    }
    std::vector<std::string>& found = *candidates;
    if (commands) {
        for (const ConsoleCommandInfo& c : AllCommands()) {
            found.push_back(c.name);
        }
    }
    if (cvars) {
        for (const CVar* var : g_cvars->vars) {
            found.push_back(var->name);
        }
    }
    found.erase(std::remove_if(found.begin(), found.end(),
                               [&](const std::string& name) { return name.compare(0, prefix.size(), prefix) != 0; }),
                found.end());
    std::sort(found.begin(), found.end());
    found.erase(std::unique(found.begin(), found.end()), found.end());
    if (found.empty()) {
        return line;
    }
    if (found.size() == 1) {
        const std::string whole = head + found[0] + " ";
        found.clear();
        return whole;
    }
    // Sorted, so the first and the last differ the most.
    const std::string& a = found.front();
    const std::string& b = found.back();
    size_t common = 0;
    while (common < a.size() && common < b.size() && a[common] == b[common]) {
        ++common;
    }
    return head + a.substr(0, common);
}

bool WriteFileAtomically(const std::string& path, const std::string& contents) {
    const std::string tempPath = path + ".tmp";
    std::FILE* file = std::fopen(tempPath.c_str(), "wb");
    if (!file) {
        return false;
    }
    bool ok = std::fwrite(contents.data(), 1, contents.size(), file) == contents.size();
    ok = (std::fclose(file) == 0) && ok;
    if (!ok || std::rename(tempPath.c_str(), path.c_str()) != 0) {
        std::remove(tempPath.c_str());
        return false;
    }
    return true;
}

bool ReadSmallFile(const std::string& path, size_t maxBytes, std::string* contents) {
    std::FILE* file = std::fopen(path.c_str(), "rb");
    if (!file) {
        return false;
    }
    contents->clear();
    char buffer[4096];
    size_t n = 0;
    while ((n = std::fread(buffer, 1, sizeof(buffer), file)) > 0 && contents->size() <= maxBytes) {
        contents->append(buffer, n);
    }
    const bool ok = !std::ferror(file) && contents->size() <= maxBytes;
    std::fclose(file);
    return ok;
}
