#include "render/gl_batch.h"

#include <SDL.h>

#include <algorithm>
#include <climits>
#include <cmath>
#include <cstring>
#include <utility>

#include "render/renderer.h"

// Past this many vertices the recording is drawn anyway, which bounds the arrays.
static const size_t kMaxVertices = 1 << 20;
// Covering is tracked in square cells of this many pixels a side.
static const int kCell = 8;

bool GLBatch::Key::operator==(const Key& other) const {
    const bool sameClip = clip.x == other.clip.x && clip.y == other.clip.y && clip.w == other.clip.w &&
                          clip.h == other.clip.h;
    return mode == other.mode && texture == other.texture && blend == other.blend && scissor == other.scissor &&
           (!scissor || sameClip) && lineWidth == other.lineWidth;
}

GLBatch::GLBatch() {
    vertices_.reserve(4096);
    primitives_.reserve(1024);
}

void GLBatch::SetClip(const Rect* rect) {
    clipOn_ = rect != nullptr;
    if (rect) {
        clip_ = *rect;
    }
}

void GLBatch::SetTexturing(bool on) {
    texturing_ = on;
}

void GLBatch::SetBlendMode(int mode) {
    Flush();
    blendOn_ = mode != SDL_BLENDMODE_NONE;
    if (mode == SDL_BLENDMODE_BLEND || mode == SDL_BLENDMODE_ADD || mode == SDL_BLENDMODE_MOD) {
        alphaBlendFunc_ = mode == SDL_BLENDMODE_BLEND;
    }
}

void GLBatch::SetPixelSpace(bool on) {
    Flush();
    pixelSpace_ = on;
}

static int32_t Floor(float f) {
    return f <= static_cast<float>(INT_MIN) ? INT_MIN : f >= static_cast<float>(INT_MAX) ? INT_MAX
                                                                                           : static_cast<int32_t>(std::floor(f));
}

static int32_t Ceil(float f) {
    return f <= static_cast<float>(INT_MIN) ? INT_MIN : f >= static_cast<float>(INT_MAX) ? INT_MAX
                                                                                           : static_cast<int32_t>(std::ceil(f));
}

void GLBatch::Add(const Key& key, float x0, float y0, float x1, float y1, bool covers) {
    if (vertices_.size() >= kMaxVertices) {
        Flush();
    }
    const uint32_t first = static_cast<uint32_t>(vertices_.size());
    primitives_.push_back(Primitive{key, first, 0, Floor(x0), Floor(y0), Ceil(x1), Ceil(y1), covers});
}

void GLBatch::Rectangle(float x0, float y0, float x1, float y1, Color color, GLuint texture, float u0, float v0,
                        float u1, float v1) {
    texturing_ = texture != 0;
    if (x1 < x0) {
        std::swap(x0, x1);
        std::swap(u0, u1);
    }
    if (y1 < y0) {
        std::swap(y0, y1);
        std::swap(v0, v1);
    }
    // Cut to the clip; the texture coordinates follow, and an uncut side keeps its own exactly.
    if (clipOn_) {
        const float cx0 = static_cast<float>(clip_.x), cy0 = static_cast<float>(clip_.y);
        const float cx1 = cx0 + static_cast<float>(clip_.w), cy1 = cy0 + static_cast<float>(clip_.h);
        const float nx0 = std::max(x0, cx0), nx1 = std::min(x1, cx1);
        const float ny0 = std::max(y0, cy0), ny1 = std::min(y1, cy1);
        if (nx0 >= nx1 || ny0 >= ny1) {
            return;
        }
        const float du = (u1 - u0) / (x1 - x0), dv = (v1 - v0) / (y1 - y0);
        if (nx0 != x0) u0 += (nx0 - x0) * du;
        if (nx1 != x1) u1 -= (x1 - nx1) * du;
        if (ny0 != y0) v0 += (ny0 - y0) * dv;
        if (ny1 != y1) v1 -= (y1 - ny1) * dv;
        x0 = nx0, x1 = nx1, y0 = ny0, y1 = ny1;
    } else if (x0 == x1 || y0 == y1) {
        return;
    }
    // Blending off changes nothing at alpha 255 and spares the rasteriser reading what lies below.
    const bool opaque = texture == 0 && (!blendOn_ || (alphaBlendFunc_ && color.a == 255));
    const bool whole = x0 == std::floor(x0) && y0 == std::floor(y0) && x1 == std::floor(x1) && y1 == std::floor(y1);
    Add(Key{GL_QUADS, texture, !opaque || !blendOn_, false, clip_, 1.0f}, x0, y0, x1, y1, opaque && whole);
    vertices_.push_back({x0, y0, u0, v0, color});
    vertices_.push_back({x1, y0, u1, v0, color});
    vertices_.push_back({x1, y1, u1, v1, color});
    vertices_.push_back({x0, y1, u0, v1, color});
    primitives_.back().count = 4;
}

void GLBatch::BeginShape(GLenum mode, Color color, float lineWidth) {
    texturing_ = false;
    shapeColor_ = color;
    const bool opaque = !blendOn_ || (alphaBlendFunc_ && color.a == 255);
    Add(Key{mode, 0, !opaque || !blendOn_, clipOn_, clip_, lineWidth}, static_cast<float>(INT_MAX),
        static_cast<float>(INT_MAX), static_cast<float>(INT_MIN), static_cast<float>(INT_MIN), false);
}

void GLBatch::Vertex(float x, float y) {
    vertices_.push_back({x, y, 0.0f, 0.0f, shapeColor_});
    Primitive& p = primitives_.back();
    ++p.count;
    // Wide lines and the rasteriser's rounding reach past the vertices.
    const float reach = p.key.lineWidth * 0.5f + 1.0f;
    p.x0 = std::min(p.x0, Floor(x - reach));
    p.y0 = std::min(p.y0, Floor(y - reach));
    p.x1 = std::max(p.x1, Ceil(x + reach));
    p.y1 = std::max(p.y1, Ceil(y + reach));
}

bool GLBatch::AllCovered(int x0, int y0, int x1, int y1, int columns) const {
    for (int row = y0 / kCell; row < (y1 + kCell - 1) / kCell; ++row) {
        const uint8_t* cells = &covered_[static_cast<size_t>(row) * static_cast<size_t>(columns)];
        for (int column = x0 / kCell; column < (x1 + kCell - 1) / kCell; ++column) {
            if (!cells[column]) {
                return false;
            }
        }
    }
    return true;
}

void GLBatch::CullCovered() {
    const int width = std::max(g_windowWidth, 0), height = std::max(g_windowHeight, 0);
    const int columns = (width + kCell - 1) / kCell, rows = (height + kCell - 1) / kCell;
    covered_.assign(static_cast<size_t>(columns) * static_cast<size_t>(rows), 0);
    // Back to front: what a later opaque fill covers is hidden from everything before it.
    for (size_t i = primitives_.size(); i-- > 0;) {
        Primitive& p = primitives_[i];
        int x0 = std::max(p.x0, 0), y0 = std::max(p.y0, 0);
        int x1 = std::min(p.x1, width), y1 = std::min(p.y1, height);
        if (p.key.scissor) {
            const Rect& c = p.key.clip;
            x0 = std::max(x0, c.x), y0 = std::max(y0, c.y);
            x1 = static_cast<int>(std::min<int64_t>(x1, static_cast<int64_t>(c.x) + c.w));
            y1 = static_cast<int>(std::min<int64_t>(y1, static_cast<int64_t>(c.y) + c.h));
        }
        if (x0 >= x1 || y0 >= y1 || AllCovered(x0, y0, x1, y1, columns)) {
            p.count = 0;
            continue;
        }
        p.x0 = x0, p.y0 = y0, p.x1 = x1, p.y1 = y1;
        if (!p.covers) {
            continue;
        }
        // Cells wholly inside it; the window's edge stands in for a cell's missing part.
        const int c0 = (x0 + kCell - 1) / kCell, c1 = x1 >= width ? columns : x1 / kCell;
        const int r0 = (y0 + kCell - 1) / kCell, r1 = y1 >= height ? rows : y1 / kCell;
        for (int row = r0; row < r1 && c0 < c1; ++row) {
            std::memset(&covered_[static_cast<size_t>(row) * static_cast<size_t>(columns) + c0], 1,
                        static_cast<size_t>(c1 - c0));
        }
    }
}

void GLBatch::ApplyScissor(bool on, const Rect& rect) const {
    if (!on) {
        glDisable(GL_SCISSOR_TEST);
        return;
    }
    glEnable(GL_SCISSOR_TEST);
    // GL counts rows from the bottom of the window.
    glScissor(rect.x, g_windowHeight - rect.y - rect.h, rect.w, rect.h);
}

void GLBatch::DrawRun(const Key& key, uint32_t first, uint32_t count) const {
    ApplyScissor(key.scissor, key.clip);
    if (key.texture != 0) {
        glEnable(GL_TEXTURE_2D);
        glBindTexture(GL_TEXTURE_2D, key.texture);
    } else {
        glDisable(GL_TEXTURE_2D);
    }
    if (key.mode == GL_LINES) {
        glLineWidth(key.lineWidth);
    }
    if (!key.blend) {
        glDisable(GL_BLEND);
    }
    const BatchVertex* v = &drawn_[first];
    glEnableClientState(GL_VERTEX_ARRAY);
    glEnableClientState(GL_COLOR_ARRAY);
    glVertexPointer(2, GL_FLOAT, sizeof(BatchVertex), &v->x);
    glColorPointer(4, GL_UNSIGNED_BYTE, sizeof(BatchVertex), &v->color);
    if (key.texture != 0) {
        glEnableClientState(GL_TEXTURE_COORD_ARRAY);
        glTexCoordPointer(2, GL_FLOAT, sizeof(BatchVertex), &v->u);
    }
    glDrawArrays(key.mode, 0, static_cast<GLsizei>(count));
    glDisableClientState(GL_TEXTURE_COORD_ARRAY);
    glDisableClientState(GL_COLOR_ARRAY);
    glDisableClientState(GL_VERTEX_ARRAY);
    if (!key.blend) {
        glEnable(GL_BLEND);
    }
}

// Runs further back than this are not looked at when a primitive seeks a run of its own kind.
static const size_t kLookBack = 8;

void GLBatch::Flush() {
    if (primitives_.empty()) {
        return;
    }
    if (pixelSpace_) {
        CullCovered();
    }
    // A primitive joins the latest run of its kind when no run after that one overlaps it: drawing it
    // earlier than those then changes no pixel. So a stack of windows alternates between fills and
    // text far less often. Without pixel boxes (a 3D projection) only the last run is joined.
    runs_.clear();
    runOf_.resize(primitives_.size());
    for (size_t i = 0; i < primitives_.size(); ++i) {
        const Primitive& p = primitives_[i];
        if (p.count == 0) {
            continue;
        }
        size_t target = runs_.size();
        const size_t oldest = runs_.size() - std::min(runs_.size(), pixelSpace_ ? kLookBack : 1);
        for (size_t r = runs_.size(); r-- > oldest;) {
            Run& run = runs_[r];
            if (run.key == p.key) {
                target = r;
                break;
            }
            if (run.x0 < p.x1 && p.x0 < run.x1 && run.y0 < p.y1 && p.y0 < run.y1) {
                break;
            }
        }
        if (target == runs_.size()) {
            runs_.push_back(Run{p.key, 0, 0, p.x0, p.y0, p.x1, p.y1});
        }
        Run& run = runs_[target];
        run.x0 = std::min(run.x0, p.x0), run.y0 = std::min(run.y0, p.y0);
        run.x1 = std::max(run.x1, p.x1), run.y1 = std::max(run.y1, p.y1);
        run.count += p.count;
        runOf_[i] = static_cast<uint32_t>(target);
    }
    uint32_t next = 0;
    for (Run& run : runs_) {
        run.first = next;
        next += run.count;
        run.count = 0;
    }
    drawn_.resize(next);
    for (size_t i = 0; i < primitives_.size(); ++i) {
        const Primitive& p = primitives_[i];
        if (p.count != 0) {
            Run& run = runs_[runOf_[i]];
            std::memcpy(&drawn_[run.first + run.count], &vertices_[p.first], p.count * sizeof(BatchVertex));
            run.count += p.count;
        }
    }
    for (const Run& run : runs_) {
        DrawRun(run.key, run.first, run.count);
    }
    vertices_.clear();
    primitives_.clear();
}

void GLBatch::Sync() {
    Flush();
    ApplyScissor(clipOn_, clip_);
    if (texturing_) {
        glEnable(GL_TEXTURE_2D);
    } else {
        glDisable(GL_TEXTURE_2D);
    }
}
