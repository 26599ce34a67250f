// The host as a child process, and the desktop driver: a private Xvfb, xdotool input, import captures.
#pragma once

#include <SDL_image.h>
#include <fcntl.h>
#include <signal.h>
#include <sys/wait.h>

#include <chrono>
#include <cstdint>
#include <cstring>
#include <memory>
#include <thread>

#include "support/offscreen.h"

// An image file decoded by SDL_image; empty when it cannot be read.
inline Frame ReadImage(const std::string& path) {
    Frame image;
    SDL_Surface* loaded = IMG_Load(path.c_str());
    SDL_Surface* rgba = loaded ? SDL_ConvertSurfaceFormat(loaded, SDL_PIXELFORMAT_RGBA32, 0) : nullptr;
    SDL_FreeSurface(loaded);
    if (!rgba) return image;
    image.width = rgba->w;
    for (int y = 0; y < rgba->h; ++y) {
        const auto* row = static_cast<const Color*>(rgba->pixels) + static_cast<size_t>(y) * rgba->pitch / 4;
        image.pixels.insert(image.pixels.end(), row, row + rgba->w);
    }
    SDL_FreeSurface(rgba);
    return image;
}

// Runs a shell command (with DISPLAY set when display is not empty); returns its output.
inline std::string Shell(const std::string& command, int* exitCode = nullptr, const std::string& display = "") {
    FILE* pipe = popen(((display.empty() ? "" : "export DISPLAY=" + display + "; ") + command).c_str(), "r");
    std::string out;
    char buffer[4096];
    for (size_t n; pipe && (n = fread(buffer, 1, sizeof(buffer), pipe)) > 0;) out.append(buffer, n);
    const int status = pipe ? pclose(pipe) : -1;
    if (exitCode) *exitCode = (status != -1 && WIFEXITED(status)) ? WEXITSTATUS(status) : -1;
    return out;
}

inline void SleepSeconds(double seconds) { std::this_thread::sleep_for(std::chrono::duration<double>(seconds)); }

// Polls done until it holds or the time is up; returns its last answer.
inline bool WaitUntil(double seconds, const std::function<bool()>& done) {
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::duration<double>(seconds);
    while (!done()) {
        if (std::chrono::steady_clock::now() > deadline) return false;
        SleepSeconds(0.1);
    }
    return true;
}

// Runs argv in a child whose stdout and stderr go to outFd, after prepare() has run in the child.
inline pid_t SpawnChild(std::vector<std::string> argv, int outFd, const std::function<void()>& prepare) {
    std::vector<char*> args;
    for (std::string& arg : argv) args.push_back(arg.data());
    args.push_back(nullptr);
    const pid_t pid = fork();
    if (pid == 0) {
        dup2(outFd, 1);
        dup2(outFd, 2);
        prepare();
        execvp(args[0], args.data());
        _exit(127);
    }
    return pid;
}

inline void ReapChild(pid_t pid, int signal) {
    kill(pid, signal);
    waitpid(pid, nullptr, 0);
}

// The vormi host in workDir; display "" runs it without X. Killed if still running at destruction.
class VormiProcess {
public:
    VormiProcess(const std::string& display, const std::string& workDir, const std::vector<std::string>& args,
                 const std::vector<std::string>& extraEnv = {}) {
        char logTemplate[] = "/tmp/vormi-host-log-XXXXXX";
        const int logFd = mkstemp(logTemplate);
        logPath_ = logTemplate;
        std::vector<std::string> argv = {VORMI_HOST_PATH};
        argv.insert(argv.end(), args.begin(), args.end());
        pid_ = SpawnChild(argv, logFd, [&] {
            if (chdir(workDir.c_str()) != 0) _exit(126);
            display.empty() ? unsetenv("DISPLAY") : setenv("DISPLAY", display.c_str(), 1);
            unsetenv("SDL_VIDEODRIVER");
            setenv("SDL_AUDIODRIVER", "dummy", 1);
            for (const std::string& assignment : extraEnv) putenv(strdup(assignment.c_str()));
        });
        close(logFd);
    }
    ~VormiProcess() {
        if (Running()) ReapChild(pid_, SIGKILL);
        unlink(logPath_.c_str());
    }
    // Exit status; -1 on timeout (then killed), -2 for a signal.
    int Wait(double timeoutSeconds) {
        if (WaitUntil(timeoutSeconds, [&] { return !Running(); })) return status_;
        ReapChild(pid_, SIGKILL);
        status_ = -2;
        return -1;
    }
    bool Running() {
        int status = 0;
        if (pid_ > 0 && status_ == -1 && waitpid(pid_, &status, WNOHANG) != 0) {
            status_ = WIFEXITED(status) ? WEXITSTATUS(status) : -2;
        }
        return pid_ > 0 && status_ == -1;
    }
    std::string output() const {
        std::ostringstream text;
        text << std::ifstream(logPath_, std::ios::binary).rdbuf();
        return text.str();
    }

private:
    pid_t pid_ = -1;
    std::string logPath_;
    int status_ = -1;
};

// A private 1280x720 Xvfb per test; a host still running at the end is closed as a user would and
// must exit 0.
class DesktopTest : public ::testing::Test {
protected:
    void SetUp() override {
        int fds[2];
        ASSERT_EQ(pipe(fds), 0);
        const int devnull = open("/dev/null", O_WRONLY);
        xvfb_ = SpawnChild({"Xvfb", "-displayfd", std::to_string(fds[1]), "-screen", "0", "1280x720x24", "-nolisten",
                            "tcp", "-noreset"},
                           devnull, [&] { close(fds[0]); });
        close(devnull);
        close(fds[1]);
        // Xvfb writes the display number it picked once it accepts connections.
        for (char c; read(fds[0], &c, 1) == 1 && c != '\n';) display_ += c;
        close(fds[0]);
        ASSERT_FALSE(display_.empty()) << "Xvfb did not start (deps.sh installs it with xdotool and ImageMagick)";
        display_ = ":" + display_;
    }
    void TearDown() override {
        if (vormi_ && vormi_->Running()) Close();
        vormi_.reset();
        if (xvfb_ > 0) ReapChild(xvfb_, SIGTERM);
    }
    void Start(const std::vector<std::string>& args, const std::string& cvars = "") {
        if (!cvars.empty()) dir_.WriteFile("test/scripts/cvars.txt", cvars);
        vormi_.reset(new VormiProcess(display_, dir_.path(), args));
        WaitUntil(20, [&] {
            const std::string id = X("xdotool search --onlyvisible --name '^Vormi Engine$' 2>/dev/null");
            return !(window_ = id.substr(0, id.find('\n'))).empty();
        });
        ASSERT_FALSE(window_.empty()) << vormi_->output();
    }
    // Closes the window as a window manager does; returns the cvars.txt saved at exit.
    std::string Close() {
        int status = -1;
        Shell(std::string(VORMI_CLOSE_PATH) + " " + window_, &status, display_);
        EXPECT_EQ(status, 0);
        EXPECT_EQ(vormi_->Wait(20), 0) << vormi_->output();
        return dir_.ReadFile("test/scripts/cvars.txt");
    }

    std::string X(const std::string& command) const { return Shell(command, nullptr, display_); }
    Frame Capture() const {
        const std::string file = dir_.path() + "/capture.png";
        X("rm -f " + file + "; timeout 10 import -silent -window " + window_ + " -depth 8 png:" + file +
          " 2>/dev/null");
        return ReadImage(file);
    }
    ::testing::AssertionResult Shows(int x, int y, Color want, const char* what) const {
        Color got{};
        if (WaitUntil(10, [&] { return SameColor(got = Capture().At(x, y), want); })) return SameColor(got, want);
        return ::testing::AssertionFailure() << what << " at (" << x << ", " << y << "): "
                                             << SameColor(got, want).message();
    }
    void Key(const std::string& keys) const { X(Focus() + "xdotool key --delay 80 " + keys); }
    void Type(const std::string& text) const { X(Focus() + "xdotool type --delay 60 '" + text + "'"); }
    // Buttons are held a few frames so per-frame sampling sees them.
    void Button(const char* upOrDown) const { X(std::string("xdotool mouse") + upOrDown + " 1; sleep 0.15"); }
    void MoveTo(int x, int y) const {
        X("xdotool mousemove --window " + window_ + " " + std::to_string(x) + " " + std::to_string(y));
        SleepSeconds(0.15);
    }
    void Click(int x, int y) const {
        MoveTo(x, y);
        Button("down");
        Button("up");
    }
    // With nothing open the mouse is relative, where only motion counts: run into the top-left
    // corner, where SDL pins the pointer, then move by the target's coordinates.
    void PointAt(int x, int y) const {
        X("xdotool mousemove_relative -- -5000 -5000; sleep 0.1; xdotool mousemove_relative -- " + std::to_string(x) +
          " " + std::to_string(y) + "; sleep 0.15");
    }

    TempWorkDir dir_;
    std::string display_;
    pid_t xvfb_ = -1;
    std::unique_ptr<VormiProcess> vormi_;
    std::string window_;

private:
    std::string Focus() const { return "xdotool windowfocus --sync " + window_ + " 2>/dev/null; "; }
};
