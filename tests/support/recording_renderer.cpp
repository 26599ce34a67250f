#include "support/recording_renderer.h"

#include <cstdarg>
#include <cstdio>

static std::string Format(const char* format, ...) __attribute__((format(printf, 1, 2)));

static std::string Format(const char* format, ...) {
    char buffer[512];
    va_list args;
    va_start(args, format);
    vsnprintf(buffer, sizeof(buffer), format, args);
    va_end(args);
    return buffer;
}

static std::string ColorText(Color c) { return Format("%d %d %d %d", c.r, c.g, c.b, c.a); }

static std::string RectText(const Rect* r) {
    return r ? Format("%d %d %d %d", r->x, r->y, r->w, r->h) : std::string("null");
}

std::vector<std::string> RecordingRenderer::Matching(const std::string& prefix) const {
    std::vector<std::string> out;
    for (const std::string& call : calls) {
        if (call.compare(0, prefix.size(), prefix) == 0) {
            out.push_back(call);
        }
    }
    return out;
}

int RecordingRenderer::IndexOf(const std::string& text) const {
    for (size_t i = 0; i < calls.size(); ++i) {
        if (calls[i] == text) {
            return static_cast<int>(i);
        }
    }
    return -1;
}

void RecordingRenderer::SetDrawColor(uint8_t r, uint8_t g, uint8_t b, uint8_t a) {
    calls.push_back("color " + ColorText(Color{r, g, b, a}));
}
void RecordingRenderer::SetBlendMode(int mode) { calls.push_back(Format("blend %d", mode)); }
void RecordingRenderer::SetClipRect(const Rect* rect) { calls.push_back(rect ? "clip " + RectText(rect) : "clip off"); }
Texture RecordingRenderer::CreateTexture(SDL_Surface*, const std::string& name, bool) {
    calls.push_back("create_texture " + name);
    return Texture();
}
void RecordingRenderer::DrawTextureById(const Rect* rect, Color color, int id) {
    calls.push_back(Format("texture %d ", id) + RectText(rect) + " " + ColorText(color));
}
void RecordingRenderer::DrawTexture(Texture texture, int x, int y) {
    calls.push_back("draw_texture " + texture.name + Format(" %d %d", x, y));
}
void RecordingRenderer::DrawLine(Point p1, Point p2, Color color, int width) {
    calls.push_back(Format("line %d %d %d %d ", p1.x, p1.y, p2.x, p2.y) + ColorText(color) + Format(" w%d", width));
}
void RecordingRenderer::DrawRect(const Rect* rect, Color color) {
    calls.push_back("rect " + RectText(rect) + " " + ColorText(color));
}
void RecordingRenderer::FillRect(const Rect* rect, Color color) {
    calls.push_back("fill " + RectText(rect) + " " + ColorText(color));
}
void RecordingRenderer::DrawText(int fontId, const char* text, int x, int y) {
    calls.push_back(Format("text %d ", fontId) + (text ? text : "") + Format(" %d %d", x, y));
}
