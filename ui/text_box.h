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

struct FontRecord;

// The scancodes the text boxes read.
enum TextKey : int32_t {
    kTextKeyA = 4,
    kTextKeyC = 6,
    kTextKeyV = 25,
    kTextKeyX = 27,
    kTextKeyReturn = 40,
    kTextKeyBackspace = 42,
    kTextKeyHome = 74,
    kTextKeyDelete = 76,
    kTextKeyEnd = 77,
    kTextKeyRight = 79,
    kTextKeyLeft = 80,
    kTextKeyDown = 81,
    kTextKeyUp = 82,
    kTextKeyLeftCtrl = 224,
    kTextKeyLeftShift = 225,
};

// Milliseconds the caret stays on or off.
const uint32_t kCaretBlinkMs = 500;
const Color kSelectionColor = {80, 80, 255, 255};
const Color kCaretColor = {0, 0, 0, 255};

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

    // Shown steadily while typing, then blinking; shared by every text box and rich text box.
    static bool caretVisible;
    static uint32_t caretToggleTime;
    // Shows the caret and restarts its blink (after every edit and caret move).
    static void RestartCaretBlink();
    // Flips the caret when its time has come (once per drawn box is fine: the time moves on).
    static void BlinkCaret();

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
    // The selection as [lo, hi) within the text.
    VisibleRange SelectedSpan();
    int32_t IndexUnderMouse();
    void DeleteSelection();
    void CopySelection();
    void EditFromKeys();

    // Reused for measuring pieces of the text, so drawing does not allocate.
    std::string measureScratch;
};

// The look both text boxes start with: 108 x 28, white, bordered, taking the mouse.
VORMI_API void SetTextBoxDefaults(Panel* box);
// Keeps SDL text input on while the box is active and answers a cancel request; returns whether the
// box is still active. An inactive box leaves a pending cancel for the one that is editing.
VORMI_API bool HoldTextInput(bool active);
// The handle of the font at that size and colours, loaded from path when it is not cached yet;
// kNoFont when it cannot be loaded.
VORMI_API uint32_t FindOrLoadFont(const std::string& font, const std::string& path, int32_t size, Color color,
                        Color backColor);
// How many leading characters of text lie left of x pixels, rounded to the nearer character boundary.
VORMI_API int32_t CharsBeforeX(FontRecord* font, const char* text, int32_t x);
// The value pulled into the int32 range; sizes from scripts may be extreme, and their sums must not
// overflow.
VORMI_API int32_t SaturateInt32(int64_t value);
// Width of count bytes of text from start on in the font, measured without allocating once scratch has
// grown to the text's size. 0 without a font or for an empty range.
VORMI_API int32_t MeasureTextRange(FontRecord* font, const std::string& text, size_t start, size_t count,
                         std::string& scratch);
