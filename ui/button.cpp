#include "ui/button.h"

#include <utility>

#include "console/command_system.h"
#include "render/renderer.h"
#include "resources/texture_mgr.h"

static const Color kBevelLight = {135, 135, 135, 255};
static const Color kBevelDark = {64, 64, 64, 255};
static const Color kImageTint = {255, 255, 255, 255};

Color ReadScriptColor(const std::string& value) {
    int32_t channels[4] = {255, 0, 255, 255};
    ReadInts(value, channels, 4);
    return Color{static_cast<uint8_t>(channels[0]), static_cast<uint8_t>(channels[1]),
                 static_cast<uint8_t>(channels[2]), static_cast<uint8_t>(channels[3])};
}

Button::Button(std::string buttonName) : Label(std::move(buttonName)) {
    enabled = true;
    drawBackground = true;
    drawBorder = true;
    autoSize = false;
    width = 75;
    height = 25;
    backgroundColor = Color{150, 150, 150, 255};
}

void Button::SetProperty(const std::string& key, const std::string& value) {
    if (key == "global_command") {
        globalCommand = value;
    } else if (key == "panel_command") {
        panelCommand = value;
    } else if (key == "regular_color") {
        // The colours show from the next press or release on.
        normalColor = ReadScriptColor(value);
    } else if (key == "pressed_color") {
        pressedColor = ReadScriptColor(value);
    } else if (key == "tex_pressed") {
        // Button images are never collected: buttons do not give them back.
        pressedTexture = g_textureMgr->LoadPersistentTexture(value);
    } else if (key == "tex_released") {
        releasedTexture = g_textureMgr->LoadPersistentTexture(value);
    } else {
        Label::SetProperty(key, value);
    }
}

void Button::RunCommands() {
    if (!globalCommand.empty()) {
        CommandGlobal(globalCommand.c_str());
    }
    if (!panelCommand.empty()) {
        Panel* receiver = commandTarget ? commandTarget : parent;
        if (receiver) {
            receiver->HandleCommand(panelCommand);
        }
    }
}

void Button::OnClick() {
    RunCommands();
}

void Button::Draw() {
    Panel::Draw();
    DrawLabelText();
    if (!g_renderer || !IsDrawable()) {
        return;
    }
    const int image = (pressed && pressedTexture != 0) ? pressedTexture : releasedTexture;
    if (image == 0) {
        return;
    }
    g_renderer->SetClipRect(&clipRect);
    const Rect area = {screenX, screenY, width, height};
    g_renderer->DrawTextureById(&area, kImageTint, image);
    g_renderer->SetClipRect(nullptr);
}

void Button::DrawBorder() {
    if (!drawBorder || !g_renderer) {
        return;
    }
    const int32_t x0 = screenX;
    const int32_t y0 = screenY;
    const int32_t w = width;
    const int32_t h = height;
    // Raised when released: light top-left, dark bottom-right; pressed swaps them.
    const Color topLeft = pressed ? kBevelDark : kBevelLight;
    const Color bottomRight = pressed ? kBevelLight : kBevelDark;
    g_renderer->DrawLine(Point{x0, y0}, Point{x0, y0 + h - 2}, topLeft, 1);
    g_renderer->DrawLine(Point{x0 + 1, y0}, Point{x0 + w - 2, y0}, topLeft, 1);
    g_renderer->DrawLine(Point{x0, y0 + h - 1}, Point{x0 + w - 1, y0 + h - 1}, bottomRight, 1);
    g_renderer->DrawLine(Point{x0 + w - 1, y0}, Point{x0 + w - 1, y0 + h - 1}, bottomRight, 1);
}

void Button::OnMousePressed() {
    Panel::OnMousePressed();
    // A disabled button still shows the press, though it neither raises nor takes focus.
    backgroundColor = pressedColor;
}

void Button::OnMouseReleased() {
    pressed = false;
    OnClick();
    backgroundColor = normalColor;
}

void Button::OnMouseReleasedOutside() {
    backgroundColor = normalColor;
    pressed = false;
}
