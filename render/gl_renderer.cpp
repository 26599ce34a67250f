#include "render/gl_renderer.h"

#include <cmath>
#include <cstdint>
#include <utility>

#include "console/cvars.h"
#include "engine/console_output.h"
#include "render/renderer.h"
#include "render/renderer_backend.h"
#include "render/shader_program.h"
#include "resources/font_system.h"
#include "resources/model_mgr.h"
#include "resources/texture_mgr.h"

GLFunctions g_gl;

static const float kTwoPi = 6.2831855f;
static const float kDegToRad = 0.017453292f;
static const float kRadToDeg = 57.295776f;

bool LoadGLFunctions() {
    GLFunctions f = {};
    // Every entry point is fetched, so one missing name does not hide the others from a debugger.
    bool ok = true;
#define VORMI_GL_FETCH(type, name)                                              \
    f.name = reinterpret_cast<type>(SDL_GL_GetProcAddress("gl" #name));         \
    ok &= f.name != nullptr;
    VORMI_GL_FUNCTIONS(VORMI_GL_FETCH)
#undef VORMI_GL_FETCH
    // Half a table would let a caller that checks one pointer call a null one.
    g_gl = ok ? f : GLFunctions{};
    return ok;
}

static float F(int32_t n) {
    return static_cast<float>(n);
}

static const char* GLText(GLenum name) {
    const GLubyte* text = glGetString(name);
    return text ? reinterpret_cast<const char*>(text) : "";
}

// Uploaded indices are checked against the vertex count; a robust context also keeps any other
// out-of-range fetch on the GPU from reading outside a buffer. Drivers without robustness still get
// an ordinary context.
static SDL_GLContext CreateContext() {
    int flags = 0;
    SDL_GL_GetAttribute(SDL_GL_CONTEXT_FLAGS, &flags);
    SDL_GL_SetAttribute(SDL_GL_CONTEXT_FLAGS, flags | SDL_GL_CONTEXT_ROBUST_ACCESS_FLAG);
    SDL_GLContext context = SDL_GL_CreateContext(g_window);
    SDL_GL_SetAttribute(SDL_GL_CONTEXT_FLAGS, flags);
    if (!context) {
        context = SDL_GL_CreateContext(g_window);
    }
    return context;
}

static void TransformModel(float px, float py, float pz, float rx, float ry, float rz) {
    glPushMatrix();
    glTranslatef(px, py, pz);
    glRotatef(rx, 1.0f, 0.0f, 0.0f);
    glRotatef(ry, 0.0f, 1.0f, 0.0f);
    glRotatef(rz, 0.0f, 0.0f, 1.0f);
}

// Binds a section's texture. A texture index outside the model's list (the file is not checked)
// gets the fallback texture.
static void BindSectionTexture(const ModelRecord& model, const ModelSection& section) {
    int handle = 0;
    if (section.textureIndex >= 0 && static_cast<size_t>(section.textureIndex) < model.textureHandles.size()) {
        handle = model.textureHandles[section.textureIndex];
    }
    glBindTexture(GL_TEXTURE_2D, g_textureMgr->GetGLTexture(handle));
}

// A section's index count cut to the indices there are: runs past them come from a damaged file.
static uint32_t ClampedRun(const ModelSection& section, uint64_t indexCount) {
    const uint64_t first = section.firstIndex;
    if (first >= indexCount) {
        return 0;
    }
    const uint64_t left = indexCount - first;
    return static_cast<uint32_t>(section.indexCount < left ? section.indexCount : left);
}

static void DrawModelImmediate(const ModelRecord& model) {
    glColor3f(1.0f, 1.0f, 1.0f);
    for (const ModelSection& section : model.sections) {
        BindSectionTexture(model, section);
        const size_t first = section.firstIndex;
        const size_t end = first + ClampedRun(section, model.indices.size());
        glBegin(GL_TRIANGLES);
        for (size_t k = first; k < end; ++k) {
            const uint32_t n = model.indices[k];
            // A vertex number past the vertices is skipped; a robust context does the same on the GPU.
            if (n >= model.vertices.size()) {
                continue;
            }
            const ModelVertex& v = model.vertices[n];
            glNormal3fv(&v.nx);
            glTexCoord2fv(&v.u);
            glVertex3fv(&v.px);
        }
        glEnd();
    }
}

struct ModelAttribute {
    const char* name;
    GLint size;
    uintptr_t offset;
};

static const ModelAttribute kModelAttributes[] = {
    {"aPos", 3, 0},
    {"aNormal", 3, 12},
    {"aUV", 2, 24},
};

static void DrawModelWithProgram(const ModelRecord& model) {
    g_gl.UseProgram(modelProgram);
    g_gl.BindBuffer(GL_ARRAY_BUFFER, model.vertexBuffer);
    g_gl.BindBuffer(GL_ELEMENT_ARRAY_BUFFER, model.indexBuffer);

    GLint locations[3];
    for (int i = 0; i < 3; ++i) {
        const ModelAttribute& attribute = kModelAttributes[i];
        locations[i] = g_gl.GetAttribLocation(modelProgram, attribute.name);
        if (locations[i] != -1) {
            g_gl.EnableVertexAttribArray(static_cast<GLuint>(locations[i]));
            g_gl.VertexAttribPointer(static_cast<GLuint>(locations[i]), attribute.size, GL_FLOAT, GL_FALSE,
                                     sizeof(ModelVertex), reinterpret_cast<const void*>(attribute.offset));
        }
    }
    const GLint texture = g_gl.GetUniformLocation(modelProgram, "uTexture");
    if (texture != -1) {
        g_gl.Uniform1i(texture, 0);
    }
    const GLint light = g_gl.GetUniformLocation(modelProgram, "uLightDirection");
    if (light != -1) {
        g_gl.Uniform3f(light, 0.0f, 0.0f, 1.0f);
    }

    for (const ModelSection& section : model.sections) {
        const uint32_t count = ClampedRun(section, model.bufferIndexCount);
        if (count == 0) {
            continue;
        }
        BindSectionTexture(model, section);
        const uintptr_t offset = static_cast<uintptr_t>(section.firstIndex) * sizeof(uint32_t);
        glDrawElements(GL_TRIANGLES, static_cast<GLsizei>(count), GL_UNSIGNED_INT,
                       reinterpret_cast<const void*>(offset));
    }

    for (GLint location : locations) {
        if (location != -1) {
            g_gl.DisableVertexAttribArray(static_cast<GLuint>(location));
        }
    }
    g_gl.BindBuffer(GL_ARRAY_BUFFER, 0);
    g_gl.BindBuffer(GL_ELEMENT_ARRAY_BUFFER, 0);
    g_gl.UseProgram(0);
}

GLRenderer::~GLRenderer() {
    DeleteContext();
    StoreViewportScale();
}

void GLRenderer::DeleteContext() {
    if (context) {
        SDL_GL_DeleteContext(context);
        context = nullptr;
        // The program went with the context; its name must not be used in a later one.
        modelProgram = 0;
    }
}

int GLRenderer::GetRendererId() {
    return kRendererGL;
}

const char* GLRenderer::GetName() {
    return "GLRenderer";
}

bool GLRenderer::Init() {
    context = CreateContext();
    if (!context) {
        SysErrorMsgBox("Failed to init glContext: %s\nThis error might happen on laptops with dual GPUs\n"
                       "(integrated + dedicated) if secondary monitor is connected.\n"
                       "Try using dedicated GPU to run this application.\n",
                       SDL_GetError());
        return false;
    }
    SDL_GL_SetSwapInterval(0);
    ConMsg("OpenGL Version: %s\n", GLText(GL_VERSION));
    ConMsg("Renderer: %s\n", GLText(GL_RENDERER));
    ConMsg("Vendor: %s\n", GLText(GL_VENDOR));
    if (!LoadGLFunctions()) {
        SysErrorMsgBox("Failed to load OpenGL functions\n");
        return false;
    }
    if (!BuildModelShader()) {
        SysErrorMsgBox("Failed to build shaders\n");
        return false;
    }
    return true;
}

void GLRenderer::PostInit() {
    glViewport(0, 0, g_windowWidth, g_windowHeight);
    glEnable(GL_TEXTURE_2D);
    batch_.SetTexturing(true);
}

void GLRenderer::Shutdown() {
    DeleteContext();
    StoreViewportScale();
}

void GLRenderer::Flush() {
    batch_.Sync();
}

void GLRenderer::Clear() {
    batch_.Sync();
    glClear(GL_COLOR_BUFFER_BIT);
}

void GLRenderer::Present() {
    batch_.Sync();
    SDL_GL_SwapWindow(g_window);
}

void GLRenderer::SetDrawColor(uint8_t r, uint8_t g, uint8_t b, uint8_t a) {
    glClearColor(r / 255.0f, g / 255.0f, b / 255.0f, a / 255.0f);
}

void GLRenderer::SetBlendMode(int mode) {
    batch_.SetBlendMode(mode);
    glEnable(GL_BLEND);
    switch (mode) {
        case SDL_BLENDMODE_NONE:
            glDisable(GL_BLEND);
            break;
        case SDL_BLENDMODE_BLEND:
            glBlendFunc(GL_SRC_ALPHA, GL_ONE_MINUS_SRC_ALPHA);
            break;
        case SDL_BLENDMODE_ADD:
            glBlendFunc(GL_SRC_ALPHA, GL_ONE);
            break;
        case SDL_BLENDMODE_MOD:
            glBlendFunc(GL_DST_COLOR, GL_ZERO);
            break;
        default:
            break;
    }
}

void GLRenderer::SetClipRect(const Rect* rect) {
    // Applied as the scissor when something is drawn, or at the next sync.
    batch_.SetClip(rect);
}

void GLRenderer::UpdateViewportScale() {
    batch_.Sync();
    RefreshViewportScale();
    // The scale only lays out the UI; GL keeps drawing in window pixels.
    glViewport(0, 0, g_windowWidth, g_windowHeight);
    NotifyViewportResized();
}

void GLRenderer::Begin2D() {
    batch_.Sync();
    batch_.SetPixelSpace(true);
    glViewport(0, 0, g_windowWidth, g_windowHeight);
    glMatrixMode(GL_PROJECTION);
    glLoadIdentity();
    glOrtho(0.0, g_windowWidth, g_windowHeight, 0.0, -1.0, 1.0);
    glMatrixMode(GL_MODELVIEW);
    glLoadIdentity();
    glDisable(GL_DEPTH_TEST);
    glDisable(GL_CULL_FACE);
    glShadeModel(GL_FLAT);
    glDisable(GL_LIGHTING);
}

static void LoadFrustum(float halfWidth, float halfHeight, float zNear, float zFar) {
    glMatrixMode(GL_PROJECTION);
    glLoadIdentity();
    glFrustum(-halfWidth, halfWidth, -halfHeight, halfHeight, zNear, zFar);
    glMatrixMode(GL_MODELVIEW);
    glLoadIdentity();
}

void GLRenderer::SetPerspective(float fovX, float fovY, float zNear, float zFar) {
    batch_.Sync();
    batch_.SetPixelSpace(false);
    LoadFrustum(std::tan(fovX * kDegToRad * 0.5f) * zNear, std::tan(fovY * kDegToRad * 0.5f) * zNear, zNear,
                zFar);
}

void GLRenderer::Begin3D(int x, int y, int w, int h, float fov, float zNear, float zFar) {
    batch_.Sync();
    batch_.SetPixelSpace(false);
    batch_.SetTexturing(true);
    glViewport(x, g_windowHeight - y - h, w, h);
    // The horizontal extent takes fov as given; only the vertical one uses a sane angle.
    const float halfWidth = std::tan(fov * kDegToRad * 0.5f) * zNear;
    const float fovForHeight = fov < 1.0f || fov > 179.0f ? 90.0f : fov;
    const float verticalFov = 2.0f * std::atan(std::tan(fovForHeight * kDegToRad * 0.5f) / (F(w) / F(h))) * kRadToDeg;
    const float halfHeight = std::tan(verticalFov * kDegToRad * 0.5f) * zNear;
    LoadFrustum(halfWidth, halfHeight, zNear, zFar);
    glEnable(GL_DEPTH_TEST);
    glEnable(GL_TEXTURE_2D);
    glEnable(GL_CULL_FACE);
    glCullFace(GL_BACK);
    glShadeModel(GL_SMOOTH);
    glClear(GL_DEPTH_BUFFER_BIT);
    glEnable(GL_LIGHTING);
    glEnable(GL_LIGHT0);
    glEnable(GL_COLOR_MATERIAL);
}

Texture GLRenderer::CreateTexture(SDL_Surface* surface, const std::string& name, bool filter) {
    Texture texture;
    texture.name = name;
    if (!surface) {
        return texture;
    }
    texture.width = surface->w;
    texture.height = surface->h;
    batch_.Flush();
    // R, G, B, A bytes in memory: what GL_RGBA with GL_UNSIGNED_BYTE reads.
    SDL_Surface* rgba = SDL_ConvertSurfaceFormat(surface, SDL_PIXELFORMAT_ABGR8888, 0);
    if (!rgba) {
        ConMsg("Failed to convert surface format!\n");
        return texture;
    }
    GLuint glName = 0;
    glGenTextures(1, &glName);
    glBindTexture(GL_TEXTURE_2D, glName);
    const GLint sampling = filter && cv_filter_textures.intValue != 0 ? GL_LINEAR : GL_NEAREST;
    glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MIN_FILTER, sampling);
    glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MAG_FILTER, sampling);
    glTexImage2D(GL_TEXTURE_2D, 0, GL_RGBA, rgba->w, rgba->h, 0, GL_RGBA, GL_UNSIGNED_BYTE, rgba->pixels);
    const GLenum error = glGetError();
    if (error != GL_NO_ERROR) {
        ConMsg("OpenGL Texture Creation Failed! Error code: %d\n", static_cast<int>(error));
    }
    SDL_FreeSurface(rgba);
    texture.glTexture = glName;
    return texture;
}

void GLRenderer::DrawTextureById(const Rect* rect, Color color, int id) {
    batch_.SetTexturing(true);
    const uint32_t texture = g_textureMgr->GetGLTexture(id);
    if (texture == 0 || !rect) {
        return;
    }
    batch_.Rectangle(F(rect->x), F(rect->y), F(rect->x) + F(rect->w), F(rect->y) + F(rect->h), color, texture, 0.0f,
                     0.0f, 1.0f, 1.0f);
}

void GLRenderer::DrawTexture(Texture texture, int x, int y) {
    batch_.SetTexturing(true);
    if (texture.glTexture == 0) {
        return;
    }
    batch_.Rectangle(F(x), F(y), F(x) + F(texture.width), F(y) + F(texture.height), Color{255, 255, 255, 255},
                     texture.glTexture, 0.0f, 0.0f, 1.0f, 1.0f);
}

void GLRenderer::DrawLine(Point p1, Point p2, Color color, int width) {
    // A one-pixel line running right or down lights exactly the pixels of the rectangle it spans.
    if (width == 1 && (p1.y == p2.y ? p1.x < p2.x : p1.x == p2.x && p1.y < p2.y)) {
        batch_.Rectangle(F(p1.x), F(p1.y), F(p2.x + 1), F(p2.y + 1), color);
        return;
    }
    // Pixel centres, with the far end pushed one pixel on so that its pixel is lit as well.
    const float dx = p1.x < p2.x ? 1.1f : 0.1f;
    const float dy = p1.y < p2.y ? 1.1f : 0.1f;
    batch_.BeginShape(GL_LINES, color, F(width));
    batch_.Vertex(F(p1.x) + 0.1f, F(p1.y) + 0.1f);
    batch_.Vertex(F(p2.x) + dx, F(p2.y) + dy);
}

void GLRenderer::DrawArrow(Point p1, Point p2, Color color, int width, int headLength, int headWidth) {
    const ArrowHead head = ComputeArrowHead(p1, p2, headLength, headWidth);
    DrawLine(p1, head.base, color, width);
    batch_.BeginShape(GL_TRIANGLES, color);
    batch_.Vertex(F(p2.x), F(p2.y));
    batch_.Vertex(F(head.base.x - head.ox), F(head.base.y + head.oy));
    batch_.Vertex(F(head.base.x + head.ox), F(head.base.y - head.oy));
}

void GLRenderer::FillPolygon(const std::vector<Point>& points, int count, Color color) {
    // The count may not exceed the points actually given.
    if (count > static_cast<int>(points.size())) {
        count = static_cast<int>(points.size());
    }
    if (count < 3) {
        return;
    }
    batch_.BeginShape(GL_TRIANGLES, color);
    for (int i = 1; i <= count - 2; ++i) {
        batch_.Vertex(F(points[0].x), F(points[0].y));
        batch_.Vertex(F(points[i].x), F(points[i].y));
        batch_.Vertex(F(points[i + 1].x), F(points[i + 1].y));
    }
}

// A closed outline as separate segments, so that outlines join one run.
template <typename PointAt>
static void LineLoop(GLBatch& batch, int count, PointAt at) {
    for (int i = 0; i < count; ++i) {
        const auto a = at(i), b = at((i + 1) % count);
        batch.Vertex(a.first, a.second);
        batch.Vertex(b.first, b.second);
    }
}

void GLRenderer::DrawPolygon(const std::vector<Point>& points, int count, int width, Color color) {
    if (count > static_cast<int>(points.size())) {
        count = static_cast<int>(points.size());
    }
    if (count < 2) {
        return;
    }
    batch_.BeginShape(GL_LINES, color, F(width));
    LineLoop(batch_, count, [&](int i) { return std::make_pair(F(points[i].x), F(points[i].y)); });
}

static std::pair<float, float> CirclePoint(Point center, int radius, int i, int segments) {
    const float angle = F(i) * kTwoPi / F(segments);
    return {F(center.x) + std::cos(angle) * F(radius), F(center.y) + std::sin(angle) * F(radius)};
}

void GLRenderer::FillCircle(Point center, int radius, Color color, int segments) {
    // The fan from the centre, as its triangles; no segments, no rim.
    batch_.BeginShape(GL_TRIANGLES, color);
    std::pair<float, float> rim = CirclePoint(center, radius, 0, segments);
    for (int i = 1; i <= segments; ++i) {
        const std::pair<float, float> next = CirclePoint(center, radius, i, segments);
        batch_.Vertex(F(center.x), F(center.y));
        batch_.Vertex(rim.first, rim.second);
        batch_.Vertex(next.first, next.second);
        rim = next;
    }
}

void GLRenderer::DrawCircle(Point center, int radius, Color color, int width, int segments) {
    if (segments < 3) {
        return;
    }
    batch_.BeginShape(GL_LINES, color, F(width));
    LineLoop(batch_, segments, [&](int i) { return CirclePoint(center, radius, i, segments); });
}

void GLRenderer::DrawRect(const Rect* rect, Color color) {
    if (!rect) {
        return;
    }
    // Through the centres of the border pixels, where which pixel a corner lights is the rasteriser's
    // call, so these stay lines.
    const float x = F(rect->x), y = F(rect->y), w = F(rect->w), h = F(rect->h);
    const float corners[4][2] = {{x + 0.5f, y + 0.5f}, {x + w - 0.5f, y + 0.5f}, {x + w - 0.5f, y + h - 0.5f},
                                 {x + 0.5f, y + h - 0.5f}};
    batch_.BeginShape(GL_LINES, color);
    LineLoop(batch_, 4, [&](int i) { return std::make_pair(corners[i][0], corners[i][1]); });
}

void GLRenderer::FillRect(const Rect* rect, Color color) {
    if (!rect) {
        return;
    }
    batch_.Rectangle(F(rect->x), F(rect->y), F(rect->x) + F(rect->w), F(rect->y) + F(rect->h), color);
}

void GLRenderer::DrawText(int fontId, const char* text, int x, int y) {
    if (!text || !*text) {
        return;
    }
    batch_.SetTexturing(true);
    FontRecord* font = g_fontSystem->GetFont(fontId);
    if (!font || font->atlas.glTexture == 0 || font->atlas.width <= 0 || font->atlas.height <= 0) {
        return;
    }
    const Color white = {255, 255, 255, 255};
    const float atlasW = F(font->atlas.width);
    const float atlasH = F(font->atlas.height);
    const float top = F(y);
    WalkText(*font, text, TextAdvance::kGlyphWidth, x, [&](unsigned char c, int64_t pen, int32_t) {
        if (HasGlyph(c)) {
            const Rect& g = font->glyphs[c];
            const float left = static_cast<float>(pen);
            batch_.Rectangle(left, top, left + F(g.w), top + F(g.h), white, font->atlas.glTexture, F(g.x) / atlasW,
                             F(g.y) / atlasH, F(g.x + g.w) / atlasW, F(g.y + g.h) / atlasH);
        }
        return true;
    });
}

void GLRenderer::ReservedHook() {}

void GLRenderer::SaveTextureBmp(SDL_Texture*, const std::string&) {}

void GLRenderer::DrawModel(ModelRecord* model, float px, float py, float pz, float rx, float ry, float rz) {
    if (!model) {
        return;
    }
    batch_.Sync();
    if (model->uploaded) {
        // No immediate-mode fallback: the CPU copies of an uploaded model are gone.
        if (model->vertexBuffer == 0 || model->indexBuffer == 0 || modelProgram == 0) {
            return;
        }
        glMatrixMode(GL_MODELVIEW);
        TransformModel(px, py, pz, rx, ry, rz);
        DrawModelWithProgram(*model);
        glPopMatrix();
        return;
    }
    TransformModel(px, py, pz, rx, ry, rz);
    DrawModelImmediate(*model);
    glPopMatrix();
}

IRenderer* NewGLRenderer() {
    return new GLRenderer();
}
