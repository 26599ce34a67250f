// What the engine and the renderer backends share beyond IRenderer: the backend table and the
// selection from "renderer_type", the viewport scale computation and small drawing helpers. Internal:
// hosts reach the renderer through IRenderer only.
#pragma once

#include <cstdint>
#include <string>

#include "render/renderer.h"

struct RendererFactory {
    const char* name;
    IRenderer* (*create)();
};

// Renderer kinds, decided from the selected name; they pick the window flags.
enum RendererKind : int32_t {
    kRendererUnknown = 0,
    kRendererSDL = 1,
    kRendererGL = 2,
    kRendererGLES = 3,
    kRendererDX = 4,
    kRendererVulkan = 5,
};

// The backends in kind order, SDL first: the index is the ID printed at selection and the order
// "switch_renderer" cycles in.
inline constexpr int32_t kAvailableRendererCount = 2;
extern const RendererFactory availableRenderers[kAvailableRendererCount];
extern int32_t selectedRendererIndex;
extern int32_t rendererKind;

// Kind code for a renderer name; unknown names give kRendererUnknown.
int32_t RendererKindFromName(const char* name);
// Picks the renderer from "renderer_type", printing the list and the choice or the fallback.
void SelectRenderer();
// Replaces g_renderer with the selected renderer, falling back to an SDLRenderer. False if none.
bool CreateSelectedRenderer();
// Cycles "renderer_type" through the available renderers; returns the new name ("" when none).
std::string SwitchRenderer();
// Stores g_viewportScale into "viewport_scale" (renderer shutdown and destruction).
void StoreViewportScale();
// Recomputes the viewport when the window and an initialised renderer exist; otherwise nothing.
void UpdateViewportIfReady();

// Window pixels to UI units at g_viewportScale, in single precision, truncated toward zero. An
// unusable scale (zero, or one so small the result leaves the integer range) leaves the pixels as they are.
int32_t PixelsToUiUnits(int32_t pixels);

// The scale computation both renderers share. Returns the scale for a window of the given size.
float ComputeViewportScale(int width, int height, float requested, bool noClamp, bool autoScale);
// The device-independent half of UpdateViewportScale: reads the window size into g_windowWidth and
// g_windowHeight, computes the scale from the cvars into g_viewportScale and returns it.
float RefreshViewportScale();
// Called by the renderers after every viewport update; null while nobody listens. The interface sets
// it to lay its root panel out at the new size, so the renderer never needs to know about panels.
extern void (*g_viewportResizeListener)();
// Runs the listener, if any.
void NotifyViewportResized();

// Float to int toward zero, saturating at the int range; NaN gives 0.
int32_t TruncToInt(float f);
// The head of an arrow from p1 to p2: the point on the shaft where the head starts and the offset of
// the head's two back corners from it, (base.x - ox, base.y + oy) and (base.x + ox, base.y - oy).
struct ArrowHead {
    Point base;
    int32_t ox, oy;
};
ArrowHead ComputeArrowHead(Point p1, Point p2, int headLength, int headWidth);

// Allocate a renderer of each backend (NewSDLRenderer is also the creation fallback).
IRenderer* NewSDLRenderer();
IRenderer* NewGLRenderer();
