#include "input/key_binds.h"

#include <SDL.h>

#include <algorithm>
#include <utility>
#include <vector>

#include "console/command_system.h"
#include "console/console_commands.h"
#include "console/console_tools.h"
#include "engine/console_output.h"
#include "input/input_system.h"

// A binds file is a few lines per key; one this large was not written by the engine.
static const size_t kMaxBindsBytes = 1u << 20;

namespace {

struct KeyBind {
    SDL_Scancode key;
    std::string line;
};

// Sorted by scancode, so "binds" and the file list keys in a stable order.
std::vector<KeyBind> s_binds;

SDL_Scancode KeyFromName(std::string name) {
    SDL_Scancode key = SDL_GetScancodeFromName(name.c_str());
    if (key == SDL_SCANCODE_UNKNOWN) {
        std::replace(name.begin(), name.end(), '_', ' ');
        key = SDL_GetScancodeFromName(name.c_str());
    }
    return key;
}

// SDL's name with its blanks written "_", so it reads back as one word.
std::string KeyName(SDL_Scancode key) {
    std::string name = SDL_GetScancodeName(key);
    std::replace(name.begin(), name.end(), ' ', '_');
    return name;
}

std::vector<KeyBind>::iterator FindBind(SDL_Scancode key) {
    return std::find_if(s_binds.begin(), s_binds.end(), [&](const KeyBind& b) { return b.key == key; });
}

void Bind(SDL_Scancode key, const std::string& line) {
    std::vector<KeyBind>::iterator found = FindBind(key);
    if (found != s_binds.end()) {
        found->line = line;
        return;
    }
    s_binds.push_back(KeyBind{key, line});
    std::sort(s_binds.begin(), s_binds.end(), [](const KeyBind& a, const KeyBind& b) { return a.key < b.key; });
}

std::string BindText(const KeyBind& bind) {
    return "bind " + KeyName(bind.key) + " \"" + bind.line + "\"";
}

// "KEY rest": the key's name and the rest with the console's quote rule.
bool SplitKeyAndLine(const std::string& text, SDL_Scancode* key, std::string* line) {
    const CommandLine parsed = SplitCommandLine(text);
    *key = KeyFromName(parsed.name);
    *line = parsed.args;
    return !parsed.name.empty() && *key != SDL_SCANCODE_UNKNOWN;
}

// Takes the line as typed: the bound line has quotes of its own, which the quote rule over the whole
// argument text would take apart.
void Cmd_Bind(const CommandLine&) {
    const std::string args = CommandArgsAsTyped(ExecutingLine());
    SDL_Scancode key = SDL_SCANCODE_UNKNOWN;
    std::string line;
    if (args.empty()) {
        ConMsg("usage: bind KEY LINE\n");
        return;
    }
    if (!SplitKeyAndLine(args, &key, &line)) {
        ConMsg("bind: unknown key '%s'\n", SplitCommandLine(args).name.c_str());
        return;
    }
    if (line.empty()) {
        const std::vector<KeyBind>::iterator found = FindBind(key);
        if (found == s_binds.end()) {
            ConMsg("%s is not bound\n", KeyName(key).c_str());
        } else {
            ConMsg("%s\n", BindText(*found).c_str());
        }
        return;
    }
    Bind(key, line);
}

void Cmd_Unbind(const CommandLine& command) {
    const std::string name = FirstWord(command.args);
    const SDL_Scancode key = KeyFromName(name);
    if (name.empty() || key == SDL_SCANCODE_UNKNOWN) {
        ConMsg("unbind: unknown key '%s'\n", name.c_str());
        return;
    }
    const std::vector<KeyBind>::iterator found = FindBind(key);
    if (found == s_binds.end()) {
        ConMsg("unbind: %s is not bound\n", KeyName(key).c_str());
        return;
    }
    s_binds.erase(found);
}

void Cmd_Binds(const CommandLine&) {
    if (s_binds.empty()) {
        ConMsg("No keys are bound\n");
        return;
    }
    for (const KeyBind& bind : s_binds) {
        ConMsg("%s\n", BindText(bind).c_str());
    }
}

ConsoleCommandReg s_bind("bind", Cmd_Bind, "KEY LINE", "runs LINE when KEY is pressed outside text boxes");
ConsoleCommandReg s_unbind("unbind", Cmd_Unbind, "KEY", "removes the bind of KEY");
ConsoleCommandReg s_bindsCmd("binds", Cmd_Binds, "", "lists the key binds");

}  // namespace

void RunKeyBinds() {
    const InputSystem* in = g_inputSystem;
    if (s_binds.empty() || in->wantTextInput) {
        return;
    }
    // By index and with a copy of the line: a bound line may bind or unbind keys.
    for (size_t i = 0; i < s_binds.size(); ++i) {
        if (in->keysPressedNoRepeat[s_binds[i].key]) {
            const std::string line = s_binds[i].line;
            RunConsoleLine(line);
        }
    }
}

void LoadKeyBinds(const std::string& path) {
    s_binds.clear();
    std::string text;
    if (!ReadSmallFile(path, kMaxBindsBytes, &text)) {
        if (FileExists(path)) {
            ConMsg("binds: cannot read %s; no keys bound\n", path.c_str());
        }
        return;
    }
    int ignored = 0;
    for (const std::string& line : SplitLines(text)) {
        if (line.find_first_not_of(" \t") == std::string::npos) {
            continue;
        }
        const CommandLine parsed = SplitCommandLine(line);
        SDL_Scancode key = SDL_SCANCODE_UNKNOWN;
        std::string bound;
        if (!IsTypedText(line) || parsed.name != "bind" ||
            !SplitKeyAndLine(CommandArgsAsTyped(line.c_str()), &key, &bound) || bound.empty()) {
            ++ignored;
            continue;
        }
        Bind(key, bound);
    }
    if (ignored > 0) {
        ConMsg("binds: ignored %d line%s of %s that %s not binds\n", ignored, ignored == 1 ? "" : "s", path.c_str(),
               ignored == 1 ? "is" : "are");
    }
}

bool SaveKeyBinds(const std::string& path) {
    if (s_binds.empty() && !FileExists(path)) {
        return true;
    }
    std::string text;
    for (const KeyBind& bind : s_binds) {
        text += BindText(bind) + "\n";
    }
    if (!WriteFileAtomically(path, text)) {
        ConMsg("binds: cannot write %s\n", path.c_str());
        return false;
    }
    return true;
}

void ClearKeyBinds() {
    s_binds.clear();
}

std::string BoundLine(const std::string& keyName) {
    const std::vector<KeyBind>::iterator found = FindBind(KeyFromName(keyName));
    return found == s_binds.end() ? std::string() : found->line;
}

std::string KeyBindsPath() {
    return std::string("./") + kScriptFolder + "binds.cfg";
}
