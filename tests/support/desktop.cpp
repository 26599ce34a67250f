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

std::string ToString(RGB c) {
    char text[32];
    std::snprintf(text, sizeof(text), "(%d,%d,%d)", c.r, c.g, c.b);
    return text;
}

RGB Image::At(int x, int y) const {
    if (x < 0 || y < 0 || x >= width || y >= height) {
        return RGB{0, 0, 0};
    }
    const size_t i = (static_cast<size_t>(y) * static_cast<size_t>(width) + static_cast<size_t>(x)) * 3;
    return RGB{pixels[i], pixels[i + 1], pixels[i + 2]};
}

void SleepSeconds(double seconds) {
    std::this_thread::sleep_for(std::chrono::duration<double>(seconds));
}

static bool OnPath(const char* tool) {
    const std::string command = std::string("command -v ") + tool + " >/dev/null 2>&1";
    return std::system(command.c_str()) == 0;
}

bool DesktopToolsAvailable() {
    return OnPath("Xvfb") && OnPath("xdotool") && OnPath("import");
}

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
        kill(pid_, SIGTERM);
        int status;
        waitpid(pid_, &status, 0);
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
        if (display.empty()) {
            unsetenv("DISPLAY");
        } else {
            setenv("DISPLAY", display.c_str(), 1);
        }
        unsetenv("SDL_VIDEODRIVER");
        setenv("SDL_AUDIODRIVER", "dummy", 1);
        for (const std::string& assignment : extraEnv) {
            putenv(strdup(assignment.c_str()));
        }
        std::vector<char*> argv;
        argv.push_back(const_cast<char*>(VORMI_HOST_PATH));
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
        kill(pid_, SIGKILL);
        int status;
        waitpid(pid_, &status, 0);
    }
    unlink(logPath_.c_str());
}

bool VormiProcess::Running() {
    if (pid_ <= 0 || status_ != -1) {
        return false;
    }
    int status = 0;
    const pid_t r = waitpid(pid_, &status, WNOHANG);
    if (r == 0) {
        return true;
    }
    status_ = WIFEXITED(status) ? WEXITSTATUS(status) : -2;
    return false;
}

int VormiProcess::Wait(double timeoutSeconds) {
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::duration<double>(timeoutSeconds);
    while (Running()) {
        if (std::chrono::steady_clock::now() > deadline) {
            kill(pid_, SIGKILL);
            int status;
            waitpid(pid_, &status, 0);
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
    const std::string full = "DISPLAY=" + display_ + " " + command;
    FILE* pipe = popen(full.c_str(), "r");
    std::string out;
    if (!pipe) {
        if (exitCode) {
            *exitCode = -1;
        }
        return out;
    }
    char buffer[4096];
    size_t n;
    while ((n = fread(buffer, 1, sizeof(buffer), pipe)) > 0) {
        out.append(buffer, n);
    }
    const int status = pclose(pipe);
    if (exitCode) {
        *exitCode = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    }
    return out;
}

unsigned long Desktop::FindWindow(const std::string& title, double timeoutSeconds) const {
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::duration<double>(timeoutSeconds);
    while (std::chrono::steady_clock::now() < deadline) {
        const std::string out = Shell("xdotool search --onlyvisible --name '^" + title + "$' 2>/dev/null");
        const unsigned long id = std::strtoul(out.c_str(), nullptr, 10);
        if (id != 0) {
            return id;
        }
        SleepSeconds(0.1);
    }
    return 0;
}

bool Desktop::WindowGeometry(unsigned long window, int* x, int* y, int* w, int* h) const {
    const std::string out = Shell("xdotool getwindowgeometry --shell " + std::to_string(window));
    int values[4] = {0, 0, 0, 0};
    int found = 0;
    static const char* const kKeys[4] = {"X=", "Y=", "WIDTH=", "HEIGHT="};
    std::istringstream lines(out);
    std::string line;
    while (std::getline(lines, line)) {
        for (int i = 0; i < 4; ++i) {
            if (line.rfind(kKeys[i], 0) == 0) {
                values[i] = std::atoi(line.c_str() + std::strlen(kKeys[i]));
                ++found;
            }
        }
    }
    *x = values[0];
    *y = values[1];
    *w = values[2];
    *h = values[3];
    return found == 4;
}

Image Desktop::Capture(unsigned long window) const {
    Image image;
    const std::string data = Shell("import -silent -window " + std::to_string(window) + " -depth 8 ppm:- 2>/dev/null");
    // Binary PPM: "P6\n<w> <h>\n<max>\n" then RGB bytes.
    std::istringstream header(data);
    std::string magic;
    int w = 0, h = 0, max = 0;
    header >> magic >> w >> h >> max;
    if (magic != "P6" || w <= 0 || h <= 0 || max != 255) {
        return image;
    }
    const size_t offset = static_cast<size_t>(header.tellg()) + 1;
    const size_t size = static_cast<size_t>(w) * static_cast<size_t>(h) * 3;
    if (data.size() < offset + size) {
        return image;
    }
    image.width = w;
    image.height = h;
    image.pixels.assign(data.begin() + static_cast<long>(offset), data.begin() + static_cast<long>(offset + size));
    return image;
}

RGB Desktop::WaitForPixel(unsigned long window, int x, int y, RGB want, double timeoutSeconds) const {
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::duration<double>(timeoutSeconds);
    RGB got{0, 0, 0};
    do {
        got = Capture(window).At(x, y);
        if (got == want) {
            return got;
        }
        SleepSeconds(0.1);
    } while (std::chrono::steady_clock::now() < deadline);
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
    Shell("xdotool mousemove --window " + std::to_string(window) + " " + std::to_string(x) + " " +
          std::to_string(y));
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
