// The multi-line text view and editor. The text is a list of lines, each keeping its own caret column;
// the view scrolls both ways, Ctrl+wheel zooms the font, and the line count is bounded so a log that
// is written to every frame stays small. The console's log is a read-only one.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "engine/api.h"
#include "ui/label.h"
#include "ui/panel.h"
#include "ui/text_edit.h"

struct RichTextLine {
    std::string text;   // without the line break
    std::string extra;  // kept with the line; every new line starts with it empty
    int32_t column = 0; // the caret column on this line, 0 ... text length
};

const char* const kRichTextFontName = "Inconsolata-Regular";
const char* const kRichTextFontPath = "./test/fonts/Inconsolata-Regular.ttf";
// Above this many lines the oldest kRichTextDropLines go at the next update.
const size_t kRichTextMaxLines = 9000;
const size_t kRichTextDropLines = 1000;

class VORMI_API RichTextBox : public Panel {
public:
    explicit RichTextBox(std::string name);
    // An active box gives up the input system's text input first.
    ~RichTextBox() override;
    // Key "text" replaces the content with SetText; the rest go to Panel.
    void SetProperty(const std::string& key, const std::string& value) override;
    void OnClick() override;
    void Update() override;
    void Draw() override;
    void OnResized() override;
    void OnMousePressed() override;
    void OnMouseReleased() override;
    void OnMouseReleasedOutside() override;
    void Focus() override;
    void Unfocus() override;

    // Appends to the last line; every "\n" starts a new line. Caret and scroll stay where they are.
    void AppendText(const std::string& newText);
    // ClearText, then the text split into lines.
    void SetText(const std::string& newText);
    // One empty line; caret line and scroll back to 0.
    void ClearText();
    // Caret to the last line and the view down so that line is the lowest one shown.
    void ScrollToEnd();
    // Finds or loads the font; fontId, caretHeight and lineHeight follow the record. A font that cannot
    // be loaded leaves fontId kNoFont.
    void SetFont(const std::string& font, const std::string& path, int32_t size, Color color, Color backColor);
    // The selected text, lines joined with "\n"; empty without a selection.
    std::string SelectedText() const;

    bool active = false;
    bool readOnly = false;
    uint32_t fontId = kNoFont;
    int32_t caretHeight = 2;
    int32_t marginX = 4;
    int32_t marginY = 4;
    int32_t innerWidth = 100;
    int32_t lineHeight = 20;
    std::vector<RichTextLine> lines;
    int32_t cursorLine = 0;
    int32_t firstVisibleLine = 0;
    int32_t firstVisibleColumn = 0;
    TextPosition selectionAnchor = {0, 0};
    TextPosition selectionEnd = {0, 0};
    bool selecting = false;

private:
    int32_t LastLine() const;
    TextPosition Caret() const;
    void MoveCaret(TextPosition position);
    bool HasSelection() const;
    // The selection ordered start to end and clamped to the content.
    TextSpan<TextPosition> Selection() const;
    void DeleteSelection();
    // Inserts at the caret; every "\n" starts a new line, and the caret ends after the inserted text.
    void InsertText(const std::string& typed);
    void Backspace();
    TextPosition PositionUnderMouse();
    void ZoomFont(int32_t step);
    void HandleWheel(const TextEditKeys& keys);
    void HandleNavigation(const TextEditKeys& keys);
    void EditFromKeys();
    void DropOldestLines();
    void KeepCaretVisible();
    int32_t VisibleLineCount() const;

    // Reused for measuring pieces of lines, so drawing does not allocate.
    std::string measureScratch;
};
