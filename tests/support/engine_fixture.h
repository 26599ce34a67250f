// Temporary working directories, SDL log capture and EngineMain run in this process.
#pragma once

#include <SDL.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <functional>
#include <sstream>
#include <string>
#include <vector>

#include "console/command_system.h"
#include "engine/engine.h"
#include "engine/engine_common.h"

// A fresh copy of test/ (without what a run leaves: settings, binds, history, autoexec) as the working
// directory for the object's lifetime.
class TempWorkDir {
public:
    TempWorkDir() : oldCwd_(std::filesystem::current_path()) {
        namespace fs = std::filesystem;
        std::string pattern = (fs::temp_directory_path() / "vormi-test-XXXXXX").string();
        if (!mkdtemp(pattern.data())) std::abort();
        path_ = pattern;
        fs::copy(fs::path(VORMI_SOURCE_DIR) / "test", path_ / "test", fs::copy_options::recursive);
        for (const char* file : {"cvars.txt", "cvars.txt.tmp", "binds.cfg", "con_history.txt", "autoexec.cfg"}) {
            fs::remove(path_ / "test/scripts" / file);
        }
        fs::create_directories(path_ / "test/scripts");
        fs::current_path(path_);
    }
    ~TempWorkDir() {
        std::error_code ignored;
        std::filesystem::current_path(oldCwd_, ignored);
        std::filesystem::remove_all(path_, ignored);
    }
    TempWorkDir(const TempWorkDir&) = delete;
    TempWorkDir& operator=(const TempWorkDir&) = delete;

    std::string path() const { return path_.string(); }
    void WriteFile(const std::string& relative, const std::string& contents) const {
        std::filesystem::create_directories((path_ / relative).parent_path());
        std::ofstream(path_ / relative, std::ios::binary) << contents;
    }
    // The whole file, or "" with *exists false when it cannot be read.
    std::string ReadFile(const std::string& relative, bool* exists = nullptr) const {
        std::ifstream in(path_ / relative, std::ios::binary);
        if (exists) *exists = in.is_open();
        std::ostringstream text;
        if (in) text << in.rdbuf();
        return text.str();
    }

private:
    std::filesystem::path path_, oldCwd_;
};

// Collects every SDL log message while it lives, one line per message.
class LogCapture {
public:
    LogCapture() {
        Clear();
        // SDL drops each message's final newline; put it back so the capture reads like the console.
        SDL_LogSetOutputFunction([](void*, int, SDL_LogPriority, const char* message) { (text_ += message) += '\n'; },
                                 nullptr);
    }
    ~LogCapture() { SDL_LogSetOutputFunction(nullptr, nullptr); }
    const std::string& text() const { return text_; }
    void Clear() { text_.clear(); }

private:
    static inline std::string text_;
};

// Runs EngineMain in this process; after maxFrames frames it queues "quit" so a broken test cannot hang.
struct EngineRunResult {
    int exitCode = -1;
    int frames = 0;
};
inline EngineRunResult RunEngine(const std::function<void(int frame)>& onFrame,
                                 const std::function<void()>& onStart = nullptr, int maxFrames = 300) {
    static struct {
        std::function<void(int)> onFrame;
        std::function<void()> onStart;
        int frame, maxFrames;
    } run;
    run = {onFrame, onStart, 0, maxFrames};
    const EngineHooks hooks = {[](IEngineCommon*) { if (run.onStart) run.onStart(); },
                               [](IEngineCommon*) {
                                   if (run.onFrame) run.onFrame(run.frame);
                                   if (++run.frame == run.maxFrames) CommandGlobal("quit");
                               },
                               nullptr};
    GetEngineCommonInterface()->SetHooks(&hooks);
    const EngineRunResult result = {EngineMain(), run.frame};
    const EngineHooks none = {nullptr, nullptr, nullptr};
    GetEngineCommonInterface()->SetHooks(&none);
    run = {};
    return result;
}

// Each message must follow the one before it in the log.
inline void ExpectInOrder(const std::string& log, const std::vector<std::string>& messages) {
    size_t at = 0;
    for (const std::string& message : messages) {
        const size_t found = log.find(message, at);
        ASSERT_NE(found, std::string::npos) << "missing or out of order: " << message << "in:\n" << log;
        at = found + 1;
    }
}
