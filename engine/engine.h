// The engine entry point and the frame loop's own state. The loop's other state lives with its owners:
// the window, its size and the renderer in render/renderer.h, the root panel in ui/root_panel.h.
#pragma once

#include <cstdint>

#include "engine/api.h"

extern "C" {
// Runs the engine until a quit is requested. 0 after a normal quit, 1 when start-up failed. Call it
// once per process: the subsystems are static objects that a second run would find in their end state,
// and the "RendererV1" entry keeps the first run's renderer.
VORMI_API int EngineMain(void);
}

// Creates the window and the renderer and publishes "RendererV1". False when start-up must end.
bool Init_Video();

extern bool g_quit;
extern uint32_t g_frameDelay;
extern int32_t g_fps;
extern uint32_t g_fpsFrames;
extern uint32_t g_fpsLastTicks;

// Clamps a "frame_delay" value into the loop's delay: negative gives 0, above 1000 gives 1000.
uint32_t ClampFrameDelay(int32_t milliseconds);
