#include "support/ui_driver.h"

#include <SDL_ttf.h>

#include "app/interface.h"
#include "console/command_system.h"
#include "console/cvars.h"
#include "engine/console_output.h"
#include "engine/engine.h"
#include "ui/root_panel.h"

void UiTest::SetUp() {
    *g_inputSystem = InputSystem();
    g_inputSystem->mouseX = g_inputSystem->mouseY = -100;
    g_commandQueue.clear();
    g_consoleText.clear();
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
