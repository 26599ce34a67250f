// The font system: a TrueType font at one size and colour pair becomes a 16x6 glyph atlas texture
// (codes 32 to 127) and a table of glyph rectangles; text is then drawn and measured from those alone.
// Fonts live in one table addressed by int handles, -1 meaning none. Published as "FontSystemV1".
#pragma once

#include "engine/api.h"

#include <cstdint>
#include <string>

#include "render/draw_types.h"

struct FontRecord {
    std::string name;
    std::string path;
    int32_t size;
    Color color;
    Color backColor;   // alpha 0: blended glyphs; otherwise LCD glyphs on this colour
    bool monospace;
    int32_t cellWidth;
    int32_t cellHeight;
    Texture atlas;
    Rect glyphs[128];  // indexed by character code; zero where nothing was rendered
};

struct TextSize {
    int32_t width;
    int32_t height;
};

class VORMI_API IFontSystem {
public:
    virtual ~IFontSystem() {}
    // Builds a new entry (callers FindFont first); -1 on failure, silently.
    virtual int LoadFont(const std::string& name, const std::string& path, int size, Color color,
                         Color backColor) = 0;
    // First entry with that name, size and both colours; -1 if none.
    virtual int FindFont(const std::string& name, int size, Color color, Color backColor) = 0;
    // Null for a bad handle.
    virtual FontRecord* GetFont(int handle) = 0;
    // (0, 0) for a null font; height is always the cell height.
    virtual TextSize MeasureText(const char* text, FontRecord* font) = 0;
    // Leading characters that fit in maxWidth pixels; 0 for a null text or font.
    virtual int CharsThatFit(const char* text, FontRecord* font, int maxWidth) = 0;
};

extern VORMI_API IFontSystem* g_fontSystem;
