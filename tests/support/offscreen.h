// A hidden window with the real SDLRenderer on the software driver, SDL_ttf up, a hand-moved resource clock.
#pragma once

#include <gtest/gtest.h>

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "render/draw_types.h"
#include "support/engine_fixture.h"

// Opaque colours the pixel tests draw and look for.
inline constexpr Color kBlack = {0, 0, 0, 255};
inline constexpr Color kWhite = {255, 255, 255, 255};
inline constexpr Color kGrey = {128, 128, 128, 255};
inline constexpr Color kRed = {255, 0, 0, 255};
inline constexpr Color kGreen = {0, 255, 0, 255};
inline constexpr Color kBlue = {0, 0, 255, 255};
inline constexpr Color kMagenta = {255, 0, 255, 255};

std::string ToString(Color c);

// The bytes of a file under tests/data/; "" when it cannot be read.
std::string TestDataFile(const std::string& name);

// Passes when every channel is within the tolerance; the message gives both colours.
::testing::AssertionResult SameColor(Color got, Color want, int tolerance = 0);

struct Frame {
    int width = 0;
    std::vector<Color> pixels;
    Color At(int x, int y) const { return pixels[static_cast<size_t>(y) * static_cast<size_t>(width) + x]; }
    bool operator==(const Frame& other) const;
};

class OffscreenTest : public ::testing::Test {
protected:
    explicit OffscreenTest(int width = 64, int height = 64) : width_(width), height_(height) {}
    void SetUp() override;
    void TearDown() override;

    // Clears to the colour, runs draw and reads the frame back.
    Frame Render(Color background, const std::function<void()>& draw) const;
    // The pixel at (x, y) of what is drawn so far against the colour; the message names the place.
    ::testing::AssertionResult PixelIs(int x, int y, Color want, int tolerance = 0) const;

    const int width_;
    const int height_;
    TempWorkDir dir_;
    static uint64_t now_;
};
