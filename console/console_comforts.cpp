#include "console/console_comforts.h"

#include <SDL.h>

#include <algorithm>
#include <utility>

#include "console/console_commands.h"
#include "console/console_panel.h"
#include "console/console_tools.h"
#include "engine/console_output.h"
#include "input/input_system.h"
#include "ui/rich_text_box.h"
#include "ui/text_box.h"

static const char* const kHistoryFile = "con_history.txt";
// Typed lines are short; a file beyond this was not written by the console.
static const size_t kMaxHistoryBytes = 4u << 20;

static std::string HistoryPath() {
    return std::string("./") + kScriptFolder + kHistoryFile;
}

static int32_t PageRows(const RichTextBox* log) {
    return std::max(1, (log->height - log->marginY) / std::max(1, log->lineHeight));
}

static void ScrollLog(RichTextBox* log, int32_t rows) {
    const int32_t last = static_cast<int32_t>(log->lines.size()) - 1;
    // Never further down than ScrollToEnd puts the view, so the last page stays full.
    const int32_t lowestTop = std::max(0, last - PageRows(log) + 1);
    log->firstVisibleLine = std::max(0, std::min(log->firstVisibleLine + rows, lowestTop));
}

static void Complete(TextBox* input) {
    std::vector<std::string> candidates;
    const std::string completed = CompleteConsoleLine(input->text, &candidates);
    if (completed != input->text) {
        input->SetText(completed);
    }
    for (const std::string& name : candidates) {
        ConMsg("  %s\n", name.c_str());
    }
}

void HandleConsoleKeys(ConsolePanel* console) {
    if (console->focusedChild != console->input) {
        return;
    }
    const InputSystem* in = g_inputSystem;
    if (in->keysPressed[SDL_SCANCODE_TAB]) {
        Complete(console->input);
    }
    if (in->keysPressed[SDL_SCANCODE_PAGEUP]) {
        ScrollLog(console->log, -PageRows(console->log));
    }
    if (in->keysPressed[SDL_SCANCODE_PAGEDOWN]) {
        ScrollLog(console->log, PageRows(console->log));
    }
}

bool LoadHistoryFile(const std::string& path, std::vector<std::string>* entries) {
    entries->clear();
    std::string text;
    if (!ReadSmallFile(path, kMaxHistoryBytes, &text)) {
        // A missing file is the first run; anything else unreadable gets its line.
        if (!FileExists(path)) {
            return true;
        }
        ConMsg("console: cannot read %s; the history starts empty\n", path.c_str());
        return false;
    }
    std::vector<std::string> lines = SplitLines(text);
    // The console types only printable ASCII and tabs into its input line.
    if (!std::all_of(lines.begin(), lines.end(), IsTypedText)) {
        ConMsg("console: %s is not a history file; the history starts empty\n", path.c_str());
        return false;
    }
    for (std::string& line : lines) {
        if (!line.empty()) {
            entries->push_back(std::move(line));
        }
    }
    if (entries->size() > kMaxSavedHistory) {
        entries->erase(entries->begin(), entries->end() - static_cast<long>(kMaxSavedHistory));
    }
    return true;
}

void LoadConsoleHistory() {
    ConsolePanel* console = g_consolePanel;
    std::vector<std::string> entries;
    if (!console || !LoadHistoryFile(HistoryPath(), &entries) || entries.empty()) {
        return;
    }
    console->history = entries;
    console->history.emplace_back();
    console->historyIndex = static_cast<int32_t>(console->history.size()) - 1;
}

void SaveConsoleHistory() {
    const ConsolePanel* console = g_consolePanel;
    if (!console) {
        return;
    }
    const std::vector<std::string>& history = console->history;
    // The last entry is the draft: the line being typed, not one that ran.
    const size_t count = history.empty() ? 0 : history.size() - 1;
    const size_t first = count > kMaxSavedHistory ? count - kMaxSavedHistory : 0;
    std::string text;
    for (size_t i = first; i < count; ++i) {
        text += history[i];
        text += '\n';
    }
    // Nothing typed and nothing kept: no file to leave behind.
    if (text.empty() && !FileExists(HistoryPath())) {
        return;
    }
    if (!WriteFileAtomically(HistoryPath(), text)) {
        ConMsg("console: cannot write %s\n", HistoryPath().c_str());
    }
}

namespace {

void Cmd_Clear(const CommandLine&) {
    g_consoleText.clear();
    if (g_consolePanel) {
        g_consolePanel->log->ClearText();
    }
}

void Cmd_Condump(const CommandLine& line) {
    const std::string& path = line.args;
    if (path.empty()) {
        ConMsg("usage: condump FILE\n");
        return;
    }
    if (!g_consolePanel) {
        ConMsg("condump: there is no console\n");
        return;
    }
    std::string text;
    for (const RichTextLine& line : g_consolePanel->log->lines) {
        text += line.text;
        text += '\n';
    }
    // What was printed since the console last drained the output belongs at the end.
    text.pop_back();
    text += g_consoleText;
    const size_t lines = static_cast<size_t>(std::count(text.begin(), text.end(), '\n'));
    if (!WriteFileAtomically(path, text)) {
        ConMsg("condump: cannot write %s\n", path.c_str());
        return;
    }
    ConMsg("condump: wrote %zu lines to %s\n", lines, path.c_str());
}

ConsoleCommandReg s_clear("clear", Cmd_Clear, "", "empties the console log");
ConsoleCommandReg s_condump("condump", Cmd_Condump, "FILE", "writes the console log to FILE");

}  // namespace
