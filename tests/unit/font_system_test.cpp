#include <gtest/gtest.h>

#include <string>
#include <utility>

#include "engine/console_output.h"
#include "resources/font_system.h"
#include "support/offscreen.h"

namespace {

const std::string kSans = "./test/fonts/OpenSans-Regular.ttf", kMono = "./test/fonts/Inconsolata-Regular.ttf";
const Color kClear = {255, 255, 255, 0};

FontRecord* Load(const std::string& path, int size) {
    return g_fontSystem->GetFont(g_fontSystem->LoadFont("test", path, size, kBlack, kClear));
}

using Fonts = OffscreenTest;

TEST_F(Fonts, AtlasHoldsEveryPrintableGlyphInItsCellAndMeasuresFollowGlyphWidthsOrCells) {
    FontRecord* sans = Load(kSans, 12);
    FontRecord* mono = Load(kMono, 12);
    ASSERT_NE(sans, nullptr);
    ASSERT_NE(mono, nullptr);
    for (const FontRecord* font : {sans, mono, Load(kSans, 40), Load(kMono, 40)}) {
        SCOPED_TRACE(font->path + " at " + std::to_string(font->size));
        EXPECT_LE(font->cellHeight, font->size);
        EXPECT_EQ(font->monospace, font->path == kMono);
        EXPECT_EQ(font->atlas.width, 16 * font->cellWidth);
        EXPECT_EQ(font->atlas.height, 6 * font->cellHeight);
        // Where each glyph sits in its cell is the font fuzz target's check.
        EXPECT_EQ(font->glyphs['A'].x, ('A' - 32) % 16 * font->cellWidth);
        EXPECT_EQ(font->glyphs['A'].y, ('A' - 32) / 16 * font->cellHeight);
    }
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
                 {sans, "aWi", wa + wW - 1, 1, wa + wW + wi}, {sans, "aWi", -5, 0, wa + wW + wi},
                 {mono, "0123456789", cell * 7 / 2, 3, 10 * cell}, {mono, "0\t1\xC3\xA9", 100 * cell, 5, 3 * cell}};
    for (const auto& c : cases) {
        EXPECT_EQ(g_fontSystem->CharsThatFit(c.text, c.font, c.maxWidth), c.fits) << c.text << " in " << c.maxWidth;
        EXPECT_EQ(g_fontSystem->MeasureText(c.text, c.font).width, c.width) << c.text;
    }
}

TEST_F(Fonts, EveryLoadIsNewFindNeedsNameSizeAndBothColoursAndBadFilesGiveNoneSilently) {
    const int first = g_fontSystem->LoadFont("find", kSans, 20, kBlack, kClear);
    const int red = g_fontSystem->LoadFont("find", kSans, 20, kRed, kClear);
    ASSERT_GE(first, 0);
    EXPECT_NE(g_fontSystem->LoadFont("find", kSans, 20, kBlack, kClear), first);
    const struct {
        const char* name;
        int size;
        Color color, back;
        int want;
    } cases[] = {{"find", 20, kBlack, kClear, first}, {"find", 20, kRed, kClear, red}, {"Find", 20, kBlack, kClear, -1},
                 {"find", 19, kBlack, kClear, -1}, {"find", 20, {0, 0, 0, 254}, kClear, -1},
                 {"find", 20, kBlack, {255, 255, 255, 1}, -1}};
    for (const auto& c : cases) {
        EXPECT_EQ(g_fontSystem->FindFont(c.name, c.size, c.color, c.back), c.want) << c.name << " " << c.size;
    }
    EXPECT_EQ(g_fontSystem->GetFont(-1), nullptr);
    dir_.WriteFile("corrupt.ttf", "not a font at all");
    const std::pair<std::string, int> bad[] = {{"./none.ttf", 20}, {"corrupt.ttf", 20}, {kSans, 0}, {kSans, 1 << 30}};
    for (const auto& [path, size] : bad) {
        EXPECT_EQ(g_fontSystem->LoadFont("bad", path, size, kBlack, kClear), -1) << path << " " << size;
    }
    EXPECT_EQ(g_consoleText, "");
}

}  // namespace
