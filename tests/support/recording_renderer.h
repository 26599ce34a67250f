// Logs the draw calls the UI makes, one line each; others are logged by name.
#pragma once

#include <algorithm>
#include <iterator>
#include <string>
#include <vector>

#include "engine/engine.h"
#include "render/renderer.h"

class RecordingRenderer : public IRenderer {
public:
    // Log lines, for example "clip 0 0 25 25", "clip off", "fill 10 10 25 25 255 0 255 255",
    // "rect 0 0 24 24 96 96 96 255", "line 1 1 1 22 64 64 64 255 w1", "text 3 hello 10 12".
    std::vector<std::string> calls;
    const char* name = "RecordingRenderer";

    void Reset() { calls.clear(); }
    std::vector<std::string> Matching(const std::string& prefix) const {
        std::vector<std::string> out;
        std::copy_if(calls.begin(), calls.end(), std::back_inserter(out),
                     [&](const std::string& call) { return call.compare(0, prefix.size(), prefix) == 0; });
        return out;
    }
    int IndexOf(const std::string& text) const {  // -1 when absent
        const auto it = std::find(calls.begin(), calls.end(), text);
        return it == calls.end() ? -1 : static_cast<int>(it - calls.begin());
    }

    int GetRendererId() override { return 0; }
    const char* GetName() override { return name; }
    bool Init() override { return true; }
    void PostInit() override {}
    void Shutdown() override {}
    void Clear() override { Log("clear"); }
    void Present() override { Log("present"); }
    void SetDrawColor(uint8_t r, uint8_t g, uint8_t b, uint8_t a) override { Log("color", {r, g, b, a}); }
    void SetBlendMode(int mode) override { Log("blend", {mode}); }
    void SetClipRect(const Rect* rect) override { rect ? Log("clip", rect) : Log("clip off"); }
    void UpdateViewportScale() override { Log("viewport"); }
    void Begin2D() override { Log("begin2d"); }
    void SetPerspective(float, float, float, float) override { Log("perspective"); }
    void Begin3D(int, int, int, int, float, float, float) override { Log("begin3d"); }
    Texture CreateTexture(SDL_Surface*, const std::string& texture, bool) override {
        Log("create_texture " + texture);
        return Texture();
    }
    void DrawTextureById(const Rect* rect, Color color, int id) override {
        Log("texture " + std::to_string(id), rect, &color);
    }
    void DrawTexture(Texture texture, int x, int y) override { Log("draw_texture " + texture.name, {x, y}); }
    void DrawLine(Point p1, Point p2, Color c, int width) override {
        Log("line", {p1.x, p1.y, p2.x, p2.y, c.r, c.g, c.b, c.a}, " w" + std::to_string(width));
    }
    void DrawArrow(Point, Point, Color, int, int, int) override { Log("arrow"); }
    void FillPolygon(const std::vector<Point>&, int, Color) override { Log("fill_polygon"); }
    void DrawPolygon(const std::vector<Point>&, int, int, Color) override { Log("polygon"); }
    void FillCircle(Point, int, Color, int) override { Log("fill_circle"); }
    void DrawCircle(Point, int, Color, int, int) override { Log("circle"); }
    void DrawRect(const Rect* rect, Color color) override { Log("rect", rect, &color); }
    void FillRect(const Rect* rect, Color color) override { Log("fill", rect, &color); }
    void DrawText(int fontId, const char* text, int x, int y) override {
        Log("text " + std::to_string(fontId) + " " + (text ? text : ""), {x, y});
    }
    void ReservedHook() override {}
    void SaveTextureBmp(SDL_Texture*, const std::string& path) override { Log("save_bmp " + path); }
    void DrawModel(ModelRecord*, float, float, float, float, float, float) override { Log("model"); }

private:
    // "<what>", then each number after a space, then the tail.
    void Log(const std::string& what, const std::vector<int>& numbers = {}, const std::string& tail = "") {
        std::string line = what;
        for (int n : numbers) line += " " + std::to_string(n);
        calls.push_back(line + tail);
    }
    // "<what> <rect or null>", then the colour if there is one.
    void Log(const std::string& what, const Rect* rect, const Color* color = nullptr) {
        std::vector<int> numbers;
        if (rect) numbers = {rect->x, rect->y, rect->w, rect->h};
        if (color) numbers.insert(numbers.end(), {color->r, color->g, color->b, color->a});
        Log(rect ? what : what + " null", numbers);
    }
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
