#include <SDL.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "console/cvars.h"
#include "engine/engine.h"
#include "render/renderer.h"
#include "resources/texture_mgr.h"
#include "support/engine_fixture.h"
#include "support/offscreen.h"
#include "ui/root_panel.h"

namespace {


class SDLRendererTest : public OffscreenTest {
protected:
    SDLRendererTest() : OffscreenTest(640, 480) {}
    void SetUp() override {
        OffscreenTest::SetUp();
        g_rendererReady = true;
        g_renderer->UpdateViewportScale();
    }
    void TearDown() override {
        g_rendererReady = false;
        OffscreenTest::TearDown();
    }
};

TEST_F(SDLRendererTest, ShapesCoverTheirPixelsAndNoMore) {
    const std::vector<Point> square = {{200, 10}, {240, 10}, {240, 50}, {200, 50}};
    const Rect outline = {120, 120, 40, 30};
    const Rect filled = {200, 120, 40, 30};
    Render(kBlack, [&] {
        g_renderer->DrawLine({20, 20}, {80, 20}, kRed, 6);
        g_renderer->DrawLine({20, 70}, {80, 70}, kGreen, 1);
        g_renderer->DrawArrow({20, 100}, {120, 100}, kGreen, 1, 20, 20);
        g_renderer->FillPolygon(square, 4, kBlue);
        g_renderer->FillPolygon(square, 2, kRed);
        g_renderer->FillPolygon(square, 99, kBlue);
        g_renderer->FillCircle({320, 40}, 20, kRed, 32);
        g_renderer->FillCircle({320, 40}, 20, kGreen, 0);
        g_renderer->DrawCircle({60, 140}, 30, kGreen, 1, 16);
        g_renderer->DrawRect(&outline, kRed);
        g_renderer->FillRect(&filled, kBlue);
    });
    const struct {
        int x, y;
        Color color;
        bool drawn;
    } probes[] = {
        {50, 18, kRed, true},     {50, 22, kRed, true},     {50, 25, kRed, false},     {16, 20, kRed, false},
        {84, 20, kRed, false},    {50, 70, kGreen, true},   {50, 72, kGreen, false},   {40, 100, kGreen, true},
        {110, 100, kGreen, true}, {103, 94, kGreen, true},  {40, 94, kGreen, false},   {125, 100, kGreen, false},
        {220, 30, kBlue, true},   {250, 30, kBlue, false},  {320, 40, kRed, true},     {335, 40, kRed, true},
        {345, 40, kRed, false},   {90, 140, kGreen, true},  {60, 140, kGreen, false},  {120, 120, kRed, true},
        {159, 149, kRed, true},   {140, 135, kRed, false},  {220, 135, kBlue, true},   {240, 150, kBlue, false},
    };
    for (const auto& p : probes) {
        const ::testing::AssertionResult got = PixelIs(p.x, p.y, p.color);
        EXPECT_TRUE(p.drawn ? got : !got);
    }
}

TEST_F(SDLRendererTest, ClippingAndTheStretchedCheckerWithColourModulation) {
    const Rect clip = {0, 0, 20, 20};
    const Rect all = {0, 0, 100, 100};
    Render(kBlack, [&] {
        g_renderer->SetClipRect(&clip);
        g_renderer->FillRect(&all, kRed);
    });
    EXPECT_TRUE(PixelIs(10, 10, kRed));
    EXPECT_TRUE(PixelIs(30, 30, kBlack));
    g_renderer->SetClipRect(nullptr);
    g_renderer->FillRect(&all, kGreen);
    EXPECT_TRUE(PixelIs(30, 30, kGreen));

    ASSERT_TRUE(g_textureMgr->Init());
    const Rect big = {0, 0, 40, 40}, second = {50, 0, 40, 40}, third = {100, 0, 40, 40};
    const Color white = {255, 255, 255, 255};
    Render(kBlack, [&] {
        g_renderer->DrawTextureById(&second, Color{128, 255, 255, 0}, 0);
        g_renderer->DrawTextureById(&big, white, 0);  // the modulation is reset after each copy
        g_renderer->DrawTextureById(&third, white, 12345);  // an unknown id falls back to the checker
    });
    const struct {
        int x, y;
        Color want;
    } checks[] = {{1, 1, kMagenta},  {19, 19, kMagenta}, {20, 1, kBlack},   {1, 20, kBlack},
                  {39, 39, kMagenta}, {55, 5, {128, 0, 255, 255}}, {101, 1, kMagenta}};
    for (const auto& c : checks) {
        EXPECT_TRUE(PixelIs(c.x, c.y, c.want));
    }
}

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

TEST_F(SDLRendererTest, RootLogicalSizeFollowsTheScaleAndEarlyChangesDoNothing) {
    RootPanel& root = *new RootPanel("root");
    g_rootPanel = &root;
    SDL_SetWindowSize(g_window, 1920, 1080);
    cv_viewport_scale.SetString("0.1");
    EXPECT_FLOAT_EQ(g_viewportScale, 0.5f);
    EXPECT_EQ(root.width, 3840);
    EXPECT_EQ(root.height, 2160);
    cv_viewport_autoscale.SetString("1");
    EXPECT_FLOAT_EQ(g_viewportScale, 2.25f);
    EXPECT_EQ(root.width, 853);
    EXPECT_EQ(root.height, 480);
    cv_viewport_autoscale.SetString("0");

    g_rendererReady = false;
    cv_viewport_scale.SetString("1.0");
    EXPECT_FLOAT_EQ(g_viewportScale, 0.5f);
    EXPECT_EQ(root.width, 3840);
    g_rendererReady = true;
    g_rootPanel = nullptr;
    root.Destroy();

    // Shutting down stores the effective scale back, so a clamped value is what is saved.
    cv_viewport_scale.SetString("0.1");
    g_renderer->Shutdown();
    EXPECT_EQ(cv_viewport_scale.value, "0.500000");
}

TEST(RendererSelection, MessagesForAMatchAnUnknownNameACaseVariantAndAnEmptyValue) {
    for (const std::string value : {"SDLRenderer", "Nope", "sdlrenderer", "GLESRenderer", ""}) {
        cv_renderer_type.SetString(value);
        LogCapture log;
        SelectRenderer();
        ASSERT_FALSE(availableRenderers.empty());
        EXPECT_STREQ(availableRenderers[0].name, "SDLRenderer");
        std::string expected = "Available renderers:\n";
        for (const RendererFactory& factory : availableRenderers) {
            expected += std::string("-") + factory.name + "\n";
        }
        expected += value == "SDLRenderer" ? "Selected renderer: SDLRenderer (ID 0)\n"
                                           : "Unknown renderer '" + value + "'. Falling back to SDLRenderer.\n";
        EXPECT_EQ(log.text(), expected);
        EXPECT_EQ(selectedRendererIndex, 0);
        EXPECT_EQ(rendererKind, kRendererSDL);
        EXPECT_EQ(cv_renderer_type.value, "SDLRenderer");
    }
    EXPECT_EQ(SwitchRenderer(), availableRenderers[1 % availableRenderers.size()].name);
}

}  // namespace
