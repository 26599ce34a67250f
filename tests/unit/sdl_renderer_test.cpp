#include <SDL.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "console/cvar.h"
#include "console/cvars.h"
#include "engine/engine.h"
#include "render/renderer.h"
#include "render/sdl_renderer.h"
#include "resources/texture_mgr.h"
#include "support/engine_fixture.h"
#include "ui/root_panel.h"

namespace {

const Color kRed = {255, 0, 0, 255};
const Color kGreen = {0, 255, 0, 255};
const Color kBlue = {0, 0, 255, 255};
const Color kBlack = {0, 0, 0, 255};

std::string Str(Color c) {
    return "(" + std::to_string(c.r) + "," + std::to_string(c.g) + "," + std::to_string(c.b) + "," +
           std::to_string(c.a) + ")";
}

// An offscreen window with the real SDLRenderer on SDL's software driver; pixels are read back
// before Present.
class SDLRendererTest : public ::testing::Test {
protected:
    void SetUp() override {
        ASSERT_EQ(SDL_Init(SDL_INIT_VIDEO), 0) << SDL_GetError();
        SDL_SetHint(SDL_HINT_RENDER_DRIVER, "software");
        // Keep the window surface in memory: no GL driver is loaded behind it.
        SDL_SetHint(SDL_HINT_FRAMEBUFFER_ACCELERATION, "0");
        // 640x480 is the base size, where the viewport scale is exactly 1.
        g_window = SDL_CreateWindow("test", 0, 0, 640, 480, SDL_WINDOW_HIDDEN);
        ASSERT_NE(g_window, nullptr) << SDL_GetError();
        renderer = new SDLRenderer();
        g_renderer = renderer;
        ASSERT_TRUE(renderer->Init());
        g_rendererReady = true;
        renderer->UpdateViewportScale();
        renderer->SetBlendMode(SDL_BLENDMODE_BLEND);
        renderer->SetDrawColor(0, 0, 0, 255);
        renderer->Clear();
    }
    void TearDown() override {
        g_textureMgr->Shutdown();
        g_rendererReady = false;
        delete renderer;
        g_renderer = nullptr;
        SDL_DestroyWindow(g_window);
        g_window = nullptr;
        SDL_Quit();
    }
    Color Pixel(int x, int y) {
        SDL_Rect r = {x, y, 1, 1};
        uint8_t p[4] = {0, 0, 0, 0};
        SDL_RenderReadPixels(renderer->renderer, &r, SDL_PIXELFORMAT_ABGR8888, p, 4);
        return Color{p[0], p[1], p[2], p[3]};
    }
    void ExpectPixel(int x, int y, Color want) {
        const Color got = Pixel(x, y);
        EXPECT_TRUE(got.r == want.r && got.g == want.g && got.b == want.b)
            << "at (" << x << "," << y << ") expected " << Str(want) << " got " << Str(got);
    }
    void ExpectNotPixel(int x, int y, Color unwanted) {
        const Color got = Pixel(x, y);
        EXPECT_FALSE(got.r == unwanted.r && got.g == unwanted.g && got.b == unwanted.b)
            << "at (" << x << "," << y << ") did not expect " << Str(unwanted);
    }
    SDLRenderer* renderer = nullptr;
};

}  // namespace

TEST_F(SDLRendererTest, ThickLineIsAQuadWithoutCapsAndHairLineUsesTheDrawColour) {
    renderer->DrawLine({20, 20}, {80, 20}, kRed, 6);
    ExpectPixel(50, 18, kRed);
    ExpectPixel(50, 22, kRed);
    ExpectNotPixel(50, 25, kRed);
    ExpectNotPixel(16, 20, kRed);  // no cap beyond the end point
    ExpectNotPixel(84, 20, kRed);

    // A width of 1 goes through the draw colour; any other width leaves it alone.
    renderer->SetDrawColor(1, 2, 3, 4);
    renderer->DrawLine({20, 60}, {80, 60}, kGreen, 2);
    uint8_t r, g, b, a;
    SDL_GetRenderDrawColor(renderer->renderer, &r, &g, &b, &a);
    EXPECT_EQ(r + g + b + a, 1 + 2 + 3 + 4);
    renderer->DrawLine({20, 70}, {80, 70}, kGreen, 1);
    SDL_GetRenderDrawColor(renderer->renderer, &r, &g, &b, &a);
    EXPECT_EQ(g, 255);
    ExpectPixel(50, 70, kGreen);
    ExpectNotPixel(50, 72, kGreen);
}

TEST_F(SDLRendererTest, ArrowHasAShaftAndAFilledHead) {
    renderer->DrawArrow({20, 100}, {120, 100}, kGreen, 1, 20, 20);
    ExpectPixel(40, 100, kGreen);    // shaft
    ExpectPixel(110, 100, kGreen);   // head, on the axis
    ExpectPixel(103, 94, kGreen);    // head, near the base, off the axis
    ExpectNotPixel(40, 94, kGreen);  // beside the shaft
    ExpectNotPixel(125, 100, kGreen);
}

TEST_F(SDLRendererTest, PolygonsCirclesAndRects) {
    const std::vector<Point> square = {{10, 10}, {50, 10}, {50, 50}, {10, 50}};
    renderer->FillPolygon(square, 4, kBlue);
    ExpectPixel(30, 30, kBlue);
    ExpectNotPixel(60, 30, kBlue);
    // Fewer than three points, or a count beyond the points given, draws nothing wrong.
    renderer->FillPolygon(square, 2, kRed);
    renderer->FillPolygon(square, 99, kBlue);
    ExpectPixel(30, 30, kBlue);

    renderer->FillCircle({120, 40}, 20, kRed, 32);
    ExpectPixel(120, 40, kRed);
    ExpectPixel(135, 40, kRed);
    ExpectNotPixel(145, 40, kRed);
    renderer->FillCircle({120, 40}, 20, kGreen, 0);  // no segments, no points
    ExpectPixel(120, 40, kRed);

    renderer->DrawCircle({60, 140}, 30, kGreen, 1, 16);
    ExpectPixel(90, 140, kGreen);  // the first point is at angle 0
    ExpectNotPixel(60, 140, kGreen);

    const Rect outline = {120, 120, 40, 30};
    renderer->DrawRect(&outline, kRed);
    ExpectPixel(120, 120, kRed);
    ExpectPixel(159, 149, kRed);
    ExpectNotPixel(140, 135, kRed);
    renderer->FillRect(&outline, kBlue);
    ExpectPixel(140, 135, kBlue);
}

TEST_F(SDLRendererTest, ClipRectLimitsDrawingUntilCleared) {
    const Rect clip = {0, 0, 20, 20};
    const Rect all = {0, 0, 100, 100};
    renderer->SetClipRect(&clip);
    renderer->FillRect(&all, kRed);
    ExpectPixel(10, 10, kRed);
    ExpectPixel(30, 30, kBlack);
    renderer->SetClipRect(nullptr);
    renderer->FillRect(&all, kGreen);
    ExpectPixel(30, 30, kGreen);
}

TEST_F(SDLRendererTest, FallbackCheckerStretchesSharpAndColourModulationIgnoresAlpha) {
    ASSERT_TRUE(g_textureMgr->Init());
    const Rect big = {0, 0, 40, 40};
    renderer->DrawTextureById(&big, Color{255, 255, 255, 255}, 0);
    const Color magenta = {255, 0, 255, 255};
    ExpectPixel(1, 1, magenta);
    ExpectPixel(19, 19, magenta);  // nearest filtering: no blend at the cell edge
    ExpectPixel(20, 1, kBlack);
    ExpectPixel(1, 20, kBlack);
    ExpectPixel(39, 39, magenta);

    const Rect second = {50, 0, 40, 40};
    renderer->DrawTextureById(&second, Color{128, 255, 255, 0}, 0);
    ExpectPixel(55, 5, Color{128, 0, 255, 255});
    // The modulation is reset after the copy.
    renderer->DrawTextureById(&big, Color{255, 255, 255, 255}, 0);
    ExpectPixel(1, 1, magenta);
    // An unknown id falls back to the checker.
    const Rect third = {100, 0, 40, 40};
    renderer->DrawTextureById(&third, Color{255, 255, 255, 255}, 12345);
    ExpectPixel(101, 1, magenta);
}

TEST(ViewportScale, ClampAndAutoScaleFollowTheWindowShape) {
    EXPECT_FLOAT_EQ(ComputeViewportScale(1280, 720, 1.0f, false, false), 1.0f);
    EXPECT_FLOAT_EQ(ComputeViewportScale(640, 960, 2.0f, false, false), 1.0f);
    EXPECT_FLOAT_EQ(ComputeViewportScale(1920, 1080, 0.1f, false, false), 0.5f);
    EXPECT_FLOAT_EQ(ComputeViewportScale(1920, 1080, 0.1f, false, true), 2.25f);
    EXPECT_FLOAT_EQ(ComputeViewportScale(1920, 1080, 0.1f, true, false), 0.1f);
    EXPECT_FLOAT_EQ(ComputeViewportScale(1920, 1080, 3.0f, false, false), 2.25f);
}

TEST_F(SDLRendererTest, RootLogicalSizeFollowsTheScaleAndEarlyChangesDoNothing) {
    RootPanel& root = *new RootPanel("root");
    g_rootPanel = &root;
    SDL_SetWindowSize(g_window, 1920, 1080);
    cv_viewport_scale.SetString("0.1");  // renderer ready: recomputes at once
    EXPECT_FLOAT_EQ(g_viewportScale, 0.5f);
    EXPECT_EQ(root.width, 3840);
    EXPECT_EQ(root.height, 2160);
    cv_viewport_autoscale.SetString("1");
    EXPECT_FLOAT_EQ(g_viewportScale, 2.25f);
    EXPECT_EQ(root.width, 853);
    EXPECT_EQ(root.height, 480);
    cv_viewport_autoscale.SetString("0");

    // Before the renderer is ready a change only stores the value.
    g_rendererReady = false;
    cv_viewport_scale.SetString("1.0");
    EXPECT_FLOAT_EQ(g_viewportScale, 0.5f);
    EXPECT_EQ(root.width, 3840);
    g_rendererReady = true;
    g_rootPanel = nullptr;
    root.Destroy();

    // Destroying a renderer stores the effective scale back, so a clamped value is what is saved.
    cv_viewport_scale.SetString("0.1");
    renderer->Shutdown();
    EXPECT_EQ(cv_viewport_scale.value, "0.500000");
    cv_viewport_scale.SetString("1.0");
}

TEST(RendererSelection, MessagesForAMatchAnUnknownNameACaseVariantAndAnEmptyValue) {
    struct Case {
        const char* value;
        const char* log;
        int index;
    } cases[] = {
        {"SDLRenderer", "Available renderers:\n-SDLRenderer\nSelected renderer: SDLRenderer (ID 0)\n", 0},
        {"Nope", "Available renderers:\n-SDLRenderer\nUnknown renderer 'Nope'. Falling back to SDLRenderer.\n", 0},
        {"sdlrenderer",
         "Available renderers:\n-SDLRenderer\nUnknown renderer 'sdlrenderer'. Falling back to SDLRenderer.\n", 0},
        {"GLESRenderer",
         "Available renderers:\n-SDLRenderer\nUnknown renderer 'GLESRenderer'. Falling back to SDLRenderer.\n", 0},
        {"", "Available renderers:\n-SDLRenderer\nUnknown renderer ''. Falling back to SDLRenderer.\n", 0},
    };
    for (const Case& c : cases) {
        cv_renderer_type.SetString(c.value);
        LogCapture log;
        SelectRenderer();
        EXPECT_EQ(log.text(), c.log) << "renderer_type '" << c.value << "'";
        EXPECT_EQ(selectedRendererIndex, c.index);
        EXPECT_EQ(rendererKind, kRendererSDL);
        EXPECT_EQ(cv_renderer_type.value, "SDLRenderer");
    }
    EXPECT_EQ(RendererKindFromName("GLESRenderer"), kRendererGLES);
    EXPECT_EQ(RendererKindFromName("VulkanRenderer"), kRendererVulkan);
    EXPECT_EQ(RendererKindFromName("glrenderer"), kRendererUnknown);
    // Switching cycles through the list and returns to the start.
    EXPECT_EQ(SwitchRenderer(), "SDLRenderer");
    EXPECT_EQ(SwitchRenderer(), "SDLRenderer");
}
