// The default renderer, drawing through SDL's 2D renderer of the engine window; also the fallback
// whenever another renderer cannot be made.
#pragma once

#include "render/renderer.h"

class SDLRenderer : public IRenderer {
public:
    ~SDLRenderer() override;
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

    SDL_Renderer* renderer = nullptr;
};
