#include "support/offscreen.h"

#include <SDL.h>
#include <SDL_ttf.h>

#include <cstring>
#include <fstream>
#include <sstream>

#include "engine/console_output.h"
#include "engine/engine.h"
#include "render/renderer.h"
#include "render/renderer.h"
#include "resources/model_mgr.h"
#include "resources/texture_mgr.h"

uint64_t OffscreenTest::now_ = 0;

std::string ToString(Color c) {
    return "(" + std::to_string(c.r) + "," + std::to_string(c.g) + "," + std::to_string(c.b) + "," +
           std::to_string(c.a) + ")";
}

std::string TestDataFile(const std::string& name) {
    std::ifstream in(std::string(VORMI_SOURCE_DIR) + "/tests/data/" + name, std::ios::binary);
    std::ostringstream bytes;
    bytes << in.rdbuf();
    return bytes.str();
}

::testing::AssertionResult SameColor(Color got, Color want, int tolerance) {
    const int diffs[] = {got.r - want.r, got.g - want.g, got.b - want.b, got.a - want.a};
    for (int d : diffs) {
        if (d > tolerance || d < -tolerance) {
            return ::testing::AssertionFailure() << "expected " << ToString(want) << ", got " << ToString(got);
        }
    }
    return ::testing::AssertionSuccess() << "got " << ToString(got);
}

bool Frame::operator==(const Frame& other) const {
    return width == other.width && pixels.size() == other.pixels.size() &&
           std::memcmp(pixels.data(), other.pixels.data(), pixels.size() * sizeof(Color)) == 0;
}

void OffscreenTest::SetUp() {
    SDL_SetHint(SDL_HINT_RENDER_DRIVER, "software");
    SDL_SetHint(SDL_HINT_FRAMEBUFFER_ACCELERATION, "0");
    ASSERT_EQ(SDL_Init(SDL_INIT_VIDEO), 0) << SDL_GetError();
    ASSERT_EQ(TTF_Init(), 0);
    g_window = SDL_CreateWindow("offscreen", 0, 0, width_, height_, SDL_WINDOW_HIDDEN);
    ASSERT_NE(g_window, nullptr) << SDL_GetError();
    g_renderer = NewSDLRenderer();
    ASSERT_TRUE(g_renderer->Init());
    g_renderer->SetBlendMode(SDL_BLENDMODE_BLEND);
    now_ = 1000;
    g_resourceTicks = [] { return now_; };
    g_consoleText.clear();
}

void OffscreenTest::TearDown() {
    g_modelMgr->Shutdown();
    g_textureMgr->Shutdown();
    g_resourceTicks = SDL_GetTicks64;
    delete g_renderer;
    g_renderer = nullptr;
    SDL_DestroyWindow(g_window);
    g_window = nullptr;
    TTF_Quit();
    SDL_Quit();
}

Frame OffscreenTest::Render(Color background, const std::function<void()>& draw) const {
    g_renderer->SetDrawColor(background.r, background.g, background.b, background.a);
    g_renderer->Clear();
    draw();
    Frame frame;
    frame.width = width_;
    frame.pixels.resize(static_cast<size_t>(width_) * static_cast<size_t>(height_));
    EXPECT_EQ(SDL_RenderReadPixels(SDL_GetRenderer(g_window), nullptr, SDL_PIXELFORMAT_RGBA32, frame.pixels.data(),
                                   width_ * 4),
              0);
    return frame;
}

::testing::AssertionResult OffscreenTest::PixelIs(int x, int y, Color want, int tolerance) const {
    const SDL_Rect at = {x, y, 1, 1};
    Color got = {0, 0, 0, 0};
    SDL_RenderReadPixels(SDL_GetRenderer(g_window), &at, SDL_PIXELFORMAT_RGBA32, &got, 4);
    ::testing::AssertionResult result = SameColor(got, want, tolerance);
    return result << " at (" << x << "," << y << ")";
}
