#include <SDL.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <string>

#include "engine/console_output.h"
#include "engine/engine.h"
#include "render/renderer.h"
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

TEST_F(Fonts, AtlasHoldsEveryPrintableGlyphInItsCell) {
    for (const std::string& path : {kOpenSans, kInconsolata}) {
        for (int size : {12, 20, 40}) {
            SCOPED_TRACE(path + " at " + std::to_string(size));
            FontRecord* font = Load(path, size);
            ASSERT_NE(font, nullptr);
            EXPECT_TRUE(font->size == size && font->cellHeight > 0 && font->cellHeight <= size) << font->cellHeight;
            EXPECT_EQ(font->monospace, path == kInconsolata);
            EXPECT_NE(font->atlas.sdlTexture, nullptr);
            EXPECT_TRUE(font->atlas.width == 16 * font->cellWidth && font->atlas.height == 6 * font->cellHeight);
            for (int c = 0; c < 128; ++c) {
                const Rect& g = font->glyphs[c];
                const int cellX = (c - 32) % 16 * font->cellWidth;
                const int cellY = (c - 32) / 16 * font->cellHeight;
                if (c < 32) {
                    EXPECT_TRUE(g.x == 0 && g.y == 0 && g.w == 0 && g.h == 0) << "code " << c;
                    continue;
                }
                EXPECT_TRUE(g.x == cellX && g.y == cellY) << "code " << c;
                // A glyph may overhang its advance ('W' does by a pixel at small sizes), never more.
                EXPECT_LE(g.x + g.w, std::min(cellX + font->cellWidth + 1, font->atlas.width)) << "code " << c;
                EXPECT_LE(g.y + g.h, cellY + font->cellHeight) << "code " << c;
            }
            EXPECT_TRUE(font->glyphs[127].x == 15 * font->cellWidth && font->glyphs[127].y == 5 * font->cellHeight);
        }
    }
    EXPECT_TRUE(g_fontSystem->GetFont(-1) == nullptr && g_fontSystem->GetFont(1 << 20) == nullptr);
}

TEST_F(Fonts, FindFontNeedsSameNameSizeAndBothColours) {
    EXPECT_EQ(g_fontSystem->FindFont("find", 20, kBlack, kClear), -1);
    const int first = g_fontSystem->LoadFont("find", kOpenSans, 20, kBlack, kClear);
    const int second = g_fontSystem->LoadFont("find", kOpenSans, 20, kBlack, kClear);
    const int red = g_fontSystem->LoadFont("find", kOpenSans, 20, kRed, kClear);
    ASSERT_TRUE(first >= 0 && second >= 0 && red >= 0);
    EXPECT_NE(second, first);
    EXPECT_EQ(g_fontSystem->FindFont("find", 20, kBlack, kClear), first);
    EXPECT_EQ(g_fontSystem->FindFont("find", 20, kRed, kClear), red);
    EXPECT_EQ(g_fontSystem->FindFont("Find", 20, kBlack, kClear), -1);
    EXPECT_EQ(g_fontSystem->FindFont("find", 19, kBlack, kClear), -1);
    EXPECT_EQ(g_fontSystem->FindFont("find", 20, Color{0, 0, 0, 254}, kClear), -1);
    EXPECT_EQ(g_fontSystem->FindFont("find", 20, kBlack, Color{255, 255, 255, 1}), -1);
}

TEST_F(Fonts, MeasureAndFitFollowGlyphWidths) {
    FontRecord* sans = Load(kOpenSans, 20);
    FontRecord* mono = Load(kInconsolata, 16);
    ASSERT_TRUE(sans && mono);
    const TextSize none = g_fontSystem->MeasureText("abc", nullptr), empty = g_fontSystem->MeasureText("", sans);
    EXPECT_TRUE(none.width == 0 && none.height == 0 && empty.width == 0 && empty.height == sans->cellHeight);
    EXPECT_EQ(g_fontSystem->CharsThatFit(nullptr, sans, 100) + g_fontSystem->CharsThatFit("abc", nullptr, 100) +
                  g_fontSystem->CharsThatFit("", sans, 100),
              0);

    const int wa = sans->glyphs['a'].w, wW = sans->glyphs['W'].w, wi = sans->glyphs['i'].w;
    ASSERT_NE(wa, wW);
    EXPECT_EQ(g_fontSystem->MeasureText("aW\ti\xC3\xA9", sans).width, wa + wW + wi);
    EXPECT_EQ(g_fontSystem->CharsThatFit("aWi", sans, wa + wW), 2) << "exactly full still fits";
    EXPECT_EQ(g_fontSystem->CharsThatFit("aWi", sans, wa + wW - 1), 1);
    EXPECT_EQ(g_fontSystem->CharsThatFit("aWi", sans, 1000), 3);
    EXPECT_EQ(g_fontSystem->CharsThatFit("aWi", sans, -5), 0);

    EXPECT_EQ(g_fontSystem->MeasureText("0123456789", mono).width, 10 * mono->cellWidth);
    EXPECT_EQ(g_fontSystem->MeasureText("0\t1\xC3\xA9", mono).width, 3 * mono->cellWidth);
    EXPECT_EQ(g_fontSystem->CharsThatFit("0123456789", mono, mono->cellWidth * 7 / 2), 3);
    EXPECT_EQ(g_fontSystem->CharsThatFit("0123", mono, mono->cellWidth * 10), 4);
}

TEST_F(Fonts, DrawTextSkipsControlBytesWithoutAdvanceInTheTextColour) {
    const int handle = g_fontSystem->LoadFont("draw", kOpenSans, 40, kRed, kClear);
    FontRecord* font = g_fontSystem->GetFont(handle);
    ASSERT_NE(font, nullptr);
    const int x = 10, y = 20;
    const Frame tabbed = Render(kBlue, [&] { g_renderer->DrawText(handle, "a\tb", x, y); });
    const Frame split = Render(kBlue, [&] {
        g_renderer->DrawText(handle, "a", x, y);
        g_renderer->DrawText(handle, "b", x + font->glyphs['a'].w, y);
    });
    EXPECT_TRUE(tabbed == split);

    const int width = font->glyphs['a'].w + font->glyphs['b'].w;
    int solid = 0;
    for (int py = 0; py < height_; ++py) {
        for (int px = 0; px < width_; ++px) {
            const Color p = tabbed.At(px, py);
            const bool inside = px >= x && px < x + width && py >= y && py < y + font->glyphs['a'].h;
            ASSERT_TRUE(inside ? SameColor(p, {p.r, 0, p.b, 255}) : SameColor(p, kBlue)) << px << "," << py;
            solid += SameColor(p, kRed) ? 1 : 0;
        }
    }
    EXPECT_GT(solid, 10);

    const Frame nothing = Render(kBlue, [&] {
        g_renderer->DrawText(-1, "ab", x, y);
        g_renderer->DrawText(handle, "", x, y);
        g_renderer->DrawFontAtlas(-1);
    });
    EXPECT_TRUE(nothing == Render(kBlue, [] {}));
}

TEST_F(Fonts, OpaqueBackColourGivesGlyphsOnThatBackground) {
    const Color yellow = {255, 255, 0, 255};
    const int lcd = g_fontSystem->LoadFont("lcd", kOpenSans, 40, kRed, yellow);
    const int blended = g_fontSystem->LoadFont("lcd", kOpenSans, 40, kRed, kClear);
    ASSERT_TRUE(lcd >= 0 && blended >= 0);
    const int right = 10 + g_fontSystem->GetFont(lcd)->glyphs['a'].w - 1;
    const Frame onBack = Render(kBlue, [&] { g_renderer->DrawText(lcd, "a", 10, 20); });
    const Frame clear = Render(kBlue, [&] { g_renderer->DrawText(blended, "a", 10, 20); });
    for (int px : {10, right}) {
        EXPECT_TRUE(SameColor(onBack.At(px, 20), yellow)) << "LCD glyph box";
        EXPECT_TRUE(SameColor(clear.At(px, 20), kBlue)) << "blended glyph box";
    }
}

TEST_F(Fonts, DrawFontAtlasOutlinesTheAtlasInRed) {
    const int handle = g_fontSystem->LoadFont("atlas_view", kInconsolata, 12, Color{0, 255, 0, 255}, kClear);
    FontRecord* font = g_fontSystem->GetFont(handle);
    ASSERT_TRUE(font && font->atlas.width < width_ && font->atlas.height < height_);
    const Frame frame = Render(kBlack, [&] { g_renderer->DrawFontAtlas(handle); });
    const int right = font->atlas.width - 1, bottom = font->atlas.height - 1;
    for (int px : {0, right}) {
        for (int py : {0, bottom}) {
            EXPECT_TRUE(SameColor(frame.At(px, py), kRed)) << px << "," << py;
        }
    }
    EXPECT_TRUE(SameColor(frame.At(right + 1, bottom + 1), kBlack));
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
    } cases[] = {{"./no/such/font.ttf", 20}, {dir_.path() + "/corrupt.ttf", 20},
                 {kOpenSans, 0}, {kOpenSans, 1 << 30}};
    for (const auto& c : cases) {
        EXPECT_EQ(g_fontSystem->LoadFont("bad", c.path, c.size, kBlack, kClear), -1) << c.path << " " << c.size;
    }
    EXPECT_EQ(g_consoleText, "");
    EXPECT_EQ(g_fontSystem->FindFont("bad", 20, kBlack, kClear), -1);
}

}  // namespace
