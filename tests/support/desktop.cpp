#include "support/desktop.h"

#include <SDL.h>
#include <SDL_image.h>
#include <fcntl.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <sstream>
#include <thread>

static void Reap(pid_t pid, int signal) {
    kill(pid, signal);
    waitpid(pid, nullptr, 0);
}

// Runs argv in a child whose stdout and stderr go to outFd, after prepare() has run in the child.
static pid_t Spawn(std::vector<std::string> argv, int outFd, const std::function<void()>& prepare) {
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

Image ReadImage(const std::string& path) {
    Image image;
    SDL_Surface* loaded = IMG_Load(path.c_str());
    SDL_Surface* rgb = loaded ? SDL_ConvertSurfaceFormat(loaded, SDL_PIXELFORMAT_RGB24, 0) : nullptr;
    SDL_FreeSurface(loaded);
    if (!rgb) return image;
    image.width = rgb->w;
    image.height = rgb->h;
    for (int y = 0; y < rgb->h; ++y) {
        const uint8_t* row = static_cast<const uint8_t*>(rgb->pixels) + static_cast<size_t>(y) * rgb->pitch;
        image.pixels.insert(image.pixels.end(), row, row + rgb->w * 3);
    }
    SDL_FreeSurface(rgb);
    return image;
}

void SleepSeconds(double seconds) { std::this_thread::sleep_for(std::chrono::duration<double>(seconds)); }

bool WaitUntil(double seconds, const std::function<bool()>& done) {
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::duration<double>(seconds);
    while (!done()) {
        if (std::chrono::steady_clock::now() > deadline) return false;
        SleepSeconds(0.1);
    }
    return true;
}

std::string Shell(const std::string& command, int* exitCode, const std::string& display) {
    FILE* pipe = popen(((display.empty() ? "" : "export DISPLAY=" + display + "; ") + command).c_str(), "r");
    std::string out;
    char buffer[4096];
    for (size_t n; pipe && (n = fread(buffer, 1, sizeof(buffer), pipe)) > 0;) out.append(buffer, n);
    const int status = pipe ? pclose(pipe) : -1;
    if (exitCode) *exitCode = (status != -1 && WIFEXITED(status)) ? WEXITSTATUS(status) : -1;
    return out;
}

VormiProcess::VormiProcess(const std::string& display, const std::string& workDir,
                           const std::vector<std::string>& args, const std::vector<std::string>& extraEnv) {
    char logTemplate[] = "/tmp/vormi-host-log-XXXXXX";
    const int logFd = mkstemp(logTemplate);
    logPath_ = logTemplate;
    std::vector<std::string> argv = {VORMI_HOST_PATH};
    argv.insert(argv.end(), args.begin(), args.end());
    pid_ = Spawn(argv, logFd, [&] {
        if (chdir(workDir.c_str()) != 0) _exit(126);
        display.empty() ? unsetenv("DISPLAY") : setenv("DISPLAY", display.c_str(), 1);
        unsetenv("SDL_VIDEODRIVER");
        setenv("SDL_AUDIODRIVER", "dummy", 1);
        for (const std::string& assignment : extraEnv) putenv(strdup(assignment.c_str()));
    });
    close(logFd);
}

VormiProcess::~VormiProcess() {
    if (Running()) Reap(pid_, SIGKILL);
    unlink(logPath_.c_str());
}

bool VormiProcess::Running() {
    int status = 0;
    if (pid_ > 0 && status_ == -1 && waitpid(pid_, &status, WNOHANG) != 0) {
        status_ = WIFEXITED(status) ? WEXITSTATUS(status) : -2;
    }
    return pid_ > 0 && status_ == -1;
}

int VormiProcess::Wait(double timeoutSeconds) {
    if (WaitUntil(timeoutSeconds, [&] { return !Running(); })) return status_;
    Reap(pid_, SIGKILL);
    status_ = -2;
    return -1;
}

std::string VormiProcess::output() const {
    return (std::ostringstream() << std::ifstream(logPath_, std::ios::binary).rdbuf()).str();
}

void DesktopTest::SetUp() {
    int fds[2];
    ASSERT_EQ(pipe(fds), 0);
    const int devnull = open("/dev/null", O_WRONLY);
    xvfb_ = Spawn({"Xvfb", "-displayfd", std::to_string(fds[1]), "-screen", "0", "1280x720x24", "-nolisten", "tcp",
                   "-noreset"},
                  devnull, [&] { close(fds[0]); });
    close(devnull);
    close(fds[1]);
    // Xvfb writes the display number it picked once it accepts connections.
    for (char c; read(fds[0], &c, 1) == 1 && c != '\n';) display_ += c;
    close(fds[0]);
    ASSERT_FALSE(display_.empty()) << "Xvfb did not start (deps.sh installs it with xdotool and ImageMagick)";
    display_ = ":" + display_;
}

void DesktopTest::TearDown() {
    if (vormi_ && vormi_->Running()) Close();
    vormi_.reset();
    if (xvfb_ > 0) Reap(xvfb_, SIGTERM);
}

void DesktopTest::Start(const std::vector<std::string>& args, const std::string& cvars) {
    if (!cvars.empty()) dir_.WriteFile("test/scripts/cvars.txt", cvars);
    vormi_.reset(new VormiProcess(display_, dir_.path(), args));
    WaitUntil(20, [&] {
        const std::string id = X("xdotool search --onlyvisible --name '^Vormi Engine$' 2>/dev/null");
        return !(window_ = id.substr(0, id.find('\n'))).empty();
    });
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
    const std::string file = dir_.path() + "/capture.png";
    X("rm -f " + file + "; timeout 10 import -silent -window " + window_ + " -depth 8 png:" + file + " 2>/dev/null");
    return ReadImage(file);
}

::testing::AssertionResult DesktopTest::Shows(int x, int y, RGB want, const char* what) const {
    RGB got{};
    if (WaitUntil(10, [&] { return (got = Capture().At(x, y)) == want; })) return ::testing::AssertionSuccess();
    return ::testing::AssertionFailure() << what << " at (" << x << ", " << y << "): expected " << ToString(want)
                                         << ", got " << ToString(got);
}

void DesktopTest::Click(int x, int y) const {
    X("xdotool mousemove --window " + window_ + " " + std::to_string(x) + " " + std::to_string(y) + "; sleep 0.15");
    Button("down");
    Button("up");
}

void DesktopTest::PointAt(int x, int y) const {
    X("xdotool mousemove_relative -- -5000 -5000; sleep 0.1; xdotool mousemove_relative -- " + std::to_string(x) + " " +
      std::to_string(y) + "; sleep 0.15");
}
