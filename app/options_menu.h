// The options window: toggles and boxes for the display settings (scaling, batching, clearing,
// filtering, frame delay) and the renderer to use at the next start. The code makes the named widgets;
// test/scripts/options_panel.txt places and labels them and gives the buttons their commands. Every
// opening reloads the widgets from the cvars, so edits that were not applied do not survive a close.
#pragma once

#include <cstdint>
#include <string>

#include "engine/api.h"
#include "ui/form.h"

// Where the window starts, and where opening it brings it back to when it was left off the screen.
const int32_t kOptionsHomeX = 100;
const int32_t kOptionsHomeY = 100;

class Button;
class TextBox;
class ToggleButton;

class OptionsMenu : public Form {
public:
    explicit OptionsMenu(std::string name);
    ~OptionsMenu() override;
    // Raises, focuses and centres the window, then reloads the widgets from the cvars.
    void OnShown() override;
    // "ok", "apply", "cancel", "close_panel", "switch_renderer"; the rest go to the panel.
    void HandleCommand(const std::string& text) override;

    // The widgets take the cvars' current values; caret and selection go to the end of each box.
    void Refresh();
    // Writes every widget into its cvar, each write with its change notification.
    void WriteValues();

    ToggleButton* autoscaleToggle = nullptr;
    TextBox* scaleBox = nullptr;
    ToggleButton* batchingToggle = nullptr;
    ToggleButton* clearToggle = nullptr;
    ToggleButton* filteringToggle = nullptr;
    Button* okButton = nullptr;
    Button* applyButton = nullptr;
    Button* cancelButton = nullptr;
    TextBox* frameDelayBox = nullptr;
    Button* rendererButton = nullptr;

private:
    // Advances "renderer_type" and shows the choice, in red while it differs from the running renderer.
    void SwitchRendererChoice();
};

// The engine's options menu, or null.
extern OptionsMenu* g_optionsMenu;
