// The frame-rate readout: an amber label in the top-right corner of its layer, switched by the
// "tool_fps" cvar (0 hidden, 1 shown, 2 shown on its background, negative shown but frozen).
#pragma once

#include <cstdint>
#include <string>

#include "engine/api.h"
#include "ui/label.h"

class VORMI_API FPSCounter : public Label {
public:
    explicit FPSCounter(std::string name);
    ~FPSCounter() override;
    // Right-aligns in the parent and refreshes the text from g_fps.
    void Update() override;
};

// The engine's readout, or null.
extern FPSCounter* g_fpsCounter;

// Makes "fps_counter" on the given layer with its amber font, shown as "tool_fps" says.
FPSCounter* CreateFpsCounter(Panel* layer);
