// The host as a child process, and the desktop driver: a private Xvfb, xdotool input, import captures.
#pragma once

#include <gtest/gtest.h>
#include <sys/types.h>

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "support/engine_fixture.h"

struct RGB {
    uint8_t r, g, b;
    bool operator==(const RGB& o) const { return r == o.r && g == o.g && b == o.b; }
};
inline std::string ToString(RGB c) {
    return "(" + std::to_string(c.r) + "," + std::to_string(c.g) + "," + std::to_string(c.b) + ")";
}

struct Image {
    int width = 0, height = 0;
    std::vector<uint8_t> pixels;  // RGB, row by row
    RGB At(int x, int y) const {  // black outside the image
        if (x < 0 || y < 0 || x >= width || y >= height) return RGB{0, 0, 0};
        const uint8_t* p = &pixels[(static_cast<size_t>(y) * width + x) * 3];
        return RGB{p[0], p[1], p[2]};
    }
};
// An image file decoded by SDL_image; empty when it cannot be read.
Image ReadImage(const std::string& path);

// Runs a shell command (with DISPLAY set when display is not empty); returns its output.
std::string Shell(const std::string& command, int* exitCode = nullptr, const std::string& display = "");
void SleepSeconds(double seconds);
// Polls done until it holds or the time is up; returns its last answer.
bool WaitUntil(double seconds, const std::function<bool()>& done);

// The vormi host in workDir; display "" runs it without X. Killed if still running at destruction.
class VormiProcess {
public:
    VormiProcess(const std::string& display, const std::string& workDir, const std::vector<std::string>& args,
                 const std::vector<std::string>& extraEnv = {});
    ~VormiProcess();
    // Exit status; -1 on timeout (then killed), -2 for a signal.
    int Wait(double timeoutSeconds);
    bool Running();
    std::string output() const;

private:
    pid_t pid_ = -1;
    std::string logPath_;
    int status_ = -1;
};

// A private 1280x720 Xvfb per test; a host still running at the end is closed as a user would and
// must exit 0.
class DesktopTest : public ::testing::Test {
protected:
    void SetUp() override;
    void TearDown() override;
    void Start(const std::vector<std::string>& args, const std::string& cvars = "");
    // Closes the window as a window manager does; returns the cvars.txt saved at exit.
    std::string Close();

    std::string X(const std::string& command) const { return Shell(command, nullptr, display_); }
    Image Capture() const;
    ::testing::AssertionResult Shows(int x, int y, RGB want, const char* what) const;
    void Key(const std::string& keys) const { X(Focus() + "xdotool key --delay 80 " + keys); }
    void Type(const std::string& text) const { X(Focus() + "xdotool type --delay 60 '" + text + "'"); }
    // Buttons are held a few frames so per-frame sampling sees them.
    void Button(const char* upOrDown) const { X(std::string("xdotool mouse") + upOrDown + " 1; sleep 0.15"); }
    void Click(int x, int y) const;
    // With nothing open the mouse is relative, where only motion counts: run into the top-left
    // corner, where SDL pins the pointer, then move by the target's coordinates.
    void PointAt(int x, int y) const;

    TempWorkDir dir_;
    std::string display_;
    pid_t xvfb_ = -1;
    std::unique_ptr<VormiProcess> vormi_;
    std::string window_;

private:
    std::string Focus() const { return "xdotool windowfocus --sync " + window_ + " 2>/dev/null; "; }
};
