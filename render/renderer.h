// The renderer interface. Every drawing call of the engine goes through the one active IRenderer,
// g_renderer, published as "RendererV1" once the window exists. Coordinates are UI units: window pixels
// divided by the viewport scale. The renderer is chosen by name from "renderer_type" at start-up.
#pragma once

#include <SDL.h>

#include <cstdint>
#include <string>
#include <vector>

#include "engine/api.h"
#include "render/draw_types.h"

struct ModelRecord;

class IRenderer {
public:
    // Destroys the backend's context and stores the effective scale back into "viewport_scale".
    virtual ~IRenderer() {}
    virtual int GetRendererId() = 0;          // 1 SDL, 2 OpenGL
    virtual const char* GetName() = 0;        // "SDLRenderer" or "GLRenderer"
    virtual bool Init() = 0;                  // false when the backend could not be created
    virtual void PostInit() = 0;
    virtual void Shutdown() = 0;
    virtual void Clear() = 0;
    virtual void Present() = 0;
    virtual void SetDrawColor(uint8_t r, uint8_t g, uint8_t b, uint8_t a) = 0;
    virtual void SetBlendMode(int mode) = 0;  // SDL blend-mode numbers
    virtual void SetClipRect(const Rect* rect) = 0;  // null turns clipping off
    virtual void UpdateViewportScale() = 0;
    virtual void Begin2D() = 0;
    virtual void SetPerspective(float fovX, float fovY, float zNear, float zFar) = 0;
    virtual void Begin3D(int x, int y, int w, int h, float fov, float zNear, float zFar) = 0;
    // The record carries a null sdlTexture / zero glTexture when the backend failed; no message.
    virtual Texture CreateTexture(SDL_Surface* surface, const std::string& name, bool filter) = 0;
    // Unknown ids draw nothing.
    virtual void DrawTextureById(const Rect* rect, Color color, int id) = 0;
    virtual void DrawTexture(Texture texture, int x, int y) = 0;
    virtual void DrawLine(Point p1, Point p2, Color color, int width) = 0;
    virtual void DrawArrow(Point p1, Point p2, Color color, int width, int headLength, int headWidth) = 0;
    virtual void FillPolygon(const std::vector<Point>& points, int count, Color color) = 0;
    virtual void DrawPolygon(const std::vector<Point>& points, int count, int width, Color color) = 0;
    virtual void FillCircle(Point center, int radius, Color color, int segments) = 0;
    virtual void DrawCircle(Point center, int radius, Color color, int width, int segments) = 0;
    virtual void DrawRect(const Rect* rect, Color color) = 0;
    virtual void FillRect(const Rect* rect, Color color) = 0;
    // Draws a font's glyph atlas at (0, 0) with a red outline; an unknown font draws nothing.
    virtual void DrawFontAtlas(int fontId);
    // Unknown fonts draw nothing; bytes below 32 and of 128 or more are skipped without advance.
    virtual void DrawText(int fontId, const char* text, int x, int y) = 0;
    virtual void ReservedHook() = 0;
    virtual void SaveTextureBmp(SDL_Texture* texture, const std::string& path) = 0;
    virtual void DrawModel(ModelRecord* model, float px, float py, float pz, float rx, float ry, float rz) = 0;
};

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

// The one application window, its drawable size in pixels (refreshed by every viewport update), the
// active renderer (owned) and whether its initialisation succeeded.
extern SDL_Window* g_window;
extern int32_t g_windowWidth;
extern int32_t g_windowHeight;
extern IRenderer* g_renderer;
extern bool g_rendererReady;

// The backends in kind order, SDL first: the index is the ID printed at selection and the order
// "switch_renderer" cycles in.
inline constexpr int32_t kAvailableRendererCount = 2;
extern const RendererFactory availableRenderers[kAvailableRendererCount];
extern int32_t selectedRendererIndex;
extern int32_t rendererKind;

// The effective UI scale: window pixels per UI unit, as UpdateViewportScale last computed it.
extern float g_viewportScale;

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

