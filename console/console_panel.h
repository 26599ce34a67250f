// The in-engine console: a movable window with a read-only log of everything printed through ConMsg,
// a one-line input box and a "Submit" button. A submitted line is echoed into the log, kept in a
// history browsed with Up and Down, offered to the cvar store and otherwise queued as a command.
// Its layout comes from code and then from test/scripts/con_panel.txt.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "engine/api.h"
#include "ui/form.h"

class Button;
class RichTextBox;
class TextBox;

class ConsolePanel : public Form {
public:
    ConsolePanel();
    ~ConsolePanel() override;
    // Drains the pending console text into the log; while shown and typing, Enter submits and Up/Down
    // walk the history.
    void Update() override;
    // "cmd_submit" submits the input line, "close_panel" hides the console; the rest go to the form.
    void HandleCommand(const std::string& text) override;

    // Opening: brings the console to the front of its layer, then shows it.
    void OnShown() override;
    // Showing: visible, the active child of its layer, with the input box taking the typing.
    void Focus() override;
    // Hiding: invisible and unfocused; the input box stops editing and text input goes off. Losing
    // the focus (a click elsewhere) therefore closes the console.
    void Unfocus() override;
    // After the visible flag was set or flipped from outside (the console keys): opens the console when
    // it became visible in a shown layer, hides it when it became invisible, then keeps it on screen.
    void ApplyVisibility();
    // Moves the console back to (100, 100) when it lies wholly outside the root panel.
    void KeepOnScreen();

    TextBox* input = nullptr;
    Button* submit = nullptr;
    RichTextBox* log = nullptr;
    // When not empty, the last entry is the draft: the line being typed.
    std::vector<std::string> history;
    int32_t historyIndex = 0;

private:
    void Submit();
    // Puts history[historyIndex] into the input box with the caret at its end.
    void RecallHistory();
    void ShowInput();
};

// The console, or null.
extern ConsolePanel* g_consolePanel;

// Replaces the console with a new, hidden one on the tools layer; the old one closes at that layer's
// next update. Nothing without a root panel.
void CreateConsolePanel();
