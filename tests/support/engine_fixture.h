#pragma once

#include <functional>
#include <string>
#include <vector>

// A fresh copy of test/ (without what a run leaves: settings, binds, history, autoexec) as the working
// directory for the object's lifetime.
class TempWorkDir {
public:
    TempWorkDir();
    ~TempWorkDir();
    TempWorkDir(const TempWorkDir&) = delete;
    TempWorkDir& operator=(const TempWorkDir&) = delete;

    const std::string& path() const { return path_; }
    void WriteFile(const std::string& relative, const std::string& contents) const;
    // The whole file, or "" with *exists false when it cannot be read.
    std::string ReadFile(const std::string& relative, bool* exists = nullptr) const;

private:
    std::string path_, oldCwd_;
};

// Collects every SDL log message while it lives, one line per message.
class LogCapture {
public:
    LogCapture();
    ~LogCapture();
    const std::string& text() const;
    void Clear();
};

// Runs EngineMain in this process; after maxFrames frames it queues "quit" so a broken test cannot hang.
struct EngineRunResult {
    int exitCode = -1;
    int frames = 0;
};
EngineRunResult RunEngine(const std::function<void(int frame)>& onFrame,
                          const std::function<void()>& onStart = nullptr, int maxFrames = 300);

// Each message must follow the one before it in the log.
void ExpectInOrder(const std::string& log, const std::vector<std::string>& messages);
