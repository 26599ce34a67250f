#include "app/fps_counter.h"

#include <cstdio>
#include <utility>

#include "console/cvars.h"
#include "engine/engine.h"
#include "ui/root_panel.h"

FPSCounter* g_fpsCounter = nullptr;

static const Color kFpsAmber = {255, 212, 0, 255};
static const int32_t kFpsFontSize = 20;

FPSCounter::FPSCounter(std::string counterName) : Label(std::move(counterName)) {}

FPSCounter::~FPSCounter() {
    if (g_fpsCounter == this) {
        g_fpsCounter = nullptr;
    }
}

void FPSCounter::Update() {
    Panel::Update();
    if (!parent) {
        return;
    }
    x = parent->width - width;
    drawBackground = false;
    const int32_t mode = cv_tool_fps.intValue;
    if (mode > 0) {
        // "-2147483648 FPS" is the longest text: it fits the string's inline buffer, so a new rate
        // costs no allocation, and an unchanged one is not measured again.
        char digits[24];
        std::snprintf(digits, sizeof(digits), "%d FPS", static_cast<int>(g_fps));
        if (text != digits) {
            SetText(std::string(digits));
        }
    }
    if (mode == 2) {
        drawBackground = true;
    }
}

FPSCounter* CreateFpsCounter(Panel* layer) {
    FPSCounter* counter = new FPSCounter("fps_counter");
    g_fpsCounter = counter;
    counter->enabled = false;
    counter->drawBackground = false;
    counter->SetParent(layer);
    if (counter->fontId != kNoFont) {
        counter->SetFont(counter->fontName, counter->fontPath, kFpsFontSize, kFpsAmber, counter->fontBackColor);
    }
    counter->backgroundColor = kFpsAmber;
    counter->x = 0;
    counter->y = 0;
    // The cvar file was read before the counter existed; apply its switch now.
    counter->visible = cv_tool_fps.intValue != 0;
    return counter;
}

// The "tool_fps" change: shows the readout for a non-zero value, hides it for 0; nothing without one.
void OnToolFpsChanged(CVar* var) {
    FPSCounter* counter = g_fpsCounter;
    if (!counter) {
        return;
    }
    if (var->intValue != 0) {
        ShowPanel(counter);
    } else {
        HidePanel(counter);
    }
}
