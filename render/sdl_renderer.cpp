#include "render/sdl_renderer.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>

#include "console/cvars.h"
#include "engine/console_output.h"
#include "render/renderer.h"
#include "render/renderer_backend.h"
#include "resources/font_system.h"
#include "resources/texture_mgr.h"

static const float kTwoPi = 6.2831855f;

static SDL_Vertex MakeVertex(float x, float y, Color c) {
    SDL_Vertex v;
    v.position.x = x;
    v.position.y = y;
    v.color.r = c.r;
    v.color.g = c.g;
    v.color.b = c.b;
    v.color.a = c.a;
    v.tex_coord.x = 0.0f;
    v.tex_coord.y = 0.0f;
    return v;
}

// Sets the colour of a fill or line. At alpha 255 blending gives exactly the source colour, so the
// primitive is drawn without it: the software rasteriser then fills runs instead of blending pixel by
// pixel. Returns the blend mode to put back once it is drawn.
static SDL_BlendMode BeginSolid(SDL_Renderer* renderer, Color c) {
    SDL_SetRenderDrawColor(renderer, c.r, c.g, c.b, c.a);
    SDL_BlendMode mode = SDL_BLENDMODE_NONE;
    SDL_GetRenderDrawBlendMode(renderer, &mode);
    if (c.a == 255 && mode == SDL_BLENDMODE_BLEND) {
        SDL_SetRenderDrawBlendMode(renderer, SDL_BLENDMODE_NONE);
    }
    return mode;
}

// The clip rectangle that culls draws, in UI units; false when nothing may be culled. Only at scale 1:
// a scaled clip rectangle is rounded outwards, so a box just outside it can still light a pixel.
static bool CullingClip(SDL_Renderer* renderer, SDL_Rect* clip) {
    float sx = 0.0f, sy = 0.0f;
    SDL_RenderGetScale(renderer, &sx, &sy);
    if (!SDL_RenderIsClipEnabled(renderer) || sx != 1.0f || sy != 1.0f) {
        return false;
    }
    SDL_RenderGetClipRect(renderer, clip);
    return true;
}

// True when the box lies wholly outside the clip rectangle, so drawing it would change no pixel.
static bool Culled(SDL_Renderer* renderer, const SDL_Rect& box) {
    SDL_Rect clip;
    return CullingClip(renderer, &clip) && !SDL_HasIntersection(&box, &clip);
}

static std::vector<Point> CirclePoints(Point center, int radius, int segments) {
    std::vector<Point> points;
    if (segments <= 0) {
        return points;
    }
    points.reserve(static_cast<size_t>(segments));
    for (int i = 0; i < segments; ++i) {
        const float angle = static_cast<float>(i) * kTwoPi / static_cast<float>(segments);
        points.push_back(Point{center.x + TruncToInt(std::cos(angle) * static_cast<float>(radius)),
                               center.y + TruncToInt(std::sin(angle) * static_cast<float>(radius))});
    }
    return points;
}

SDLRenderer::~SDLRenderer() {
    if (renderer) {
        SDL_DestroyRenderer(renderer);
        renderer = nullptr;
    }
    StoreViewportScale();
}

int SDLRenderer::GetRendererId() {
    return kRendererSDL;
}

const char* SDLRenderer::GetName() {
    return "SDLRenderer";
}

bool SDLRenderer::Init() {
    if (cv_render_batching.intValue == 0) {
        SDL_SetHint(SDL_HINT_RENDER_BATCHING, "0");
    }
    renderer = SDL_CreateRenderer(g_window, -1, 0);
    if (!renderer) {
        ConMsg("Failed to init renderer\n");
        return false;
    }
    return true;
}

void SDLRenderer::PostInit() {}

void SDLRenderer::Shutdown() {
    if (renderer) {
        SDL_DestroyRenderer(renderer);
        renderer = nullptr;
    }
    StoreViewportScale();
}

void SDLRenderer::Clear() {
    SDL_RenderClear(renderer);
}

void SDLRenderer::Present() {
    SDL_RenderPresent(renderer);
}

void SDLRenderer::SetDrawColor(uint8_t r, uint8_t g, uint8_t b, uint8_t a) {
    SDL_SetRenderDrawColor(renderer, r, g, b, a);
}

void SDLRenderer::SetBlendMode(int mode) {
    SDL_SetRenderDrawBlendMode(renderer, static_cast<SDL_BlendMode>(mode));
}

void SDLRenderer::SetClipRect(const Rect* rect) {
    SDL_RenderSetClipRect(renderer, reinterpret_cast<const SDL_Rect*>(rect));
}

void SDLRenderer::UpdateViewportScale() {
    const float scale = RefreshViewportScale();
    SDL_RenderSetScale(renderer, scale, scale);
    SDL_RenderSetViewport(renderer, nullptr);
    NotifyViewportResized();
}

void SDLRenderer::Begin2D() {}

void SDLRenderer::SetPerspective(float, float, float, float) {}

void SDLRenderer::Begin3D(int, int, int, int, float, float, float) {}

Texture SDLRenderer::CreateTexture(SDL_Surface* surface, const std::string& name, bool filter) {
    const bool filterSetting = cv_filter_textures.intValue != 0;
    SDL_SetHint(SDL_HINT_RENDER_SCALE_QUALITY, filter && filterSetting ? "1" : "0");
    Texture texture;
    texture.name = name;
    texture.sdlTexture = surface ? SDL_CreateTextureFromSurface(renderer, surface) : nullptr;
    SDL_SetHint(SDL_HINT_RENDER_SCALE_QUALITY, filterSetting ? "1" : "0");
    if (surface) {
        texture.width = surface->w;
        texture.height = surface->h;
    }
    return texture;
}

void SDLRenderer::DrawTextureById(const Rect* rect, Color color, int id) {
    SDL_Texture* texture = g_textureMgr->GetSDLTexture(id);
    if (!texture) {
        return;
    }
    SDL_SetTextureColorMod(texture, color.r, color.g, color.b);
    SDL_RenderCopy(renderer, texture, nullptr, reinterpret_cast<const SDL_Rect*>(rect));
    SDL_SetTextureColorMod(texture, 255, 255, 255);
}

void SDLRenderer::DrawTexture(Texture texture, int x, int y) {
    if (!texture.sdlTexture) {
        return;
    }
    const SDL_Rect dst = {x, y, texture.width, texture.height};
    SDL_RenderCopy(renderer, texture.sdlTexture, nullptr, &dst);
}

void SDLRenderer::DrawLine(Point p1, Point p2, Color color, int width) {
    if (width == 1) {
        const SDL_Rect box = {std::min(p1.x, p2.x), std::min(p1.y, p2.y), std::abs(p2.x - p1.x) + 1,
                              std::abs(p2.y - p1.y) + 1};
        if (Culled(renderer, box)) {
            SDL_SetRenderDrawColor(renderer, color.r, color.g, color.b, color.a);
            return;
        }
        const SDL_BlendMode mode = BeginSolid(renderer, color);
        SDL_RenderDrawLine(renderer, p1.x, p1.y, p2.x, p2.y);
        SDL_SetRenderDrawBlendMode(renderer, mode);
        return;
    }
    const float x1 = static_cast<float>(p1.x), y1 = static_cast<float>(p1.y);
    const float x2 = static_cast<float>(p2.x), y2 = static_cast<float>(p2.y);
    const float angle = std::atan2(y2 - y1, x2 - x1);
    const float hx = std::cos(angle) * static_cast<float>(width) * 0.5f;
    const float hy = std::sin(angle) * static_cast<float>(width) * 0.5f;
    const SDL_Vertex vertices[4] = {
        MakeVertex(x1 - hy, y1 + hx, color),
        MakeVertex(x1 + hy, y1 - hx, color),
        MakeVertex(x2 - hy, y2 + hx, color),
        MakeVertex(x2 + hy, y2 - hx, color),
    };
    static const int kIndices[6] = {0, 1, 2, 1, 2, 3};
    SDL_RenderGeometry(renderer, nullptr, vertices, 4, kIndices, 6);
}

void SDLRenderer::DrawArrow(Point p1, Point p2, Color color, int width, int headLength, int headWidth) {
    const ArrowHead head = ComputeArrowHead(p1, p2, headLength, headWidth);
    DrawLine(p1, head.base, color, width);
    const SDL_Vertex corners[3] = {
        MakeVertex(static_cast<float>(p2.x), static_cast<float>(p2.y), color),
        MakeVertex(static_cast<float>(head.base.x - head.ox), static_cast<float>(head.base.y + head.oy), color),
        MakeVertex(static_cast<float>(head.base.x + head.ox), static_cast<float>(head.base.y - head.oy), color),
    };
    static const int kIndices[3] = {0, 1, 2};
    SDL_RenderGeometry(renderer, nullptr, corners, 3, kIndices, 3);
}

void SDLRenderer::FillPolygon(const std::vector<Point>& points, int count, Color color) {
    // The count may not exceed the points actually given.
    if (count > static_cast<int>(points.size())) {
        count = static_cast<int>(points.size());
    }
    if (count < 3) {
        return;
    }
    std::vector<SDL_Vertex> vertices;
    vertices.reserve(static_cast<size_t>(count));
    for (int i = 0; i < count; ++i) {
        vertices.push_back(MakeVertex(static_cast<float>(points[i].x), static_cast<float>(points[i].y), color));
    }
    std::vector<int> indices;
    indices.reserve(static_cast<size_t>(3 * (count - 2)));
    for (int i = 1; i <= count - 2; ++i) {
        indices.push_back(0);
        indices.push_back(i);
        indices.push_back(i + 1);
    }
    SDL_RenderGeometry(renderer, nullptr, vertices.data(), count, indices.data(), static_cast<int>(indices.size()));
}

void SDLRenderer::DrawPolygon(const std::vector<Point>& points, int count, int width, Color color) {
    if (count > static_cast<int>(points.size())) {
        count = static_cast<int>(points.size());
    }
    if (count < 2) {
        return;
    }
    for (int i = 0; i < count; ++i) {
        DrawLine(points[i], points[(i + 1) % count], color, width);
    }
}

void SDLRenderer::FillCircle(Point center, int radius, Color color, int segments) {
    const std::vector<Point> points = CirclePoints(center, radius, segments);
    FillPolygon(points, static_cast<int>(points.size()), color);
}

void SDLRenderer::DrawCircle(Point center, int radius, Color color, int width, int segments) {
    const std::vector<Point> points = CirclePoints(center, radius, segments);
    DrawPolygon(points, static_cast<int>(points.size()), width, color);
}

void SDLRenderer::DrawRect(const Rect* rect, Color color) {
    const SDL_Rect* box = reinterpret_cast<const SDL_Rect*>(rect);
    // An empty rectangle's outline still lights pixels outside it, so only real ones are culled.
    if (box && box->w > 0 && box->h > 0 && Culled(renderer, *box)) {
        SDL_SetRenderDrawColor(renderer, color.r, color.g, color.b, color.a);
        return;
    }
    const SDL_BlendMode mode = BeginSolid(renderer, color);
    SDL_RenderDrawRect(renderer, box);
    SDL_SetRenderDrawBlendMode(renderer, mode);
}

void SDLRenderer::FillRect(const Rect* rect, Color color) {
    const SDL_Rect* box = reinterpret_cast<const SDL_Rect*>(rect);
    if (box && Culled(renderer, *box)) {
        SDL_SetRenderDrawColor(renderer, color.r, color.g, color.b, color.a);
        return;
    }
    const SDL_BlendMode mode = BeginSolid(renderer, color);
    SDL_RenderFillRect(renderer, box);
    SDL_SetRenderDrawBlendMode(renderer, mode);
}

void SDLRenderer::DrawText(int fontId, const char* text, int x, int y) {
    FontRecord* font = g_fontSystem->GetFont(fontId);
    if (!font || !text || !font->atlas.sdlTexture) {
        return;
    }
    SDL_Rect clip;
    const bool culling = CullingClip(renderer, &clip);
    WalkText(*font, text, TextAdvance::kGlyphWidth, x, [&](unsigned char c, int64_t pen, int32_t) {
        if (HasGlyph(c)) {
            const Rect& glyph = font->glyphs[c];
            const SDL_Rect dst = {static_cast<int>(pen), y, glyph.w, glyph.h};
            if (!culling || SDL_HasIntersection(&dst, &clip)) {
                SDL_RenderCopy(renderer, font->atlas.sdlTexture, reinterpret_cast<const SDL_Rect*>(&glyph), &dst);
            }
        }
        return true;
    });
}

void SDLRenderer::ReservedHook() {}

void SDLRenderer::SaveTextureBmp(SDL_Texture* texture, const std::string& path) {
    Uint32 format = 0;
    int width = 0;
    int height = 0;
    if (!texture || SDL_QueryTexture(texture, &format, nullptr, &width, &height) != 0) {
        return;
    }
    SDL_Surface* surface = SDL_CreateRGBSurfaceWithFormat(0, width, height, 32, format);
    if (!surface) {
        return;
    }
    SDL_SetRenderTarget(renderer, texture);
    SDL_RenderReadPixels(renderer, nullptr, surface->format->format, surface->pixels, surface->pitch);
    SDL_SetRenderTarget(renderer, nullptr);
    if (SDL_SaveBMP_RW(surface, SDL_RWFromFile(path.c_str(), "wb"), 1) != 0) {
        ConMsg("SDL_SaveBMP Error: %s\n", SDL_GetError());
    }
    SDL_FreeSurface(surface);
}

void SDLRenderer::DrawModel(ModelRecord*, float, float, float, float, float, float) {}

IRenderer* NewSDLRenderer() {
    return new SDLRenderer();
}
