// The smallest host: load the library at run time, resolve its C exports, install hooks, run it.
// Links nothing of the engine; the headers only describe the registry's interfaces.
#include <dlfcn.h>

#include <cstdio>
#include <cstdlib>

#include "console/cvar.h"          // ICVarInterface, CVar
#include "engine/engine_common.h"  // IEngineCommon, EngineHooks

static void OnStart(IEngineCommon* common) {
    auto* cvars = static_cast<ICVarInterface*>(common->Find("CVarV1"));
    if (cvars) {
        cvars->ParseLine("frame_delay 0");
    }
}

static int s_frames = 0;
static int s_frameLimit = 0;  // 0: run until the user quits
static void (*s_commandGlobal)(const char*) = nullptr;

// Once per frame, after the frame was shown and the command queue ran.
static void OnFrame(IEngineCommon*) {
    if (++s_frames == s_frameLimit) {
        s_commandGlobal("quit");
    }
}

// Resolves one export, or says which one is missing and why.
static void* Symbol(void* lib, const char* name) {
    void* symbol = dlsym(lib, name);
    if (!symbol) {
        std::fprintf(stderr, "minimal_host: %s: %s\n", name, dlerror());
    }
    return symbol;
}

// minimal_host [LIBRARY [FRAMES]]
int main(int argc, char** argv) {
    const char* path = argc > 1 ? argv[1] : "libVormiEngine.so";  // a bare name searches the system
    s_frameLimit = argc > 2 ? std::atoi(argv[2]) : 0;
    void* lib = dlopen(path, RTLD_NOW);
    if (!lib) {
        std::fprintf(stderr, "minimal_host: %s\n", dlerror());
        return 2;
    }
    auto engineMain = reinterpret_cast<int (*)()>(Symbol(lib, "EngineMain"));
    auto getCommon = reinterpret_cast<IEngineCommon* (*)()>(Symbol(lib, "GetEngineCommonInterface"));
    s_commandGlobal = reinterpret_cast<void (*)(const char*)>(Symbol(lib, "CommandGlobal"));
    if (!engineMain || !getCommon || !s_commandGlobal) {
        return 2;
    }
    EngineHooks hooks = {OnStart, OnFrame, nullptr};
    getCommon()->SetHooks(&hooks);  // before EngineMain
    s_commandGlobal("fps");          // queued; runs at the end of the first frame
    return engineMain();             // 0 after a normal quit, 1 when start-up failed
}
