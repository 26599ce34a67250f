#include "engine/engine.h"

#include <SDL.h>
#include <SDL_ttf.h>

#include "app/interface.h"
#include "console/command_system.h"
#include "console/cvars.h"
#include "engine/console_output.h"
#include "engine/engine_common.h"
#include "engine/registry.h"
#include "input/input_system.h"
#include "render/renderer.h"
#include "resources/model_mgr.h"
#include "resources/texture_mgr.h"
#include "ui/root_panel.h"

bool g_quit = false;
uint32_t g_frameDelay = 1;
int32_t g_fps = 0;
uint32_t g_fpsFrames = 0;
uint32_t g_fpsLastTicks = 0;

extern EngineCommon* g_engineCommon;

static const int kMinimumWindowWidth = 640;
static const int kMinimumWindowHeight = 480;
static const uint32_t kFpsSampleMs = 100;

uint32_t ClampFrameDelay(int32_t milliseconds) {
    if (milliseconds < 0) {
        return 0;
    }
    return milliseconds > 1000 ? 1000u : static_cast<uint32_t>(milliseconds);
}

void OnFrameDelayChanged(CVar* var) {
    g_frameDelay = ClampFrameDelay(var->intValue);
}

// Clearing is read every frame from the value itself; nothing to apply on change.
void OnRenderClearChanged(CVar*) {}

// The registry node is created by the first call only and keeps that renderer's pointer.
static void PublishRenderer(IRenderer* renderer) {
    static InterfaceReg s_rendererReg("RendererV1", renderer);
    (void)s_rendererReg;
}

bool Init_Video() {
    SDL_SetHint("SDL_IOS_ORIENTATIONS", "LandscapeLeft LandscapeRight Portrait PortraitUpsideDown");

    SDL_DisplayMode mode = {};
    if (SDL_GetDesktopDisplayMode(0, &mode) != 0) {
        ConMsg("Failed to GetDesktopDisplayMode\n");
    }
    g_windowWidth = mode.w;
    g_windowHeight = mode.h;

    SelectRenderer();

    Uint32 flags = SDL_WINDOW_RESIZABLE;
    if (rendererKind == kRendererGL) {
        flags |= SDL_WINDOW_OPENGL;
    }

    int width = cv_window_width.intValue;
    int height = cv_window_height.intValue;
    if (width == 0 || height == 0) {
        width = static_cast<int>(mode.w * 0.8);
        height = static_cast<int>(mode.h * 0.8);
    }
    g_windowWidth = width;
    g_windowHeight = height;

    g_window = SDL_CreateWindow("Vormi Engine", SDL_WINDOWPOS_CENTERED, SDL_WINDOWPOS_CENTERED, width,
                                height, flags);
    if (!g_window) {
        SysErrorMsgBox("Failed to init window\n");
        return false;
    }

    if (!CreateSelectedRenderer()) {
        SysErrorMsgBox("CreateRenderer() failed!\n");
        return false;
    }
    PublishRenderer(g_renderer);
    ConMsg("Using renderer: %s\n", g_renderer->GetName());
    if (!g_renderer->Init()) {
        SysErrorMsgBox("Init_Renderer() failed!\n");
        return false;
    }
    g_rendererReady = true;
    g_renderer->PostInit();

    if (mode.w >= kMinimumWindowWidth && mode.h >= kMinimumWindowHeight && cv_window_minimum_size.intValue != 0) {
        SDL_SetWindowMinimumSize(g_window, kMinimumWindowWidth, kMinimumWindowHeight);
    }
    g_renderer->UpdateViewportScale();
    g_renderer->SetBlendMode(SDL_BLENDMODE_BLEND);
    return true;
}

static void SampleFps() {
    ++g_fpsFrames;
    const uint32_t now = SDL_GetTicks();
    const uint32_t elapsed = now - g_fpsLastTicks;
    if (elapsed >= kFpsSampleMs) {
        g_fps = static_cast<int32_t>(static_cast<float>(g_fpsFrames) / (static_cast<float>(elapsed) / 1000.0f));
        g_fpsLastTicks = now;
        g_fpsFrames = 0;
    }
}

static void RunFrame() {
    g_inputSystem->Update();
    g_rootPanel->Update();
    if (cv_render_clear.intValue != 0) {
        g_renderer->SetDrawColor(128, 128, 128, 255);
        g_renderer->Clear();
    }
    g_renderer->Begin2D();
    g_rootPanel->Draw();
    g_rootPanel->DrawDebugOutline();
    g_renderer->Present();
    g_textureMgr->Collect();
    g_modelMgr->Collect();
    g_commandSystem->ExecuteQueue();
    SampleFps();
    g_engineCommon->CallFrameHook();
    SDL_Delay(g_frameDelay);
}

static void Shutdown() {
    DestroyRootPanel();
    g_engineCommon->rootPanel = nullptr;
    g_textureMgr->Shutdown();
    g_modelMgr->Shutdown();

    delete g_renderer;
    g_renderer = nullptr;
    g_rendererReady = false;

    SDL_DestroyWindow(g_window);
    g_window = nullptr;

    // Remember the size the window last had.
    cv_window_width.SetInt(g_windowWidth);
    cv_window_height.SetInt(g_windowHeight);
    g_cvars->Save();
    g_cvars->Clear();

    TTF_Quit();
    SDL_Quit();
}

extern "C" VORMI_API int EngineMain(void) {
    g_quit = false;

    if (SDL_Init(SDL_INIT_EVERYTHING) != 0) {
        SysErrorMsgBox("SDL_Init Error: %s\n", SDL_GetError());
        return 1;
    }
    ConMsg("SDL loaded\n");

    if (TTF_Init() == -1) {
        SysErrorMsgBox("TTF_Init Error: %s\n", SDL_GetError());
        return 1;
    }
    ConMsg("SDL TTF loaded\n");

    g_cvars->RegisterAll(CVarDeclarationHead());
    g_cvars->LoadFile(std::string("./") + "test/scripts/cvars.txt");

    if (!Init_Video()) {
        ConMsg("Init_Video() failed!\n");
        return 1;
    }

    g_textureMgr->Init();
    g_modelMgr->Init();
    g_inputSystem->Init();
    CreateRootPanel();
    BuildInterface(g_rootPanel);

    g_engineCommon->rootPanel = g_rootPanel;
    g_engineCommon->CallStartHook();

    ConMsg("Entering main loop\n");
    while (!g_quit) {
        RunFrame();
    }

    Shutdown();
    return 0;
}
