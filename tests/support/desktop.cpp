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

using Clock = std::chrono::steady_clock;

static Clock::time_point Deadline(double seconds) {
    return Clock::now() + std::chrono::duration_cast<Clock::duration>(std::chrono::duration<double>(seconds));
}

static void Reap(pid_t pid, int signal) {
    kill(pid, signal);
    waitpid(pid, nullptr, 0);
}

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

int Image::Dark(int x0, int y0, int w, int h, int maxSum) const {
    int dark = 0;
    for (int y = y0; y < y0 + h; ++y) {
        for (int x = x0; x < x0 + w; ++x) {
            dark += (At(x, y).r + At(x, y).g + At(x, y).b < maxSum) ? 1 : 0;
        }
    }
    return dark;
}

void SleepSeconds(double seconds) { std::this_thread::sleep_for(std::chrono::duration<double>(seconds)); }

std::string Shell(const std::string& command, int* exitCode, const std::string& display) {
    FILE* pipe = popen(((display.empty() ? "" : "export DISPLAY=" + display + "; ") + command).c_str(), "r");
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
    int status = 0;
    if (pid_ <= 0 || status_ != -1 || waitpid(pid_, &status, WNOHANG) == 0) {
        return pid_ > 0 && status_ == -1;
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

void DesktopTest::SetUp() {
    ASSERT_EQ(std::system("(command -v Xvfb && command -v xdotool && command -v import) >/dev/null 2>&1"), 0)
        << "Xvfb, xdotool or ImageMagick's import is missing";
    int fds[2];
    ASSERT_EQ(pipe(fds), 0);
    xvfb_ = fork();
    if (xvfb_ == 0) {
        close(fds[0]);
        const int devnull = open("/dev/null", O_WRONLY);
        dup2(devnull, 1);
        dup2(devnull, 2);
        execlp("Xvfb", "Xvfb", "-displayfd", std::to_string(fds[1]).c_str(), "-screen", "0", "1280x720x24",
               "-nolisten", "tcp", "-noreset", static_cast<char*>(nullptr));
        _exit(127);
    }
    close(fds[1]);
    // Xvfb writes the display number it picked once it accepts connections.
    char c;
    while (read(fds[0], &c, 1) == 1 && c != '\n') {
        display_ += c;
    }
    close(fds[0]);
    ASSERT_FALSE(display_.empty()) << "Xvfb did not start";
    display_ = ":" + display_;
}

void DesktopTest::TearDown() {
    if (vormi_ && vormi_->Running()) {
        Close();
    }
    vormi_.reset();
    if (xvfb_ > 0) {
        Reap(xvfb_, SIGTERM);
    }
}

void DesktopTest::Start(const std::vector<std::string>& args, const std::string& cvars) {
    if (!cvars.empty()) {
        dir_.WriteFile("test/scripts/cvars.txt", cvars);
    }
    vormi_.reset(new VormiProcess(display_, dir_.path(), args));
    const Clock::time_point deadline = Deadline(20);
    while (window_.empty() && Clock::now() < deadline) {
        const std::string id = X("xdotool search --onlyvisible --name '^Vormi Engine$' 2>/dev/null");
        window_ = id.substr(0, id.find('\n'));
        SleepSeconds(window_.empty() ? 0.1 : 0.0);
    }
    ASSERT_FALSE(window_.empty()) << vormi_->output();
}

std::string DesktopTest::Close() {
    int status = -1;
    Shell(std::string(VORMI_CLOSE_PATH) + " " + window_, &status, display_);
    EXPECT_EQ(status, 0);
    EXPECT_EQ(vormi_->Wait(20), 0) << vormi_->output();
    return dir_.ReadFile("test/scripts/cvars.txt");
}

Image DesktopTest::Capture() const {
    Image image;
    const std::string data = X("timeout 10 import -silent -window " + window_ + " -depth 8 ppm:- 2>/dev/null");
    // Binary PPM: "P6\n<w> <h>\n<max>\n" then RGB bytes.
    std::istringstream header(data);
    std::string magic;
    int w = 0, h = 0, max = 0;
    header >> magic >> w >> h >> max;
    const size_t offset = static_cast<size_t>(header.tellg()) + 1;
    const size_t size = static_cast<size_t>(w) * static_cast<size_t>(h) * 3;
    if (magic == "P6" && w > 0 && h > 0 && max == 255 && data.size() >= offset + size) {
        image.width = w;
        image.height = h;
        image.pixels.assign(data.begin() + static_cast<long>(offset), data.begin() + static_cast<long>(offset + size));
    }
    return image;
}

::testing::AssertionResult DesktopTest::Shows(int x, int y, RGB want, const char* what) const {
    const Clock::time_point deadline = Deadline(10);
    RGB got = Capture().At(x, y);
    while (!(got == want) && Clock::now() < deadline) {
        SleepSeconds(0.1);
        got = Capture().At(x, y);
    }
    if (got == want) {
        return ::testing::AssertionSuccess();
    }
    return ::testing::AssertionFailure() << what << " at (" << x << ", " << y << "): expected " << ToString(want)
                                         << ", got " << ToString(got);
}

void DesktopTest::Key(const std::string& keys) const {
    X("xdotool windowfocus --sync " + window_ + " 2>/dev/null; xdotool key --delay 80 " + keys);
}

void DesktopTest::Type(const std::string& text) const {
    X("xdotool windowfocus --sync " + window_ + " 2>/dev/null; xdotool type --delay 60 '" + text + "'");
}

void DesktopTest::Button(const char* upOrDown) const {
    X(std::string("xdotool mouse") + upOrDown + " 1");
    SleepSeconds(0.15);
}

void DesktopTest::Click(int x, int y) const {
    X("xdotool mousemove --window " + window_ + " " + std::to_string(x) + " " + std::to_string(y));
    SleepSeconds(0.15);
    Button("down");
    Button("up");
}

void DesktopTest::PointAt(int x, int y) const {
    X("xdotool mousemove_relative -- -5000 -5000");
    SleepSeconds(0.1);
    X("xdotool mousemove_relative -- " + std::to_string(x) + " " + std::to_string(y));
    SleepSeconds(0.15);
}

bool DesktopTest::Geometry(int* w, int* h) const {
    const std::string out = X("xdotool getwindowgeometry --shell " + window_);
    return std::sscanf(out.c_str(), "WINDOW=%*u X=%*d Y=%*d WIDTH=%d HEIGHT=%d", w, h) == 2;
}
