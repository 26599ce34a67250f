// Logs the draw calls the UI makes, one line each; others are logged by name.
#pragma once

#include <string>
#include <vector>

#include "engine/engine.h"
#include "render/renderer.h"
#include "render/renderer.h"

class RecordingRenderer : public IRenderer {
public:
    // Log lines, for example "clip 0 0 25 25", "clip off", "fill 10 10 25 25 255 0 255 255",
    // "rect 0 0 24 24 96 96 96 255", "line 1 1 1 22 64 64 64 255 w1", "text 3 hello 10 12".
    std::vector<std::string> calls;
    const char* name = "RecordingRenderer";

    void Reset() { calls.clear(); }
    std::vector<std::string> Matching(const std::string& prefix) const;
    int IndexOf(const std::string& text) const;  // -1 when absent

    int GetRendererId() override { return 0; }
    const char* GetName() override { return name; }
    bool Init() override { return true; }
    void PostInit() override {}
    void Shutdown() override {}
    void Clear() override { calls.push_back("clear"); }
    void Present() override { calls.push_back("present"); }
    void SetDrawColor(uint8_t r, uint8_t g, uint8_t b, uint8_t a) override;
    void SetBlendMode(int mode) override { calls.push_back("blend " + std::to_string(mode)); }
    void SetClipRect(const Rect* rect) override { rect ? Log("clip", rect) : calls.push_back("clip off"); }
    void UpdateViewportScale() override { calls.push_back("viewport"); }
    void Begin2D() override { calls.push_back("begin2d"); }
    void SetPerspective(float, float, float, float) override { calls.push_back("perspective"); }
    void Begin3D(int, int, int, int, float, float, float) override { calls.push_back("begin3d"); }
    Texture CreateTexture(SDL_Surface*, const std::string& texture, bool) override;
    void DrawTextureById(const Rect* rect, Color color, int id) override { Log("texture " + std::to_string(id), rect, color); }
    void DrawTexture(Texture texture, int x, int y) override;
    void DrawLine(Point p1, Point p2, Color color, int width) override;
    void DrawArrow(Point, Point, Color, int, int, int) override { calls.push_back("arrow"); }
    void FillPolygon(const std::vector<Point>&, int, Color) override { calls.push_back("fill_polygon"); }
    void DrawPolygon(const std::vector<Point>&, int, int, Color) override { calls.push_back("polygon"); }
    void FillCircle(Point, int, Color, int) override { calls.push_back("fill_circle"); }
    void DrawCircle(Point, int, Color, int, int) override { calls.push_back("circle"); }
    void DrawRect(const Rect* rect, Color color) override { Log("rect", rect, color); }
    void FillRect(const Rect* rect, Color color) override { Log("fill", rect, color); }
    void DrawText(int fontId, const char* text, int x, int y) override;
    void ReservedHook() override {}
    void SaveTextureBmp(SDL_Texture*, const std::string& path) override { calls.push_back("save_bmp " + path); }
    void DrawModel(ModelRecord*, float, float, float, float, float, float) override { calls.push_back("model"); }

private:
    // "<what> <rect or null>", then the colour if there is one.
    void Log(const std::string& what, const Rect* rect, const Color* color = nullptr);
    void Log(const std::string& what, const Rect* rect, Color color) { Log(what, rect, &color); }
};

// Installs a renderer as g_renderer for a scope and puts the previous one back.
class ScopedRenderer {
public:
    explicit ScopedRenderer(IRenderer* renderer) : previous_(g_renderer) { g_renderer = renderer; }
    ~ScopedRenderer() { g_renderer = previous_; }
    ScopedRenderer(const ScopedRenderer&) = delete;
    ScopedRenderer& operator=(const ScopedRenderer&) = delete;

private:
    IRenderer* previous_;
};
