#include "ui/text_edit.h"

#include <SDL.h>

#include <algorithm>

#include "input/input_system.h"
#include "resources/font_system.h"
#include "ui/label.h"
#include "ui/panel.h"
#include "ui/text_box.h"

static const int32_t kWheelUp = 1;
static const int32_t kWheelDown = 2;

TextEditKeys TextEditKeys::Read(const InputSystem& input) {
    TextEditKeys keys;
    keys.ctrl = input.keysHeld[SDL_SCANCODE_LCTRL] != 0;
    keys.shift = input.keysHeld[SDL_SCANCODE_LSHIFT] != 0;
    // The root panel hands the clipboard over as typed text; the key only tells a box to make room.
    keys.paste = keys.ctrl && input.keysPressedNoRepeat[SDL_SCANCODE_V] && SDL_HasClipboardText();
    keys.copy = keys.ctrl && input.keysPressedNoRepeat[SDL_SCANCODE_C];
    keys.cut = keys.ctrl && input.keysPressedNoRepeat[SDL_SCANCODE_X];
    keys.deleteKey = input.keysPressedNoRepeat[SDL_SCANCODE_DELETE] != 0;
    keys.selectAll = keys.ctrl && input.keysPressedNoRepeat[SDL_SCANCODE_A];
    keys.enter = input.keysPressed[SDL_SCANCODE_RETURN] != 0;
    keys.backspace = input.keysPressed[SDL_SCANCODE_BACKSPACE] != 0;
    keys.move[kMoveLeft] = input.keysPressed[SDL_SCANCODE_LEFT] != 0;
    keys.move[kMoveRight] = input.keysPressed[SDL_SCANCODE_RIGHT] != 0;
    keys.move[kMoveUp] = input.keysPressed[SDL_SCANCODE_UP] != 0;
    keys.move[kMoveDown] = input.keysPressed[SDL_SCANCODE_DOWN] != 0;
    keys.move[kMoveHome] = input.keysPressed[SDL_SCANCODE_HOME] != 0;
    keys.move[kMoveEnd] = input.keysPressed[SDL_SCANCODE_END] != 0;
    keys.wheelStep = input.mouseWheel == kWheelUp ? -1 : input.mouseWheel == kWheelDown ? 1 : 0;
    return keys;
}

// The blink state is published as TextBox's two statics; every box reads and writes those.
void RestartCaretBlink() {
    TextBox::caretVisible = true;
    TextBox::caretToggleTime = SDL_GetTicks() + kCaretBlinkMs;
}

bool CaretVisible() {
    return TextBox::caretVisible;
}

void BlinkCaret() {
    const uint32_t now = SDL_GetTicks();
    if (TextBox::caretToggleTime <= now) {
        TextBox::caretVisible = !TextBox::caretVisible;
        TextBox::caretToggleTime = now + kCaretBlinkMs;
    }
}

bool HoldTextInput(bool active) {
    InputSystem* input = g_inputSystem;
    if (!active) {
        return false;
    }
    input->wantTextInput = true;
    if (input->textInputCancel) {
        input->textInputCancel = false;
        input->wantTextInput = false;
        return false;
    }
    return true;
}

void SetTextBoxDefaults(Panel* box) {
    box->width = 108;
    box->height = 28;
    box->backgroundColor = Color{255, 255, 255, 255};
    box->drawBorder = true;
    box->enabled = true;
}

void RemoveCarriageReturns(std::string& typed) {
    typed.erase(std::remove(typed.begin(), typed.end(), '\r'), typed.end());
}

uint32_t FindOrLoadFont(const std::string& font, const std::string& path, int32_t size, Color color,
                        Color backColor) {
    int handle = g_fontSystem->FindFont(font, size, color, backColor);
    if (handle < 0) {
        handle = g_fontSystem->LoadFont(font, path, size, color, backColor);
    }
    return handle < 0 ? kNoFont : static_cast<uint32_t>(handle);
}

int32_t SaturateInt32(int64_t value) {
    return static_cast<int32_t>(std::max<int64_t>(INT32_MIN, std::min<int64_t>(value, INT32_MAX)));
}

int32_t MeasureTextRange(FontRecord* font, const std::string& text, size_t start, size_t count,
                         std::string& scratch) {
    if (!font || start >= text.size() || count == 0) {
        return 0;
    }
    scratch.assign(text, start, count);
    return g_fontSystem->MeasureText(scratch.c_str(), font).width;
}

int32_t CharsBeforeX(FontRecord* font, const char* text, int32_t x) {
    int32_t n = g_fontSystem->CharsThatFit(text, font, x);
    if (text[n] != '\0') {
        // Past the middle of the next character the nearer boundary is after it.
        const char next[2] = {text[n], '\0'};
        const int32_t advance = g_fontSystem->MeasureText(next, font).width;
        n = g_fontSystem->CharsThatFit(text, font, x + advance / 2);
    }
    return n;
}
