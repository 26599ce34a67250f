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

class VORMI_API IRenderer {
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

// The one application window, its drawable size in pixels (refreshed by every viewport update), the
// active renderer (owned) and whether its initialisation succeeded.
extern VORMI_API SDL_Window* g_window;
extern VORMI_API int32_t g_windowWidth;
extern VORMI_API int32_t g_windowHeight;
extern VORMI_API IRenderer* g_renderer;
extern VORMI_API bool g_rendererReady;

// The effective UI scale: window pixels per UI unit, as UpdateViewportScale last computed it.
extern VORMI_API float g_viewportScale;
