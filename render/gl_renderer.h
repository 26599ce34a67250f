// The OpenGL renderer: a compatibility-profile context on the engine window. The UI is drawn with an
// orthographic projection in window pixels, batched into vertex arrays (GLBatch); models that carry GPU
// buffers are drawn with the model program, the others in immediate mode.
#pragma once

#include <SDL.h>
#include <SDL_opengl.h>

#include "render/gl_batch.h"
#include "render/renderer.h"

// Entry points beyond GL 1.1, fetched at run time by LoadGLFunctions in this order, each as "gl" + its
// name. X(type, name) for each; the struct and the loader are both generated from this one list.
#define VORMI_GL_FUNCTIONS(X)                                      \
    X(PFNGLGENBUFFERSPROC, GenBuffers)                             \
    X(PFNGLBINDBUFFERPROC, BindBuffer)                             \
    X(PFNGLBUFFERDATAPROC, BufferData)                             \
    X(PFNGLDELETEBUFFERSPROC, DeleteBuffers)                       \
    X(PFNGLENABLEVERTEXATTRIBARRAYPROC, EnableVertexAttribArray)   \
    X(PFNGLVERTEXATTRIBPOINTERPROC, VertexAttribPointer)           \
    X(PFNGLDISABLEVERTEXATTRIBARRAYPROC, DisableVertexAttribArray) \
    X(PFNGLGETATTRIBLOCATIONPROC, GetAttribLocation)               \
    X(PFNGLCREATESHADERPROC, CreateShader)                         \
    X(PFNGLSHADERSOURCEPROC, ShaderSource)                         \
    X(PFNGLCOMPILESHADERPROC, CompileShader)                       \
    X(PFNGLGETSHADERIVPROC, GetShaderiv)                           \
    X(PFNGLGETSHADERINFOLOGPROC, GetShaderInfoLog)                 \
    X(PFNGLDELETESHADERPROC, DeleteShader)                         \
    X(PFNGLCREATEPROGRAMPROC, CreateProgram)                       \
    X(PFNGLATTACHSHADERPROC, AttachShader)                         \
    X(PFNGLLINKPROGRAMPROC, LinkProgram)                           \
    X(PFNGLGETPROGRAMIVPROC, GetProgramiv)                         \
    X(PFNGLGETPROGRAMINFOLOGPROC, GetProgramInfoLog)               \
    X(PFNGLUSEPROGRAMPROC, UseProgram)                             \
    X(PFNGLDELETEPROGRAMPROC, DeleteProgram)                       \
    X(PFNGLGETUNIFORMLOCATIONPROC, GetUniformLocation)             \
    X(PFNGLUNIFORM1IPROC, Uniform1i)                               \
    X(PFNGLUNIFORM1FPROC, Uniform1f)                               \
    X(PFNGLUNIFORMMATRIX4FVPROC, UniformMatrix4fv)                 \
    X(PFNGLUNIFORMMATRIX3FVPROC, UniformMatrix3fv)                 \
    X(PFNGLUNIFORM3FPROC, Uniform3f)

// Either all are set or none: a null CreateProgram means GL was never loaded in this process.
struct GLFunctions {
#define VORMI_GL_MEMBER(type, name) type name;
    VORMI_GL_FUNCTIONS(VORMI_GL_MEMBER)
#undef VORMI_GL_MEMBER
};

extern GLFunctions g_gl;

// Fetches every entry point of GLFunctions from the current context. False (and g_gl left empty)
// when any one is missing.
bool LoadGLFunctions();

class GLRenderer : public IRenderer {
public:
    ~GLRenderer() override;
    int GetRendererId() override;
    const char* GetName() override;
    // False, after a fatal box, when the context, an entry point or the model program is missing.
    bool Init() override;
    void PostInit() override;
    void Shutdown() override;
    void Clear() override;
    void Present() override;
    void SetDrawColor(uint8_t r, uint8_t g, uint8_t b, uint8_t a) override;
    void SetBlendMode(int mode) override;
    void SetClipRect(const Rect* rect) override;
    void UpdateViewportScale() override;
    void Begin2D() override;
    void SetPerspective(float fovX, float fovY, float zNear, float zFar) override;
    void Begin3D(int x, int y, int w, int h, float fov, float zNear, float zFar) override;
    // A record with glTexture 0 when the surface could not be converted.
    Texture CreateTexture(SDL_Surface* surface, const std::string& name, bool filter) override;
    void DrawTextureById(const Rect* rect, Color color, int id) override;
    void DrawTexture(Texture texture, int x, int y) override;
    void DrawLine(Point p1, Point p2, Color color, int width) override;
    void DrawArrow(Point p1, Point p2, Color color, int width, int headLength, int headWidth) override;
    void FillPolygon(const std::vector<Point>& points, int count, Color color) override;
    void DrawPolygon(const std::vector<Point>& points, int count, int width, Color color) override;
    void FillCircle(Point center, int radius, Color color, int segments) override;
    void DrawCircle(Point center, int radius, Color color, int width, int segments) override;
    void DrawRect(const Rect* rect, Color color) override;
    void FillRect(const Rect* rect, Color color) override;
    void DrawText(int fontId, const char* text, int x, int y) override;
    void ReservedHook() override;
    void SaveTextureBmp(SDL_Texture* texture, const std::string& path) override;
    // Uploaded models need both buffers and the model program, else nothing is drawn.
    void DrawModel(ModelRecord* model, float px, float py, float pz, float rx, float ry, float rz) override;

    // Draws whatever is pending and leaves the GL state as the drawing calls asked for it, so the
    // frame can be read back before Present.
    void Flush();

    SDL_GLContext context = nullptr;

private:
    void DeleteContext();

    GLBatch batch_;
};
