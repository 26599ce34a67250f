// Logs the draw calls the UI makes, one line each; others are logged by name.
#pragma once

#include <string>
#include <vector>

#include "render/renderer.h"

class RecordingRenderer : public IRenderer {
public:
    // Log lines, for example "clip 0 0 25 25", "clip off", "fill 10 10 25 25 255 0 255 255",
    // "rect 0 0 24 24 96 96 96 255", "line 1 1 1 22 64 64 64 255 w1", "text 3 hello 10 12".
    std::vector<std::string> calls;

    void Reset() { calls.clear(); }
    // Lines that start with the prefix, in order.
    std::vector<std::string> Matching(const std::string& prefix) const;
    // Index of the first line equal to text, or -1.
    int IndexOf(const std::string& text) const;

    int GetRendererId() override;
    const char* GetName() override;
    bool Init() override;
    void PostInit() override;
    void Shutdown() override;
    void Clear() override;
    void Present() override;
    void SetDrawColor(uint8_t r, uint8_t g, uint8_t b, uint8_t a) override;
    void SetBlendMode(int mode) override;
    void SetClipRect(const Rect* rect) override;
    void UpdateViewportScale() override;
    void Begin2D() override;
    void SetPerspective(float fovX, float fovY, float zNear, float zFar) override;
    void Begin3D(int x, int y, int w, int h, float fov, float zNear, float zFar) override;
    Texture CreateTexture(SDL_Surface* surface, const std::string& name, bool filter) override;
    void DrawTextureById(const Rect* rect, Color color, int id) override;
    void DrawTexture(Texture texture, int x, int y) override;
    void DrawLine(Point p1, Point p2, Color color, int width) override;
    void DrawArrow(Point p1, Point p2, Color color, int width, int headLength, int headWidth) override;
    void FillPolygon(const std::vector<Point>& points, int count, Color color) override;
    void DrawPolygon(const std::vector<Point>& points, int count, int width, Color color) override;
    void FillCircle(Point center, int radius, Color color, int segments) override;
    void DrawCircle(Point center, int radius, Color color, int width, int segments) override;
    void DrawRect(const Rect* rect, Color color) override;
    void FillRect(const Rect* rect, Color color) override;
    void DrawText(int fontId, const char* text, int x, int y) override;
    void ReservedHook() override;
    void SaveTextureBmp(SDL_Texture* texture, const std::string& path) override;
    void DrawModel(ModelRecord* model, float px, float py, float pz, float rx, float ry, float rz) override;
};

// Installs a renderer as g_renderer for a scope and puts the previous one back.
class ScopedRenderer {
public:
    explicit ScopedRenderer(IRenderer* renderer);
    ~ScopedRenderer();
    ScopedRenderer(const ScopedRenderer&) = delete;
    ScopedRenderer& operator=(const ScopedRenderer&) = delete;

private:
    IRenderer* previous_;
};
