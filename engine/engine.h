// The frame loop's own state (EngineMain is declared with the host's entry points in
// engine/engine_common.h). The loop's other state lives with its owners: the window, its size and the
// renderer in render/renderer.h, the root panel in ui/root_panel.h.
#pragma once

#include <cstdint>

#include "engine/api.h"
#include "engine/engine_common.h"

// Creates the window and the renderer and publishes "RendererV1". False when start-up must end.
bool Init_Video();

extern bool g_quit;
extern uint32_t g_frameDelay;
extern int32_t g_fps;
extern uint32_t g_fpsFrames;
extern uint32_t g_fpsLastTicks;

// Clamps a "frame_delay" value into the loop's delay: negative gives 0, above 1000 gives 1000.
uint32_t ClampFrameDelay(int32_t milliseconds);
