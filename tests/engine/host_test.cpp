#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <filesystem>
#include <string>
#include <vector>

#include "support/desktop.h"
#include "support/engine_fixture.h"

namespace fs = std::filesystem;

// Runs the host without X in the directory, on the given video driver; returns the exit status and
// fills the output.
static int RunHost(const TempWorkDir& dir, const std::vector<std::string>& args, std::string* out,
                   const std::string& videoDriver = "offscreen") {
    VormiProcess run("", dir.path(), args, {"SDL_VIDEODRIVER=" + videoDriver});
    const int status = run.Wait(60);
    *out = run.output();
    return status;
}

TEST(Host, OptionsHelpVersionUsageFramesStatsExecAndSet) {
    TempWorkDir dir;
    std::string out;
    EXPECT_EQ(RunHost(dir, {"--help"}, &out), 0);
    EXPECT_NE(out.find("--frames N"), std::string::npos);
    EXPECT_EQ(RunHost(dir, {"--version"}, &out), 0);
    EXPECT_EQ(out.rfind("vormi ", 0), 0u);
    for (const char* bad : {"--bogus", "--frames"}) {
        EXPECT_EQ(RunHost(dir, {bad, bad[2] == 'f' ? "zero" : "x"}, &out), 2) << bad;
        EXPECT_NE(out.find("Usage: vormi"), std::string::npos) << out;
    }
    EXPECT_EQ(RunHost(dir, {"--frames"}, &out), 2) << "a missing count";

    ASSERT_EQ(RunHost(dir, {"-C", dir.path() + "/test/..", "--frames", "5", "--stats", "--exec", "testcmd", "--exec",
                            "fps", "--set", "frame_delay 7", "--set", "no_such_setting 1"},
                      &out),
              0)
        << out;
    for (const char* expected : {"Entering main loop", "Test command Global", "FPS: ", "stats: frames=6 ", "median_ms=",
                                 "vormi: --set: unknown console variable 'no_such_setting'"}) {
        EXPECT_NE(out.find(expected), std::string::npos) << expected << " in:\n" << out;
    }
    EXPECT_NE(dir.ReadFile("test/scripts/cvars.txt").find("frame_delay \"7\"\n"), std::string::npos)
        << "an orderly quit saves the settings";
}

TEST(Host, FailingStartUpExitsOnePromptly) {
    TempWorkDir dir;
    std::string out;
    EXPECT_EQ(RunHost(dir, {}, &out, "nonexistent"), 1) << out;
    EXPECT_NE(out.find("SDL_Init Error: "), std::string::npos) << out;
}

TEST(Host, MissingOrForeignLibraryExitsTwoWithOneLine) {
    TempWorkDir dir;
    const fs::path lonely = fs::path(dir.path()) / "lonely";
    fs::create_directories(lonely);
    fs::copy_file(VORMI_HOST_PATH, lonely / "vormi");
    const std::string command = "cd '" + dir.path() + "' && '" + (lonely / "vormi").string() + "' 2>&1";
    int status = 0;
    std::string out = Shell(command, &status);
    EXPECT_EQ(status, 2);
    EXPECT_NE(out.find("vormi: cannot load " + (lonely / "libVormiEngine.so").string()), std::string::npos) << out;
    EXPECT_EQ(std::count(out.begin(), out.end(), '\n'), 1) << out;

    const char* other = nullptr;
    for (const char* candidate : {"/lib/x86_64-linux-gnu/libm.so.6", "/usr/lib/x86_64-linux-gnu/libm.so.6",
                                  "/lib64/libm.so.6", "/usr/lib/libm.so.6"}) {
        if (!other && fs::exists(candidate)) {
            other = candidate;
        }
    }
    if (!other) {
        GTEST_SKIP() << "no system library to stand in for a foreign one";
    }
    fs::copy_file(other, lonely / "libVormiEngine.so");
    out = Shell(command, &status);
    EXPECT_EQ(status, 2);
    EXPECT_EQ(std::count(out.begin(), out.end(), '\n'), 1) << out;
    EXPECT_NE(out.find("does not export EngineMain"), std::string::npos) << out;
}
