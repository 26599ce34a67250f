#include <SDL.h>
#include <gtest/gtest.h>

#include <cstring>
#include <string>

#include "engine/engine.h"
#include "input/input_system.h"
#include "render/renderer.h"
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
    static void Push(Uint32 type, int a = 0, int b = 0, const char* text = "") {
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
        } else if (type == SDL_TEXTINPUT) {
            std::strncpy(e.text.text, text, sizeof(e.text.text) - 1);
        }
        ASSERT_EQ(1, SDL_PushEvent(&e)) << SDL_GetError();
    }
    SDL_Window* window_ = nullptr;
    InputSystem& in_ = *g_inputSystem;
};

TEST_F(InputSystemTest, KeyArraysFollowPressAutoRepeatAndRelease) {
    const int a = SDL_SCANCODE_A, b = SDL_SCANCODE_B;
    // Per frame: the key's pressed, pressed-no-repeat and held entries.
    const struct {
        int repeat;
        int pressed, noRepeat, held;
    } frames[] = {{0, 1, 1, 1}, {1, 1, 0, 1}, {-1, 0, 0, 1}};
    for (const auto& f : frames) {
        if (f.repeat >= 0) {
            Push(SDL_KEYDOWN, a, f.repeat);
        }
        in_.Update();
        EXPECT_EQ(f.pressed, in_.keysPressed[a]) << "repeat " << f.repeat;
        EXPECT_EQ(f.noRepeat, in_.keysPressedNoRepeat[a]) << "repeat " << f.repeat;
        EXPECT_EQ(f.held, in_.keysHeld[a]) << "repeat " << f.repeat;
    }

    Push(SDL_KEYDOWN, b, 0);
    Push(SDL_KEYDOWN, b, 1);
    Push(SDL_KEYUP, a);
    Push(SDL_KEYDOWN, 600, 0);  // outside the scancode range: dropped, not written past the arrays
    in_.Update();
    EXPECT_EQ(0, in_.keysPressedNoRepeat[b]) << "the later repeat overwrites the first press";
    EXPECT_EQ(0, in_.keysHeld[a]);
}

TEST_F(InputSystemTest, TextIsTakenOnlyWhenWantedWithoutGraveAndAsciiOnly) {
    EXPECT_FALSE(SDL_IsTextInputActive()) << "Init switches text input off";
    Push(SDL_TEXTINPUT, 0, 0, "x");
    in_.Update();
    EXPECT_EQ("", in_.textInput);
    in_.wantTextInput = true;
    in_.Update();
    EXPECT_TRUE(SDL_IsTextInputActive());
    for (const char* text : {"a", "\xC3\xA9", "`", "`b", "c`"}) {
        Push(SDL_TEXTINPUT, 0, 0, text);
    }
    in_.Update();
    in_.Update();
    EXPECT_EQ("a??c`", in_.textInput) << "only the first byte is checked for the grave accent";
}

TEST_F(InputSystemTest, MouseIsInUiUnitsAndWheelAndMotionKeepTheLastEvent) {
    SDL_WarpMouseInWindow(window_, 301, 99);
    g_viewportScale = 2.0f;
    Push(SDL_MOUSEWHEEL, 1);
    Push(SDL_MOUSEWHEEL, -1);
    Push(SDL_MOUSEMOTION, 3, 4);
    Push(SDL_MOUSEMOTION, -7, 9);
    in_.Update();
    EXPECT_EQ(150, in_.mouseX);
    EXPECT_EQ(49, in_.mouseY);
    EXPECT_EQ(2, in_.mouseWheel) << "up then down";
    EXPECT_EQ(-7, in_.mouseDeltaX);
    EXPECT_EQ(9, in_.mouseDeltaY);
    Push(SDL_MOUSEWHEEL, 1);
    Push(SDL_MOUSEWHEEL, 0);
    in_.Update();
    EXPECT_EQ(1, in_.mouseWheel) << "a zero step changes nothing";
    in_.Update();
    EXPECT_EQ(0, in_.mouseWheel) << "reset by the next pump";
    EXPECT_EQ(0, in_.mouseDeltaX);
}

TEST_F(InputSystemTest, QuitSetsTheFlagAndEachResizeUpdatesTheViewport) {
    RecordingRenderer renderer;
    ScopedRenderer scoped(&renderer);
    Push(SDL_WINDOWEVENT, SDL_WINDOWEVENT_RESIZED);
    Push(SDL_WINDOWEVENT, SDL_WINDOWEVENT_MOVED);
    Push(SDL_WINDOWEVENT, SDL_WINDOWEVENT_RESIZED);
    in_.Update();
    EXPECT_EQ(2u, renderer.Matching("viewport").size());
    EXPECT_FALSE(g_quit);
    Push(SDL_QUIT);
    in_.Update();
    EXPECT_TRUE(g_quit);
}

}  // namespace
