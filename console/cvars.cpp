#include "console/cvars.h"

#include "app/fps_counter.h"
#include "engine/engine.h"
#include "render/renderer.h"
#include "render/shader_program.h"

static void OnFrameDelayChanged(CVar* var) {
    g_frameDelay = ClampFrameDelay(var->intValue);
}

// Clearing is read every frame from the value itself; nothing to apply on change.
static void OnRenderClearChanged(CVar*) {}

static void OnViewportChanged(CVar*) {
    UpdateViewportIfReady();
}

static void OnToolFpsChanged(CVar* var) {
    ApplyToolFps(var->intValue);
}

// Every write rebuilds, whatever the value: writing the same value again is how a shader is retried.
static void OnShaderReload(CVar*) {
    ReloadModelShader();
}

CVar cv_shader_reload("shader_reload", "0", false, OnShaderReload);
CVar cv_enable_screen_keyboard("enable_screen_keyboard", "1", true);
CVar cv_frame_delay("frame_delay", "1", true, OnFrameDelayChanged);
CVar cv_render_batching("render_batching", "1", true);
CVar cv_render_clear("render_clear", "1", true, OnRenderClearChanged);
CVar cv_renderer_type("renderer_type", "SDLRenderer", true);
CVar cv_viewport_scale("viewport_scale", "1.0", true, OnViewportChanged);
CVar cv_viewport_scale_noclamp("viewport_scale_noclamp", "0", true);
CVar cv_viewport_autoscale("viewport_autoscale", "0", true, OnViewportChanged);
CVar cv_filter_textures("filter_textures", "1", true);
CVar cv_tool_fps("tool_fps", "0", true, OnToolFpsChanged);
CVar cv_window_width("window_width", "0", true);
CVar cv_window_height("window_height", "0", true);
CVar cv_window_minimum_size("window_minimum_size", "1", true);
CVar cv_debug_drawoutline("debug_drawoutline", "0", true);
