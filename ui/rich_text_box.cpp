#include "ui/rich_text_box.h"

#include <SDL.h>

#include <algorithm>
#include <cstdint>
#include <utility>

#include "input/input_system.h"
#include "render/renderer.h"
#include "resources/font_system.h"

static const int32_t kMinZoomSize = 5;
static const int32_t kMaxZoomSize = 50;
// Backspace at the left edge of the view scrolls back this many columns.
static const int32_t kBackspaceScroll = 5;

static int32_t Length(const std::string& text) {
    return static_cast<int32_t>(text.size());
}

// Out-of-range fields (a host may write them) are pulled back into the content before use.
static TextPosition ClampPosition(const std::vector<RichTextLine>& lines, TextPosition p) {
    const int32_t last = static_cast<int32_t>(lines.size()) - 1;
    p.line = std::max(0, std::min(p.line, last));
    p.column = std::max(0, std::min(p.column, Length(lines[p.line].text)));
    return p;
}

RichTextBox::RichTextBox(std::string boxName) : Panel(std::move(boxName)) {
    SetTextBoxDefaults(this);
    SetFont(kRichTextFontName, kRichTextFontPath, lineHeight, kTextColor, kTextBackColor);
    lines.emplace_back();
}

RichTextBox::~RichTextBox() {
    if (active) {
        active = false;
        g_inputSystem->wantTextInput = false;
    }
}

void RichTextBox::SetFont(const std::string& font, const std::string& path, int32_t size, Color color,
                          Color backColor) {
    fontId = FindOrLoadFont(font, path, size, color, backColor);
    if (FontRecord* record = g_fontSystem->GetFont(static_cast<int>(fontId))) {
        caretHeight = record->cellHeight;
        lineHeight = record->cellHeight;
    }
}

void RichTextBox::OnClick() {
    active = true;
    RestartCaretBlink();
}

void RichTextBox::Focus() {
    Panel::Focus();
    active = true;
}

void RichTextBox::Unfocus() {
    Panel::Unfocus();
    // Text typed after the box lost focus must not pile up for the next box that takes input.
    if (active) {
        g_inputSystem->wantTextInput = false;
    }
    active = false;
}

void RichTextBox::OnResized() {
    innerWidth = SaturateInt32(int64_t(width) - 2 * int64_t(marginX));
}

void RichTextBox::OnMousePressed() {
    Panel::OnMousePressed();
    selecting = true;
    const TextPosition position = PositionUnderMouse();
    MoveCaret(position);
    selectionAnchor = position;
    selectionEnd = position;
    RestartCaretBlink();
}

void RichTextBox::OnMouseReleased() {
    pressed = false;
    selecting = false;
    OnClick();
}

void RichTextBox::OnMouseReleasedOutside() {
    pressed = false;
    selecting = false;
}

void RichTextBox::AppendText(const std::string& newText) {
    if (lines.empty()) {
        lines.emplace_back();
    }
    size_t start = 0;
    for (;;) {
        const size_t end = newText.find('\n', start);
        if (end == std::string::npos) {
            lines.back().text.append(newText, start, std::string::npos);
            return;
        }
        lines.back().text.append(newText, start, end - start);
        lines.emplace_back();
        start = end + 1;
    }
}

void RichTextBox::SetText(const std::string& newText) {
    ClearText();
    AppendText(newText);
}

void RichTextBox::SetProperty(const std::string& key, const std::string& value) {
    if (key == "text") {
        SetText(value);
    } else {
        Panel::SetProperty(key, value);
    }
}

void RichTextBox::ClearText() {
    lines.clear();
    lines.emplace_back();
    cursorLine = 0;
    firstVisibleLine = 0;
    firstVisibleColumn = 0;
    selectionAnchor = TextPosition{0, 0};
    selectionEnd = TextPosition{0, 0};
}

int32_t RichTextBox::VisibleLineCount() const {
    return lineHeight > 0 ? SaturateInt32((int64_t(height) - marginY) / lineHeight) : 0;
}

void RichTextBox::ScrollToEnd() {
    firstVisibleColumn = 0;
    cursorLine = LastLine();
    const int32_t lowestTop = std::max(cursorLine - VisibleLineCount() + 1, 0);
    firstVisibleLine = firstVisibleLine < lowestTop ? lowestTop : std::min(cursorLine, firstVisibleLine);
}

int32_t RichTextBox::LastLine() const {
    return std::max(0, static_cast<int32_t>(lines.size()) - 1);
}

TextPosition RichTextBox::Caret() const {
    const int32_t line = std::max(0, std::min(cursorLine, LastLine()));
    return ClampPosition(lines, TextPosition{lines[line].column, line});
}

void RichTextBox::MoveCaret(TextPosition position) {
    position = ClampPosition(lines, position);
    cursorLine = position.line;
    lines[position.line].column = position.column;
}

bool RichTextBox::HasSelection() const {
    return selectionAnchor != selectionEnd;
}

TextSpan<TextPosition> RichTextBox::Selection() const {
    return OrderedSpan(ClampPosition(lines, selectionAnchor), ClampPosition(lines, selectionEnd));
}

std::string RichTextBox::SelectedText() const {
    std::string out;
    if (!HasSelection() || lines.empty()) {
        return out;
    }
    const TextSpan<TextPosition> span = Selection();
    for (int32_t line = span.from.line; line <= span.to.line; ++line) {
        const std::string& text = lines[line].text;
        const int32_t from = line == span.from.line ? span.from.column : 0;
        const int32_t to = line == span.to.line ? span.to.column : Length(text);
        if (line != span.from.line) {
            out += '\n';
        }
        out.append(text, from, to - from);
    }
    return out;
}

void RichTextBox::DeleteSelection() {
    if (!HasSelection()) {
        return;
    }
    const TextSpan<TextPosition> span = Selection();
    std::string& head = lines[span.from.line].text;
    if (span.from.line == span.to.line) {
        head.erase(span.from.column, span.to.column - span.from.column);
    } else {
        head.replace(span.from.column, std::string::npos, lines[span.to.line].text, span.to.column, std::string::npos);
        lines.erase(lines.begin() + span.from.line + 1, lines.begin() + span.to.line + 1);
    }
    MoveCaret(span.from);
    selectionAnchor = span.from;
    selectionEnd = span.from;
}

void RichTextBox::InsertText(const std::string& typed) {
    const TextPosition caret = Caret();
    const size_t column = static_cast<size_t>(caret.column);
    const size_t breaks = static_cast<size_t>(std::count(typed.begin(), typed.end(), '\n'));
    if (breaks == 0) {
        lines[caret.line].text.insert(column, typed);
        MoveCaret(TextPosition{caret.column + Length(typed), caret.line});
        return;
    }
    // All new lines go in at once, so a long paste does not shift the lines below once per line. The
    // rest of the caret line ends up behind the inserted text, and the caret between the two.
    std::string tail = lines[caret.line].text.substr(column);
    lines[caret.line].text.erase(column);
    lines.insert(lines.begin() + caret.line + 1, breaks, RichTextLine());
    int32_t line = caret.line;
    size_t start = 0;
    for (;;) {
        const size_t end = typed.find('\n', start);
        lines[line].text.append(typed, start, end == std::string::npos ? std::string::npos : end - start);
        if (end == std::string::npos) {
            break;
        }
        ++line;
        start = end + 1;
    }
    const int32_t caretColumn = Length(lines[line].text);
    lines[line].text += tail;
    MoveCaret(TextPosition{caretColumn, line});
}

TextPosition RichTextBox::PositionUnderMouse() {
    const TextPosition caret = Caret();
    FontRecord* font = g_fontSystem->GetFont(static_cast<int>(fontId));
    if (!font || lineHeight <= 0) {
        return caret;
    }
    const int32_t ry = g_inputSystem->mouseY - screenY - marginY;
    // Above the text the position is the line above the view, so a drag upwards scrolls.
    const int32_t row = ry < 0 ? -1 : ry / lineHeight;
    TextPosition position;
    position.line = SaturateInt32(std::max<int64_t>(0, std::min<int64_t>(int64_t(firstVisibleLine) + row, LastLine())));
    const std::string& text = lines[position.line].text;
    const int32_t rx = g_inputSystem->mouseX - screenX - marginX;
    const int32_t first = std::min(firstVisibleColumn, Length(text));
    if (rx < 0) {
        position.column = std::max(0, first - 1);
    } else {
        position.column = first + CharsBeforeX(font, text.c_str() + first, rx);
    }
    return position;
}

void RichTextBox::KeepCaretVisible() {
    const TextPosition caret = Caret();
    const int32_t rows = std::max(1, VisibleLineCount());
    if (caret.line < firstVisibleLine) {
        firstVisibleLine = caret.line;
    } else if (caret.line >= int64_t(firstVisibleLine) + rows) {
        firstVisibleLine = caret.line - rows + 1;
    }
    if (caret.column < firstVisibleColumn) {
        firstVisibleColumn = caret.column;
        return;
    }
    FontRecord* font = g_fontSystem->GetFont(static_cast<int>(fontId));
    if (!font) {
        return;
    }
    // The leftmost first column from which the text up to the caret still fits.
    const std::string& text = lines[caret.line].text;
    const int32_t leftmost = std::max(0, firstVisibleColumn);
    int32_t start = caret.column;
    int32_t used = 0;
    while (start > leftmost) {
        const int32_t advance = MeasureTextRange(font, text, start - 1, 1, measureScratch);
        if (used + advance > innerWidth) {
            break;
        }
        used += advance;
        --start;
    }
    firstVisibleColumn = start;
}

void RichTextBox::ZoomFont(int32_t step) {
    FontRecord* font = g_fontSystem->GetFont(static_cast<int>(fontId));
    if (!font) {
        return;
    }
    // A font may come out a pixel shorter than asked; stepping from the size asked for keeps the
    // zoom from sticking on such sizes.
    const int32_t current = font->cellHeight == lineHeight ? font->size : lineHeight;
    const int32_t size = std::max(kMinZoomSize, std::min(current + step, kMaxZoomSize));
    const std::string name = font->name;
    const std::string path = font->path;
    SetFont(name, path, size, font->color, font->backColor);
}

void RichTextBox::HandleWheel(const TextEditKeys& keys) {
    const int32_t step = keys.wheelStep;
    if (step == 0) {
        return;
    }
    if (keys.ctrl) {
        ZoomFont(-step);
    } else if (keys.shift) {
        int32_t longest = 0;
        for (const RichTextLine& line : lines) {
            longest = std::max(longest, Length(line.text));
        }
        firstVisibleColumn = std::max(0, std::min(std::min(firstVisibleColumn, longest) + step, longest));
    } else {
        firstVisibleLine = std::max(0, std::min(std::min(firstVisibleLine, LastLine()) + step, LastLine()));
    }
}

void RichTextBox::HandleNavigation(const TextEditKeys& keys) {
    const bool ctrl = keys.ctrl;
    const bool shift = keys.shift;
    static const CaretMove kMoveOrder[] = {kMoveUp, kMoveDown, kMoveRight, kMoveLeft, kMoveHome, kMoveEnd};
    for (CaretMove move : kMoveOrder) {
        if (!keys.move[move]) {
            continue;
        }
        TextPosition caret = Caret();
        if (shift && !HasSelection()) {
            selectionAnchor = caret;
        }
        const int32_t length = Length(lines[caret.line].text);
        switch (move) {
        case kMoveUp:
        case kMoveDown:
            // The column travels with the caret and is then fitted to the new line.
            caret.line = std::max(0, std::min(caret.line + (move == kMoveUp ? -1 : 1), LastLine()));
            caret.column = std::min(caret.column, Length(lines[caret.line].text));
            break;
        case kMoveRight:
            if (caret.column < length) {
                ++caret.column;
            } else if (caret.line < LastLine()) {
                caret = TextPosition{0, caret.line + 1};
            }
            break;
        case kMoveLeft:
            if (caret.column > 0) {
                --caret.column;
            } else if (caret.line > 0) {
                caret = TextPosition{Length(lines[caret.line - 1].text), caret.line - 1};
            }
            break;
        case kMoveHome:
            if (ctrl) {
                caret.line = 0;
                firstVisibleLine = 0;
                firstVisibleColumn = 0;
            }
            caret.column = 0;
            break;
        default:
            if (ctrl) {
                caret.line = LastLine();
            }
            caret.column = Length(lines[caret.line].text);
            break;
        }
        MoveCaret(caret);
        if (shift) {
            selectionEnd = Caret();
        } else {
            selectionAnchor = selectionEnd;
        }
        KeepCaretVisible();
        RestartCaretBlink();
    }
}

void RichTextBox::EditFromKeys() {
    InputSystem* input = g_inputSystem;
    const TextEditKeys keys = TextEditKeys::Read(*input);

    if (keys.paste && !readOnly) {
        DeleteSelection();
    }
    if (!input->textInput.empty()) {
        if (!readOnly) {
            DeleteSelection();
            RemoveCarriageReturns(input->textInput);
            InsertText(input->textInput);
            KeepCaretVisible();
            RestartCaretBlink();
        }
        input->textInput.clear();
    }
    if ((keys.copy || (keys.cut && !readOnly)) && HasSelection()) {
        SDL_SetClipboardText(SelectedText().c_str());
    }
    if (keys.cut && !readOnly) {
        DeleteSelection();
    }
    if (keys.deleteKey && !readOnly) {
        DeleteSelection();
    }
    HandleWheel(keys);
    if (keys.selectAll) {
        const TextPosition end = {Length(lines.back().text), LastLine()};
        selectionAnchor = TextPosition{0, 0};
        selectionEnd = end;
        MoveCaret(end);
    }
    if (keys.enter && !readOnly) {
        DeleteSelection();
        InsertText("\n");
        KeepCaretVisible();
        RestartCaretBlink();
    }
    if (keys.backspace && !readOnly) {
        if (HasSelection()) {
            DeleteSelection();
        } else {
            Backspace();
        }
        RestartCaretBlink();
    }
    HandleNavigation(keys);
}

void RichTextBox::Backspace() {
    const TextPosition caret = Caret();
    if (caret.column > 0) {
        // Erasing at the left edge brings a few columns back into view.
        if (caret.column == firstVisibleColumn) {
            firstVisibleColumn = std::max(0, firstVisibleColumn - kBackspaceScroll);
        }
        lines[caret.line].text.erase(static_cast<size_t>(caret.column - 1), 1);
        MoveCaret(TextPosition{caret.column - 1, caret.line});
    } else if (caret.line > 0) {
        RichTextLine& previous = lines[caret.line - 1];
        const int32_t join = Length(previous.text);
        previous.text += lines[caret.line].text;
        lines.erase(lines.begin() + caret.line);
        MoveCaret(TextPosition{join, caret.line - 1});
    }
    KeepCaretVisible();
}

void RichTextBox::DropOldestLines() {
    if (lines.size() <= kRichTextMaxLines) {
        return;
    }
    const int32_t dropped = static_cast<int32_t>(kRichTextDropLines);
    lines.erase(lines.begin(), lines.begin() + dropped);
    const int32_t last = LastLine();
    auto lower = [&](int32_t value) { return std::max(0, std::min(value - dropped, last)); };
    firstVisibleLine = lower(firstVisibleLine);
    cursorLine = lower(cursorLine);
    selectionAnchor.line = lower(selectionAnchor.line);
    selectionEnd.line = lower(selectionEnd.line);
}

void RichTextBox::Update() {
    // The lines are public; whatever a host did with them, the caret needs one to stand on.
    if (lines.empty()) {
        lines.emplace_back();
    }
    Panel::Update();
    active = HoldTextInput(active);
    DropOldestLines();
    if (active) {
        EditFromKeys();
    }
    if (selecting) {
        const TextPosition position = PositionUnderMouse();
        MoveCaret(position);
        selectionEnd = Caret();
        KeepCaretVisible();
    }
}

void RichTextBox::Draw() {
    Panel::Draw();
    FontRecord* font = g_fontSystem->GetFont(static_cast<int>(fontId));
    if (!font || !IsDrawable() || !g_renderer || lines.empty()) {
        return;
    }
    g_renderer->SetClipRect(&clipRect);
    const int32_t left = screenX + marginX;
    const int32_t top = screenY + marginY;
    const int32_t firstLine = std::max(0, std::min(firstVisibleLine, LastLine()));
    const int32_t lastLine = SaturateInt32(std::min<int64_t>(int64_t(firstLine) + VisibleLineCount(), LastLine()));
    const int32_t column = std::max(0, firstVisibleColumn);
    auto lineTop = [&](int32_t line) { return top + (line - firstLine) * lineHeight; };

    if (HasSelection()) {
        const TextSpan<TextPosition> span = Selection();
        for (int32_t line = std::max(span.from.line, firstLine); line <= std::min(span.to.line, lastLine); ++line) {
            const std::string& text = lines[line].text;
            const int32_t from = std::max(column, line == span.from.line ? span.from.column : 0);
            const int32_t to = line == span.to.line ? span.to.column : Length(text);
            if (to <= from) {
                continue;
            }
            const Rect highlight = {left + MeasureTextRange(font, text, column, from - column, measureScratch),
                                    lineTop(line), MeasureTextRange(font, text, from, to - from, measureScratch),
                                    lineHeight};
            g_renderer->FillRect(&highlight, kSelectionColor);
        }
    }
    for (int32_t line = firstLine; line <= lastLine; ++line) {
        const std::string& text = lines[line].text;
        if (column >= Length(text)) {
            continue;
        }
        // Only what fits (and the one character cut by the right edge) is handed to the renderer.
        const int32_t fit = g_fontSystem->CharsThatFit(text.c_str() + column, font, innerWidth);
        measureScratch.assign(text, static_cast<size_t>(column), static_cast<size_t>(fit) + 1);
        g_renderer->DrawText(static_cast<int>(fontId), measureScratch.c_str(), left, lineTop(line));
    }
    const TextPosition caret = Caret();
    if ((active || selecting) && CaretVisible() && caret.line >= firstLine && caret.line <= lastLine &&
        caret.column >= column) {
        const int32_t caretX = MeasureTextRange(font, lines[caret.line].text, column, caret.column - column,
                                                measureScratch);
        const Rect bar = {left + caretX, lineTop(caret.line), 1, caretHeight};
        g_renderer->FillRect(&bar, kCaretColor);
    }
    BlinkCaret();
    g_renderer->SetClipRect(nullptr);
}
