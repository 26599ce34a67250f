#include "support/engine_fixture.h"

#include <SDL.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>

#include "console/command_system.h"
#include "engine/engine.h"
#include "engine/engine_common.h"

namespace fs = std::filesystem;

TempWorkDir::TempWorkDir() : oldCwd_(fs::current_path().string()) {
    std::string pattern = (fs::temp_directory_path() / "vormi-test-XXXXXX").string();
    if (!mkdtemp(pattern.data())) std::abort();
    path_ = pattern;
    fs::copy(fs::path(VORMI_SOURCE_DIR) / "test", fs::path(path_) / "test", fs::copy_options::recursive);
    std::error_code ignored;
    // What a run of vormi from the source tree leaves behind is the user's, not the test's.
    for (const char* file : {"cvars.txt", "cvars.txt.tmp", "binds.cfg", "con_history.txt", "autoexec.cfg"}) {
        fs::remove(fs::path(path_) / "test/scripts" / file, ignored);
    }
    fs::create_directories(fs::path(path_) / "test/scripts");
    fs::current_path(path_);
}

TempWorkDir::~TempWorkDir() {
    std::error_code ignored;
    fs::current_path(oldCwd_, ignored);
    fs::remove_all(path_, ignored);
}

void TempWorkDir::WriteFile(const std::string& relative, const std::string& contents) const {
    const fs::path file = fs::path(path_) / relative;
    fs::create_directories(file.parent_path());
    std::ofstream(file, std::ios::binary) << contents;
}

std::string TempWorkDir::ReadFile(const std::string& relative, bool* exists) const {
    std::ifstream in(fs::path(path_) / relative, std::ios::binary);
    if (exists) *exists = in.is_open();
    std::ostringstream text;
    if (in) text << in.rdbuf();
    return text.str();
}

static std::string s_captured;

LogCapture::LogCapture() {
    s_captured.clear();
    // SDL drops each message's final newline; put it back so the capture reads like the console.
    SDL_LogSetOutputFunction([](void*, int, SDL_LogPriority, const char* message) { (s_captured += message) += '\n'; },
                             nullptr);
}
LogCapture::~LogCapture() { SDL_LogSetOutputFunction(nullptr, nullptr); }
const std::string& LogCapture::text() const { return s_captured; }
void LogCapture::Clear() { s_captured.clear(); }

static std::function<void(int)> s_onFrame;
static std::function<void()> s_onStart;
static int s_frame = 0;
static int s_maxFrames = 0;

EngineRunResult RunEngine(const std::function<void(int)>& onFrame, const std::function<void()>& onStart,
                          int maxFrames) {
    s_onFrame = onFrame;
    s_onStart = onStart;
    s_frame = 0;
    s_maxFrames = maxFrames;
    const EngineHooks hooks = {[](IEngineCommon*) { if (s_onStart) s_onStart(); },
                               [](IEngineCommon*) {
                                   if (s_onFrame) s_onFrame(s_frame);
                                   if (++s_frame == s_maxFrames) CommandGlobal("quit");
                               },
                               nullptr};
    GetEngineCommonInterface()->SetHooks(&hooks);
    EngineRunResult result;
    result.exitCode = EngineMain();
    result.frames = s_frame;
    const EngineHooks none = {nullptr, nullptr, nullptr};
    GetEngineCommonInterface()->SetHooks(&none);
    s_onFrame = nullptr;
    s_onStart = nullptr;
    return result;
}

void ExpectInOrder(const std::string& log, const std::vector<std::string>& messages) {
    size_t at = 0;
    for (const std::string& message : messages) {
        const size_t found = log.find(message, at);
        ASSERT_NE(found, std::string::npos) << "missing or out of order: " << message << "in:\n" << log;
        at = found + 1;
    }
}
