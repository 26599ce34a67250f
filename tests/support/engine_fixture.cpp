#include "support/engine_fixture.h"

#include <SDL.h>
#include <gtest/gtest.h>
#include <unistd.h>

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

static struct {
    std::function<void(int)> onFrame;
    std::function<void()> onStart;
    int frame, maxFrames;
} s_run;

EngineRunResult RunEngine(const std::function<void(int)>& onFrame, const std::function<void()>& onStart,
                          int maxFrames) {
    s_run = {onFrame, onStart, 0, maxFrames};
    const EngineHooks hooks = {[](IEngineCommon*) { if (s_run.onStart) s_run.onStart(); },
                               [](IEngineCommon*) {
                                   if (s_run.onFrame) s_run.onFrame(s_run.frame);
                                   if (++s_run.frame == s_run.maxFrames) CommandGlobal("quit");
                               },
                               nullptr};
    GetEngineCommonInterface()->SetHooks(&hooks);
    const EngineRunResult result = {EngineMain(), s_run.frame};
    const EngineHooks none = {nullptr, nullptr, nullptr};
    GetEngineCommonInterface()->SetHooks(&none);
    s_run = {};
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
