// The single-line text entry. An active box takes the input system's typed text, keeps a caret and a
// selection, scrolls sideways so the caret stays in view, and handles copy, cut, paste, select-all,
// backspace and the cursor keys. It has no submit action: the panel that owns it reads `text`.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

#include "engine/api.h"
#include "ui/label.h"
#include "ui/panel.h"
#include "ui/text_edit.h"

class VORMI_API TextBox : public Panel {
public:
    explicit TextBox(std::string name);
    // Key "text" sets the text with SetText; the rest go to Panel.
    void SetProperty(const std::string& key, const std::string& value) override;
    void OnClick() override;
    void Update() override;
    void Draw() override;
    // The text area follows the box, and the font size follows its height.
    void OnResized() override;
    void OnMousePressed() override;
    void OnMouseReleased() override;
    void OnMouseReleasedOutside() override;
    void Focus() override;
    // Also drops the input system's wantTextInput.
    void Unfocus() override;

    // Replaces the text; caret and selection go to its end, the scroll is kept within it.
    void SetText(const std::string& newText);
    // Finds or loads "OpenSans-Regular" at that pixel height; fontId becomes kNoFont when it cannot be
    // loaded, and caretHeight follows the font otherwise.
    void SetFontSize(int32_t size);

    // Shown steadily while typing, then blinking; shared by every text box and rich text box
    // (RestartCaretBlink and BlinkCaret drive them).
    static bool caretVisible;
    static uint32_t caretToggleTime;

    std::string text;
    bool active = false;
    uint32_t fontId = kNoFont;
    int32_t scrollStart = 0;
    std::string visibleText;
    int32_t cursor = 0;
    int32_t caretHeight = 2;
    int32_t textMarginX = 4;
    int32_t textMarginY = 4;
    int32_t innerWidth = 100;
    int32_t innerHeight = 20;
    int32_t selectionAnchor = 0;
    int32_t selectionEnd = 0;
    bool selecting = false;

private:
    struct VisibleRange {
        int32_t first;
        int32_t last;
    };
    VisibleRange ComputeVisibleRange();
    // The selection ordered and clamped to the text.
    TextSpan<int32_t> SelectedSpan() const;
    int32_t IndexUnderMouse();
    void DeleteSelection();
    void CopySelection();
    void EditFromKeys();
    void MoveCaret(CaretMove move, bool shift);
    void FollowMouseDrag();
    void ScrollToCaret();

    // Reused for measuring pieces of the text, so drawing does not allocate.
    std::string measureScratch;
};
