#include "console/console_panel.h"

#include "console/command_system.h"
#include "console/cvar.h"
#include "engine/console_output.h"
#include "input/input_system.h"
#include "ui/button.h"
#include "ui/rich_text_box.h"
#include "ui/root_panel.h"
#include "ui/text_box.h"

ConsolePanel* g_consolePanel = nullptr;

static const char* const kConsoleScript = "test/scripts/con_panel.txt";
static const int32_t kHomeX = 100;
static const int32_t kHomeY = 100;
static const int32_t kLogFontSize = 20;
static const Color kLogTextColor = {0, 0, 0, 255};
static const Color kLogBackColor = {255, 255, 255, 0};

// Position and size, then the panel lays itself out for the new rectangle.
static void Place(Panel* panel, int32_t x, int32_t y, int32_t width, int32_t height) {
    panel->x = x;
    panel->y = y;
    panel->width = width;
    panel->height = height;
    panel->OnResized();
}

ConsolePanel::ConsolePanel() : Form("con_panel") {
    Place(this, kHomeX, kHomeY, 500, 300);
    // In front of everything else on its layer.
    SetZPos(-1000);

    input = new TextBox("con_input");
    input->SetParent(this);
    Place(input, 6, 260, 408, 28);

    submit = new Button("con_submit");
    submit->SetParent(this);
    Place(submit, 418, 262, 76, 24);
    submit->SetText("Submit");
    submit->panelCommand = "cmd_submit";

    log = new RichTextBox("con_log");
    log->SetParent(this);
    log->readOnly = true;
    log->SetFont(kLabelFontName, kLabelFontPath, kLogFontSize, kLogTextColor, kLogBackColor);
    Place(log, 6, 29, 488, 223);

    LoadFromFile(std::string("./") + kConsoleScript);
    historyIndex = 0;
}

ConsolePanel::~ConsolePanel() {
    if (g_consolePanel == this) {
        g_consolePanel = nullptr;
    }
}

void ConsolePanel::Update() {
    Form::Update();

    if (!g_consoleText.empty()) {
        log->AppendText(g_consoleText);
        log->ScrollToEnd();
        // clear() keeps the buffer, so printing again does not allocate it anew.
        g_consoleText.clear();
    }

    const InputSystem* in = g_inputSystem;
    if (!in->wantTextInput || !visible) {
        return;
    }
    if (in->keysPressed[SDL_SCANCODE_RETURN]) {
        HandleCommand("cmd_submit");
    }
    if (history.empty() || focusedChild != input) {
        return;
    }
    const int32_t last = static_cast<int32_t>(history.size()) - 1;
    if (in->keysPressed[SDL_SCANCODE_UP]) {
        // Leaving the draft slot keeps what was being typed there.
        if (historyIndex == last) {
            history.back() = input->text;
        }
        historyIndex = historyIndex > 0 ? historyIndex - 1 : 0;
        RecallHistory();
    } else if (in->keysPressed[SDL_SCANCODE_DOWN] && historyIndex != last) {
        historyIndex = historyIndex < last ? historyIndex + 1 : last;
        RecallHistory();
    }
}

void ConsolePanel::RecallHistory() {
    // A host may have written the index; never read outside the history.
    if (historyIndex < 0 || static_cast<size_t>(historyIndex) >= history.size()) {
        historyIndex = static_cast<int32_t>(history.size()) - 1;
    }
    input->SetText(history[static_cast<size_t>(historyIndex)]);
}

void ConsolePanel::HandleCommand(const std::string& text) {
    if (text == "cmd_submit") {
        Submit();
    } else if (text == "close_panel") {
        const bool wasVisible = visible;
        visible = false;
        if (wasVisible) {
            Unfocus();
        }
    } else {
        Form::HandleCommand(text);
    }
}

void ConsolePanel::Submit() {
    ShowInput();
    const std::string line = input->text;
    if (line.empty()) {
        return;
    }
    log->AppendText(">" + line + "\n");
    log->ScrollToEnd();

    if (history.empty()) {
        history.emplace_back();
    }
    history.back() = line;
    history.emplace_back();
    historyIndex = static_cast<int32_t>(history.size()) - 1;

    input->SetText(std::string());
    input->scrollStart = 0;

    if (line == "clear") {
        log->ClearText();
        return;
    }
    // A variable's name sets the variable; anything else runs as a command at the end of the frame.
    if (!g_cvars->ParseLine(line)) {
        CommandGlobal(line.c_str());
    }
}

void ConsolePanel::ShowInput() {
    input->visible = true;
    input->Focus();
}

void ConsolePanel::OnShown() {
    BringToFront();
    Focus();
}

void ConsolePanel::Focus() {
    visible = true;
    Form::Focus();
    ShowInput();
}

void ConsolePanel::Unfocus() {
    visible = false;
    Form::Unfocus();
    input->Unfocus();
    // A log clicked into would otherwise keep text input on while nothing can be typed.
    log->Unfocus();
    g_inputSystem->wantTextInput = false;
}

void ConsolePanel::ApplyVisibility() {
    if (visible) {
        if (parent && parent->visible) {
            OnShown();
        }
    } else {
        Unfocus();
    }
    KeepOnScreen();
}

void ConsolePanel::KeepOnScreen() {
    KeepOnRoot(this, kHomeX, kHomeY);
}

void CreateConsolePanel() {
    if (!g_rootPanel) {
        return;
    }
    if (g_consolePanel) {
        g_consolePanel->closeRequested = true;
        g_consolePanel = nullptr;
    }
    ConsolePanel* console = new ConsolePanel();
    g_consolePanel = console;
    console->SetParent(g_rootPanel->GetLayer(kLayerTools));
    const bool wasVisible = console->visible;
    console->visible = false;
    if (wasVisible) {
        console->Unfocus();
    }
}

static Panel* CurrentConsole() {
    return g_consolePanel;
}

static void ApplyConsoleVisibility() {
    if (g_consolePanel) {
        g_consolePanel->ApplyVisibility();
    }
}

// The root's console keys: grave toggles the console, Alt+grave makes sure one exists and opens it.
static ConsoleHooks s_consoleHooks(CurrentConsole, CreateConsolePanel, ApplyConsoleVisibility);

static void Cmd_ShowConsole(const CommandLine&) {
    ConsolePanel* console = g_consolePanel;
    if (!console) {
        return;
    }
    console->visible = true;
    console->ApplyVisibility();
}

static CommandReg s_showConsole("show_console", Cmd_ShowConsole);
