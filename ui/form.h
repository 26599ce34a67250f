// A movable window: a bordered panel with a grab bar along the top that drags it and a close button
// at the top right that sends it "close_panel". The console and the options menu are forms.
#pragma once

#include <string>

#include "engine/api.h"
#include "ui/panel.h"

class Button;
class GrabBar;

class VORMI_API Form : public Panel {
public:
    explicit Form(std::string name);
    // Keeps the grab bar across the top and the close button at the right edge.
    void OnResized() override;

    GrabBar* grabBar = nullptr;
    Button* closeButton = nullptr;
};
