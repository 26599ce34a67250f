// vormi: the engine's host program. It picks the asset folder, loads libVormiEngine.so from its own
// directory or the install's library folder at run time, installs a start hook and a frame hook that
// carry out its options, and runs EngineMain.

#include <dlfcn.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <climits>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <filesystem>
#include <string>
#include <vector>

#include "console/cvar.h"
#include "engine/engine_common.h"
#include "host/asset_folder.h"
#include "host/view_file.h"

#ifndef VORMI_VERSION
#define VORMI_VERSION "0.0.0"
#endif
// Where an installed host finds the library and the assets, relative to its own folder.
#ifndef VORMI_LIBDIR_FROM_BINDIR
#define VORMI_LIBDIR_FROM_BINDIR "../lib"
#endif
#ifndef VORMI_ASSETS_FROM_BINDIR
#define VORMI_ASSETS_FROM_BINDIR "../share/vormi/test"
#endif

namespace {

const char* const kLibraryName = "libVormiEngine.so";

typedef int (*EngineMainFn)(void);
typedef IEngineCommon* (*GetEngineCommonFn)(void);
typedef void (*ConMsgFn)(const char*, ...);
typedef void (*CommandGlobalFn)(const char*);
typedef const char* (*VideoDriverFn)(void);

struct Options {
    std::string workDir;
    std::vector<std::string> execLines;
    std::vector<std::string> setLines;
    std::string viewFile;
    std::string logPath;
    long frames = 0;  // 0: run until the user quits
    bool stats = false;
};

struct Engine {
    EngineMainFn engineMain = nullptr;
    GetEngineCommonFn getEngineCommon = nullptr;
    ConMsgFn conMsg = nullptr;
    ConMsgFn sysErrorMsgBox = nullptr;
    CommandGlobalFn commandGlobal = nullptr;
    VideoDriverFn currentVideoDriver = nullptr;  // SDL's, reached through the engine's dependencies
};

Options g_options;
Engine g_engine;
long g_framesRun = 0;
bool g_quitQueued = false;
std::vector<double> g_frameMs;
std::chrono::steady_clock::time_point g_lastFrame;
bool g_haveLastFrame = false;
FILE* g_logFile = nullptr;
bool g_logAtLineStart = true;

void PrintUsage(FILE* out) {
    std::fprintf(out,
                 "Usage: vormi [options]\n"
                 "Runs the engine in a folder that holds the asset tree test/: the one given with -C,\n"
                 "else the working directory when it has test/, else a per-user folder\n"
                 "($XDG_DATA_HOME/vormi, default ~/.local/share/vormi) made from the installed assets.\n"
                 "\n"
                 "  -C DIR              run in DIR (it holds test/)\n"
                 "  --exec LINE         a console line before the first frame (repeatable): \"NAME VALUE\"\n"
                 "                      sets a variable, a bare NAME prints it, anything else is queued\n"
                 "                      as a command\n"
                 "  --set \"NAME VALUE\"  set a console variable at start (repeatable); settings read\n"
                 "                      only at start-up, such as renderer_type, apply at the next start\n"
                 "  --frames N          quit in an orderly way after N frames\n"
                 "  --view FILE         open the model viewer on FILE (any 3D format vormi-convert reads)\n"
                 "  --stats             print frame count, mean and median frame time and FPS at exit\n"
                 "  --version           print the version and exit\n"
                 "  --help              print this help and exit\n");
}

int UsageError(const char* what, const char* arg) {
    std::fprintf(stderr, "vormi: %s%s%s\n", what, arg ? ": " : "", arg ? arg : "");
    PrintUsage(stderr);
    return 2;
}

// Returns -1 to go on, or the exit status.
int ParseOptions(int argc, char** argv) {
    for (int i = 1; i < argc; ++i) {
        const std::string arg = argv[i];
        auto needValue = [&](const char* option) -> const char* {
            if (i + 1 >= argc) {
                return nullptr;
            }
            (void)option;
            return argv[++i];
        };
        if (arg == "--help" || arg == "-h") {
            PrintUsage(stdout);
            return 0;
        }
        if (arg == "--version") {
            std::printf("vormi %s\n", VORMI_VERSION);
            return 0;
        }
        if (arg == "--stats") {
            g_options.stats = true;
            continue;
        }
        if (arg == "-C" || arg == "--exec" || arg == "--set" || arg == "--frames" || arg == "--view" ||
            arg == "--log") {
            const char* value = needValue(arg.c_str());
            if (!value) {
                return UsageError("missing value for option", arg.c_str());
            }
            if (arg == "-C") {
                g_options.workDir = value;
            } else if (arg == "--exec") {
                g_options.execLines.push_back(value);
            } else if (arg == "--set") {
                g_options.setLines.push_back(value);
            } else if (arg == "--view") {
                g_options.viewFile = value;
            } else if (arg == "--log") {
                g_options.logPath = value;
            } else {
                char* end = nullptr;
                errno = 0;
                const long n = std::strtol(value, &end, 10);
                if (errno != 0 || end == value || *end != '\0' || n <= 0 || n > INT_MAX) {
                    return UsageError("--frames needs a positive whole number", value);
                }
                g_options.frames = n;
            }
            continue;
        }
        return UsageError("unknown option", arg.c_str());
    }
    return -1;
}

std::string OwnDirectory() {
    char path[PATH_MAX];
    const ssize_t n = readlink("/proc/self/exe", path, sizeof(path) - 1);
    if (n <= 0) {
        return ".";
    }
    path[n] = '\0';
    std::string dir(path);
    const size_t slash = dir.rfind('/');
    return slash == std::string::npos ? std::string(".") : dir.substr(0, slash);
}

// Beside the host in a build tree; in the install's library folder once installed.
std::string FindLibrary(const std::string& ownDir) {
    const std::string beside = ownDir + "/" + kLibraryName;
    const std::string installed =
        (std::filesystem::path(ownDir) / VORMI_LIBDIR_FROM_BINDIR / kLibraryName).lexically_normal().string();
    if (access(beside.c_str(), F_OK) != 0 && access(installed.c_str(), F_OK) == 0) {
        return installed;
    }
    return beside;
}

bool LoadEngine(const std::string& libraryPath) {
    void* library = dlopen(libraryPath.c_str(), RTLD_NOW | RTLD_LOCAL);
    if (!library) {
        std::fprintf(stderr, "vormi: cannot load %s: %s\n", libraryPath.c_str(), dlerror());
        return false;
    }
    struct Export {
        const char* name;
        void** slot;
    } exports[] = {
        {"EngineMain", reinterpret_cast<void**>(&g_engine.engineMain)},
        {"GetEngineCommonInterface", reinterpret_cast<void**>(&g_engine.getEngineCommon)},
        {"ConMsg", reinterpret_cast<void**>(&g_engine.conMsg)},
        {"SysErrorMsgBox", reinterpret_cast<void**>(&g_engine.sysErrorMsgBox)},
        {"CommandGlobal", reinterpret_cast<void**>(&g_engine.commandGlobal)},
    };
    for (const Export& e : exports) {
        dlerror();
        *e.slot = dlsym(library, e.name);
        if (!*e.slot) {
            std::fprintf(stderr, "vormi: cannot load %s: it does not export %s\n", libraryPath.c_str(), e.name);
            return false;
        }
    }
    g_engine.currentVideoDriver = reinterpret_cast<VideoDriverFn>(dlsym(library, "SDL_GetCurrentVideoDriver"));
    return true;
}

// Without a display SDL falls back to a driver whose window nobody sees; said once, so a run that
// seems to hang explains itself.
void WarnInvisibleDriver() {
    const char* asked = std::getenv("SDL_VIDEODRIVER");
    const char* driver = g_engine.currentVideoDriver ? g_engine.currentVideoDriver() : nullptr;
    if ((asked && *asked) || !driver || (std::strcmp(driver, "offscreen") != 0 && std::strcmp(driver, "dummy") != 0)) {
        return;
    }
    std::fprintf(stderr,
                 "vormi: no display: SDL picked its \"%s\" video driver, whose window cannot be seen; "
                 "run with a display, or pass --frames N to end after N frames\n",
                 driver);
}

// The console's grammar, except that a bare variable name prints the value instead of emptying it.
void RunExecOption(ICVarInterface* cvars, const std::string& line) {
    static const char* const kBlanks = " \t";
    const size_t start = line.find_first_not_of(kBlanks);
    const size_t end = start == std::string::npos ? start : line.find_first_of(kBlanks, start);
    const std::string name = start == std::string::npos ? std::string() : line.substr(start, end - start);
    CVar* var = cvars && !name.empty() ? cvars->Find(name) : nullptr;
    if (!var) {
        g_engine.commandGlobal(line.c_str());
        return;
    }
    if (end == std::string::npos || line.find_first_not_of(kBlanks, end) == std::string::npos) {
        g_engine.conMsg("%s: \"%s\"\n", var->name.c_str(), var->master->value.c_str());
        return;
    }
    cvars->ParseLine(line);
}

void StartHook(IEngineCommon* common) {
    WarnInvisibleDriver();
    ICVarInterface* execCvars = static_cast<ICVarInterface*>(common->Find("CVarV1"));
    for (const std::string& line : g_options.execLines) {
        RunExecOption(execCvars, line);
    }
    if (g_options.setLines.empty()) {
        return;
    }
    ICVarInterface* cvars = static_cast<ICVarInterface*>(common->Find("CVarV1"));
    for (const std::string& line : g_options.setLines) {
        if (!cvars) {
            g_engine.conMsg("vormi: --set %s: the console variable store is unavailable\n", line.c_str());
            continue;
        }
        if (!cvars->ParseLine(line)) {
            const size_t start = line.find_first_not_of(" \t");
            const std::string name = start == std::string::npos ? std::string()
                                                                : line.substr(start, line.find_first_of(" \t", start) - start);
            g_engine.conMsg("vormi: --set: unknown console variable '%s'\n", name.c_str());
        }
    }
}

// Each line starts with the local time to the millisecond; a text may end in the middle of a line.
void LogConsoleText(const char* text) {
    for (const char* p = text; *p; ++p) {
        if (g_logAtLineStart) {
            const auto now = std::chrono::system_clock::now();
            const std::time_t seconds = std::chrono::system_clock::to_time_t(now);
            const long ms = static_cast<long>(
                std::chrono::duration_cast<std::chrono::milliseconds>(now.time_since_epoch()).count() % 1000);
            std::tm local = {};
            localtime_r(&seconds, &local);
            char stamp[32];
            std::strftime(stamp, sizeof(stamp), "%Y-%m-%d %H:%M:%S", &local);
            std::fprintf(g_logFile, "[%s.%03ld] ", stamp, ms);
            g_logAtLineStart = false;
        }
        std::fputc(*p, g_logFile);
        if (*p == '\n') {
            g_logAtLineStart = true;
        }
    }
    std::fflush(g_logFile);
}

void FrameHook(IEngineCommon*) {
    ++g_framesRun;
    if (g_options.stats) {
        const auto now = std::chrono::steady_clock::now();
        if (g_haveLastFrame) {
            g_frameMs.push_back(std::chrono::duration<double, std::milli>(now - g_lastFrame).count());
        }
        g_lastFrame = now;
        g_haveLastFrame = true;
    }
    if (g_options.frames > 0 && g_framesRun >= g_options.frames && !g_quitQueued) {
        g_engine.commandGlobal("quit");
        g_quitQueued = true;
    }
}

void PrintStats() {
    if (g_frameMs.empty()) {
        std::printf("stats: frames=%ld (too few to time)\n", g_framesRun);
        return;
    }
    double sum = 0.0;
    for (double ms : g_frameMs) {
        sum += ms;
    }
    const double mean = sum / static_cast<double>(g_frameMs.size());
    std::vector<double> sorted = g_frameMs;
    std::sort(sorted.begin(), sorted.end());
    const size_t mid = sorted.size() / 2;
    const double median = sorted.size() % 2 ? sorted[mid] : (sorted[mid - 1] + sorted[mid]) / 2.0;
    std::printf("stats: frames=%ld mean_ms=%.3f median_ms=%.3f fps=%.1f\n", g_framesRun, mean, median,
                mean > 0.0 ? 1000.0 / mean : 0.0);
}

}  // namespace

int main(int argc, char** argv) {
    const int parsed = ParseOptions(argc, argv);
    if (parsed >= 0) {
        return parsed;
    }
    // Opened before -C, so a relative path names a file where vormi was started.
    if (!g_options.logPath.empty()) {
        g_logFile = std::fopen(g_options.logPath.c_str(), "a");
        if (!g_logFile) {
            std::fprintf(stderr, "vormi: cannot open %s: %s\n", g_options.logPath.c_str(), std::strerror(errno));
            return 2;
        }
    }
    const std::string ownDir = OwnDirectory();
    const std::string libraryPath = FindLibrary(ownDir);
    // The file is named relative to where vormi was started, not to the asset folder.
    std::string viewFile;
    if (!g_options.viewFile.empty()) {
        char resolved[PATH_MAX];
        if (!realpath(g_options.viewFile.c_str(), resolved)) {
            std::fprintf(stderr, "vormi: --view %s: %s\n", g_options.viewFile.c_str(), std::strerror(errno));
            return 1;
        }
        viewFile = resolved;
    }
    const AssetFolder assets = ChooseAssetFolder(g_options.workDir, ownDir + "/" + VORMI_ASSETS_FROM_BINDIR);
    if (!assets.error.empty()) {
        std::fprintf(stderr, "%s\n", assets.error.c_str());
        return 2;
    }
    if (chdir(assets.path.c_str()) != 0) {
        std::fprintf(stderr, "vormi: cannot change to %s: %s\n", assets.path.c_str(), std::strerror(errno));
        return 2;
    }
    const std::string missing = CheckAssets();
    if (!missing.empty()) {
        std::fprintf(stderr, "%s\n", missing.c_str());
        return 2;
    }
    if (!assets.note.empty()) {
        std::fprintf(stderr, "%s\n", assets.note.c_str());
    }
    if (!viewFile.empty()) {
        std::string modelName;
        std::atexit(CleanUpView);
        if (!PrepareView(viewFile, ownDir, modelName)) {
            return 1;
        }
        g_options.execLines.insert(g_options.execLines.begin(), "view_model \"" + modelName + "\"");
    }
    if (!LoadEngine(libraryPath)) {
        return 2;
    }
    if (g_logFile) {
        g_engine.getEngineCommon()->AddConsoleListener(LogConsoleText);
    }
    if (g_options.stats) {
        g_frameMs.reserve(1 << 16);
    }
    const EngineHooks hooks = {StartHook, FrameHook, nullptr};
    g_engine.getEngineCommon()->SetHooks(&hooks);
    const int result = g_engine.engineMain();
    if (g_logFile) {
        g_engine.getEngineCommon()->RemoveConsoleListener(LogConsoleText);
        if (!g_logAtLineStart) {
            std::fputc('\n', g_logFile);
        }
        std::fclose(g_logFile);
    }
    if (g_options.stats) {
        PrintStats();
    }
    return result;
}
