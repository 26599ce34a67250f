#include "ui/grab_bar.h"

#include <algorithm>
#include <cstdint>
#include <utility>

#include "input/input_system.h"

// Positions from scripts can be anything; the sums are taken wide and pinned to the int range.
static int32_t Pin(int64_t value) {
    return static_cast<int32_t>(std::min<int64_t>(std::max<int64_t>(value, INT32_MIN), INT32_MAX));
}

GrabBar::GrabBar(std::string barName) : Button(std::move(barName)) {}

void GrabBar::OnMousePressed() {
    Panel::OnMousePressed();
    backgroundColor = pressedColor;
    grabOffsetX = Pin(int64_t(g_inputSystem->mouseX) - screenX);
    grabOffsetY = Pin(int64_t(g_inputSystem->mouseY) - screenY);
    dragging = true;
    if (parent) {
        parent->BringToFront();
    }
}

void GrabBar::Update() {
    Panel::Update();
    if (!dragging || !parent) {
        return;
    }
    const int32_t newScreenX = Pin(int64_t(g_inputSystem->mouseX) - grabOffsetX - x);
    const int32_t newScreenY = Pin(int64_t(g_inputSystem->mouseY) - grabOffsetY - y);
    Panel* window = parent;
    if (window->parent) {
        window->x = Pin(int64_t(newScreenX) - window->parent->screenX);
        window->y = Pin(int64_t(newScreenY) - window->parent->screenY);
    } else {
        window->x = newScreenX;
        window->y = newScreenY;
    }
    // Placed at once, so the rest of this frame already sees the window where it is drawn.
    window->screenX = newScreenX;
    window->screenY = newScreenY;
}

void GrabBar::OnMouseReleased() {
    Button::OnMouseReleased();
    dragging = false;
}

void GrabBar::OnMouseReleasedOutside() {
    Button::OnMouseReleasedOutside();
    dragging = false;
}
