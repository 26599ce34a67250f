#include "console/cvars.h"

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
