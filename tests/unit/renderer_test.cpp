#include <utility>

#include "console/cvars.h"
#include "render/shader_program.h"
#include "resources/font_system.h"
#include "support/offscreen.h"
#include "ui/root_panel.h"

namespace {

const Color kClear = {0, 0, 0, 0}, kYellow = {255, 255, 0, 255};

class Drawing : public RendererTest {};

// Decoded BMP variants at y 300 and below; "!f_" keeps a texture unfiltered, smooth.bmp is filtered.
TEST_P(Drawing, ShapesClippingAndTexturesLightTheSamePixelsOnBothRenderers) {
    const char* files[] = {"!f_rgb24.bmp", "!f_rgba32.bmp", "!f_pal8.bmp", "!f_rle8.bmp", "smooth.bmp"};
    const Rect bmps[] = {{0, 300, 24, 16}, {32, 300, 16, 16}, {0, 332, 20, 8}, {0, 348, 20, 8}, {0, 356, 60, 8}};
    int bmp[5];
    for (int i = 0; i < 5; ++i) {
        dir_.WriteFile(std::string("test/tex/") + files[i], TestDataFile(i < 4 ? files[i] + 3 : "rgb24.bmp"));
        bmp[i] = g_textureMgr->LoadTexture(files[i]);
        ASSERT_GE(bmp[i], 1) << files[i] << ": " << g_consoleText;
    }
    const std::vector<Point> square = {{200, 10}, {240, 10}, {240, 50}, {200, 50}};
    const Rect outline = {120, 120, 40, 30}, filled = {200, 120, 40, 30}, clip = {300, 100, 10, 10};
    const Rect clipped = {300, 100, 50, 50}, checker = {400, 0, 40, 40}, tinted = {450, 0, 40, 40};
    const Frame frame = Render(kBlack, [&] {
        g_renderer->DrawLine({20, 20}, {80, 20}, kRed, 6);
        g_renderer->DrawLine({20, 70}, {80, 70}, kGreen, 1);
        g_renderer->DrawArrow({20, 100}, {120, 100}, kGreen, 1, 20, 20);
        g_renderer->FillPolygon(square, 4, kBlue);
        g_renderer->FillPolygon(square, 2, kRed);
        g_renderer->FillPolygon(square, 99, kBlue);
        g_renderer->FillCircle({320, 40}, 20, kRed, 32);
        g_renderer->FillCircle({360, 40}, 20, kGreen, 0);
        g_renderer->DrawCircle({60, 140}, 30, kGreen, 1, 16);
        g_renderer->DrawRect(&outline, kRed);
        g_renderer->FillRect(&filled, kBlue);
        g_renderer->SetClipRect(&clip);
        g_renderer->FillRect(&clipped, kWhite);
        g_renderer->SetClipRect(nullptr);
        g_renderer->DrawTextureById(&tinted, Color{128, 255, 255, 255}, 0);
        g_renderer->DrawTextureById(&checker, kWhite, 12345);  // unknown ids fall back to the checker
        for (int i = 0; i < 5; ++i) g_renderer->DrawTextureById(&bmps[i], kWhite, bmp[i]);
    });
    ExpectProbes(frame, {
        {50, 18, kRed, "thick line"}, {50, 22, kRed, "thick line"}, {50, 25, kBlack, "past the thick line"},
        {16, 20, kBlack, "before its start"}, {84, 20, kBlack, "after its end"}, {40, 100, kGreen, "arrow shaft"},
        {110, 100, kGreen, "arrow head"}, {103, 94, kGreen, "arrow head corner"}, {40, 94, kBlack, "beside the shaft"},
        {125, 100, kBlack, "past the tip"}, {50, 70, kGreen, "hair line"}, {50, 72, kBlack, "below the hair line"},
        {220, 30, kBlue, "polygon"}, {250, 30, kBlack, "beside the polygon"}, {320, 40, kRed, "circle centre"},
        {335, 40, kRed, "inside the rim"}, {345, 40, kBlack, "outside the rim"}, {360, 40, kBlack, "no segments"},
        {60, 140, kBlack, "ring centre"}, {120, 120, kRed, "outline corner"}, {159, 149, kRed, "far outline corner"},
        {140, 135, kBlack, "inside the outline"}, {220, 135, kBlue, "filled"}, {240, 150, kBlack, "past the fill"},
        {305, 105, kWhite, "inside the clip"}, {315, 105, kBlack, "clipped away"}, {305, 115, kBlack, "clipped below"},
        {401, 1, kMagenta, "checker"}, {420, 1, kBlack, "checker"}, {439, 39, kMagenta, "checker"},
        {401, 21, kBlack, "checker"}, {451, 1, {128, 0, 255, 255}, "tinted checker"}, {4, 304, kRed, "24-bit red"},
        {12, 304, kGreen, "24-bit green"}, {20, 312, kYellow, "24-bit yellow"}, {7, 304, kRed, "unfiltered edge"},
        {8, 304, kGreen, "unfiltered edge"}, {36, 304, kRed, "32-bit opaque"}, {36, 312, kBlack, "32-bit clear"},
        {0, 336, kRed, "palette first"}, {19, 336, kBlue, "palette last"}, {19, 352, kBlue, "run-length last"}});
    EXPECT_TRUE(SameColor(frame.At(44, 304), {0, 0, 127, 255}, 2)) << "32-bit half alpha";
    EXPECT_LT(frame.At(19, 360).r, 250) << "filtered seam blends red into green";
    EXPECT_GT(frame.At(19, 360).g, 5) << "filtered seam blends red into green";
}

TEST_P(Drawing, TextSkipsControlBytesAnOpaqueBackFillsGlyphBoxesAndTheAtlasViewIsOutlined) {
    const int font = g_fontSystem->LoadFont("draw", "./test/fonts/OpenSans-Regular.ttf", 40, kRed, kClear);
    const int lcd = g_fontSystem->LoadFont("lcd", "./test/fonts/OpenSans-Regular.ttf", 40, kRed, kYellow);
    const int atlas = g_fontSystem->LoadFont("atlas", "./test/fonts/Inconsolata-Regular.ttf", 12, kGreen, kClear);
    ASSERT_GE(font, 0);
    const FontRecord* record = g_fontSystem->GetFont(font);
    const Frame tabbed = Render(kBlue, [&] { g_renderer->DrawText(font, "a\tb\xC3\xA9", 10, 20); });
    const Frame split = Render(kBlue, [&] {
        g_renderer->DrawText(font, "a", 10, 20);
        g_renderer->DrawText(font, "b", 10 + record->glyphs['a'].w, 20);
    });
    int red = 0;
    for (size_t i = 0; i < tabbed.pixels.size(); ++i) {
        ASSERT_TRUE(SameColor(tabbed.pixels[i], split.pixels[i], 1)) << "pixel " << i;
        red += SameColor(tabbed.pixels[i], kRed, 8) ? 1 : 0;
    }
    EXPECT_GT(red, 10);
    ExpectProbes(tabbed, {{10, 20, kBlue, "blended glyph box"}});
    ExpectProbes(Render(kBlue, [&] { g_renderer->DrawText(lcd, "a", 10, 20); }), {{10, 20, kYellow, "LCD glyph box"}});
    const Frame nothing = Render(kBlue, [&] {
        g_renderer->DrawText(-1, "ab", 10, 20);
        g_renderer->DrawText(font, "", 10, 20);
        g_renderer->DrawFontAtlas(-1);
    });
    ExpectProbes(nothing, {{12, 30, kBlue, "unknown font"}, {20, 40, kBlue, "unknown font"}});
    const Texture& sheet = g_fontSystem->GetFont(atlas)->atlas;
    ExpectProbes(Render(kBlack, [&] { g_renderer->DrawFontAtlas(atlas); }),
                 {{0, 0, kRed, "atlas outline"}, {sheet.width - 1, sheet.height - 1, kRed, "atlas outline"},
                  {sheet.width, sheet.height, kBlack, "past the atlas"}});
}

INSTANTIATE_ON_BOTH_RENDERERS(Drawing);

using Viewport = OffscreenTest;

TEST_F(Viewport, ScaleIsClampedOrFitsTheWindowAndTheRootTakesTheLogicalSize) {
    RootPanel& root = *new RootPanel("root");
    g_rootPanel = &root;
    g_rendererReady = true;
    const struct { int w, h; const char *requested, *noClamp, *autoScale; float want; int rootW, rootH; } cases[] = {
        {1280, 720, "1.0", "0", "0", 1.0f, 1280, 720},    {640, 960, "2.0", "0", "0", 1.0f, 640, 960},
        {1920, 1080, "0.1", "0", "0", 0.5f, 3840, 2160},  {1920, 1080, "0.1", "0", "1", 2.25f, 853, 480},
        {1920, 1080, "0.1", "1", "0", 0.1f, 19200, 10800}, {1920, 1080, "3.0", "0", "0", 2.25f, 853, 480}};
    for (const auto& c : cases) {
        SDL_SetWindowSize(g_window, c.w, c.h);
        cv_viewport_scale_noclamp.SetString(c.noClamp);
        cv_viewport_autoscale.SetString(c.autoScale);
        cv_viewport_scale.SetString(c.requested);
        EXPECT_FLOAT_EQ(g_viewportScale, c.want) << c.w << "x" << c.h << " at " << c.requested;
        EXPECT_EQ(root.width, c.rootW) << c.w << "x" << c.h << " at " << c.requested;
        EXPECT_EQ(root.height, c.rootH) << c.w << "x" << c.h << " at " << c.requested;
    }
    g_rendererReady = false;
    cv_viewport_scale.SetString("1.0");
    EXPECT_FLOAT_EQ(g_viewportScale, 2.25f) << "no update before the renderer is ready";
    g_rootPanel = nullptr;
    root.Destroy();
}

class ModelShader : public OffscreenTest {
protected:
    ModelShader() : OffscreenTest(64, 64, kRendererGL) {}
};

TEST_F(ModelShader, ReloadRebuildsOnEveryWriteAndReportsBadSources) {
    ASSERT_NE(modelProgram, 0u);
    const std::string frag = dir_.ReadFile("test/shaders/model.frag");
    const std::string noMain = "#version 330 compatibility\nvoid helper() {}\n";  // compiles, cannot link
    const char* const built = "Model shader compiled successfully. Program ID = ";
    const char* const failed = "Error: Failed to build model shader program.\n";
    const struct { std::string frag; const char *first, *last; } cases[] = {
        {"not glsl", "Shader compilation failed:\n", failed},
        {"", "Error: Model shader source is missing.\n", "Error: Model shader source is missing.\n"},
        {frag, built, "\n"}, {frag, built, "\n"},  // the same value again, rebuilt again
        {noMain, "Shader program linking failed:\n", failed}};
    LogCapture log;
    for (const auto& c : cases) {
        dir_.WriteFile("test/shaders/model.frag", c.frag);
        log.Clear();
        cv_shader_reload.SetString("1");
        const std::string& text = log.text();
        EXPECT_EQ(text.rfind(c.first, 0), 0u) << text;
        EXPECT_EQ(text.substr(text.size() - std::string(c.last).size()), c.last) << text;
        EXPECT_EQ(modelProgram != 0, c.frag == frag) << text;
    }
}

const std::string kSans = "./test/fonts/OpenSans-Regular.ttf", kMono = "./test/fonts/Inconsolata-Regular.ttf";
const Color kClearWhite = {255, 255, 255, 0};

FontRecord* Load(const std::string& path, int size) {
    return g_fontSystem->GetFont(g_fontSystem->LoadFont("test", path, size, kBlack, kClearWhite));
}

using Fonts = OffscreenTest;

TEST_F(Fonts, CellsFitTheSizeAndMeasuresFollowGlyphWidthsOrCells) {
    FontRecord* sans = Load(kSans, 12);
    FontRecord* mono = Load(kMono, 12);
    ASSERT_NE(sans, nullptr);
    ASSERT_NE(mono, nullptr);
    for (const FontRecord* font : {sans, mono, Load(kSans, 40), Load(kMono, 40)}) {
        SCOPED_TRACE(font->path + " at " + std::to_string(font->size));
        EXPECT_LE(font->cellHeight, font->size);
        EXPECT_EQ(font->monospace, font->path == kMono);
    }
    EXPECT_EQ(g_fontSystem->MeasureText("abc", nullptr).height, 0);
    EXPECT_EQ(g_fontSystem->MeasureText("", sans).height, sans->cellHeight);
    EXPECT_EQ(g_fontSystem->CharsThatFit(nullptr, sans, 100), 0);
    EXPECT_EQ(g_fontSystem->CharsThatFit("abc", nullptr, 100), 0);
    const int wa = sans->glyphs['a'].w, wW = sans->glyphs['W'].w, wi = sans->glyphs['i'].w, cell = mono->cellWidth;
    const struct { FontRecord* font; const char* text; int maxWidth, fits, width; } cases[] = {
        {sans, "aW\ti\xC3\xA9", wa + wW, 3, wa + wW + wi},  // exactly full still fits
        {sans, "aWi", wa + wW - 1, 1, wa + wW + wi}, {sans, "aWi", -5, 0, wa + wW + wi},
        {mono, "0123456789", cell * 7 / 2, 3, 10 * cell}, {mono, "0\t1\xC3\xA9", 100 * cell, 5, 3 * cell}};
    for (const auto& c : cases) {
        EXPECT_EQ(g_fontSystem->CharsThatFit(c.text, c.font, c.maxWidth), c.fits) << c.text << " in " << c.maxWidth;
        EXPECT_EQ(g_fontSystem->MeasureText(c.text, c.font).width, c.width) << c.text;
    }
}

TEST_F(Fonts, EveryLoadIsNewFindNeedsNameSizeAndBothColoursAndBadFilesGiveNoneSilently) {
    const int first = g_fontSystem->LoadFont("find", kSans, 20, kBlack, kClearWhite);
    const int red = g_fontSystem->LoadFont("find", kSans, 20, kRed, kClearWhite);
    ASSERT_GE(first, 0);
    EXPECT_NE(g_fontSystem->LoadFont("find", kSans, 20, kBlack, kClearWhite), first);
    const struct { const char* name; int size; Color color, back; int want; } cases[] = {
        {"find", 20, kBlack, kClearWhite, first}, {"find", 20, kRed, kClearWhite, red},
        {"Find", 20, kBlack, kClearWhite, -1}, {"find", 19, kBlack, kClearWhite, -1},
        {"find", 20, {0, 0, 0, 254}, kClearWhite, -1}, {"find", 20, kBlack, {255, 255, 255, 1}, -1}};
    for (const auto& c : cases) {
        EXPECT_EQ(g_fontSystem->FindFont(c.name, c.size, c.color, c.back), c.want) << c.name << " " << c.size;
    }
    EXPECT_EQ(g_fontSystem->GetFont(-1), nullptr);
    dir_.WriteFile("corrupt.ttf", "not a font at all");
    const std::pair<std::string, int> bad[] = {{"./none.ttf", 20}, {"corrupt.ttf", 20}, {kSans, 0}, {kSans, 1 << 30}};
    for (const auto& [path, size] : bad) {
        EXPECT_EQ(g_fontSystem->LoadFont("bad", path, size, kBlack, kClearWhite), -1) << path << " " << size;
    }
    EXPECT_EQ(g_consoleText, "");
}

}  // namespace
