#include <gtest/gtest.h>

#include <SDL.h>

#include <cstddef>
#include <cstring>
#include <string>

#include "console/cvars.h"
#include "engine/engine.h"
#include "input/input_system.h"
#include "render/renderer.h"
#include "support/recording_renderer.h"

// Hosts read these fields directly.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Winvalid-offsetof"
static_assert(offsetof(InputSystem, wantTextInput) == sizeof(void*), "flags follow the vtable pointer");
static_assert(offsetof(InputSystem, textInputCancel) == sizeof(void*) + 1, "textInputCancel second");
static_assert(offsetof(InputSystem, keysHeld) == sizeof(void*) + 2, "key arrays packed after the flags");
static_assert(offsetof(InputSystem, keysPressed) == offsetof(InputSystem, keysHeld) + 512, "512 scancodes");
static_assert(offsetof(InputSystem, keysPressedNoRepeat) == offsetof(InputSystem, keysPressed) + 512, "512 scancodes");
static_assert(offsetof(InputSystem, mouseButtons) == (offsetof(InputSystem, keysPressedNoRepeat) + 512 + 3) / 4 * 4,
              "button mask aligned after the arrays");
static_assert(offsetof(InputSystem, mouseX) == offsetof(InputSystem, mouseButtons) + 4, "mouse position");
static_assert(offsetof(InputSystem, mouseDeltaX) == offsetof(InputSystem, mouseX) + 8, "mouse motion");
static_assert(offsetof(InputSystem, mouseWheel) == offsetof(InputSystem, mouseDeltaX) + 8, "wheel after motion");
static_assert(offsetof(InputSystem, textInput) % alignof(std::string) == 0 &&
                  offsetof(InputSystem, textInput) > offsetof(InputSystem, mouseWheel) &&
                  offsetof(InputSystem, textInput) <= offsetof(InputSystem, mouseWheel) + 4 + alignof(std::string),
              "typed text last");
#pragma GCC diagnostic pop

namespace {

class InputSystemTest : public ::testing::Test {
protected:
    void SetUp() override {
        ASSERT_EQ(0, SDL_Init(SDL_INIT_VIDEO)) << SDL_GetError();
        window_ = SDL_CreateWindow("input", 0, 0, 640, 480, 0);
        ASSERT_NE(nullptr, window_) << SDL_GetError();
        *g_inputSystem = InputSystem();
        g_viewportScale = 1.0f;
        g_quit = false;
        g_inputSystem->Init();
        input_ = g_inputSystem;
    }
    void TearDown() override {
        *g_inputSystem = InputSystem();
        g_viewportScale = 1.0f;
        g_quit = false;
        if (window_) {
            SDL_DestroyWindow(window_);
        }
        SDL_Quit();
    }

    static void PushKey(Uint32 type, SDL_Scancode scancode, Uint8 repeat) {
        SDL_Event event = {};
        event.type = type;
        event.key.state = type == SDL_KEYDOWN ? SDL_PRESSED : SDL_RELEASED;
        event.key.repeat = repeat;
        event.key.keysym.scancode = scancode;
        ASSERT_EQ(1, SDL_PushEvent(&event)) << SDL_GetError();
    }
    static void PushText(const char* text) {
        SDL_Event event = {};
        event.type = SDL_TEXTINPUT;
        std::strncpy(event.text.text, text, sizeof(event.text.text) - 1);
        ASSERT_EQ(1, SDL_PushEvent(&event)) << SDL_GetError();
    }
    static void PushWheel(Sint32 y) {
        SDL_Event event = {};
        event.type = SDL_MOUSEWHEEL;
        event.wheel.y = y;
        ASSERT_EQ(1, SDL_PushEvent(&event)) << SDL_GetError();
    }
    static void PushMotion(Sint32 xrel, Sint32 yrel) {
        SDL_Event event = {};
        event.type = SDL_MOUSEMOTION;
        event.motion.xrel = xrel;
        event.motion.yrel = yrel;
        ASSERT_EQ(1, SDL_PushEvent(&event)) << SDL_GetError();
    }
    static void PushWindowEvent(Uint8 windowEvent) {
        SDL_Event event = {};
        event.type = SDL_WINDOWEVENT;
        event.window.event = windowEvent;
        event.window.data1 = 800;
        event.window.data2 = 600;
        ASSERT_EQ(1, SDL_PushEvent(&event)) << SDL_GetError();
    }

    SDL_Window* window_ = nullptr;
    InputSystem* input_ = nullptr;
};

TEST_F(InputSystemTest, KeyArraysFollowPressRepeatAndRelease) {
    const SDL_Scancode a = SDL_SCANCODE_A;
    PushKey(SDL_KEYDOWN, a, 0);
    input_->Update();
    EXPECT_EQ(1, input_->keysPressed[a]);
    EXPECT_EQ(1, input_->keysPressedNoRepeat[a]);
    EXPECT_EQ(1, input_->keysHeld[a]);

    PushKey(SDL_KEYDOWN, a, 1);
    input_->Update();
    EXPECT_EQ(1, input_->keysPressed[a]) << "auto-repeat counts as pressed";
    EXPECT_EQ(0, input_->keysPressedNoRepeat[a]);

    input_->Update();
    EXPECT_EQ(0, input_->keysPressed[a]);
    EXPECT_EQ(0, input_->keysPressedNoRepeat[a]);
    EXPECT_EQ(1, input_->keysHeld[a]) << "held survives frames without events";

    // A later repeat in the same pump overwrites the first press.
    PushKey(SDL_KEYDOWN, SDL_SCANCODE_B, 0);
    PushKey(SDL_KEYDOWN, SDL_SCANCODE_B, 1);
    PushKey(SDL_KEYUP, a, 0);
    input_->Update();
    EXPECT_EQ(1, input_->keysPressed[SDL_SCANCODE_B]);
    EXPECT_EQ(0, input_->keysPressedNoRepeat[SDL_SCANCODE_B]);
    EXPECT_EQ(0, input_->keysHeld[a]);
    EXPECT_EQ(1, input_->keysHeld[SDL_SCANCODE_B]);

    // A hand-made event outside the scancode range is dropped, not written past the arrays.
    PushKey(SDL_KEYDOWN, static_cast<SDL_Scancode>(600), 0);
    input_->Update();
}

TEST_F(InputSystemTest, TextIsCollectedOnlyWhenWantedWithGraveAndHighBytesRules) {
    EXPECT_FALSE(SDL_IsTextInputActive()) << "Init switches text input off";
    PushText("x");
    input_->Update();
    EXPECT_EQ("", input_->textInput);

    input_->wantTextInput = true;
    input_->Update();
    EXPECT_TRUE(SDL_IsTextInputActive());
    PushText("a");
    PushText("\xC3\xA9");  // e with acute accent: two bytes
    PushText("`");         // the console key
    PushText("`b");
    PushText("c`");        // only the first byte is tested
    input_->Update();
    EXPECT_EQ("a??c`", input_->textInput);

    input_->Update();
    EXPECT_EQ("a??c`", input_->textInput) << "the pump never empties the text";

    input_->wantTextInput = false;
    input_->Update();
    EXPECT_FALSE(SDL_IsTextInputActive());
}

TEST_F(InputSystemTest, WheelAndMotionKeepTheFramesLastEvent) {
    PushWheel(1);
    PushWheel(-1);
    PushMotion(3, 4);
    PushMotion(-7, 9);
    input_->Update();
    EXPECT_EQ(2, input_->mouseWheel) << "up then down";
    EXPECT_EQ(-7, input_->mouseDeltaX);
    EXPECT_EQ(9, input_->mouseDeltaY);

    PushWheel(-1);
    PushWheel(1);
    PushWheel(0);
    input_->Update();
    EXPECT_EQ(1, input_->mouseWheel) << "a zero step changes nothing";

    input_->Update();
    EXPECT_EQ(0, input_->mouseWheel);
    EXPECT_EQ(0, input_->mouseDeltaX);
    EXPECT_EQ(0, input_->mouseDeltaY);
}

TEST_F(InputSystemTest, MousePositionIsInUiUnits) {
    SDL_WarpMouseInWindow(window_, 301, 99);
    g_viewportScale = 2.0f;
    input_->Update();
    EXPECT_EQ(150, input_->mouseX);
    EXPECT_EQ(49, input_->mouseY);
    g_viewportScale = 0.5f;
    input_->Update();
    EXPECT_EQ(602, input_->mouseX);
    EXPECT_EQ(198, input_->mouseY);
    EXPECT_EQ(0u, input_->mouseButtons & SDL_BUTTON_LMASK);
}

TEST_F(InputSystemTest, QuitSetsFlagAndEachResizeUpdatesTheViewport) {
    RecordingRenderer renderer;
    ScopedRenderer scoped(&renderer);
    PushWindowEvent(SDL_WINDOWEVENT_RESIZED);
    PushWindowEvent(SDL_WINDOWEVENT_MOVED);
    PushWindowEvent(SDL_WINDOWEVENT_RESIZED);
    input_->Update();
    EXPECT_EQ(2u, renderer.Matching("viewport").size());
    EXPECT_FALSE(g_quit);

    SDL_Event quit = {};
    quit.type = SDL_QUIT;
    ASSERT_EQ(1, SDL_PushEvent(&quit));
    input_->Update();
    EXPECT_TRUE(g_quit);

    // Without a renderer a resize is ignored rather than followed through a null pointer.
    g_renderer = nullptr;
    PushWindowEvent(SDL_WINDOWEVENT_RESIZED);
    input_->Update();
}

TEST_F(InputSystemTest, InitTurnsTheScreenKeyboardOffOnlyWhenAsked) {
    SDL_SetHint("SDL_ENABLE_SCREEN_KEYBOARD", "1");
    input_->Init();
    EXPECT_STREQ("1", SDL_GetHint("SDL_ENABLE_SCREEN_KEYBOARD"));
    cv_enable_screen_keyboard.SetInt(0);
    input_->Init();
    EXPECT_STREQ("0", SDL_GetHint("SDL_ENABLE_SCREEN_KEYBOARD"));
    cv_enable_screen_keyboard.SetInt(1);
}

}  // namespace
