#include "console/console_commands.h"

#include <algorithm>
#include <cstring>

#include "engine/console_output.h"

// Constant-initialised, like the command list, so tools of any translation unit can push at any time.
static ConsoleCommandReg* s_toolHead = nullptr;

ConsoleCommandReg::ConsoleCommandReg(const char* regName, CommandFn run, const char* regUsage, const char* regHelp)
    : node(regName, run), usage(regUsage), help(regHelp), next(s_toolHead) {
    s_toolHead = this;
}

namespace {

struct AddedCommand {
    std::string name;
    std::string usage;
    std::string help;
    CommandHandlerFn handler;
};

// Built on first use: commands register themselves from static constructors in any order.
std::vector<AddedCommand>& AddedCommands() {
    static std::vector<AddedCommand> s_commands;
    return s_commands;
}

struct Description {
    const char* name;
    const char* usage;
    const char* help;
};

// The engine's commands that are not console tools carry no line of help of their own.
const Description kBuiltinHelp[] = {
    {"testcmd", "", "prints a test line"},
    {"list_cmd", "", "lists the main commands"},
    {"list_cvar", "", "lists every console variable with its value"},
    {"force_exit", "", "ends the process at once, settings not saved"},
    {"exit", "", "closes the application"},
    {"quit", "", "closes the application"},
    {"show_console", "", "opens the console"},
    {"show_mainmenu", "", "shows the main application menu"},
    {"open_optionsmenu", "", "opens the options menu"},
    {"test_create_panel", "[N]", "adds N panels at random places (stress test)"},
    {"test_create_form", "[N]", "adds N forms at random places (stress test)"},
    {"test_destroy_panel", "", "removes the panels and forms the test commands made"},
    {"fps", "", "prints the frames per second"},
};

const Description kCVarHelp[] = {
    {"shader_reload", "", "any write rebuilds the model shaders"},
    {"enable_screen_keyboard", "", "0 keeps the on-screen keyboard off (read at start)"},
    {"frame_delay", "", "milliseconds to sleep after each frame, 0 to 1000"},
    {"render_batching", "", "0 turns off SDL's draw batching (read at start)"},
    {"render_clear", "", "clears the window to grey before each frame"},
    {"renderer_type", "", "SDLRenderer or GLRenderer (read at start)"},
    {"viewport_scale", "", "window pixels per UI unit"},
    {"viewport_scale_noclamp", "", "1 uses viewport_scale without clamping it"},
    {"viewport_autoscale", "", "1 scales the UI to fit 640x480"},
    {"filter_textures", "", "smooths textures when they are scaled"},
    {"tool_fps", "", "shows the FPS readout (2: with a background)"},
    {"window_width", "", "window width at start, 0 for 80% of the desktop"},
    {"window_height", "", "window height at start, 0 for 80% of the desktop"},
    {"window_minimum_size", "", "keeps the window at least 640x480"},
    {"debug_drawoutline", "", "outlines every panel"},
};

const Description* FindDescription(const Description* table, size_t count, const std::string& name) {
    for (size_t i = 0; i < count; ++i) {
        if (name == table[i].name) {
            return &table[i];
        }
    }
    return nullptr;
}

bool IsRegistered(const std::string& name) {
    for (const CommandReg* node = FirstCommand(); node; node = node->next) {
        if (name == node->name) {
            return true;
        }
    }
    return false;
}

std::vector<AddedCommand>::iterator FindAdded(const std::string& name) {
    std::vector<AddedCommand>& commands = AddedCommands();
    return std::find_if(commands.begin(), commands.end(), [&](const AddedCommand& c) { return c.name == name; });
}

}  // namespace

bool AddConsoleCommand(const std::string& name, CommandHandlerFn handler, const std::string& usage,
                       const std::string& help) {
    // A name with a blank in it could never be typed as the first word of a line.
    if (name.empty() || name.find_first_of(" \t\r\n\v\f") != std::string::npos || !handler) {
        ConMsg("AddCommand: '%s' needs a one-word name and a handler\n", name.c_str());
        return false;
    }
    if (IsRegistered(name) || FindAdded(name) != AddedCommands().end()) {
        ConMsg("AddCommand: '%s' is already a command\n", name.c_str());
        return false;
    }
    AddedCommands().push_back(AddedCommand{name, usage, help, handler});
    return true;
}

bool RemoveConsoleCommand(const std::string& name) {
    const std::vector<AddedCommand>::iterator found = FindAdded(name);
    if (found == AddedCommands().end()) {
        return false;
    }
    AddedCommands().erase(found);
    return true;
}

std::string CommandArgsAsTyped(const char* line) {
    static const char* const kBlanks = " \t\r\v\f";
    std::string text(line ? line : "");
    text = text.substr(0, text.find('\n'));
    size_t start = text.find_first_not_of(kBlanks);
    start = start == std::string::npos ? text.size() : text.find_first_of(kBlanks, start);
    start = start == std::string::npos ? text.size() : text.find_first_not_of(kBlanks, start);
    if (start == std::string::npos) {
        return std::string();
    }
    const size_t end = text.find_last_not_of(kBlanks);
    return text.substr(start, end + 1 - start);
}

bool RunAddedCommand(const std::string& name, const char* line) {
    const std::vector<AddedCommand>::iterator found = FindAdded(name);
    if (found == AddedCommands().end()) {
        return false;
    }
    // Copied first: the handler may add or remove commands.
    const CommandHandlerFn handler = found->handler;
    handler(CommandArgsAsTyped(line).c_str());
    return true;
}

std::vector<ConsoleCommandInfo> AllCommands() {
    std::vector<ConsoleCommandInfo> all;
    for (const CommandReg* node = FirstCommand(); node; node = node->next) {
        const ConsoleCommandReg* tool = s_toolHead;
        while (tool && std::strcmp(tool->node.name, node->name) != 0) {
            tool = tool->next;
        }
        const Description* d =
            FindDescription(kBuiltinHelp, sizeof(kBuiltinHelp) / sizeof(kBuiltinHelp[0]), node->name);
        if (tool) {
            all.push_back(ConsoleCommandInfo{node->name, tool->usage, tool->help});
        } else {
            all.push_back(ConsoleCommandInfo{node->name, d ? d->usage : "", d ? d->help : ""});
        }
    }
    for (const AddedCommand& c : AddedCommands()) {
        all.push_back(ConsoleCommandInfo{c.name, c.usage, c.help});
    }
    std::sort(all.begin(), all.end(),
              [](const ConsoleCommandInfo& a, const ConsoleCommandInfo& b) { return a.name < b.name; });
    return all;
}

const char* CVarDescription(const std::string& name) {
    const Description* d = FindDescription(kCVarHelp, sizeof(kCVarHelp) / sizeof(kCVarHelp[0]), name);
    return d ? d->help : "";
}
