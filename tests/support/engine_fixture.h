// Helpers for tests that run the engine: a temporary working directory holding a copy of the asset
// tree, a capture of everything SDL logs, and a driver for EngineMain through the host hooks.
#pragma once

#include <functional>
#include <string>

// Creates a fresh directory with a copy of the repository's test/ (without any cvars.txt), makes it
// the working directory, and restores the old one and removes the copy when destroyed.
class TempWorkDir {
public:
    TempWorkDir();
    ~TempWorkDir();
    TempWorkDir(const TempWorkDir&) = delete;
    TempWorkDir& operator=(const TempWorkDir&) = delete;

    const std::string& path() const { return path_; }
    // Writes a file relative to the directory, creating parent folders.
    void WriteFile(const std::string& relative, const std::string& contents) const;
    // The whole file, or "" with *exists false when it cannot be read.
    std::string ReadFile(const std::string& relative, bool* exists = nullptr) const;

private:
    std::string path_;
    std::string oldCwd_;
};

// Collects every SDL log message while it lives, one line per message.
class LogCapture {
public:
    LogCapture();
    ~LogCapture();
    const std::string& text() const;
    void Clear();
};

// Runs EngineMain in this process. onFrame is called from the host frame hook with the 0-based frame
// number; onStart from the start hook. A run that has not quit after maxFrames frames queues "quit", so
// a broken test cannot hang.
struct EngineRunResult {
    int exitCode = -1;
    int frames = 0;
};
EngineRunResult RunEngine(const std::function<void(int frame)>& onFrame,
                          const std::function<void()>& onStart = nullptr, int maxFrames = 300);

// Position of needle in haystack at or after from, or npos; for checking the order of messages.
size_t FindAfter(const std::string& haystack, const std::string& needle, size_t from);
