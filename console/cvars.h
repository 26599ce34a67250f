// Every console variable of the engine. They are declared together, in one translation unit, because
// the declaration order is the order of the store and of the saved file, and static initialisation
// order is only defined within a translation unit. Their change callbacks live with the code that reads
// them; only their names are here.
#pragma once

#include "console/cvar.h"

void OnShaderReload(CVar* var);       // render/shader_program.cpp: rebuilds the model program
void OnFrameDelayChanged(CVar* var);  // engine/engine.cpp: the frame loop's delay
void OnRenderClearChanged(CVar* var); // engine/engine.cpp: nothing, the loop reads the value
void OnViewportChanged(CVar* var);    // render/renderer.cpp: recomputes the viewport
void OnToolFpsChanged(CVar* var);     // app/fps_counter.cpp: shows or hides the readout

extern CVar cv_shader_reload;
extern CVar cv_enable_screen_keyboard;
extern CVar cv_frame_delay;
extern CVar cv_render_batching;
extern CVar cv_render_clear;
extern CVar cv_renderer_type;
extern CVar cv_viewport_scale;
extern CVar cv_viewport_scale_noclamp;
extern CVar cv_viewport_autoscale;
extern CVar cv_filter_textures;
extern CVar cv_tool_fps;
extern CVar cv_window_width;
extern CVar cv_window_height;
extern CVar cv_window_minimum_size;
extern CVar cv_debug_drawoutline;
