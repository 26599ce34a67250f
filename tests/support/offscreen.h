// A hidden window with a real renderer (SDL on the software driver, or OpenGL on the offscreen EGL
// context), SDL_ttf up and a stopped resource clock. RendererTest runs one test on both renderers.
#pragma once

#include <gtest/gtest.h>

#include <functional>

#include "engine/engine.h"
#include "render/renderer.h"
#include "render/renderer_backend.h"
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
std::string TestDataFile(const std::string& name);
// Passes when every channel is within the tolerance; the message gives both colours.
::testing::AssertionResult SameColor(Color got, Color want, int tolerance = 0);

// A read-back frame, top row first.
struct Frame {
    int width = 0;
    std::vector<Color> pixels;
    Color At(int x, int y) const { return pixels[static_cast<size_t>(y) * static_cast<size_t>(width) + x]; }
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
    void SetUp() override;
    void TearDown() override;

    // Clears to the colour, runs draw and reads the frame back.
    Frame Render(Color background, const std::function<void()>& draw) const;
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
