#include "render/gpu_objects.h"

#include <SDL.h>

#include "engine/engine.h"
#include "render/gl_renderer.h"
#include "resources/model_mgr.h"
#include "render/renderer_backend.h"

void DestroyTextureObjects(Texture& texture) {
    if (texture.sdlTexture) {
        SDL_DestroyTexture(texture.sdlTexture);
        texture.sdlTexture = nullptr;
    }
    if (texture.glTexture != 0) {
        // What the GL renderer has batched may still sample it.
        if (auto* gl = dynamic_cast<GLRenderer*>(g_renderer)) {
            gl->Flush();
        }
        const GLuint glName = texture.glTexture;
        glDeleteTextures(1, &glName);
        texture.glTexture = 0;
    }
}

template <typename T>
static void FreeArray(std::vector<T>& array) {
    std::vector<T>().swap(array);
}

void UploadModelGeometry(ModelRecord& model) {
    // The GL renderer loads these entry points when it starts; without them nothing is uploaded.
    if (!g_renderer || g_renderer->GetRendererId() != kRendererGL || !g_gl.GenBuffers) {
        return;
    }
    // Model files are not validated: a vertex number past the vertices would read outside the buffer.
    const size_t vertexCount = model.vertices.size();
    if (vertexCount == 0) {
        model.indices.clear();
    }
    for (uint32_t& index : model.indices) {
        if (index >= vertexCount) {
            index = 0;
        }
    }
    GLuint vertexBuffer = 0;
    g_gl.GenBuffers(1, &vertexBuffer);
    g_gl.BindBuffer(GL_ARRAY_BUFFER, vertexBuffer);
    g_gl.BufferData(GL_ARRAY_BUFFER, static_cast<GLsizeiptr>(vertexCount * sizeof(ModelVertex)),
                    model.vertices.data(), GL_STATIC_DRAW);
    GLuint indexBuffer = 0;
    g_gl.GenBuffers(1, &indexBuffer);
    g_gl.BindBuffer(GL_ELEMENT_ARRAY_BUFFER, indexBuffer);
    g_gl.BufferData(GL_ELEMENT_ARRAY_BUFFER, static_cast<GLsizeiptr>(model.indices.size() * sizeof(uint32_t)),
                    model.indices.data(), GL_STATIC_DRAW);
    g_gl.BindBuffer(GL_ARRAY_BUFFER, 0);
    g_gl.BindBuffer(GL_ELEMENT_ARRAY_BUFFER, 0);
    model.vertexBuffer = vertexBuffer;
    model.indexBuffer = indexBuffer;
    model.bufferIndexCount = static_cast<uint32_t>(model.indices.size());
    model.uploaded = true;
    FreeArray(model.vertices);
    FreeArray(model.indices);
}

static void DeleteBuffer(uint32_t& buffer) {
    if (buffer == 0) {
        return;
    }
    if (g_gl.DeleteBuffers) {
        const GLuint name = buffer;
        g_gl.DeleteBuffers(1, &name);
    }
    buffer = 0;
}

void DeleteModelBuffers(ModelRecord& model) {
    DeleteBuffer(model.vertexBuffer);
    DeleteBuffer(model.indexBuffer);
    model.bufferIndexCount = 0;
    model.uploaded = false;
}
