// A label that runs commands when clicked: a global command line through the command system and a
// panel command sent to a target panel (its parent unless set). It draws a bevelled frame, raised
// while released and sunken while pressed, and optionally an image per state over the text.
#pragma once

#include <cstdint>
#include <string>

#include "engine/api.h"
#include "ui/label.h"

class VORMI_API Button : public Label {
public:
    explicit Button(std::string name);
    // Keys "global_command", "panel_command", "regular_color", "pressed_color", "tex_pressed",
    // "tex_released"; the rest go to Label.
    void SetProperty(const std::string& key, const std::string& value) override;
    // The global command first, then the panel command.
    void OnClick() override;
    void Draw() override;
    void DrawBorder() override;
    void OnMousePressed() override;
    void OnMouseReleased() override;
    void OnMouseReleasedOutside() override;

    std::string globalCommand;
    std::string panelCommand;
    int releasedTexture = 0;
    int pressedTexture = 0;
    Panel* commandTarget = nullptr;
    Color pressedColor = {112, 112, 112, 255};
    Color normalColor = {150, 150, 150, 255};

protected:
    // The command part of a click, shared with the toggle button.
    void RunCommands();
};

// Four integers r g b a as the colour keys of a script take them; missing numbers default to 255, 0,
// 255, 255 position by position.
VORMI_API Color ReadScriptColor(const std::string& value);
