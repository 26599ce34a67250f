// The font system: a TrueType font at one size and colour pair becomes a 16x6 glyph atlas texture
// (codes 32 to 127) and a table of glyph rectangles; text is then drawn and measured from those alone.
// Fonts live in one table addressed by int handles, -1 meaning none. Published as "FontSystemV1".
#pragma once

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

// How far a byte moves the pen: its glyph's rendered width (drawing; measuring a proportional font)
// or the cell width (measuring a monospaced font).
enum class TextAdvance { kGlyphWidth, kCellWidth };

// The one walk over a line of text that drawing and measuring share. For each byte, in order, calls
// step(c, pen, width) with the pen position it starts at and the width it takes, then moves the pen
// on; step returns false to stop there. Bytes of 128 or more have no glyph and take nothing; control
// bytes have empty glyphs, so only a monospaced measure gives them width. Returns the final pen.
template <typename Step>
int64_t WalkText(const FontRecord& font, const char* text, TextAdvance advance, int64_t pen, Step step) {
    for (const unsigned char* p = reinterpret_cast<const unsigned char*>(text); *p; ++p) {
        int32_t width = 0;
        if (*p < 128) {
            width = advance == TextAdvance::kCellWidth ? font.cellWidth : font.glyphs[*p].w;
        }
        if (!step(*p, pen, width)) {
            break;
        }
        pen += width;
    }
    return pen;
}

// Whether a byte of text is drawn: control bytes and bytes of 128 or more are skipped.
inline bool HasGlyph(unsigned char c) {
    return c >= 32 && c < 128;
}

class IFontSystem {
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

extern IFontSystem* g_fontSystem;
