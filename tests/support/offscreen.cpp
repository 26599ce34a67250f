#include "support/offscreen.h"

#include <SDL.h>
#include <SDL_opengl.h>
#include <SDL_ttf.h>

#include <fstream>
#include <sstream>

#include "engine/console_output.h"
#include "engine/engine.h"
#include "render/renderer.h"
#include "render/renderer_backend.h"
#include "resources/handle_table.h"
#include "resources/model_mgr.h"
#include "resources/texture_mgr.h"

std::string TestDataFile(const std::string& name) {
    std::ostringstream bytes;
    bytes << std::ifstream(std::string(VORMI_SOURCE_DIR) + "/tests/data/" + name, std::ios::binary).rdbuf();
    return bytes.str();
}

::testing::AssertionResult SameColor(Color got, Color want, int tolerance) {
    const auto text = [](Color c) { return ::testing::PrintToString(std::vector<int>{c.r, c.g, c.b, c.a}); };
    for (int d : {got.r - want.r, got.g - want.g, got.b - want.b, got.a - want.a}) {
        if (d > tolerance || d < -tolerance) {
            return ::testing::AssertionFailure() << "expected " << text(want) << ", got " << text(got);
        }
    }
    return ::testing::AssertionSuccess() << "got " << text(got);
}

void OffscreenTest::SetUp() {
    SDL_SetHint(SDL_HINT_RENDER_DRIVER, "software");
    SDL_SetHint(SDL_HINT_FRAMEBUFFER_ACCELERATION, "0");
    ASSERT_EQ(SDL_Init(SDL_INIT_VIDEO), 0) << SDL_GetError();
    ASSERT_EQ(TTF_Init(), 0);
    g_window = SDL_CreateWindow("offscreen", 0, 0, width_, height_,
                                SDL_WINDOW_HIDDEN | (kind_ == kRendererGL ? SDL_WINDOW_OPENGL : 0));
    ASSERT_NE(g_window, nullptr) << SDL_GetError();
    g_windowWidth = width_;
    g_windowHeight = height_;
    g_renderer = kind_ == kRendererGL ? NewGLRenderer() : NewSDLRenderer();
    ASSERT_TRUE(g_renderer->Init());
    g_renderer->PostInit();
    g_renderer->SetBlendMode(SDL_BLENDMODE_BLEND);
    g_renderer->Begin2D();
    g_resourceTicks = [] { return uint64_t{1000}; };
    g_consoleText.clear();
}

void OffscreenTest::TearDown() {
    g_modelMgr->Shutdown();
    g_textureMgr->Shutdown();
    g_resourceTicks = SDL_GetTicks64;
    g_rendererReady = false;
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
    frame.pixels.resize(static_cast<size_t>(width_) * height_);
    if (kind_ != kRendererGL) {
        EXPECT_EQ(SDL_RenderReadPixels(SDL_GetRenderer(g_window), nullptr, SDL_PIXELFORMAT_RGBA32,
                                       frame.pixels.data(), width_ * 4),
                  0);
        return frame;
    }
    // GL counts rows from the bottom.
    std::vector<Color> rows(frame.pixels.size());
    glReadPixels(0, 0, width_, height_, GL_RGBA, GL_UNSIGNED_BYTE, rows.data());
    for (int y = 0; y < height_; ++y) {
        std::copy_n(&rows[static_cast<size_t>(height_ - 1 - y) * width_], width_,
                    &frame.pixels[static_cast<size_t>(y) * width_]);
    }
    return frame;
}
