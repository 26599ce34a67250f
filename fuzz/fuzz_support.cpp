#include "fuzz_support.h"

#include <SDL.h>
#include <SDL_ttf.h>

#include <filesystem>
#include <fstream>

#include <unistd.h>

#include "console/command_system.h"
#include "console/cvar.h"
#include "engine/console_output.h"
#include "engine/engine.h"
#include "render/renderer.h"
#include "input/input_system.h"
#include "resources/model_mgr.h"
#include "resources/texture_mgr.h"

namespace fs = std::filesystem;

void EnterAssetCopy() {
    static bool s_entered = false;
    if (s_entered) {
        return;
    }
    s_entered = true;
    SDL_LogSetOutputFunction([](void*, int, SDL_LogPriority, const char*) {}, nullptr);
    std::error_code error;
    const fs::path dir = fs::temp_directory_path() / ("vormi-fuzz-" + std::to_string(getpid()));
    fs::remove_all(dir, error);
    fs::create_directories(dir, error);
    fs::copy(fs::path(VORMI_SOURCE_DIR) / "test", dir / "test", fs::copy_options::recursive, error);
    fs::remove(dir / "test/scripts/cvars.txt", error);
    FUZZ_CHECK(!error && chdir(dir.c_str()) == 0, "cannot prepare %s", dir.c_str());
    // A copy per process; removed at exit so that long runs leave nothing behind.
    static const std::string s_dir = dir.string();
    std::atexit([] {
        std::error_code ignored;
        fs::remove_all(s_dir, ignored);
    });
}

void WriteFile(const std::string& path, const uint8_t* data, size_t size) {
    std::ofstream out(path, std::ios::binary | std::ios::trunc);
    out.write(reinterpret_cast<const char*>(data), static_cast<std::streamsize>(size));
}

void StartEngine(const char* rendererName) {
    static bool s_started = false;
    if (s_started) {
        return;
    }
    s_started = true;
    EnterAssetCopy();
    SDL_setenv("SDL_VIDEODRIVER", "offscreen", 1);
    SDL_SetHint(SDL_HINT_RENDER_DRIVER, "software");
    FUZZ_CHECK(SDL_Init(SDL_INIT_VIDEO) == 0 && TTF_Init() == 0, "SDL: %s", SDL_GetError());
    g_cvars->RegisterAll(CVarDeclarationHead());
    g_cvars->ParseLine(std::string("renderer_type ") + rendererName);
    g_cvars->ParseLine("window_width 320");
    g_cvars->ParseLine("window_height 240");
    FUZZ_CHECK(Init_Video(), "no %s window", rendererName);
    g_textureMgr->Init();
    g_modelMgr->Init();
    g_inputSystem->Init();
    ForgetOutput();
}

void ForgetOutput() {
    g_consoleText.clear();
    g_commandQueue.clear();
}
