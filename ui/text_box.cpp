#include "ui/text_box.h"

#include <SDL.h>

#include <algorithm>
#include <cstdint>
#include <utility>

#include "input/input_system.h"
#include "render/renderer.h"
#include "resources/font_system.h"

static const Color kFontColor = {0, 0, 0, 255};
static const Color kFontBackColor = {255, 255, 255, 0};

bool TextBox::caretVisible = false;
uint32_t TextBox::caretToggleTime = 0;

void TextBox::RestartCaretBlink() {
    caretVisible = true;
    caretToggleTime = SDL_GetTicks() + kCaretBlinkMs;
}

void TextBox::BlinkCaret() {
    const uint32_t now = SDL_GetTicks();
    if (caretToggleTime <= now) {
        caretVisible = !caretVisible;
        caretToggleTime = now + kCaretBlinkMs;
    }
}

void SetTextBoxDefaults(Panel* box) {
    box->width = 108;
    box->height = 28;
    box->backgroundColor = Color{255, 255, 255, 255};
    box->drawBorder = true;
    box->enabled = true;
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

// Typed or pasted text for a single line: carriage returns dropped, line feeds as blanks.
static void FlattenLineBreaks(std::string& typed) {
    typed.erase(std::remove(typed.begin(), typed.end(), '\r'), typed.end());
    std::replace(typed.begin(), typed.end(), '\n', ' ');
}

static int32_t Length(const std::string& text) {
    return static_cast<int32_t>(text.size());
}

TextBox::TextBox(std::string boxName) : Panel(std::move(boxName)) {
    SetTextBoxDefaults(this);
    SetFontSize(innerHeight);
}

void TextBox::SetFontSize(int32_t size) {
    fontId = FindOrLoadFont(kLabelFontName, kLabelFontPath, size, kFontColor, kFontBackColor);
    if (FontRecord* font = g_fontSystem->GetFont(static_cast<int>(fontId))) {
        caretHeight = font->cellHeight;
    }
}

void TextBox::SetText(const std::string& newText) {
    text = newText;
    cursor = Length(text);
    selectionAnchor = cursor;
    selectionEnd = cursor;
    scrollStart = std::min(scrollStart, cursor);
}

void TextBox::SetProperty(const std::string& key, const std::string& value) {
    if (key == "text") {
        SetText(value);
    } else {
        Panel::SetProperty(key, value);
    }
}

void TextBox::OnClick() {
    active = true;
    RestartCaretBlink();
}

void TextBox::Focus() {
    Panel::Focus();
    active = true;
}

void TextBox::Unfocus() {
    Panel::Unfocus();
    active = false;
    g_inputSystem->wantTextInput = false;
}

void TextBox::OnResized() {
    innerWidth = SaturateInt32(int64_t(width) - 8);
    innerHeight = SaturateInt32(int64_t(height) - 8);
    SetFontSize(innerHeight);
}

void TextBox::OnMousePressed() {
    Panel::OnMousePressed();
    selecting = true;
    cursor = IndexUnderMouse();
    selectionAnchor = cursor;
    RestartCaretBlink();
}

void TextBox::OnMouseReleased() {
    pressed = false;
    OnClick();
    selecting = false;
    Focus();
}

void TextBox::OnMouseReleasedOutside() {
    pressed = false;
    selecting = false;
    // A drag that ends outside the box still leaves it focused.
    Focus();
}

int32_t TextBox::IndexUnderMouse() {
    FontRecord* font = g_fontSystem->GetFont(static_cast<int>(fontId));
    if (!font) {
        return cursor;
    }
    const int32_t rx = std::max(0, g_inputSystem->mouseX - textMarginX - screenX);
    const int32_t index = scrollStart + CharsBeforeX(font, visibleText.c_str(), rx);
    return std::max(0, std::min(index, Length(text)));
}

TextBox::VisibleRange TextBox::ComputeVisibleRange() {
    FontRecord* font = g_fontSystem->GetFont(static_cast<int>(fontId));
    const int32_t first = std::max(0, std::min(scrollStart, Length(text)));
    const int32_t count = g_fontSystem->CharsThatFit(text.c_str() + first, font, innerWidth);
    return VisibleRange{first, first + count - 1};
}

TextBox::VisibleRange TextBox::SelectedSpan() {
    const int32_t length = Length(text);
    const int32_t lo = std::max(0, std::min(std::min(selectionAnchor, selectionEnd), length));
    return VisibleRange{lo, std::max(lo, std::min(std::max(selectionAnchor, selectionEnd), length))};
}

void TextBox::DeleteSelection() {
    if (selectionAnchor == selectionEnd) {
        return;
    }
    const VisibleRange span = SelectedSpan();
    text.erase(span.first, span.last - span.first);
    cursor = span.first;
    selectionAnchor = selectionEnd;
}

void TextBox::CopySelection() {
    if (selectionAnchor != selectionEnd) {
        const VisibleRange span = SelectedSpan();
        SDL_SetClipboardText(text.substr(span.first, span.last - span.first).c_str());
    }
}

void TextBox::EditFromKeys() {
    InputSystem* input = g_inputSystem;
    const bool ctrl = input->keysHeld[kTextKeyLeftCtrl] != 0;
    const bool shift = input->keysHeld[kTextKeyLeftShift] != 0;
    cursor = std::max(0, std::min(cursor, Length(text)));

    // The root panel hands the clipboard over as typed text; the selection it replaces goes now.
    if (ctrl && input->keysPressedNoRepeat[kTextKeyV] && SDL_HasClipboardText()) {
        DeleteSelection();
    }
    if (!input->textInput.empty()) {
        DeleteSelection();
        FlattenLineBreaks(input->textInput);
        text.insert(static_cast<size_t>(cursor), input->textInput);
        cursor += Length(input->textInput);
        input->textInput.clear();
        selectionAnchor = selectionEnd;
        RestartCaretBlink();
    }
    if (ctrl && input->keysPressedNoRepeat[kTextKeyC]) {
        CopySelection();
    }
    if (ctrl && input->keysPressedNoRepeat[kTextKeyX]) {
        CopySelection();
        DeleteSelection();
    }
    // No forward delete: the key only removes a selection.
    if (input->keysPressedNoRepeat[kTextKeyDelete]) {
        DeleteSelection();
    }
    if (ctrl && input->keysPressedNoRepeat[kTextKeyA] && !text.empty()) {
        selectionAnchor = 0;
        selectionEnd = Length(text);
    }
    if (input->keysPressed[kTextKeyBackspace]) {
        if (selectionAnchor != selectionEnd) {
            DeleteSelection();
        } else if (cursor > 0) {
            // Erasing at the left edge brings a few characters back into view.
            if (cursor == scrollStart) {
                scrollStart = std::max(0, scrollStart - 5);
            }
            text.erase(static_cast<size_t>(cursor - 1), 1);
            --cursor;
        }
        RestartCaretBlink();
    }
    static const int32_t kMoveKeys[] = {kTextKeyLeft, kTextKeyRight, kTextKeyHome, kTextKeyEnd};
    for (int32_t key : kMoveKeys) {
        if (!input->keysPressed[key]) {
            continue;
        }
        if (shift && selectionAnchor == selectionEnd) {
            selectionAnchor = cursor;
        }
        if (key == kTextKeyLeft) {
            cursor = std::max(0, cursor - 1);
        } else if (key == kTextKeyRight) {
            cursor = std::min(Length(text), cursor + 1);
        } else if (key == kTextKeyHome) {
            cursor = 0;
        } else {
            cursor = Length(text);
        }
        if (shift) {
            selectionEnd = cursor;
        } else {
            selectionAnchor = selectionEnd;
        }
        RestartCaretBlink();
    }
}

void TextBox::Update() {
    Panel::Update();
    InputSystem* input = g_inputSystem;
    active = HoldTextInput(active);
    if (active) {
        EditFromKeys();
    }

    if (selecting) {
        // Past either edge the caret walks one character per frame, which scrolls the text.
        if (input->mouseX <= screenX + textMarginX) {
            cursor = std::max(0, cursor - 1);
        } else if (input->mouseX < screenX + innerWidth) {
            cursor = IndexUnderMouse();
        } else {
            cursor = std::min(Length(text), cursor + 1);
        }
        selectionEnd = cursor;
    }

    VisibleRange range = ComputeVisibleRange();
    if (cursor > range.last + 1) {
        scrollStart += cursor - range.last + 1;
    } else if (cursor < range.first) {
        scrollStart += cursor - range.first;
    }
    scrollStart = std::max(0, std::min(scrollStart, cursor));

    range = ComputeVisibleRange();
    if (range.first <= range.last && range.last < Length(text)) {
        visibleText.assign(text, static_cast<size_t>(range.first), static_cast<size_t>(range.last - range.first + 1));
    } else {
        visibleText.clear();
    }
}

void TextBox::Draw() {
    Panel::Draw();
    FontRecord* font = g_fontSystem->GetFont(static_cast<int>(fontId));
    if (!IsDrawable() || !font || !g_renderer) {
        return;
    }
    g_renderer->SetClipRect(&clipRect);
    const int32_t left = screenX + textMarginX;
    const int32_t top = screenY + textMarginY;

    if (selectionAnchor != selectionEnd) {
        const int32_t first = std::max(0, std::min(scrollStart, Length(text)));
        const int32_t end = first + Length(visibleText);
        const int32_t lo = std::max(first, std::min(std::min(selectionAnchor, selectionEnd), end));
        const int32_t hi = std::max(lo, std::min(std::max(selectionAnchor, selectionEnd), end));
        if (hi > lo) {
            const int32_t before = MeasureTextRange(font, visibleText, 0, lo - first, measureScratch);
            const int32_t selected = MeasureTextRange(font, visibleText, lo - first, hi - lo, measureScratch);
            const Rect highlight = {left + before, top, selected, innerHeight};
            g_renderer->FillRect(&highlight, kSelectionColor);
        }
    }
    if (!visibleText.empty()) {
        g_renderer->DrawText(static_cast<int>(fontId), visibleText.c_str(), left, top);
    }
    if ((active || selecting) && caretVisible) {
        const int32_t from = std::max(0, scrollStart);
        const int32_t caretX = cursor > from ? MeasureTextRange(font, text, from, cursor - from, measureScratch) : 0;
        const Rect caret = {left + caretX, top, 1, caretHeight};
        g_renderer->FillRect(&caret, kCaretColor);
    }
    BlinkCaret();
    g_renderer->SetClipRect(nullptr);
}
