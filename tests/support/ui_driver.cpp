#include "support/ui_driver.h"

#include <SDL.h>
#include <SDL_ttf.h>

#include <cstring>

#include "app/interface.h"
#include "console/command_system.h"
#include "console/cvars.h"
#include "engine/engine.h"
#include "engine/console_output.h"
#include "input/input_system.h"
#include "ui/root_panel.h"

void UiTest::SetUp() {
    *g_inputSystem = InputSystem();
    g_inputSystem->mouseX = g_inputSystem->mouseY = -100;
    g_commandQueue.clear();
    g_consoleText.clear();
}

void UiTest::Step(int x, int y, bool down) {
    g_inputSystem->mouseX = x;
    g_inputSystem->mouseY = y;
    g_inputSystem->mouseButtons = down ? SDL_BUTTON_LMASK : 0;
    top_->Update();
}

void UiTest::Click(int x, int y) {
    Step(x, y, false);
    Step(x, y, true);
    Step(x, y, false);
}

void UiTest::Settle(int frames) {
    for (int i = 0; i < frames; ++i) {
        Step(-100, -100, false);
    }
}

void UiTest::Press(std::initializer_list<int> keys, std::initializer_list<int> mods) {
    InputSystem* in = g_inputSystem;
    for (int key : keys) {
        in->keysPressed[key] = in->keysPressedNoRepeat[key] = in->keysHeld[key] = 1;
    }
    for (int key : mods) {
        in->keysHeld[key] = 1;
    }
    top_->Update();
    std::memset(in->keysPressed, 0, sizeof(in->keysPressed));
    std::memset(in->keysPressedNoRepeat, 0, sizeof(in->keysPressedNoRepeat));
    std::memset(in->keysHeld, 0, sizeof(in->keysHeld));
    in->mouseWheel = 0;
}

void UiTest::Type(const std::string& text) {
    g_inputSystem->textInput += text;
    Press({});
}

void WidgetTest::SetUp() {
    UiTest::SetUp();
    ASSERT_EQ(SDL_Init(SDL_INIT_VIDEO), 0) << SDL_GetError();
    ASSERT_EQ(TTF_Init(), 0);
    top_ = new Panel("top");
    top_->width = 400;
    top_->height = 300;
}

void WidgetTest::TearDown() {
    top_->Destroy();
    g_commandQueue.clear();
    TTF_Quit();
    SDL_Quit();
}

void InterfaceTest::SetUp() {
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

void InterfaceTest::TearDown() {
    DestroyRootPanel();
    cv_tool_fps.SetString("0");
    g_cvars->Clear();
    TTF_Quit();
}
