// A line of text in one font. Labels do not take the mouse and paint no background by default; with
// autoSize the label takes the size of its text, and with centerText the text sits in the middle of
// the label's rectangle (clipped to it when it does not fit).
#pragma once

#include <cstdint>
#include <string>

#include "engine/api.h"
#include "ui/panel.h"

// The font every label starts with.
const char* const kLabelFontName = "OpenSans-Regular";
const char* const kLabelFontPath = "./test/fonts/OpenSans-Regular.ttf";
const int32_t kLabelFontSize = 20;
const uint32_t kNoFont = 0xFFFFFFFF;

class VORMI_API Label : public Panel {
public:
    explicit Label(std::string name);
    // Keys "text", "scale_with_font", "font_size"; the rest go to Panel.
    void SetProperty(const std::string& key, const std::string& value) override;
    void Draw() override;
    void OnResized() override;

    // Sets and measures the text; resizes the label when autoSize. A label without a font keeps
    // its size and offsets.
    void SetText(const std::string& newText);
    // Finds the font at that size and colours, loading it from path when it is not cached yet.
    // fontId becomes kNoFont when it cannot be loaded.
    void SetFont(const std::string& font, const std::string& path, int32_t size, Color color, Color backColor);

    std::string text;
    std::string fontPath;
    std::string fontName;
    int32_t fontSize = kLabelFontSize;
    Color fontColor = {0, 0, 0, 255};
    Color fontBackColor = {255, 255, 255, 0};
    bool autoSize = true;
    bool centerText = true;
    uint32_t fontId = kNoFont;
    int32_t textOffsetX = 0;
    int32_t textOffsetY = 0;
    int32_t textWidth = 0;
    int32_t textHeight = 0;

protected:
    // The text at its offsets, clipped to the label; the buttons draw it between their frame and image.
    void DrawLabelText();
};
