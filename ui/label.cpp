#include "ui/label.h"

#include <utility>

#include "console/tokenizer.h"
#include "render/renderer.h"
#include "resources/font_system.h"

// One decimal integer; false (and *out untouched) when the value does not start with one.
static bool ReadInt(const std::string& value, int32_t* out) {
    return ReadInts(value, out, 1) == 1;
}

Label::Label(std::string labelName) : Panel(std::move(labelName)) {
    enabled = false;
    drawBackground = false;
    SetFont(kLabelFontName, kLabelFontPath, kLabelFontSize, Color{0, 0, 0, 255}, Color{255, 255, 255, 0});
}

void Label::SetFont(const std::string& font, const std::string& path, int32_t size, Color color,
                    Color backColor) {
    fontName = font;
    fontPath = path;
    fontSize = size;
    fontColor = color;
    fontBackColor = backColor;
    int handle = g_fontSystem->FindFont(font, size, color, backColor);
    if (handle < 0) {
        handle = g_fontSystem->LoadFont(font, path, size, color, backColor);
    }
    fontId = handle < 0 ? kNoFont : static_cast<uint32_t>(handle);
}

void Label::SetText(const std::string& newText) {
    text = newText;
    FontRecord* font = g_fontSystem->GetFont(static_cast<int>(fontId));
    if (!font) {
        return;
    }
    const TextSize measured = g_fontSystem->MeasureText(text.c_str(), font);
    if (autoSize) {
        width = measured.width;
        height = measured.height;
        OnResized();
    }
    textOffsetX = 0;
    textOffsetY = 0;
    textWidth = measured.width;
    textHeight = measured.height;
    if (centerText) {
        textOffsetX = (width - textWidth) / 2;
        textOffsetY = (height - textHeight) / 2;
    }
}

void Label::OnResized() {
    if (centerText) {
        textOffsetX = (width - textWidth) / 2;
        textOffsetY = (height - textHeight) / 2;
    }
}

void Label::SetProperty(const std::string& key, const std::string& value) {
    if (key == "text") {
        SetText(value);
    } else if (key == "scale_with_font") {
        // A value that is not a number reads as 0, as the stream leaves it.
        int32_t number = 0;
        ReadInt(value, &number);
        autoSize = number != 0;
    } else if (key == "font_size") {
        int32_t size = 0;
        FontRecord* font = g_fontSystem->GetFont(static_cast<int>(fontId));
        // The text keeps its measured size until it is set again.
        if (ReadInt(value, &size) && font) {
            const std::string name = font->name;
            const std::string path = font->path;
            SetFont(name, path, size, font->color, font->backColor);
        }
    } else {
        Panel::SetProperty(key, value);
    }
}

void Label::DrawLabelText() {
    if (fontId == kNoFont || text.empty() || !g_renderer || !IsDrawable()) {
        return;
    }
    g_renderer->SetClipRect(&clipRect);
    g_renderer->DrawText(static_cast<int>(fontId), text.c_str(), screenX + textOffsetX, screenY + textOffsetY);
    g_renderer->SetClipRect(nullptr);
}

void Label::Draw() {
    Panel::Draw();
    DrawLabelText();
}
