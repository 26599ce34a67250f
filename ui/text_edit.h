// The editing core both text boxes share: the frame's editing keys decoded once from the input
// system, the caret blink every box shows in step, holding SDL text input while a box edits,
// selection spans, and measuring pieces of text without allocating.
#pragma once

#include <SDL_scancode.h>

#include <cstddef>
#include <cstdint>
#include <string>

#include "render/draw_types.h"

class InputSystem;
class Panel;
struct FontRecord;

// Milliseconds the caret stays on or off.
const uint32_t kCaretBlinkMs = 500;
const Color kSelectionColor = {80, 80, 255, 255};
const Color kCaretColor = {0, 0, 0, 255};
// The colour words both boxes ask the font system for.
const Color kTextColor = {0, 0, 0, 255};
const Color kTextBackColor = {255, 255, 255, 0};

// A place in multi-line text: the column within the line.
struct TextPosition {
    int32_t column;
    int32_t line;
};

inline bool operator==(TextPosition a, TextPosition b) {
    return a.column == b.column && a.line == b.line;
}
inline bool operator!=(TextPosition a, TextPosition b) {
    return !(a == b);
}
// Line first, then column.
inline bool operator<(TextPosition a, TextPosition b) {
    return a.line < b.line || (a.line == b.line && a.column < b.column);
}

// A selected range ordered start to end, the end excluded; Position is a character index or a
// TextPosition.
template <typename Position>
struct TextSpan {
    Position from;
    Position to;
};

template <typename Position>
TextSpan<Position> OrderedSpan(Position anchor, Position end) {
    return end < anchor ? TextSpan<Position>{end, anchor} : TextSpan<Position>{anchor, end};
}

// The caret moves a box may read; each box walks them in its own order.
enum CaretMove { kMoveLeft, kMoveRight, kMoveUp, kMoveDown, kMoveHome, kMoveEnd, kCaretMoveCount };

// The frame's editing keys, read by SDL scancode. Ctrl and Shift are the left ones. Clipboard,
// Delete and select-all fire once per press; Return, Backspace and the moves repeat while held.
struct TextEditKeys {
    bool ctrl = false;
    bool shift = false;
    bool paste = false;  // Ctrl+V, and the clipboard has text
    bool copy = false;
    bool cut = false;
    bool deleteKey = false;
    bool selectAll = false;
    bool enter = false;
    bool backspace = false;
    bool move[kCaretMoveCount] = {};
    int32_t wheelStep = 0;  // -1 wheel up, +1 wheel down, 0 none

    static TextEditKeys Read(const InputSystem& input);
};

// Shows the caret and restarts its blink (after every edit and caret move).
void RestartCaretBlink();
// Whether the caret is in its shown phase.
bool CaretVisible();
// Flips the caret when its time has come (once per drawn box is fine: the time moves on).
void BlinkCaret();

// Keeps SDL text input on while the box is active and answers a cancel request; returns whether the
// box is still active. An inactive box leaves a pending cancel for the one that is editing.
bool HoldTextInput(bool active);

// The look both text boxes start with: 108 x 28, white, bordered, taking the mouse.
void SetTextBoxDefaults(Panel* box);
// Carriage returns dropped from typed or pasted text.
void RemoveCarriageReturns(std::string& typed);
// The handle of the font at that size and colours, loaded from path when it is not cached yet;
// kNoFont when it cannot be loaded.
uint32_t FindOrLoadFont(const std::string& font, const std::string& path, int32_t size, Color color,
                        Color backColor);
// How many leading characters of text lie left of x pixels, rounded to the nearer character boundary.
int32_t CharsBeforeX(FontRecord* font, const char* text, int32_t x);
// The value pulled into the int32 range; sizes from scripts may be extreme, and their sums must not
// overflow.
int32_t SaturateInt32(int64_t value);
// Width of count bytes of text from start on in the font, measured without allocating once scratch has
// grown to the text's size. 0 without a font or for an empty range.
int32_t MeasureTextRange(FontRecord* font, const std::string& text, size_t start, size_t count,
                         std::string& scratch);
