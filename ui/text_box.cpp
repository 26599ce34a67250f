#include "ui/text_box.h"

#include <SDL.h>

#include <algorithm>
#include <cstdint>
#include <utility>

#include "input/input_system.h"
#include "render/renderer.h"
#include "resources/font_system.h"

bool TextBox::caretVisible = false;
uint32_t TextBox::caretToggleTime = 0;

// Typed or pasted text for a single line: carriage returns dropped, line feeds as blanks.
static void FlattenLineBreaks(std::string& typed) {
    RemoveCarriageReturns(typed);
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
    fontId = FindOrLoadFont(kLabelFontName, kLabelFontPath, size, kTextColor, kTextBackColor);
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

TextSpan<int32_t> TextBox::SelectedSpan() const {
    const int32_t length = Length(text);
    const TextSpan<int32_t> span = OrderedSpan(selectionAnchor, selectionEnd);
    const int32_t from = std::max(0, std::min(span.from, length));
    return TextSpan<int32_t>{from, std::max(from, std::min(span.to, length))};
}

void TextBox::DeleteSelection() {
    if (selectionAnchor == selectionEnd) {
        return;
    }
    const TextSpan<int32_t> span = SelectedSpan();
    text.erase(span.from, span.to - span.from);
    cursor = span.from;
    selectionAnchor = selectionEnd;
}

void TextBox::CopySelection() {
    if (selectionAnchor != selectionEnd) {
        const TextSpan<int32_t> span = SelectedSpan();
        SDL_SetClipboardText(text.substr(span.from, span.to - span.from).c_str());
    }
}

void TextBox::MoveCaret(CaretMove move, bool shift) {
    if (shift && selectionAnchor == selectionEnd) {
        selectionAnchor = cursor;
    }
    if (move == kMoveLeft) {
        cursor = std::max(0, cursor - 1);
    } else if (move == kMoveRight) {
        cursor = std::min(Length(text), cursor + 1);
    } else if (move == kMoveHome) {
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

void TextBox::EditFromKeys() {
    InputSystem* input = g_inputSystem;
    const TextEditKeys keys = TextEditKeys::Read(*input);
    cursor = std::max(0, std::min(cursor, Length(text)));

    if (keys.paste) {
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
    if (keys.copy) {
        CopySelection();
    }
    if (keys.cut) {
        CopySelection();
        DeleteSelection();
    }
    // No forward delete: the key only removes a selection.
    if (keys.deleteKey) {
        DeleteSelection();
    }
    if (keys.selectAll && !text.empty()) {
        selectionAnchor = 0;
        selectionEnd = Length(text);
    }
    if (keys.backspace) {
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
    static const CaretMove kMoveOrder[] = {kMoveLeft, kMoveRight, kMoveHome, kMoveEnd};
    for (CaretMove move : kMoveOrder) {
        if (keys.move[move]) {
            MoveCaret(move, keys.shift);
        }
    }
}

void TextBox::FollowMouseDrag() {
    // Past either edge the caret walks one character per frame, which scrolls the text.
    const int32_t mouseX = g_inputSystem->mouseX;
    if (mouseX <= screenX + textMarginX) {
        cursor = std::max(0, cursor - 1);
    } else if (mouseX < screenX + innerWidth) {
        cursor = IndexUnderMouse();
    } else {
        cursor = std::min(Length(text), cursor + 1);
    }
    selectionEnd = cursor;
}

void TextBox::ScrollToCaret() {
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

void TextBox::Update() {
    Panel::Update();
    active = HoldTextInput(active);
    if (active) {
        EditFromKeys();
    }
    if (selecting) {
        FollowMouseDrag();
    }
    ScrollToCaret();
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
        const TextSpan<int32_t> span = OrderedSpan(selectionAnchor, selectionEnd);
        const int32_t lo = std::max(first, std::min(span.from, end));
        const int32_t hi = std::max(lo, std::min(span.to, end));
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
