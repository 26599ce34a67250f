#include "render/model_fixed_draw.h"

#include <SDL_opengl.h>

#include <cstdint>

#include "render/gl_renderer.h"
#include "render/shader_program.h"
#include "resources/model_mgr.h"
#include "resources/texture_mgr.h"

bool ModelProgramReady() {
    return modelProgram != 0;
}

void DrawModelFixedFunction(const ModelRecord& model, float px, float py, float pz, float rx, float ry, float rz) {
    if (!model.uploaded || model.vertexBuffer == 0 || model.indexBuffer == 0 || !g_gl.BindBuffer) {
        return;
    }
    glMatrixMode(GL_MODELVIEW);
    glPushMatrix();
    glTranslatef(px, py, pz);
    glRotatef(rx, 1.0f, 0.0f, 0.0f);
    glRotatef(ry, 0.0f, 1.0f, 0.0f);
    glRotatef(rz, 0.0f, 0.0f, 1.0f);
    glColor3f(1.0f, 1.0f, 1.0f);

    g_gl.BindBuffer(GL_ARRAY_BUFFER, model.vertexBuffer);
    g_gl.BindBuffer(GL_ELEMENT_ARRAY_BUFFER, model.indexBuffer);
    glEnableClientState(GL_VERTEX_ARRAY);
    glEnableClientState(GL_NORMAL_ARRAY);
    glEnableClientState(GL_TEXTURE_COORD_ARRAY);
    // Offsets into the bound vertex buffer: position, normal and UV of each 32-byte vertex.
    glVertexPointer(3, GL_FLOAT, sizeof(ModelVertex), reinterpret_cast<const void*>(uintptr_t(0)));
    glNormalPointer(GL_FLOAT, sizeof(ModelVertex), reinterpret_cast<const void*>(uintptr_t(12)));
    glTexCoordPointer(2, GL_FLOAT, sizeof(ModelVertex), reinterpret_cast<const void*>(uintptr_t(24)));

    for (const ModelSection& section : model.sections) {
        // Runs past the uploaded indices come from a damaged file and are cut.
        if (section.firstIndex >= model.bufferIndexCount) {
            continue;
        }
        const uint32_t left = model.bufferIndexCount - section.firstIndex;
        const uint32_t count = section.indexCount < left ? section.indexCount : left;
        int handle = 0;
        if (section.textureIndex >= 0 && static_cast<size_t>(section.textureIndex) < model.textureHandles.size()) {
            handle = model.textureHandles[section.textureIndex];
        }
        glBindTexture(GL_TEXTURE_2D, g_textureMgr->GetGLTexture(handle));
        const uintptr_t offset = uintptr_t(section.firstIndex) * sizeof(uint32_t);
        glDrawElements(GL_TRIANGLES, static_cast<GLsizei>(count), GL_UNSIGNED_INT,
                       reinterpret_cast<const void*>(offset));
    }

    glDisableClientState(GL_VERTEX_ARRAY);
    glDisableClientState(GL_NORMAL_ARRAY);
    glDisableClientState(GL_TEXTURE_COORD_ARRAY);
    g_gl.BindBuffer(GL_ARRAY_BUFFER, 0);
    g_gl.BindBuffer(GL_ELEMENT_ARRAY_BUFFER, 0);
    glPopMatrix();
}
