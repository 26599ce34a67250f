// The engine-wide state the frame loop shares with the subsystems.
#pragma once

#include <cstdint>

#include "engine/api.h"
#include "engine/engine_common.h"

struct SDL_Window;
class IRenderer;
class RootPanel;

// EngineMain is declared with the host's other entry points in engine/engine_common.h.

// Creates the window and the renderer and publishes "RendererV1". False when start-up must end.
bool Init_Video();

extern bool g_quit;
extern SDL_Window* g_window;
extern int32_t g_windowWidth;
extern int32_t g_windowHeight;
extern IRenderer* g_renderer;
extern bool g_rendererReady;
extern RootPanel* g_rootPanel;
extern uint32_t g_frameDelay;
extern int32_t g_fps;
extern uint32_t g_fpsFrames;
extern uint32_t g_fpsLastTicks;

// Clamps a "frame_delay" value into the loop's delay: negative gives 0, above 1000 gives 1000.
uint32_t ClampFrameDelay(int32_t milliseconds);
