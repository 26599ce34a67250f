#include "support/desktop.h"

#include <fcntl.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <sstream>
#include <thread>

namespace {

using Clock = std::chrono::steady_clock;

Clock::time_point Deadline(double seconds) {
    return Clock::now() + std::chrono::duration_cast<Clock::duration>(std::chrono::duration<double>(seconds));
}

void Reap(pid_t pid, int signal) {
    kill(pid, signal);
    waitpid(pid, nullptr, 0);
}

}  // namespace

std::string ToString(RGB c) {
    return "(" + std::to_string(c.r) + "," + std::to_string(c.g) + "," + std::to_string(c.b) + ")";
}

RGB Image::At(int x, int y) const {
    if (x < 0 || y < 0 || x >= width || y >= height) {
        return RGB{0, 0, 0};
    }
    const size_t i = (static_cast<size_t>(y) * width + x) * 3;
    return RGB{pixels[i], pixels[i + 1], pixels[i + 2]};
}

int DarkPixels(const Image& image, int x0, int y0, int w, int h, int maxSum) {
    int dark = 0;
    for (int y = y0; y < y0 + h; ++y) {
        for (int x = x0; x < x0 + w; ++x) {
            const RGB c = image.At(x, y);
            dark += (c.r + c.g + c.b < maxSum) ? 1 : 0;
        }
    }
    return dark;
}

void SleepSeconds(double seconds) { std::this_thread::sleep_for(std::chrono::duration<double>(seconds)); }

XServer::XServer(int width, int height) {
    int fds[2];
    if (pipe(fds) != 0) {
        return;
    }
    const std::string screen = std::to_string(width) + "x" + std::to_string(height) + "x24";
    pid_ = fork();
    if (pid_ == 0) {
        close(fds[0]);
        const int devnull = open("/dev/null", O_WRONLY);
        dup2(devnull, 1);
        dup2(devnull, 2);
        const std::string fd = std::to_string(fds[1]);
        execlp("Xvfb", "Xvfb", "-displayfd", fd.c_str(), "-screen", "0", screen.c_str(), "-nolisten", "tcp",
               "-noreset", static_cast<char*>(nullptr));
        _exit(127);
    }
    close(fds[1]);
    // Xvfb writes the display number it picked once it accepts connections.
    std::string number;
    char c;
    while (read(fds[0], &c, 1) == 1 && c != '\n') {
        number += c;
    }
    close(fds[0]);
    if (!number.empty()) {
        display_ = ":" + number;
    }
}

XServer::~XServer() {
    if (pid_ > 0) {
        Reap(pid_, SIGTERM);
    }
}

VormiProcess::VormiProcess(const std::string& display, const std::string& workDir,
                           const std::vector<std::string>& args, const std::vector<std::string>& extraEnv) {
    char logTemplate[] = "/tmp/vormi-host-log-XXXXXX";
    const int logFd = mkstemp(logTemplate);
    logPath_ = logTemplate;
    pid_ = fork();
    if (pid_ == 0) {
        if (chdir(workDir.c_str()) != 0) {
            _exit(126);
        }
        dup2(logFd, 1);
        dup2(logFd, 2);
        display.empty() ? unsetenv("DISPLAY") : setenv("DISPLAY", display.c_str(), 1);
        unsetenv("SDL_VIDEODRIVER");
        setenv("SDL_AUDIODRIVER", "dummy", 1);
        for (const std::string& assignment : extraEnv) {
            putenv(strdup(assignment.c_str()));
        }
        std::vector<char*> argv = {const_cast<char*>(VORMI_HOST_PATH)};
        for (const std::string& arg : args) {
            argv.push_back(const_cast<char*>(arg.c_str()));
        }
        argv.push_back(nullptr);
        execv(VORMI_HOST_PATH, argv.data());
        _exit(127);
    }
    close(logFd);
}

VormiProcess::~VormiProcess() {
    if (Running()) {
        Reap(pid_, SIGKILL);
    }
    unlink(logPath_.c_str());
}

bool VormiProcess::Running() {
    if (pid_ <= 0 || status_ != -1) {
        return false;
    }
    int status = 0;
    if (waitpid(pid_, &status, WNOHANG) == 0) {
        return true;
    }
    status_ = WIFEXITED(status) ? WEXITSTATUS(status) : -2;
    return false;
}

int VormiProcess::Wait(double timeoutSeconds) {
    const Clock::time_point deadline = Deadline(timeoutSeconds);
    while (Running()) {
        if (Clock::now() > deadline) {
            Reap(pid_, SIGKILL);
            status_ = -2;
            return -1;
        }
        SleepSeconds(0.05);
    }
    return status_;
}

std::string VormiProcess::output() const {
    std::ifstream in(logPath_, std::ios::binary);
    std::ostringstream text;
    text << in.rdbuf();
    return text.str();
}

std::string Desktop::Shell(const std::string& command, int* exitCode) const {
    FILE* pipe = popen(("DISPLAY=" + display_ + " " + command).c_str(), "r");
    std::string out;
    char buffer[4096];
    size_t n;
    while (pipe && (n = fread(buffer, 1, sizeof(buffer), pipe)) > 0) {
        out.append(buffer, n);
    }
    const int status = pipe ? pclose(pipe) : -1;
    if (exitCode) {
        *exitCode = (status != -1 && WIFEXITED(status)) ? WEXITSTATUS(status) : -1;
    }
    return out;
}

unsigned long Desktop::FindWindow(const std::string& title, double timeoutSeconds) const {
    const Clock::time_point deadline = Deadline(timeoutSeconds);
    while (Clock::now() < deadline) {
        const std::string out = Shell("xdotool search --onlyvisible --name '^" + title + "$' 2>/dev/null");
        if (const unsigned long id = std::strtoul(out.c_str(), nullptr, 10)) {
            return id;
        }
        SleepSeconds(0.1);
    }
    return 0;
}

bool Desktop::WindowGeometry(unsigned long window, int* x, int* y, int* w, int* h) const {
    const std::string out = Shell("xdotool getwindowgeometry --shell " + std::to_string(window));
    return std::sscanf(out.c_str(), "WINDOW=%*u X=%d Y=%d WIDTH=%d HEIGHT=%d", x, y, w, h) == 4;
}

Image Desktop::Capture(unsigned long window) const {
    Image image;
    const std::string data = Shell("import -silent -window " + std::to_string(window) + " -depth 8 ppm:- 2>/dev/null");
    // Binary PPM: "P6\n<w> <h>\n<max>\n" then RGB bytes.
    std::istringstream header(data);
    std::string magic;
    int w = 0, h = 0, max = 0;
    header >> magic >> w >> h >> max;
    const size_t offset = static_cast<size_t>(header.tellg()) + 1;
    const size_t size = static_cast<size_t>(w) * static_cast<size_t>(h) * 3;
    if (magic != "P6" || w <= 0 || h <= 0 || max != 255 || data.size() < offset + size) {
        return image;
    }
    image.width = w;
    image.height = h;
    image.pixels.assign(data.begin() + static_cast<long>(offset), data.begin() + static_cast<long>(offset + size));
    return image;
}

RGB Desktop::WaitForPixel(unsigned long window, int x, int y, RGB want, double timeoutSeconds) const {
    const Clock::time_point deadline = Deadline(timeoutSeconds);
    RGB got = Capture(window).At(x, y);
    while (got != want && Clock::now() < deadline) {
        SleepSeconds(0.1);
        got = Capture(window).At(x, y);
    }
    return got;
}

void Desktop::Focus(unsigned long window) const {
    Shell("xdotool windowfocus --sync " + std::to_string(window) + " 2>/dev/null");
}

void Desktop::Key(unsigned long window, const std::string& keys) const {
    Focus(window);
    Shell("xdotool key --delay 80 " + keys);
}

void Desktop::Type(unsigned long window, const std::string& text) const {
    Focus(window);
    Shell("xdotool type --delay 60 '" + text + "'");
}

void Desktop::MouseMove(unsigned long window, int x, int y) const {
    Shell("xdotool mousemove --window " + std::to_string(window) + " " + std::to_string(x) + " " + std::to_string(y));
}

void Desktop::MouseMoveRelative(int dx, int dy) const {
    Shell("xdotool mousemove_relative -- " + std::to_string(dx) + " " + std::to_string(dy));
}

void Desktop::MouseDown(int button) const {
    Shell("xdotool mousedown " + std::to_string(button));
    SleepSeconds(0.15);
}

void Desktop::MouseUp(int button) const {
    Shell("xdotool mouseup " + std::to_string(button));
    SleepSeconds(0.15);
}

void Desktop::Click(unsigned long window, int x, int y) const {
    MouseMove(window, x, y);
    SleepSeconds(0.15);
    MouseDown(1);
    MouseUp(1);
}

void Desktop::ResizeWindow(unsigned long window, int w, int h) const {
    Shell("xdotool windowsize --sync " + std::to_string(window) + " " + std::to_string(w) + " " + std::to_string(h) +
          " 2>/dev/null");
}

bool Desktop::RequestClose(unsigned long window) const {
    int status = -1;
    Shell(std::string(VORMI_CLOSE_PATH) + " " + std::to_string(window), &status);
    return status == 0;
}

void DesktopTest::SetUp() {
    ASSERT_EQ(std::system("(command -v Xvfb && command -v xdotool && command -v import) >/dev/null 2>&1"), 0)
        << "Xvfb, xdotool or ImageMagick's import is missing";
    x_.reset(new XServer());
    ASSERT_TRUE(x_->ok()) << "Xvfb did not start";
    desk_.reset(new Desktop(x_->display()));
}

void DesktopTest::TearDown() {
    if (vormi_ && vormi_->Running()) {
        Close();
    }
    vormi_.reset();
    x_.reset();
}

void DesktopTest::Start(const std::vector<std::string>& args, const std::string& cvars) {
    if (!cvars.empty()) {
        dir_.WriteFile("test/scripts/cvars.txt", cvars);
    }
    vormi_.reset(new VormiProcess(x_->display(), dir_.path(), args));
    window_ = desk_->FindWindow("Vormi Engine");
    ASSERT_NE(window_, 0u) << vormi_->output();
}

std::string DesktopTest::Close() {
    EXPECT_TRUE(desk_->RequestClose(window_));
    EXPECT_EQ(vormi_->Wait(20), 0) << vormi_->output();
    return dir_.ReadFile("test/scripts/cvars.txt");
}

::testing::AssertionResult DesktopTest::Shows(int x, int y, RGB want, const char* what) const {
    const RGB got = desk_->WaitForPixel(window_, x, y, want);
    if (got == want) {
        return ::testing::AssertionSuccess();
    }
    return ::testing::AssertionFailure() << what << " at (" << x << ", " << y << "): expected " << ToString(want)
                                         << ", got " << ToString(got);
}
