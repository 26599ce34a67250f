// The host as a child process, and the desktop driver: a private Xvfb, xdotool input, import captures.
#pragma once

#include <gtest/gtest.h>
#include <sys/types.h>

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "support/engine_fixture.h"

struct RGB {
    uint8_t r, g, b;
    bool operator==(const RGB& o) const { return r == o.r && g == o.g && b == o.b; }
};
std::string ToString(RGB c);

struct Image {
    int width = 0, height = 0;
    std::vector<uint8_t> pixels;  // RGB, row by row
    RGB At(int x, int y) const;   // black outside the image
    // Pixels of the rectangle whose r + g + b is below maxSum: the ink of dark text.
    int Dark(int x0, int y0, int w, int h, int maxSum) const;
};

// Runs a shell command (with DISPLAY set when display is not empty); returns its output.
std::string Shell(const std::string& command, int* exitCode = nullptr, const std::string& display = "");
void SleepSeconds(double seconds);

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
    ::testing::AssertionResult Shows(int x, int y, RGB want, const char* what = "") const;
    void Key(const std::string& keys) const;
    void Type(const std::string& text) const;
    // Buttons are held a few frames so per-frame sampling sees them.
    void Button(const char* upOrDown) const;
    void Click(int x, int y) const;
    // With nothing open the engine has the mouse in relative mode, where only motion counts: run into
    // the top-left corner, where SDL pins the pointer, then move by the target's coordinates.
    void PointAt(int x, int y) const;
    bool Geometry(int* w, int* h) const;

    TempWorkDir dir_;
    std::string display_;
    pid_t xvfb_ = -1;
    std::unique_ptr<VormiProcess> vormi_;
    std::string window_;
};
