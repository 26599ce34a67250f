#include "render/gl_batch.h"

#include <SDL.h>

#include <algorithm>
#include <utility>

#include "engine/engine.h"

// Past this many vertices a run is drawn anyway, which bounds the array.
static const size_t kMaxVertices = 1 << 16;

bool GLBatch::Key::operator==(const Key& other) const {
    const bool sameClip = clip.x == other.clip.x && clip.y == other.clip.y && clip.w == other.clip.w &&
                          clip.h == other.clip.h;
    return mode == other.mode && texture == other.texture && blend == other.blend && scissor == other.scissor &&
           (!scissor || sameClip) && lineWidth == other.lineWidth;
}

GLBatch::GLBatch() : key_{GL_QUADS, 0, true, false, {0, 0, 0, 0}, 1.0f} {
    vertices_.reserve(4096);
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

void GLBatch::Join(const Key& key) {
    if (!vertices_.empty() && (!(key == key_) || vertices_.size() >= kMaxVertices)) {
        Flush();
    }
    key_ = key;
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
    Join(Key{GL_QUADS, texture, texture != 0 || color.a != 255 || !blendOn_ || !alphaBlendFunc_, false, clip_, 1.0f});
    vertices_.push_back({x0, y0, u0, v0, color});
    vertices_.push_back({x1, y0, u1, v0, color});
    vertices_.push_back({x1, y1, u1, v1, color});
    vertices_.push_back({x0, y1, u0, v1, color});
}

void GLBatch::BeginShape(GLenum mode, Color color, float lineWidth) {
    texturing_ = false;
    shapeColor_ = color;
    Join(Key{mode, 0, color.a != 255 || !blendOn_ || !alphaBlendFunc_, clipOn_, clip_, lineWidth});
}

void GLBatch::Vertex(float x, float y) {
    vertices_.push_back({x, y, 0.0f, 0.0f, shapeColor_});
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

void GLBatch::Flush() {
    if (vertices_.empty()) {
        return;
    }
    ApplyScissor(key_.scissor, key_.clip);
    if (key_.texture != 0) {
        glEnable(GL_TEXTURE_2D);
        glBindTexture(GL_TEXTURE_2D, key_.texture);
    } else {
        glDisable(GL_TEXTURE_2D);
    }
    if (key_.mode == GL_LINES) {
        glLineWidth(key_.lineWidth);
    }
    if (!key_.blend) {
        glDisable(GL_BLEND);
    }
    const BatchVertex* first = vertices_.data();
    glEnableClientState(GL_VERTEX_ARRAY);
    glEnableClientState(GL_COLOR_ARRAY);
    glVertexPointer(2, GL_FLOAT, sizeof(BatchVertex), &first->x);
    glColorPointer(4, GL_UNSIGNED_BYTE, sizeof(BatchVertex), &first->color);
    if (key_.texture != 0) {
        glEnableClientState(GL_TEXTURE_COORD_ARRAY);
        glTexCoordPointer(2, GL_FLOAT, sizeof(BatchVertex), &first->u);
    }
    glDrawArrays(key_.mode, 0, static_cast<GLsizei>(vertices_.size()));
    glDisableClientState(GL_TEXTURE_COORD_ARRAY);
    glDisableClientState(GL_COLOR_ARRAY);
    glDisableClientState(GL_VERTEX_ARRAY);
    if (!key_.blend) {
        glEnable(GL_BLEND);
    }
    vertices_.clear();
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
