// A driver for desktop tests: a private Xvfb server, the vormi host started in a temporary working
// directory, xdotool for finding the window and typing and clicking into it, ImageMagick's import for
// capturing it, and a WM_DELETE_WINDOW close request as a window manager would send it.
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
    bool operator!=(const RGB& o) const { return !(*this == o); }
};
std::string ToString(RGB c);

struct Image {
    int width = 0;
    int height = 0;
    std::vector<uint8_t> pixels;  // RGB, row by row
    RGB At(int x, int y) const;   // black outside the image
    bool empty() const { return width == 0; }
};

// Pixels of the rectangle whose r + g + b is below maxSum: the ink of dark text.
int DarkPixels(const Image& image, int x0, int y0, int w, int h, int maxSum);

class XServer {
public:
    // Starts Xvfb on a free display with one screen of the given size (24-bit).
    XServer(int width = 1280, int height = 720);
    ~XServer();
    XServer(const XServer&) = delete;
    XServer& operator=(const XServer&) = delete;
    bool ok() const { return !display_.empty(); }
    const std::string& display() const { return display_; }

private:
    pid_t pid_ = -1;
    std::string display_;
};

class VormiProcess {
public:
    // Starts the host with the arguments, in workDir, on the given display ("" for none); output goes
    // to a file that output() reads.
    VormiProcess(const std::string& display, const std::string& workDir, const std::vector<std::string>& args,
                 const std::vector<std::string>& extraEnv = {});
    ~VormiProcess();
    VormiProcess(const VormiProcess&) = delete;
    VormiProcess& operator=(const VormiProcess&) = delete;

    // Exit status once it ended within the timeout; -1 if it is still running (then it is killed), -2 for
    // a signal.
    int Wait(double timeoutSeconds);
    bool Running();
    std::string output() const;

private:
    pid_t pid_ = -1;
    std::string logPath_;
    int status_ = -1;
};

class Desktop {
public:
    explicit Desktop(const std::string& display) : display_(display) {}

    // Runs a shell command with DISPLAY set; returns its standard output.
    std::string Shell(const std::string& command, int* exitCode = nullptr) const;
    // The id of the window with exactly this title, waiting for it to be mapped; 0 on timeout.
    unsigned long FindWindow(const std::string& title, double timeoutSeconds = 20.0) const;
    bool WindowGeometry(unsigned long window, int* x, int* y, int* w, int* h) const;
    // Captures the window's contents.
    Image Capture(unsigned long window) const;
    // Waits until the pixel at (x, y) of the window has the colour; returns the last capture's colour.
    RGB WaitForPixel(unsigned long window, int x, int y, RGB want, double timeoutSeconds = 10.0) const;
    // Keyboard focus, keys by X keysym name ("Escape", "grave", "Return").
    void Focus(unsigned long window) const;
    void Key(unsigned long window, const std::string& keys) const;
    void Type(unsigned long window, const std::string& text) const;
    // Mouse in window coordinates; buttons are held for a few frames so the once-per-frame sampling sees them.
    void MouseMove(unsigned long window, int x, int y) const;
    void MouseMoveRelative(int dx, int dy) const;
    void MouseDown(int button = 1) const;
    void MouseUp(int button = 1) const;
    void Click(unsigned long window, int x, int y) const;
    void ResizeWindow(unsigned long window, int w, int h) const;
    // Sends WM_PROTOCOLS / WM_DELETE_WINDOW, as a window manager's close button does.
    bool RequestClose(unsigned long window) const;

private:
    std::string display_;
};

// Sleeps for the given seconds.
void SleepSeconds(double seconds);

// True when the tools the desktop tests need (Xvfb, xdotool, import) are installed.
bool DesktopToolsAvailable();

// A desktop test on a private 1280x720 X server; a host still running at the end is closed as a user
// would close it and must exit 0.
class DesktopTest : public ::testing::Test {
protected:
    void SetUp() override;
    void TearDown() override;
    // Writes cvars.txt when given, starts the host and finds its window.
    void Start(const std::vector<std::string>& args, const std::string& cvars = "");
    // Closes the window and expects an orderly exit; returns the settings file it saved.
    std::string Close();
    // Waits for the colour at (x, y); the message names the place, the wanted and the last colour.
    ::testing::AssertionResult Shows(int x, int y, RGB want, const char* what = "") const;

    TempWorkDir dir_;
    std::unique_ptr<XServer> x_;
    std::unique_ptr<Desktop> desk_;
    std::unique_ptr<VormiProcess> vormi_;
    unsigned long window_ = 0;
};
