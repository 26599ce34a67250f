#include <SDL.h>
#include <gtest/gtest.h>

#include "input/input_system.h"
#include "support/recording_renderer.h"

namespace {

class InputSystemTest : public ::testing::Test {
protected:
    void SetUp() override {
        ASSERT_EQ(0, SDL_Init(SDL_INIT_VIDEO)) << SDL_GetError();
        window_ = SDL_CreateWindow("input", 0, 0, 640, 480, 0);
        ASSERT_NE(nullptr, window_) << SDL_GetError();
        g_inputSystem->Init();
    }
    void TearDown() override {
        SDL_DestroyWindow(window_);
        SDL_Quit();
    }
    // a and b are the key's scancode and repeat flag, the wheel step, the motion or the window event.
    static void Push(Uint32 type, int a = 0, int b = 0) {
        SDL_Event e = {};
        e.type = type;
        if (type == SDL_KEYDOWN || type == SDL_KEYUP) {
            e.key.keysym.scancode = static_cast<SDL_Scancode>(a);
            e.key.repeat = static_cast<Uint8>(b);
        } else if (type == SDL_MOUSEWHEEL) {
            e.wheel.y = a;
        } else if (type == SDL_MOUSEMOTION) {
            e.motion.xrel = a;
            e.motion.yrel = b;
        } else if (type == SDL_WINDOWEVENT) {
            e.window.event = static_cast<Uint8>(a);
        }
        ASSERT_EQ(1, SDL_PushEvent(&e)) << SDL_GetError();
    }
    SDL_Window* window_ = nullptr;
    InputSystem& in_ = *g_inputSystem;
};

TEST_F(InputSystemTest, KeyArraysFollowPressAutoRepeatAndRelease) {
    const int a = SDL_SCANCODE_A, b = SDL_SCANCODE_B;
    // Per frame: the key's repeat flag (-1: no event), then its pressed, pressed-no-repeat and held entries.
    const int frames[][4] = {{0, 1, 1, 1}, {1, 1, 0, 1}, {-1, 0, 0, 1}};
    for (const auto& f : frames) {
        if (f[0] >= 0) Push(SDL_KEYDOWN, a, f[0]);
        in_.Update();
        EXPECT_EQ(f[1], in_.keysPressed[a]) << "repeat " << f[0];
        EXPECT_EQ(f[2], in_.keysPressedNoRepeat[a]) << "repeat " << f[0];
        EXPECT_EQ(f[3], in_.keysHeld[a]) << "repeat " << f[0];
    }
    Push(SDL_KEYDOWN, b, 0);
    Push(SDL_KEYDOWN, b, 1);
    Push(SDL_KEYUP, a);
    Push(SDL_KEYDOWN, 600, 0);  // outside the scancode range: dropped, not written past the arrays
    in_.Update();
    EXPECT_EQ(0, in_.keysPressedNoRepeat[b]) << "the later repeat overwrites the first press";
    EXPECT_EQ(0, in_.keysHeld[a]);
}

TEST_F(InputSystemTest, MouseWheelMotionWindowAndQuitEvents) {
    RecordingRenderer renderer;
    ScopedRenderer scoped(&renderer);
    SDL_WarpMouseInWindow(window_, 301, 99);
    g_viewportScale = 2.0f;
    for (int wheel : {1, -1}) Push(SDL_MOUSEWHEEL, wheel);
    Push(SDL_MOUSEMOTION, 3, 4);
    Push(SDL_MOUSEMOTION, -7, 9);
    for (int event : {SDL_WINDOWEVENT_RESIZED, SDL_WINDOWEVENT_MOVED, SDL_WINDOWEVENT_RESIZED}) {
        Push(SDL_WINDOWEVENT, event);
    }
    in_.Update();
    EXPECT_EQ(150, in_.mouseX) << "in UI units";
    EXPECT_EQ(49, in_.mouseY);
    EXPECT_EQ(2, in_.mouseWheel) << "the last event: down";
    EXPECT_EQ(-7, in_.mouseDeltaX);
    EXPECT_EQ(9, in_.mouseDeltaY);
    EXPECT_EQ(2u, renderer.Matching("viewport").size()) << "each resize updates the viewport";
    EXPECT_FALSE(g_quit);
    Push(SDL_MOUSEWHEEL, 1);
    Push(SDL_MOUSEWHEEL, 0);
    Push(SDL_QUIT);
    in_.Update();
    EXPECT_EQ(1, in_.mouseWheel) << "a zero step changes nothing";
    EXPECT_TRUE(g_quit);
    in_.Update();
    EXPECT_EQ(0, in_.mouseWheel) << "reset by the next pump";
    EXPECT_EQ(0, in_.mouseDeltaX);
}

}  // namespace
