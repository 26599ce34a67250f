#include <SDL.h>
#include <SDL_ttf.h>
#include <gtest/gtest.h>
#include <stdlib.h>
#include <unistd.h>

#include <cstdio>
#include <random>
#include <string>
#include <vector>

#include "engine/console_output.h"
#include "engine/engine.h"
#include "render/renderer.h"
#include "resources/font_system.h"

namespace {

const std::string kOpenSans = std::string(VORMI_SOURCE_DIR) + "/test/fonts/OpenSans-Regular.ttf";
const std::string kInconsolata = std::string(VORMI_SOURCE_DIR) + "/test/fonts/Inconsolata-Regular.ttf";
const Color kBlack = {0, 0, 0, 255};
const Color kRed = {255, 0, 0, 255};
const Color kClear = {255, 255, 255, 0};
const int kWidth = 320;
const int kHeight = 120;

struct Pixel {
    uint8_t r, g, b, a;
    bool operator==(const Pixel& o) const { return r == o.r && g == o.g && b == o.b && a == o.a; }
};

std::string Describe(const Pixel& p) {
    char text[48];
    std::snprintf(text, sizeof(text), "(%d, %d, %d, %d)", p.r, p.g, p.b, p.a);
    return text;
}

// A real SDLRenderer on SDL's software driver in an offscreen window.
class Fonts : public ::testing::Test {
protected:
    void SetUp() override {
        SDL_SetHint(SDL_HINT_RENDER_DRIVER, "software");
        // Keeps the window surface in plain memory rather than in a GL texture: no GL driver is
        // loaded at all, and the read-back sees exactly what the software renderer drew.
        SDL_SetHint(SDL_HINT_FRAMEBUFFER_ACCELERATION, "0");
        ASSERT_EQ(SDL_Init(SDL_INIT_VIDEO), 0) << SDL_GetError();
        ASSERT_EQ(TTF_Init(), 0);
        g_window = SDL_CreateWindow("fonts", 0, 0, kWidth, kHeight, SDL_WINDOW_HIDDEN);
        ASSERT_NE(g_window, nullptr) << SDL_GetError();
        g_renderer = NewSDLRenderer();
        ASSERT_TRUE(g_renderer && g_renderer->Init());
        g_renderer->SetBlendMode(SDL_BLENDMODE_BLEND);
    }
    void TearDown() override {
        delete g_renderer;
        g_renderer = nullptr;
        if (g_window) {
            SDL_DestroyWindow(g_window);
        }
        g_window = nullptr;
        TTF_Quit();
        SDL_Quit();
    }

    // Clears to the colour, draws, and reads the frame back before presenting.
    template <typename DrawFn>
    std::vector<Pixel> Render(Color background, DrawFn draw) {
        g_renderer->SetDrawColor(background.r, background.g, background.b, background.a);
        g_renderer->Clear();
        draw();
        std::vector<Pixel> pixels(kWidth * kHeight);
        SDL_Renderer* sdl = SDL_GetRenderer(g_window);
        EXPECT_EQ(SDL_RenderReadPixels(sdl, nullptr, SDL_PIXELFORMAT_RGBA32, pixels.data(), kWidth * 4), 0);
        g_renderer->Present();
        return pixels;
    }
};

TEST_F(Fonts, AtlasHoldsEveryPrintableGlyphInItsCell) {
    const struct {
        std::string path;
        bool monospace;
    } fonts[] = {{kOpenSans, false}, {kInconsolata, true}};
    for (const auto& f : fonts) {
        for (int size : {12, 20, 40}) {
            SCOPED_TRACE(f.path + " at " + std::to_string(size));
            const int handle = g_fontSystem->LoadFont("atlas", f.path, size, kBlack, kClear);
            FontRecord* font = g_fontSystem->GetFont(handle);
            ASSERT_NE(font, nullptr);
            EXPECT_EQ(font->size, size);
            EXPECT_EQ(font->path, f.path);
            EXPECT_EQ(font->monospace, f.monospace);
            EXPECT_GT(font->cellHeight, 0);
            EXPECT_LE(font->cellHeight, size);
            EXPECT_NE(font->atlas.sdlTexture, nullptr);
            EXPECT_EQ(font->atlas.name, "");
            EXPECT_EQ(font->atlas.width, 16 * font->cellWidth);
            EXPECT_EQ(font->atlas.height, 6 * font->cellHeight);
            for (int c = 0; c < 32; ++c) {
                const Rect& g = font->glyphs[c];
                EXPECT_TRUE(g.x == 0 && g.y == 0 && g.w == 0 && g.h == 0) << "code " << c;
            }
            for (int c = 32; c < 128; ++c) {
                const Rect& g = font->glyphs[c];
                const int cellX = (c - 32) % 16 * font->cellWidth;
                const int cellY = (c - 32) / 16 * font->cellHeight;
                EXPECT_EQ(g.x, cellX) << "code " << c;
                EXPECT_EQ(g.y, cellY) << "code " << c;
                // A glyph may overhang its advance ('W' does by a pixel at small sizes), never more.
                EXPECT_LE(g.x + g.w, cellX + font->cellWidth + 1) << "code " << c;
                EXPECT_LE(g.x + g.w, font->atlas.width) << "code " << c;
                EXPECT_LE(g.y + g.h, cellY + font->cellHeight) << "code " << c;
            }
            EXPECT_EQ(font->glyphs[127].x, 15 * font->cellWidth);
            EXPECT_EQ(font->glyphs[127].y, 5 * font->cellHeight);
            EXPECT_GT(font->glyphs['M'].w, 0);
        }
    }
    EXPECT_EQ(g_fontSystem->GetFont(-1), nullptr);
    EXPECT_EQ(g_fontSystem->GetFont(1 << 20), nullptr);
}

TEST_F(Fonts, FindFontNeedsSameNameSizeAndBothColours) {
    EXPECT_EQ(g_fontSystem->FindFont("find_none", 20, kBlack, kClear), -1);
    const int first = g_fontSystem->LoadFont("find", kOpenSans, 20, kBlack, kClear);
    ASSERT_GE(first, 0);
    // LoadFont never looks for an existing entry: the same arguments make a second one.
    const int second = g_fontSystem->LoadFont("find", kOpenSans, 20, kBlack, kClear);
    const int red = g_fontSystem->LoadFont("find", kOpenSans, 20, kRed, kClear);
    ASSERT_GE(second, 0);
    ASSERT_GE(red, 0);
    EXPECT_NE(second, first);
    EXPECT_NE(g_fontSystem->GetFont(red)->atlas.sdlTexture, g_fontSystem->GetFont(first)->atlas.sdlTexture);

    EXPECT_EQ(g_fontSystem->FindFont("find", 20, kBlack, kClear), first);
    EXPECT_EQ(g_fontSystem->FindFont("find", 20, kRed, kClear), red);
    EXPECT_EQ(g_fontSystem->FindFont("Find", 20, kBlack, kClear), -1);
    EXPECT_EQ(g_fontSystem->FindFont("find", 19, kBlack, kClear), -1);
    EXPECT_EQ(g_fontSystem->FindFont("find", 20, Color{0, 0, 0, 254}, kClear), -1);
    EXPECT_EQ(g_fontSystem->FindFont("find", 20, kBlack, Color{255, 255, 255, 1}), -1);
}

TEST_F(Fonts, MeasureAndFitFollowGlyphWidths) {
    FontRecord* sans = g_fontSystem->GetFont(g_fontSystem->LoadFont("measure", kOpenSans, 20, kBlack, kClear));
    FontRecord* mono = g_fontSystem->GetFont(g_fontSystem->LoadFont("measure", kInconsolata, 16, kBlack, kClear));
    ASSERT_TRUE(sans && mono);

    const TextSize none = g_fontSystem->MeasureText("abc", nullptr);
    EXPECT_EQ(none.width, 0);
    EXPECT_EQ(none.height, 0);
    const TextSize empty = g_fontSystem->MeasureText("", sans);
    EXPECT_EQ(empty.width, 0);
    EXPECT_EQ(empty.height, sans->cellHeight);
    EXPECT_EQ(g_fontSystem->CharsThatFit(nullptr, sans, 100), 0);
    EXPECT_EQ(g_fontSystem->CharsThatFit("abc", nullptr, 100), 0);
    EXPECT_EQ(g_fontSystem->CharsThatFit("", sans, 100), 0);

    // Proportional: rendered glyph widths; control bytes and bytes of 128 or more add nothing.
    const int wa = sans->glyphs['a'].w, wW = sans->glyphs['W'].w, wi = sans->glyphs['i'].w;
    ASSERT_NE(wa, wW);
    const TextSize sized = g_fontSystem->MeasureText("aW\ti\xC3\xA9", sans);
    EXPECT_EQ(sized.width, wa + wW + wi);
    EXPECT_EQ(sized.height, sans->cellHeight);
    EXPECT_EQ(g_fontSystem->CharsThatFit("aWi", sans, wa + wW), 2);  // exactly full still fits
    EXPECT_EQ(g_fontSystem->CharsThatFit("aWi", sans, wa + wW - 1), 1);
    EXPECT_EQ(g_fontSystem->CharsThatFit("aWi", sans, 1000), 3);
    EXPECT_EQ(g_fontSystem->CharsThatFit("aWi", sans, -5), 0);

    // Monospaced: one whole cell per byte below 128, control bytes included.
    EXPECT_EQ(g_fontSystem->MeasureText("0123456789", mono).width, 10 * mono->cellWidth);
    EXPECT_EQ(g_fontSystem->MeasureText("0\t1\xC3\xA9", mono).width, 3 * mono->cellWidth);
    EXPECT_EQ(g_fontSystem->CharsThatFit("0123456789", mono, mono->cellWidth * 7 / 2), 3);
    EXPECT_EQ(g_fontSystem->CharsThatFit("0123", mono, mono->cellWidth * 10), 4);
}

TEST_F(Fonts, DrawTextSkipsControlBytesWithoutAdvanceInTheTextColour) {
    const int handle = g_fontSystem->LoadFont("draw", kOpenSans, 40, kRed, kClear);
    FontRecord* font = g_fontSystem->GetFont(handle);
    ASSERT_NE(font, nullptr);
    const Color blue = {0, 0, 255, 255};
    const int x = 10, y = 20;

    const std::vector<Pixel> tabbed = Render(blue, [&] { g_renderer->DrawText(handle, "a\tb", x, y); });
    const std::vector<Pixel> plain = Render(blue, [&] { g_renderer->DrawText(handle, "ab", x, y); });
    const std::vector<Pixel> split = Render(blue, [&] {
        g_renderer->DrawText(handle, "a", x, y);
        g_renderer->DrawText(handle, "b", x + font->glyphs['a'].w, y);
    });
    EXPECT_TRUE(tabbed == plain);
    EXPECT_TRUE(plain == split);

    // Blended glyphs mix only the text colour into the background, and the stem of a letter is solid.
    const int width = font->glyphs['a'].w + font->glyphs['b'].w;
    int solid = 0;
    for (int py = 0; py < kHeight; ++py) {
        for (int px = 0; px < kWidth; ++px) {
            const Pixel p = tabbed[py * kWidth + px];
            const bool inside = px >= x && px < x + width && py >= y && py < y + font->glyphs['a'].h;
            if (!inside) {
                ASSERT_TRUE(p == (Pixel{0, 0, 255, 255})) << "at (" << px << ", " << py << ") got " << Describe(p);
            }
            ASSERT_EQ(p.g, 0) << "at (" << px << ", " << py << ") got " << Describe(p);
            solid += p == Pixel{255, 0, 0, 255};
        }
    }
    EXPECT_GT(solid, 10);

    // Unknown fonts and empty texts draw nothing.
    const std::vector<Pixel> nothing = Render(blue, [&] {
        g_renderer->DrawText(-1, "ab", x, y);
        g_renderer->DrawText(handle, "", x, y);
        g_renderer->DrawFontAtlas(-1);
    });
    EXPECT_TRUE(nothing == std::vector<Pixel>(kWidth * kHeight, Pixel{0, 0, 255, 255}));
}

TEST_F(Fonts, OpaqueBackColourGivesGlyphsOnThatBackground) {
    const Color yellow = {255, 255, 0, 255};
    const int lcd = g_fontSystem->LoadFont("lcd", kOpenSans, 40, kRed, yellow);
    const int blended = g_fontSystem->LoadFont("lcd", kOpenSans, 40, kRed, kClear);
    ASSERT_GE(lcd, 0);
    ASSERT_GE(blended, 0);
    const Color blue = {0, 0, 255, 255};
    const std::vector<Pixel> onBack = Render(blue, [&] { g_renderer->DrawText(lcd, "a", 10, 20); });
    const std::vector<Pixel> clear = Render(blue, [&] { g_renderer->DrawText(blended, "a", 10, 20); });
    // The top corners of the glyph box lie above the letter's ink.
    const int right = 10 + g_fontSystem->GetFont(lcd)->glyphs['a'].w - 1;
    for (int px : {10, right}) {
        const Pixel back = onBack[20 * kWidth + px];
        const Pixel none = clear[20 * kWidth + px];
        EXPECT_TRUE(back == (Pixel{255, 255, 0, 255})) << "LCD at (" << px << ", 20) got " << Describe(back);
        EXPECT_TRUE(none == (Pixel{0, 0, 255, 255})) << "blended at (" << px << ", 20) got " << Describe(none);
    }
}

TEST_F(Fonts, DrawFontAtlasShowsTheAtlasInARedOutline) {
    const int handle = g_fontSystem->LoadFont("atlas_view", kInconsolata, 12, Color{0, 255, 0, 255}, kClear);
    FontRecord* font = g_fontSystem->GetFont(handle);
    ASSERT_NE(font, nullptr);
    ASSERT_TRUE(font->atlas.width < kWidth && font->atlas.height < kHeight);
    const std::vector<Pixel> pixels = Render(kBlack, [&] { g_renderer->DrawFontAtlas(handle); });
    const Pixel red = {255, 0, 0, 255};
    const int right = font->atlas.width - 1, bottom = font->atlas.height - 1;
    for (const auto& at : {std::make_pair(0, 0), std::make_pair(right, 0), std::make_pair(0, bottom),
                           std::make_pair(right, bottom)}) {
        const Pixel got = pixels[at.second * kWidth + at.first];
        EXPECT_TRUE(got == red) << "at (" << at.first << ", " << at.second << ") got " << Describe(got);
    }
    EXPECT_TRUE(pixels[(bottom + 1) * kWidth + right + 1] == (Pixel{0, 0, 0, 255}));
    // Glyph pixels inside the outline carry only the text colour.
    int green = 0;
    for (int py = 1; py < bottom; ++py) {
        for (int px = 1; px < right; ++px) {
            const Pixel p = pixels[py * kWidth + px];
            ASSERT_TRUE(p.r == 0 && p.b == 0) << "at (" << px << ", " << py << ") got " << Describe(p);
            green += p.g > 0;
        }
    }
    EXPECT_GT(green, 0);
}

TEST_F(Fonts, UnusableFontFilesGiveNoHandleSilently) {
    g_consoleText.clear();
    EXPECT_EQ(g_fontSystem->LoadFont("missing", "./no/such/font.ttf", 20, kBlack, kClear), -1);
    EXPECT_EQ(g_consoleText, "");

    char dir[] = "/tmp/vormi_font_XXXXXX";
    ASSERT_NE(mkdtemp(dir), nullptr);
    const std::string path = std::string(dir) + "/corrupt.ttf";
    std::mt19937 random(1234);
    std::vector<unsigned char> bytes(4096);
    for (unsigned char& b : bytes) {
        b = static_cast<unsigned char>(random());
    }
    FILE* file = std::fopen(path.c_str(), "wb");
    ASSERT_NE(file, nullptr);
    std::fwrite(bytes.data(), 1, bytes.size(), file);
    std::fclose(file);
    EXPECT_EQ(g_fontSystem->LoadFont("corrupt", path, 20, kBlack, kClear), -1);
    std::remove(path.c_str());
    rmdir(dir);

    // Sizes no text can have are refused before the file is opened.
    EXPECT_EQ(g_fontSystem->LoadFont("tiny", kOpenSans, 0, kBlack, kClear), -1);
    EXPECT_EQ(g_fontSystem->LoadFont("huge", kOpenSans, 1 << 30, kBlack, kClear), -1);
    EXPECT_EQ(g_fontSystem->FindFont("corrupt", 20, kBlack, kClear), -1);
}

}  // namespace
