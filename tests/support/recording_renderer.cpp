#include "support/recording_renderer.h"

static std::string Numbers(std::initializer_list<int> values) {
    std::string text;
    for (int v : values) {
        text += (text.empty() ? "" : " ") + std::to_string(v);
    }
    return text;
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

void RecordingRenderer::Log(const std::string& what, const Rect* rect, const Color* color) {
    std::string line = what + " " + (rect ? Numbers({rect->x, rect->y, rect->w, rect->h}) : std::string("null"));
    if (color) {
        line += " " + Numbers({color->r, color->g, color->b, color->a});
    }
    calls.push_back(line);
}

void RecordingRenderer::SetDrawColor(uint8_t r, uint8_t g, uint8_t b, uint8_t a) {
    calls.push_back("color " + Numbers({r, g, b, a}));
}
Texture RecordingRenderer::CreateTexture(SDL_Surface*, const std::string& texture, bool) {
    calls.push_back("create_texture " + texture);
    return Texture();
}
void RecordingRenderer::DrawTexture(Texture texture, int x, int y) {
    calls.push_back("draw_texture " + texture.name + " " + Numbers({x, y}));
}
void RecordingRenderer::DrawLine(Point p1, Point p2, Color color, int width) {
    calls.push_back("line " + Numbers({p1.x, p1.y, p2.x, p2.y, color.r, color.g, color.b, color.a}) + " w" +
                    std::to_string(width));
}
void RecordingRenderer::DrawText(int fontId, const char* text, int x, int y) {
    calls.push_back("text " + std::to_string(fontId) + " " + (text ? text : "") + " " + Numbers({x, y}));
}
