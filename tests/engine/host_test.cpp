#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <filesystem>
#include <string>

#include "support/desktop.h"
#include "support/engine_fixture.h"

namespace fs = std::filesystem;

// The host runs without X here: the offscreen video driver gives it a real window surface.
static const std::vector<std::string> kOffscreen = {"SDL_VIDEODRIVER=offscreen"};

TEST(Host, HelpAndVersionExitZeroAndUnknownOptionsExitTwoWithUsage) {
    TempWorkDir dir;
    {
        VormiProcess help("", dir.path(), {"--help"}, kOffscreen);
        EXPECT_EQ(help.Wait(10), 0);
        EXPECT_NE(help.output().find("--frames N"), std::string::npos);
    }
    {
        VormiProcess version("", dir.path(), {"--version"}, kOffscreen);
        EXPECT_EQ(version.Wait(10), 0);
        EXPECT_EQ(version.output().rfind("vormi ", 0), 0u);
    }
    for (const std::vector<std::string>& bad : {std::vector<std::string>{"--bogus"},
                                                 std::vector<std::string>{"--frames", "zero"},
                                                 std::vector<std::string>{"--frames"}}) {
        VormiProcess run("", dir.path(), bad, kOffscreen);
        EXPECT_EQ(run.Wait(10), 2);
        EXPECT_NE(run.output().find("Usage: vormi"), std::string::npos) << run.output();
    }
}

TEST(Host, FramesOptionQuitsInAnOrderlyWayAndStatsArePrinted) {
    TempWorkDir dir;
    VormiProcess run("", dir.path(), {"--frames", "5", "--stats", "--exec", "testcmd", "--exec", "fps"}, kOffscreen);
    ASSERT_EQ(run.Wait(60), 0) << run.output();
    const std::string out = run.output();
    EXPECT_NE(out.find("Entering main loop"), std::string::npos);
    EXPECT_NE(out.find("Test command Global"), std::string::npos);
    EXPECT_NE(out.find("FPS: "), std::string::npos);
    EXPECT_NE(out.find("stats: frames=6 "), std::string::npos) << out;
    EXPECT_NE(out.find("median_ms="), std::string::npos);
    bool saved = false;
    dir.ReadFile("test/scripts/cvars.txt", &saved);
    EXPECT_TRUE(saved) << "an orderly quit saves the settings";
}

TEST(Host, SetOptionReachesTheStoreAndUnknownNamesAreReported) {
    TempWorkDir dir;
    VormiProcess run("", dir.path(), {"-C", dir.path() + "/test/..", "--frames", "2", "--set", "frame_delay 7",
                                      "--set", "no_such_setting 1"},
                     kOffscreen);
    ASSERT_EQ(run.Wait(60), 0) << run.output();
    EXPECT_NE(run.output().find("vormi: --set: unknown console variable 'no_such_setting'"), std::string::npos)
        << run.output();
    EXPECT_NE(dir.ReadFile("test/scripts/cvars.txt").find("frame_delay \"7\"\n"), std::string::npos);
}

TEST(Host, FailingStartUpExitsOnePromptly) {
    TempWorkDir dir;
    VormiProcess run("", dir.path(), {}, {"SDL_VIDEODRIVER=nonexistent"});
    EXPECT_EQ(run.Wait(30), 1) << run.output();
    EXPECT_NE(run.output().find("SDL_Init Error: "), std::string::npos) << run.output();
}

TEST(Host, MissingOrForeignLibraryExitsTwoWithOneLine) {
    TempWorkDir dir;
    // A copy of the host alone in a folder: its library is not beside it.
    const fs::path lonely = fs::path(dir.path()) / "lonely";
    fs::create_directories(lonely);
    fs::copy_file(VORMI_HOST_PATH, lonely / "vormi");
    const std::string command = "cd '" + dir.path() + "' && '" + (lonely / "vormi").string() + "' 2>&1";
    Desktop shell("");
    int status = 0;
    std::string out = shell.Shell(command, &status);
    EXPECT_EQ(status, 2);
    EXPECT_NE(out.find("vormi: cannot load " + (lonely / "libVormiEngine.so").string()), std::string::npos) << out;
    EXPECT_EQ(std::count(out.begin(), out.end(), '\n'), 1) << out;

    // A library of that name that is not the engine: it lacks the exports.
    const char* const kOtherLibraries[] = {"/lib/x86_64-linux-gnu/libm.so.6", "/usr/lib/x86_64-linux-gnu/libm.so.6",
                                           "/lib64/libm.so.6", "/usr/lib/libm.so.6"};
    const char* other = nullptr;
    for (const char* candidate : kOtherLibraries) {
        if (fs::exists(candidate)) {
            other = candidate;
            break;
        }
    }
    if (!other) {
        GTEST_SKIP() << "no system library to stand in for a foreign one";
    }
    fs::copy_file(other, lonely / "libVormiEngine.so");
    out = shell.Shell(command, &status);
    EXPECT_EQ(status, 2);
    EXPECT_EQ(std::count(out.begin(), out.end(), '\n'), 1) << out;
    EXPECT_NE(out.find("does not export EngineMain"), std::string::npos) << out;
}
