// Drives a panel tree as the frame loop does, without a screen: the input system's fields are written
// as the pump would, the real Update runs, and Draw goes to a recording renderer.
#pragma once

#include <SDL_ttf.h>

#include <cstring>
#include <initializer_list>

#include "app/interface.h"
#include "console/cvars.h"
#include "engine/console_output.h"
#include "input/input_system.h"
#include "support/engine_fixture.h"
#include "support/recording_renderer.h"
#include "ui/panel.h"
#include "ui/root_panel.h"

class UiTest : public ::testing::Test {
protected:
    void SetUp() override {
        *g_inputSystem = InputSystem();
        g_inputSystem->mouseX = g_inputSystem->mouseY = -100;
        g_commandQueue.clear();
        g_consoleText.clear();
    }
    // One frame of the tree under top_ with the mouse at (x, y), the left button down or up.
    void Step(int x, int y, bool down) {
        g_inputSystem->mouseX = x;
        g_inputSystem->mouseY = y;
        g_inputSystem->mouseButtons = down ? SDL_BUTTON_LMASK : 0;
        top_->Update();
    }
    void Click(int x, int y) {
        for (bool down : {false, true, false}) Step(x, y, down);
    }
    void ClickOn(Panel* p) { Click(p->screenX + p->width / 2, p->screenY + p->height / 2); }
    // Attached panels go live at a frame's end, one tree level per frame.
    void Settle(int frames = 1) {
        for (int i = 0; i < frames; ++i) Step(-100, -100, false);
    }
    // One frame in which keys go down (a first press) while mods are held; then all are let go.
    void Press(std::initializer_list<int> keys, std::initializer_list<int> mods = {}) {
        InputSystem* in = g_inputSystem;
        for (int key : keys) in->keysPressed[key] = in->keysPressedNoRepeat[key] = in->keysHeld[key] = 1;
        for (int key : mods) in->keysHeld[key] = 1;
        top_->Update();
        for (uint8_t* state : {in->keysPressed, in->keysPressedNoRepeat, in->keysHeld}) {
            std::memset(state, 0, sizeof(in->keysHeld));
        }
        in->mouseWheel = 0;
    }
    // One frame with only mods held (with a wheel turn, say).
    void Hold(std::initializer_list<int> mods) { Press({}, mods); }
    // One frame in which text arrives as typed.
    void Type(const std::string& text) {
        g_inputSystem->textInput += text;
        Press({});
    }
    // Places the panel (and sizes it when w and h are given) under parent, top_ by default; it goes
    // live at the next Settle.
    template <typename T>
    T* Add(T* panel, int x, int y, int w = 0, int h = 0, Panel* parent = nullptr) {
        panel->x = x;
        panel->y = y;
        panel->width = w > 0 ? w : panel->width;
        panel->height = w > 0 ? h : panel->height;
        (parent ? parent : top_)->AddChild(panel);
        return panel;
    }

    Panel* top_ = nullptr;
    RecordingRenderer renderer_;
    ScopedRenderer scopedRenderer_{&renderer_};
};

// A plain 400 x 300 top panel with SDL video (for the clipboard), fonts and a copy of test/.
class WidgetTest : public UiTest {
protected:
    void SetUp() override {
        UiTest::SetUp();
        ASSERT_EQ(SDL_Init(SDL_INIT_VIDEO), 0) << SDL_GetError();
        ASSERT_EQ(TTF_Init(), 0);
        top_ = new Panel("top");
        top_->width = 400;
        top_->height = 300;
    }
    void TearDown() override {
        top_->Destroy();
        g_commandQueue.clear();
        TTF_Quit();
        SDL_Quit();
    }
    TempWorkDir dir_;
};

// The whole interface as the engine builds it at start-up, for a window of the given size.
class InterfaceTest : public UiTest {
protected:
    InterfaceTest(int windowWidth, int windowHeight) : windowWidth_(windowWidth), windowHeight_(windowHeight) {}
    void SetUp() override {
        UiTest::SetUp();
        ASSERT_EQ(TTF_Init(), 0);
        g_cvars->RegisterAll(CVarDeclarationHead());
        g_windowWidth = windowWidth_;
        g_windowHeight = windowHeight_;
        CreateRootPanel();
        BuildInterface(g_rootPanel);
        top_ = g_rootPanel;
        Settle(4);
        g_consoleText.clear();
    }
    void TearDown() override {
        DestroyRootPanel();
        cv_tool_fps.SetString("0");
        g_cvars->Clear();
        TTF_Quit();
    }
    TempWorkDir dir_;
    int windowWidth_, windowHeight_;
};
