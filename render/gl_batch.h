// The GL renderer's 2D drawing, recorded into a client-side vertex array and drawn at the next flush
// with one glDrawArrays per run of primitives that share a mode, texture, line width and blend need,
// instead of one immediate-mode call per vertex. Recording first lets the flush skip every primitive
// that later opaque fills cover completely (in a stack of windows most of them): its pixels would be
// overwritten anyway. Rectangles (fills, glyphs, textured quads, straight one-pixel lines) are clipped
// here on the CPU, exactly, so a clip change does not end their run; other primitives keep the scissor
// test. Primitives that do not overlap may join an earlier run of their kind. Whoever else looks at or
// changes GL state (clear, present, 3D, read-back) syncs first.
#pragma once

#include <SDL_opengl.h>

#include <cstdint>
#include <vector>

#include "render/draw_types.h"

class GLBatch {
public:
    GLBatch();

    // The clip rectangle for what follows, in window pixels; null for none.
    void SetClip(const Rect* rect);
    // Whether texturing is on once the drawing so far is done, as the last drawing call left it.
    void SetTexturing(bool on);
    // Follows the renderer's blend mode (SDL numbers), so opaque fills can be drawn without blending.
    void SetBlendMode(int mode);
    // Whether coordinates are window pixels (the 2D projection), which covering primitives needs.
    void SetPixelSpace(bool on);

    // The rectangle from (x0, y0) to (x1, y1) in one colour; with a texture, its (u0, v0)-(u1, v1) part.
    void Rectangle(float x0, float y0, float x1, float y1, Color color, GLuint texture = 0, float u0 = 0.0f,
                   float v0 = 0.0f, float u1 = 0.0f, float v1 = 0.0f);
    // Starts an untextured GL_LINES or GL_TRIANGLES primitive drawn in the scissor; Vertex adds to it.
    void BeginShape(GLenum mode, Color color, float lineWidth = 1.0f);
    void Vertex(float x, float y);

    // Draws what is recorded.
    void Flush();
    // Flush, then leaves the scissor test and texturing as the drawing calls asked for them.
    void Sync();

private:
    struct BatchVertex {
        float x, y, u, v;
        Color color;
    };
    struct Key {
        GLenum mode;
        GLuint texture;  // 0: untextured
        bool blend;      // false: an opaque run drawn with GL_BLEND off, the same pixels at alpha 255
        bool scissor;
        Rect clip;
        float lineWidth;
        bool operator==(const Key& other) const;
    };
    struct Primitive {
        Key key;
        uint32_t first, count;
        int32_t x0, y0, x1, y1;  // the pixels it may touch
        bool covers;             // writes every pixel of its box opaquely
    };
    struct Run {
        Key key;
        uint32_t first, count;
        int32_t x0, y0, x1, y1;  // the pixels its primitives may touch
    };
    void Add(const Key& key, float x0, float y0, float x1, float y1, bool covers);
    void CullCovered();
    bool AllCovered(int x0, int y0, int x1, int y1, int columns) const;
    void DrawRun(const Key& key, uint32_t first, uint32_t count) const;
    void ApplyScissor(bool on, const Rect& rect) const;

    std::vector<BatchVertex> vertices_;
    std::vector<Primitive> primitives_;
    std::vector<Run> runs_;
    std::vector<uint32_t> runOf_;    // the run each primitive is drawn in
    std::vector<BatchVertex> drawn_;  // the vertices run by run
    std::vector<uint8_t> covered_;  // cells of 8x8 window pixels that later opaque fills cover
    Color shapeColor_ = {0, 0, 0, 0};
    bool clipOn_ = false;
    Rect clip_ = {0, 0, 0, 0};
    bool texturing_ = true;
    bool blendOn_ = false;
    bool alphaBlendFunc_ = false;
    bool pixelSpace_ = false;
};
