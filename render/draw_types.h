// Drawing types shared by the renderers, the resource managers and the UI.
#pragma once

#include <cstdint>
#include <string>

struct SDL_Texture;

// Four bytes in memory order r, g, b, a; as one 32-bit word the lowest byte is r (0xFF0000FF is red).
struct Color {
    uint8_t r, g, b, a;
};

// The layouts of SDL_Rect and SDL_Point, in UI units, origin top-left, y downwards.
struct Rect {
    int32_t x, y, w, h;
};

struct Point {
    int32_t x, y;
};

// The layout of SDL_Vertex.
struct Vertex {
    float x, y;
    uint8_t r, g, b, a;
    float u, v;
};

// A renderer texture and the texture manager's bookkeeping for it. A record is valid when sdlTexture
// is set or glTexture is non-zero; an entry of the texture table is in use while width > 0.
struct Texture {
    std::string name;
    uint64_t releaseTime = 0;
    SDL_Texture* sdlTexture = nullptr;
    uint32_t glTexture = 0;
    int32_t width = 0;
    int32_t height = 0;
    int32_t refCount = 0;
    bool persistent = false;
};

inline Color MakeColor(uint8_t r, uint8_t g, uint8_t b, uint8_t a) {
    Color c = {r, g, b, a};
    return c;
}
