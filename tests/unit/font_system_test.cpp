#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <string>

#include "engine/console_output.h"
#include "resources/font_system.h"
#include "support/offscreen.h"

namespace {

const std::string kOpenSans = std::string(VORMI_SOURCE_DIR) + "/test/fonts/OpenSans-Regular.ttf";
const std::string kInconsolata = std::string(VORMI_SOURCE_DIR) + "/test/fonts/Inconsolata-Regular.ttf";
const Color kClear = {255, 255, 255, 0};

class Fonts : public OffscreenTest {
protected:
    Fonts() : OffscreenTest(320, 120) {}
    static FontRecord* Load(const std::string& path, int size, Color color = kBlack, Color back = kClear) {
        return g_fontSystem->GetFont(g_fontSystem->LoadFont("test", path, size, color, back));
    }
};

TEST_F(Fonts, AtlasHoldsEveryPrintableGlyphInItsCellAndFitsTheLineHeight) {
    for (const std::string& path : {kOpenSans, kInconsolata}) {
        for (int size : {12, 20, 40}) {
            SCOPED_TRACE(path + " at " + std::to_string(size));
            FontRecord* font = Load(path, size);
            ASSERT_NE(font, nullptr);
            EXPECT_EQ(font->size, size);
            EXPECT_LE(font->cellHeight, size);
            EXPECT_EQ(font->monospace, path == kInconsolata);
            EXPECT_EQ(font->atlas.width, 16 * font->cellWidth);
            EXPECT_EQ(font->atlas.height, 6 * font->cellHeight);
            for (int c = 0; c < 128; ++c) {
                const Rect& g = font->glyphs[c];
                const int cellX = c < 32 ? 0 : (c - 32) % 16 * font->cellWidth;
                const int cellY = c < 32 ? 0 : (c - 32) / 16 * font->cellHeight;
                EXPECT_EQ(g.x, cellX) << "code " << c;
                EXPECT_EQ(g.y, cellY) << "code " << c;
                // A glyph may overhang its advance ('W' does by a pixel at small sizes), never more.
                EXPECT_LE(g.x + g.w, c < 32 ? 0 : std::min(cellX + font->cellWidth + 1, font->atlas.width)) << c;
                EXPECT_LE(g.y + g.h, c < 32 ? 0 : cellY + font->cellHeight) << "code " << c;
            }
        }
    }
    EXPECT_EQ(g_fontSystem->GetFont(-1), nullptr);
}

TEST_F(Fonts, FindFontNeedsSameNameSizeAndBothColours) {
    const int first = g_fontSystem->LoadFont("find", kOpenSans, 20, kBlack, kClear);
    const int second = g_fontSystem->LoadFont("find", kOpenSans, 20, kBlack, kClear);
    const int red = g_fontSystem->LoadFont("find", kOpenSans, 20, kRed, kClear);
    ASSERT_GE(first, 0);
    EXPECT_NE(second, first);
    const struct {
        const char* name;
        int size;
        Color color, back;
        int want;
    } cases[] = {{"find", 20, kBlack, kClear, first}, {"find", 20, kRed, kClear, red},
                 {"Find", 20, kBlack, kClear, -1},    {"find", 19, kBlack, kClear, -1},
                 {"find", 20, {0, 0, 0, 254}, kClear, -1}, {"find", 20, kBlack, {255, 255, 255, 1}, -1}};
    for (const auto& c : cases) {
        EXPECT_EQ(g_fontSystem->FindFont(c.name, c.size, c.color, c.back), c.want) << c.name << " " << c.size;
    }
}

TEST_F(Fonts, MeasureAndFitFollowGlyphWidthsOrCellsForMonospace) {
    FontRecord* sans = Load(kOpenSans, 20);
    FontRecord* mono = Load(kInconsolata, 16);
    ASSERT_NE(sans, nullptr);
    ASSERT_NE(mono, nullptr);
    EXPECT_EQ(g_fontSystem->MeasureText("abc", nullptr).height, 0);
    EXPECT_EQ(g_fontSystem->MeasureText("", sans).height, sans->cellHeight);
    EXPECT_EQ(g_fontSystem->CharsThatFit(nullptr, sans, 100), 0);
    EXPECT_EQ(g_fontSystem->CharsThatFit("abc", nullptr, 100), 0);
    const int wa = sans->glyphs['a'].w, wW = sans->glyphs['W'].w, wi = sans->glyphs['i'].w, cell = mono->cellWidth;
    const struct {
        FontRecord* font;
        const char* text;
        int maxWidth, fits, width;
    } cases[] = {{sans, "aW\ti\xC3\xA9", wa + wW, 3, wa + wW + wi},  // exactly full still fits
                 {sans, "aWi", wa + wW - 1, 1, wa + wW + wi},      {sans, "aWi", -5, 0, wa + wW + wi},
                 {mono, "0123456789", cell * 7 / 2, 3, 10 * cell}, {mono, "0\t1\xC3\xA9", 100 * cell, 5, 3 * cell}};
    for (const auto& c : cases) {
        EXPECT_EQ(g_fontSystem->CharsThatFit(c.text, c.font, c.maxWidth), c.fits) << c.text << " in " << c.maxWidth;
        EXPECT_EQ(g_fontSystem->MeasureText(c.text, c.font).width, c.width) << c.text;
    }
}

TEST_F(Fonts, OpaqueBackColourGivesGlyphsOnThatBackgroundAndTheAtlasViewIsOutlined) {
    const Color yellow = {255, 255, 0, 255};
    const int lcd = g_fontSystem->LoadFont("lcd", kOpenSans, 40, kRed, yellow);
    const int blended = g_fontSystem->LoadFont("lcd", kOpenSans, 40, kRed, kClear);
    const int atlas = g_fontSystem->LoadFont("atlas", kInconsolata, 12, kGreen, kClear);
    const FontRecord* small = g_fontSystem->GetFont(atlas);
    ASSERT_NE(small, nullptr);
    ExpectProbes(Render(kBlue, [&] { g_renderer->DrawText(lcd, "a", 10, 20); }),
                 {{10, 20, yellow, "LCD glyph box"}});
    ExpectProbes(Render(kBlue, [&] { g_renderer->DrawText(blended, "a", 10, 20); }),
                 {{10, 20, kBlue, "blended glyph box"}});
    const int right = small->atlas.width - 1, bottom = small->atlas.height - 1;
    ExpectProbes(Render(kBlack, [&] { g_renderer->DrawFontAtlas(atlas); }),
                 {{0, 0, kRed, "atlas outline"}, {right, bottom, kRed, "atlas outline"},
                  {right + 1, bottom + 1, kBlack, "past the atlas"}});
}

TEST_F(Fonts, UnusableFontFilesGiveNoHandleSilently) {
    std::mt19937 random(1234);
    std::string bytes(4096, '\0');
    for (char& b : bytes) {
        b = static_cast<char>(random());
    }
    dir_.WriteFile("corrupt.ttf", bytes);
    const struct {
        std::string path;
        int size;
    } cases[] = {{"./no/such/font.ttf", 20}, {dir_.path() + "/corrupt.ttf", 20}, {kOpenSans, 0}, {kOpenSans, 1 << 30}};
    for (const auto& c : cases) {
        EXPECT_EQ(g_fontSystem->LoadFont("bad", c.path, c.size, kBlack, kClear), -1) << c.path << " " << c.size;
    }
    EXPECT_EQ(g_consoleText, "");
}

}  // namespace
