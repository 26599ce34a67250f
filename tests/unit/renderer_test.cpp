#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "console/cvars.h"
#include "engine/engine.h"
#include "resources/font_system.h"
#include "resources/texture_mgr.h"
#include "support/engine_fixture.h"
#include "support/offscreen.h"
#include "ui/root_panel.h"

namespace {

const Color kClear = {0, 0, 0, 0};

class Drawing : public RendererTest {};

TEST_P(Drawing, ShapesClippingAndTexturesLightTheSamePixelsOnBothRenderers) {
    ASSERT_TRUE(g_textureMgr->Init());
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
        g_renderer->DrawCircle({60, 220}, 30, kGreen, 1, 2);
        g_renderer->DrawRect(&outline, kRed);
        g_renderer->FillRect(&filled, kBlue);
        g_renderer->SetClipRect(&clip);
        g_renderer->FillRect(&clipped, kWhite);
        g_renderer->SetClipRect(nullptr);
        g_renderer->DrawTextureById(&tinted, Color{128, 255, 255, 255}, 0);
        g_renderer->DrawTextureById(&checker, kWhite, 12345);  // unknown ids fall back to the checker
    });
    ExpectProbes(frame, {
        {50, 18, kRed, "thick line"},           {50, 22, kRed, "thick line"},
        {50, 25, kBlack, "past the thick line"}, {16, 20, kBlack, "before its start"},
        {84, 20, kBlack, "after its end"},      {40, 100, kGreen, "arrow shaft"},
        {110, 100, kGreen, "arrow head"},       {103, 94, kGreen, "arrow head corner"},
        {40, 94, kBlack, "beside the shaft"},   {125, 100, kBlack, "past the tip"},
        {50, 70, kGreen, "hair line"},          {50, 72, kBlack, "below the hair line"},
        {220, 30, kBlue, "polygon"},            {250, 30, kBlack, "beside the polygon"},
        {320, 40, kRed, "circle centre"},       {335, 40, kRed, "inside the rim"},
        {345, 40, kBlack, "outside the rim"},   {360, 40, kBlack, "no segments, no circle"},
        {60, 140, kBlack, "ring centre"},       {60, 220, kind_ == kRendererGL ? kBlack : kGreen, "two segments: nothing on GL, there and back on SDL"},
        {120, 120, kRed, "outline corner"},     {159, 149, kRed, "far outline corner"},
        {140, 135, kBlack, "inside the outline"}, {220, 135, kBlue, "filled"},
        {240, 150, kBlack, "past the fill"},    {305, 105, kWhite, "inside the clip"},
        {315, 105, kBlack, "clipped away"},     {305, 115, kBlack, "clipped away below"},
        {401, 1, kMagenta, "checker"},          {419, 19, kMagenta, "checker"},
        {420, 1, kBlack, "checker"},            {439, 39, kMagenta, "checker"},
        {401, 1 + 20, kBlack, "checker"},       {451, 1, {128, 0, 255, 255}, "tinted checker"},
    });
}

TEST_P(Drawing, TextSkipsControlBytesWithoutAdvanceAndUnknownFontsDrawNothing) {
    const int font = g_fontSystem->LoadFont("draw", "./test/fonts/OpenSans-Regular.ttf", 40, kRed, kClear);
    ASSERT_GE(font, 0);
    const Rect* glyphs = g_fontSystem->GetFont(font)->glyphs;
    const Frame tabbed = Render(kBlue, [&] { g_renderer->DrawText(font, "a\tb\xC3\xA9", 10, 20); });
    const Frame split = Render(kBlue, [&] {
        g_renderer->DrawText(font, "a", 10, 20);
        g_renderer->DrawText(font, "b", 10 + glyphs['a'].w, 20);
    });
    int red = 0;
    for (size_t i = 0; i < tabbed.pixels.size(); ++i) {
        ASSERT_TRUE(SameColor(tabbed.pixels[i], split.pixels[i], 1)) << "pixel " << i;
        red += SameColor(tabbed.pixels[i], kRed, 8) ? 1 : 0;
    }
    EXPECT_GT(red, 10);
    const Frame nothing = Render(kBlue, [&] {
        g_renderer->DrawText(-1, "ab", 10, 20);
        g_renderer->DrawText(font, "", 10, 20);
        g_renderer->DrawFontAtlas(-1);
    });
    ExpectProbes(nothing, {{12, 30, kBlue, "unknown font"}, {20, 40, kBlue, "unknown font"}});
}

INSTANTIATE_ON_BOTH_RENDERERS(Drawing);

TEST(ViewportScale, ClampAndAutoScaleFollowTheWindowShape) {
    const struct {
        int w, h;
        float requested;
        bool noClamp, autoScale;
        float want;
    } cases[] = {{1280, 720, 1.0f, false, false, 1.0f},  {640, 960, 2.0f, false, false, 1.0f},
                 {1920, 1080, 0.1f, false, false, 0.5f}, {1920, 1080, 0.1f, false, true, 2.25f},
                 {1920, 1080, 0.1f, true, false, 0.1f},  {1920, 1080, 3.0f, false, false, 2.25f}};
    for (const auto& c : cases) {
        EXPECT_FLOAT_EQ(ComputeViewportScale(c.w, c.h, c.requested, c.noClamp, c.autoScale), c.want)
            << c.w << "x" << c.h << " at " << c.requested;
    }
}

using Viewport = OffscreenTest;

TEST_F(Viewport, RootLogicalSizeFollowsTheScaleEarlyChangesDoNothingAndShutdownSavesIt) {
    RootPanel& root = *new RootPanel("root");
    g_rootPanel = &root;
    g_rendererReady = true;
    SDL_SetWindowSize(g_window, 1920, 1080);
    const struct {
        CVar& var;
        const char* value;
        float scale;
        int width, height;
    } steps[] = {{cv_viewport_scale, "0.1", 0.5f, 3840, 2160}, {cv_viewport_autoscale, "1", 2.25f, 853, 480},
                 {cv_viewport_autoscale, "0", 0.5f, 3840, 2160}};
    for (const auto& s : steps) {
        s.var.SetString(s.value);
        EXPECT_FLOAT_EQ(g_viewportScale, s.scale) << s.var.name << " " << s.value;
        EXPECT_EQ(root.width, s.width) << s.var.name << " " << s.value;
        EXPECT_EQ(root.height, s.height) << s.var.name << " " << s.value;
    }
    g_rendererReady = false;
    cv_viewport_scale.SetString("1.0");
    EXPECT_FLOAT_EQ(g_viewportScale, 0.5f) << "no update before the renderer is ready";
    g_rootPanel = nullptr;
    root.Destroy();
    g_renderer->Shutdown();
    EXPECT_EQ(cv_viewport_scale.value, "0.500000") << "the effective scale is what is saved";
}

TEST(RendererSelection, MessagesForAMatchAnUnknownNameACaseVariantAndAnEmptyValue) {
    for (const std::string value : {"GLRenderer", "SDLRenderer", "Nope", "sdlrenderer", "GLESRenderer", ""}) {
        cv_renderer_type.SetString(value);
        LogCapture log;
        SelectRenderer();
        const bool gl = value == "GLRenderer";
        std::string expected = "Available renderers:\n-SDLRenderer\n-GLRenderer\n";
        expected += gl                       ? "Selected renderer: GLRenderer (ID 1)\n"
                    : value == "SDLRenderer" ? "Selected renderer: SDLRenderer (ID 0)\n"
                                             : "Unknown renderer '" + value + "'. Falling back to SDLRenderer.\n";
        EXPECT_EQ(log.text(), expected);
        EXPECT_EQ(selectedRendererIndex, gl ? 1 : 0) << value;
        EXPECT_EQ(rendererKind, gl ? kRendererGL : kRendererSDL) << value;
        EXPECT_EQ(cv_renderer_type.value, gl ? "GLRenderer" : "SDLRenderer");
    }
    EXPECT_EQ(SwitchRenderer(), "GLRenderer");
    EXPECT_EQ(SwitchRenderer(), "SDLRenderer");
    EXPECT_EQ(cv_renderer_type.value, "SDLRenderer");
}

}  // namespace
