#include "render/shader_program.h"

#include <SDL.h>

#include "console/cvars.h"
#include "engine/console_output.h"
#include "render/gl_renderer.h"
#include "resources/file_system.h"

uint32_t modelProgram = 0;

// Shader sources are a few kilobytes; anything past this is not a shader and is not read.
static const Sint64 kMaxShaderBytes = 1 << 20;
static const GLsizei kInfoLogBytes = 1024;

std::string LoadShaderFile(const std::string& name) {
    const std::string path = g_fileSystem->GetShaderPath(name);
    SDL_RWops* rw = SDL_RWFromFile(path.c_str(), "rb");
    if (!rw) {
        ConMsg("Failed to open shader file: %s\n", path.c_str());
        return std::string();
    }
    const Sint64 size = SDL_RWsize(rw);
    std::string source;
    if (size > 0 && size <= kMaxShaderBytes) {
        source.resize(static_cast<size_t>(size));
        if (SDL_RWread(rw, &source[0], 1, source.size()) != source.size()) {
            source.clear();
        }
    }
    SDL_RWclose(rw);
    return source;
}

uint32_t CompileShader(uint32_t type, const std::string& source) {
    const GLuint shader = g_gl.CreateShader(type);
    const GLchar* text = source.c_str();
    g_gl.ShaderSource(shader, 1, &text, nullptr);
    g_gl.CompileShader(shader);
    GLint compiled = GL_FALSE;
    g_gl.GetShaderiv(shader, GL_COMPILE_STATUS, &compiled);
    if (compiled) {
        return shader;
    }
    char log[kInfoLogBytes] = {};
    g_gl.GetShaderInfoLog(shader, kInfoLogBytes, nullptr, log);
    ConMsg("Shader compilation failed:\n%s\n", log);
    g_gl.DeleteShader(shader);
    return 0;
}

bool BuildModelShader() {
    // Both are read before either is checked, so two missing files give two lines.
    const std::string vertexSource = LoadShaderFile("model.vert");
    const std::string fragmentSource = LoadShaderFile("model.frag");
    if (vertexSource.empty() || fragmentSource.empty()) {
        ConMsg("Error: Model shader source is missing.\n");
        return false;
    }

    const GLuint vs = CompileShader(GL_VERTEX_SHADER, vertexSource);
    const GLuint fs = CompileShader(GL_FRAGMENT_SHADER, fragmentSource);
    if (vs == 0 || fs == 0) {
        if (vs != 0) {
            g_gl.DeleteShader(vs);
        }
        if (fs != 0) {
            g_gl.DeleteShader(fs);
        }
        modelProgram = 0;
        ConMsg("Error: Failed to build model shader program.\n");
        return false;
    }

    GLuint program = g_gl.CreateProgram();
    g_gl.AttachShader(program, vs);
    g_gl.AttachShader(program, fs);
    g_gl.LinkProgram(program);
    GLint linked = GL_FALSE;
    g_gl.GetProgramiv(program, GL_LINK_STATUS, &linked);
    if (!linked) {
        char log[kInfoLogBytes] = {};
        g_gl.GetProgramInfoLog(program, kInfoLogBytes, nullptr, log);
        ConMsg("Shader program linking failed:\n%s\n", log);
        g_gl.DeleteProgram(program);
        program = 0;
    }
    // The program keeps its attached stages alive; these names are no longer needed.
    g_gl.DeleteShader(vs);
    g_gl.DeleteShader(fs);

    modelProgram = program;
    if (program == 0) {
        ConMsg("Error: Failed to build model shader program.\n");
        return false;
    }
    ConMsg("Model shader compiled successfully. Program ID = %u\n", program);
    return true;
}

// Every write of "shader_reload" rebuilds, whatever the value: writing the same value again is how a
// shader is retried.
void OnShaderReload(CVar*) {
    ReloadModelShader();
}

void ReloadModelShader() {
    // Under the SDL renderer GL was never loaded; after the GL renderer is gone there is no context.
    if (!g_gl.CreateProgram || !SDL_GL_GetCurrentContext()) {
        return;
    }
    if (modelProgram != 0) {
        g_gl.DeleteProgram(modelProgram);
        modelProgram = 0;
    }
    BuildModelShader();
}
