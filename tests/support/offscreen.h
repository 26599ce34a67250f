// A hidden window with a real renderer (SDL on the software driver, or OpenGL on the offscreen EGL
// context), SDL_ttf up, the texture and model tables with their fallbacks and a stopped resource
// clock. RendererTest runs one test on both renderers.
#pragma once

#include <SDL_opengl.h>
#include <SDL_ttf.h>

#include "engine/console_output.h"
#include "render/gl_renderer.h"
#include "render/renderer_backend.h"
#include "resources/handle_table.h"
#include "resources/model_mgr.h"
#include "resources/texture_mgr.h"
#include "support/engine_fixture.h"

// Opaque colours the pixel tests draw and look for.
inline constexpr Color kBlack = {0, 0, 0, 255};
inline constexpr Color kWhite = {255, 255, 255, 255};
inline constexpr Color kGrey = {128, 128, 128, 255};
inline constexpr Color kRed = {255, 0, 0, 255};
inline constexpr Color kGreen = {0, 255, 0, 255};
inline constexpr Color kBlue = {0, 0, 255, 255};
inline constexpr Color kMagenta = {255, 0, 255, 255};

// The bytes of a file under tests/data/; "" when it cannot be read.
inline std::string TestDataFile(const std::string& name) {
    std::ostringstream bytes;
    bytes << std::ifstream(std::string(VORMI_SOURCE_DIR) + "/tests/data/" + name, std::ios::binary).rdbuf();
    return bytes.str();
}

// Passes when every channel is within the tolerance; the message gives both colours.
inline ::testing::AssertionResult SameColor(Color got, Color want, int tolerance = 0) {
    const auto text = [](Color c) { return ::testing::PrintToString(std::vector<int>{c.r, c.g, c.b, c.a}); };
    for (int d : {got.r - want.r, got.g - want.g, got.b - want.b, got.a - want.a}) {
        if (d > tolerance || d < -tolerance) {
            return ::testing::AssertionFailure() << "expected " << text(want) << ", got " << text(got);
        }
    }
    return ::testing::AssertionSuccess() << "got " << text(got);
}

// A read-back frame, top row first.
struct Frame {
    int width = 0;
    std::vector<Color> pixels;
    Color At(int x, int y) const {  // transparent black outside the frame
        const size_t i = static_cast<size_t>(y) * width + x;
        return x >= 0 && x < width && y >= 0 && i < pixels.size() ? pixels[i] : Color{0, 0, 0, 0};
    }
};

// A point, the colour expected there and what the probe is for.
struct Probe {
    int x, y;
    Color want;
    const char* what;
};

class OffscreenTest : public ::testing::Test {
protected:
    explicit OffscreenTest(int width = 64, int height = 64, int32_t kind = kRendererSDL)
        : width_(width), height_(height), kind_(kind) {}
    void SetUp() override {
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
        ASSERT_TRUE(g_textureMgr->Init());
        ASSERT_TRUE(g_modelMgr->Init());
        g_resourceTicks = [] { return uint64_t{1000}; };
        g_consoleText.clear();
    }
    void TearDown() override {
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

    // Clears to the colour, runs draw and reads the frame back.
    Frame Render(Color background, const std::function<void()>& draw) const {
        g_renderer->SetDrawColor(background.r, background.g, background.b, background.a);
        g_renderer->Clear();
        draw();
        Frame frame{width_, std::vector<Color>(static_cast<size_t>(width_) * height_)};
        if (kind_ != kRendererGL) {
            const int read = SDL_RenderReadPixels(SDL_GetRenderer(g_window), nullptr, SDL_PIXELFORMAT_RGBA32,
                                                  frame.pixels.data(), width_ * 4);
            EXPECT_EQ(read, 0) << SDL_GetError();
            return frame;
        }
        // GL counts rows from the bottom, and draws what it has batched only when asked.
        static_cast<GLRenderer*>(g_renderer)->Flush();
        for (int y = 0; y < height_; ++y) {
            glReadPixels(0, height_ - 1 - y, width_, 1, GL_RGBA, GL_UNSIGNED_BYTE,
                         &frame.pixels[static_cast<size_t>(y) * width_]);
        }
        return frame;
    }
    // Every probe of the frame; a failure names the probe and the renderer.
    void ExpectProbes(const Frame& frame, const std::vector<Probe>& probes) const {
        for (const Probe& p : probes) {
            EXPECT_TRUE(SameColor(frame.At(p.x, p.y), p.want))
                << p.what << " at (" << p.x << "," << p.y << ") on " << g_renderer->GetName();
        }
    }

    const int width_, height_;
    const int32_t kind_;
    TempWorkDir dir_;
};

// The same test on the SDL and the OpenGL renderer: TEST_P, then INSTANTIATE_ON_BOTH_RENDERERS(Suite).
class RendererTest : public OffscreenTest, public ::testing::WithParamInterface<int32_t> {
protected:
    RendererTest(int width = 640, int height = 480) : OffscreenTest(width, height, GetParam()) {}
};
#define INSTANTIATE_ON_BOTH_RENDERERS(suite)                                                 \
    INSTANTIATE_TEST_SUITE_P(, suite, ::testing::Values(kRendererSDL, kRendererGL), [](const auto& info) { \
        return std::string(info.param == kRendererGL ? "GL" : "SDL");                                   \
    })
