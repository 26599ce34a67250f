// Desktop test driver: private Xvfb, the host in a temporary folder, xdotool input, import captures.
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
    // display "" runs without X; output() reads what the host printed.
    VormiProcess(const std::string& display, const std::string& workDir, const std::vector<std::string>& args,
                 const std::vector<std::string>& extraEnv = {});
    ~VormiProcess();
    VormiProcess(const VormiProcess&) = delete;
    VormiProcess& operator=(const VormiProcess&) = delete;

    // Exit status; -1 on timeout (then killed), -2 for a signal.
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

    std::string Shell(const std::string& command, int* exitCode = nullptr) const;
    // The id of the window with exactly this title, waiting for it to be mapped; 0 on timeout.
    unsigned long FindWindow(const std::string& title, double timeoutSeconds = 20.0) const;
    bool WindowGeometry(unsigned long window, int* x, int* y, int* w, int* h) const;
    Image Capture(unsigned long window) const;
    // Returns the last colour seen while waiting for want.
    RGB WaitForPixel(unsigned long window, int x, int y, RGB want, double timeoutSeconds = 10.0) const;
    void Focus(unsigned long window) const;
    void Key(unsigned long window, const std::string& keys) const;
    void Type(unsigned long window, const std::string& text) const;
    // Buttons are held a few frames so per-frame sampling sees them.
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

void SleepSeconds(double seconds);

// A host still running at the end is closed as a user would and must exit 0.
class DesktopTest : public ::testing::Test {
protected:
    void SetUp() override;
    void TearDown() override;
    void Start(const std::vector<std::string>& args, const std::string& cvars = "");
    // Returns the cvars.txt saved at exit.
    std::string Close();
    ::testing::AssertionResult Shows(int x, int y, RGB want, const char* what = "") const;

    TempWorkDir dir_;
    std::unique_ptr<XServer> x_;
    std::unique_ptr<Desktop> desk_;
    std::unique_ptr<VormiProcess> vormi_;
    unsigned long window_ = 0;
};
