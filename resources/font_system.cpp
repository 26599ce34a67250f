#include "resources/font_system.h"

#include <SDL.h>
#include <SDL_ttf.h>

#include <cstdint>
#include <deque>

#include "engine/console_output.h"
#include "engine/registry.h"
#include "render/renderer.h"

class FontSystem : public IFontSystem {
public:
    int LoadFont(const std::string& name, const std::string& path, int size, Color color,
                 Color backColor) override;
    int FindFont(const std::string& name, int size, Color color, Color backColor) override;
    FontRecord* GetFont(int handle) override;
    TextSize MeasureText(const char* text, FontRecord* font) override;
    int CharsThatFit(const char* text, FontRecord* font, int maxWidth) override;
};

// Widgets keep FontRecord pointers, so records must never move: a deque only appends.
static std::deque<FontRecord> s_fonts;

static const int kFirstGlyph = 32;
static const int kLastGlyph = 127;
static const int kAtlasColumns = 16;
static const int kAtlasRows = 6;
// Sizes come from panel scripts; far beyond any UI text they would only make huge atlases (and a
// long fitting loop), so they are refused before the font is opened.
static const int kMaxFontSize = 256;
// A font with absurd metrics must not make us allocate an absurd surface.
static const int kMaxAtlasSide = 16384;

static bool SameColor(Color a, Color b) {
    return a.r == b.r && a.g == b.g && a.b == b.b && a.a == b.a;
}

static SDL_Color ToSDLColor(Color c) {
    SDL_Color out = {c.r, c.g, c.b, c.a};
    return out;
}

// Lowers the point size until a line fits in `size` pixels. False when the size cannot be lowered.
static bool FitHeight(TTF_Font* font, int size) {
    int pointSize = size;
    while (TTF_FontHeight(font) > size) {
        --pointSize;
        if (pointSize <= 0 || TTF_SetFontSize(font, pointSize) != 0) {
            return false;
        }
    }
    return true;
}

static void ReadMetrics(TTF_Font* font, FontRecord& record) {
    bool haveReference = false;
    int reference = 0;
    record.monospace = true;
    record.cellWidth = 0;
    for (int c = kFirstGlyph; c <= kLastGlyph; ++c) {
        int minX, maxX, minY, maxY, advance;
        if (TTF_GlyphMetrics(font, static_cast<Uint16>(c), &minX, &maxX, &minY, &maxY, &advance) != 0) {
            ConMsg("TTF_GlyphMetrics Error: %s\n", SDL_GetError());
            continue;
        }
        if (advance > record.cellWidth) {
            record.cellWidth = advance;
        }
        if (!haveReference) {
            reference = advance;
            haveReference = true;
        } else if (advance != reference) {
            record.monospace = false;
        }
    }
    record.cellHeight = TTF_FontHeight(font);
}

static void RenderGlyphs(TTF_Font* font, FontRecord& record, SDL_Surface* atlas) {
    const bool lcd = record.backColor.a != 0;
    const SDL_Color fg = ToSDLColor(record.color);
    const SDL_Color bg = ToSDLColor(record.backColor);
    for (int c = kFirstGlyph; c <= kLastGlyph; ++c) {
        const Uint16 ch = static_cast<Uint16>(c);
        SDL_Surface* glyph = lcd ? TTF_RenderGlyph_LCD(font, ch, fg, bg) : TTF_RenderGlyph_Blended(font, ch, fg);
        if (!glyph) {
            continue;
        }
        const int cell = c - kFirstGlyph;
        SDL_Rect dest = {(cell % kAtlasColumns) * record.cellWidth, (cell / kAtlasColumns) * record.cellHeight,
                         glyph->w, glyph->h};
        // The blit clips dest to the atlas; that clipped rectangle is what text is drawn from.
        if (SDL_UpperBlit(glyph, nullptr, atlas, &dest) == 0) {
            record.glyphs[c] = {dest.x, dest.y, dest.w, dest.h};
        }
        SDL_FreeSurface(glyph);
    }
}

int FontSystem::LoadFont(const std::string& name, const std::string& path, int size, Color color,
                         Color backColor) {
    // The atlas becomes a renderer texture, so there is nothing to build a font for without one.
    if (!g_renderer || size <= 0 || size > kMaxFontSize) {
        return -1;
    }
    TTF_Font* font = TTF_OpenFont(path.c_str(), size);
    if (!font) {
        return -1;
    }
    if (!FitHeight(font, size)) {
        TTF_CloseFont(font);
        return -1;
    }

    FontRecord record = {};
    record.name = name;
    record.path = path;
    record.size = size;
    record.color = color;
    record.backColor = backColor;
    ReadMetrics(font, record);

    const int64_t atlasWidth = int64_t(kAtlasColumns) * record.cellWidth;
    const int64_t atlasHeight = int64_t(kAtlasRows) * record.cellHeight;
    SDL_Surface* atlas = nullptr;
    if (atlasWidth > 0 && atlasHeight > 0 && atlasWidth <= kMaxAtlasSide && atlasHeight <= kMaxAtlasSide) {
        atlas = SDL_CreateRGBSurfaceWithFormat(0, static_cast<int>(atlasWidth), static_cast<int>(atlasHeight), 32,
                                               SDL_PIXELFORMAT_RGBA8888);
    }
    if (!atlas) {
        TTF_CloseFont(font);
        return -1;
    }
    SDL_FillRect(atlas, nullptr, SDL_MapRGBA(atlas->format, 0, 0, 0, 0));
    RenderGlyphs(font, record, atlas);

    record.atlas = g_renderer->CreateTexture(atlas, std::string(), true);
    SDL_FreeSurface(atlas);

    s_fonts.push_back(std::move(record));
    TTF_CloseFont(font);
    return static_cast<int>(s_fonts.size()) - 1;
}

int FontSystem::FindFont(const std::string& name, int size, Color color, Color backColor) {
    for (size_t i = 0; i < s_fonts.size(); ++i) {
        const FontRecord& font = s_fonts[i];
        if (font.size == size && SameColor(font.color, color) && SameColor(font.backColor, backColor) &&
            font.name == name) {
            return static_cast<int>(i);
        }
    }
    return -1;
}

FontRecord* FontSystem::GetFont(int handle) {
    if (handle < 0 || static_cast<size_t>(handle) >= s_fonts.size()) {
        return nullptr;
    }
    return &s_fonts[static_cast<size_t>(handle)];
}

static TextAdvance MeasureAdvance(const FontRecord* font) {
    return font->monospace ? TextAdvance::kCellWidth : TextAdvance::kGlyphWidth;
}

TextSize FontSystem::MeasureText(const char* text, FontRecord* font) {
    TextSize size = {0, 0};
    if (!font) {
        return size;
    }
    size.height = font->cellHeight;
    if (!text) {
        return size;
    }
    const int64_t width = WalkText(*font, text, MeasureAdvance(font), 0, [](unsigned char, int64_t, int32_t) {
        return true;
    });
    size.width = width > INT32_MAX ? INT32_MAX : static_cast<int32_t>(width);
    return size;
}

int FontSystem::CharsThatFit(const char* text, FontRecord* font, int maxWidth) {
    if (!text || !font) {
        return 0;
    }
    // A character that brings the width exactly to maxWidth still fits. For a monospaced font this
    // is the same as min(length, maxWidth / cellWidth).
    int count = 0;
    WalkText(*font, text, MeasureAdvance(font), 0, [&](unsigned char, int64_t pen, int32_t width) {
        if (pen + width > maxWidth) {
            return false;
        }
        ++count;
        return true;
    });
    return count;
}

static FontSystem s_fontSystem;
IFontSystem* g_fontSystem = &s_fontSystem;
EXPOSE_INTERFACE(s_fontSystem, "FontSystemV1");
