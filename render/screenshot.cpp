#include "render/screenshot.h"

#include <SDL.h>
#include <SDL_image.h>
#include <SDL_opengl.h>

#include <cstdio>
#include <cstring>
#include <filesystem>
#include <vector>

#include "console/command_system.h"
#include "console/console_commands.h"
#include "engine/console_output.h"
#include "engine/engine.h"
#include "render/gl_renderer.h"
#include "render/renderer.h"
#include "render/renderer_backend.h"

static const char* const kScreenshotFolder = "screenshots";
static const int kMaxScreenshotNumber = 9999;

namespace {

bool s_requested = false;
std::string s_requestedPath;

SDL_Surface* ReadSDLRenderer() {
    SDL_Renderer* renderer = SDL_GetRenderer(g_window);
    int w = 0;
    int h = 0;
    if (!renderer || SDL_GetRendererOutputSize(renderer, &w, &h) != 0) {
        return nullptr;
    }
    SDL_Surface* surface = SDL_CreateRGBSurfaceWithFormat(0, w, h, 24, SDL_PIXELFORMAT_RGB24);
    if (surface && SDL_RenderReadPixels(renderer, nullptr, SDL_PIXELFORMAT_RGB24, surface->pixels, surface->pitch) != 0) {
        SDL_FreeSurface(surface);
        return nullptr;
    }
    return surface;
}

SDL_Surface* ReadGLRenderer() {
    int w = 0;
    int h = 0;
    SDL_GL_GetDrawableSize(g_window, &w, &h);
    if (w <= 0 || h <= 0) {
        return nullptr;
    }
    SDL_Surface* surface = SDL_CreateRGBSurfaceWithFormat(0, w, h, 24, SDL_PIXELFORMAT_RGB24);
    if (!surface) {
        return nullptr;
    }
    const size_t rowBytes = static_cast<size_t>(w) * 3;
    std::vector<uint8_t> pixels(rowBytes * static_cast<size_t>(h));
    // The GL renderer draws its recorded 2D batch at the next flush point; this read-back is one.
    static_cast<GLRenderer*>(g_renderer)->Flush();
    glPixelStorei(GL_PACK_ALIGNMENT, 1);
    glReadPixels(0, 0, w, h, GL_RGB, GL_UNSIGNED_BYTE, pixels.data());
    // GL rows run bottom-up.
    for (int y = 0; y < h; ++y) {
        std::memcpy(static_cast<uint8_t*>(surface->pixels) + static_cast<size_t>(y) * surface->pitch,
                    pixels.data() + static_cast<size_t>(h - 1 - y) * rowBytes, rowBytes);
    }
    return surface;
}

void Cmd_Screenshot(const CommandLine& line) {
    std::string path = line.args;
    if (path.empty()) {
        path = NextScreenshotPath();
        if (path.empty()) {
            ConMsg("screenshot: no free file name under %s/\n", kScreenshotFolder);
            return;
        }
    }
    s_requested = true;
    s_requestedPath = path;
}

ConsoleCommandReg s_screenshot("screenshot", Cmd_Screenshot, "[FILE]",
                               "saves the window as a PNG (default: a new file under screenshots/)");

}  // namespace

void CaptureRequestedScreenshot() {
    if (!s_requested) {
        return;
    }
    s_requested = false;
    if (SaveWindowPng(s_requestedPath)) {
        ConMsg("screenshot: saved %s\n", s_requestedPath.c_str());
    }
}

bool SaveWindowPng(const std::string& path) {
    SDL_Surface* surface = nullptr;
    if (g_renderer && g_rendererReady) {
        const int id = g_renderer->GetRendererId();
        surface = id == kRendererGL ? ReadGLRenderer() : id == kRendererSDL ? ReadSDLRenderer() : nullptr;
    }
    if (!surface) {
        ConMsg("screenshot: cannot read the window's pixels: %s\n", SDL_GetError());
        return false;
    }
    const int result = IMG_SavePNG(surface, path.c_str());
    SDL_FreeSurface(surface);
    if (result != 0) {
        ConMsg("screenshot: cannot write %s: %s\n", path.c_str(), IMG_GetError());
        return false;
    }
    return true;
}

std::string NextScreenshotPath() {
    std::error_code error;
    std::filesystem::create_directories(kScreenshotFolder, error);
    char name[64];
    for (int i = 1; i <= kMaxScreenshotNumber; ++i) {
        std::snprintf(name, sizeof(name), "%s/shot%04d.png", kScreenshotFolder, i);
        if (!std::filesystem::exists(name, error) && !error) {
            return name;
        }
    }
    return std::string();
}
