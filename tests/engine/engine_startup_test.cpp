#include <SDL.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <string>

#include "console/command_system.h"
#include "console/cvars.h"
#include "engine/console_output.h"
#include "engine/engine.h"
#include "engine/engine_common.h"
#include "render/renderer.h"
#include "support/engine_fixture.h"

// Each TEST runs in its own process (CTest runs them one by one), so EngineMain starts fresh here.

TEST(EngineStartup, PrintsItsStepsInOrderAndQuitsInAnOrderlyWay) {
    TempWorkDir dir;
    LogCapture log;
    void* rendererSeenAtStart = nullptr;
    const EngineRunResult run = RunEngine(
        [](int frame) {
            if (frame == 2) {
                CommandGlobal("quit");
            }
        },
        [&] { rendererSeenAtStart = GetEngineCommonInterface()->Find("RendererV1"); });
    EXPECT_EQ(run.exitCode, 0);
    EXPECT_EQ(run.frames, 4);  // "quit" queued in frame 2 runs at the end of frame 3
    const std::string& text = log.text();
    size_t at = 0;
    for (const char* step : {"SDL loaded\n", "SDL TTF loaded\n", "Error: Could not open file './test/scripts/cvars.txt'\n",
                             "Available renderers:\n", "-SDLRenderer\n", "Selected renderer: SDLRenderer (ID 0)\n",
                             "Using renderer: SDLRenderer\n", "Entering main loop\n"}) {
        const size_t found = FindAfter(text, step, at);
        ASSERT_NE(found, std::string::npos) << "missing or out of order: " << step << "in:\n" << text;
        at = found + 1;
    }
    EXPECT_NE(rendererSeenAtStart, nullptr);
    EXPECT_EQ(GetEngineCommonInterface()->Find("RendererV1"), rendererSeenAtStart);
    EXPECT_EQ(g_renderer, nullptr);
    EXPECT_EQ(g_window, nullptr);
}

TEST(EngineStartup, CvarsFileIsAppliedAtStartAndRewrittenInStoreOrderAtQuit) {
    TempWorkDir dir;
    dir.WriteFile("test/scripts/cvars.txt",
                  "frame_delay -5\n"
                  "window_width \"800\"\n"
                  "window_height \"600\"\n"
                  "shader_reload \"1\"\n"
                  "debug_drawoutline 0\n");
    uint32_t delayAtStart = 99;
    int widthAtStart = 0;
    RunEngine([](int frame) { if (frame == 0) CommandGlobal("exit"); },
              [&] {
                  delayAtStart = g_frameDelay;
                  SDL_GetWindowSize(g_window, &widthAtStart, nullptr);
              });
    EXPECT_EQ(delayAtStart, 0u);
    EXPECT_EQ(widthAtStart, 800);
    const std::string saved = dir.ReadFile("test/scripts/cvars.txt");
    EXPECT_EQ(saved.rfind("debug_drawoutline \"0\"\n", 0), 0u) << saved;
    EXPECT_NE(saved.find("window_height \"600\"\nwindow_width \"800\"\n"), std::string::npos) << saved;
    EXPECT_NE(saved.find("window_height \"600\"\n"), std::string::npos) << saved;
    EXPECT_NE(saved.find("frame_delay \"-5\"\n"), std::string::npos) << saved;
    EXPECT_EQ(saved.find("shader_reload"), std::string::npos) << saved;
    const std::string last = "enable_screen_keyboard \"1\"\n";
    EXPECT_EQ(saved.substr(saved.size() - last.size()), last) << saved;
    int lines = 0;
    for (char c : saved) {
        lines += c == '\n';
    }
    EXPECT_EQ(lines, 14);
}

TEST(EngineStartup, LargeFrameDelayIsClampedToOneSecond) {
    TempWorkDir dir;
    dir.WriteFile("test/scripts/cvars.txt", "frame_delay 5000\n");
    uint32_t delay = 0;
    RunEngine([](int) { CommandGlobal("quit"); }, [&] { delay = g_frameDelay; g_cvars->ParseLine("frame_delay 0"); });
    EXPECT_EQ(delay, 1000u);
}

TEST(EngineStartup, HalfGivenWindowSizeFallsBackToEightyPercentAndTheUsedSizeIsSaved) {
    TempWorkDir dir;
    dir.WriteFile("test/scripts/cvars.txt", "window_width 800\nwindow_height 0\n");
    int w = 0, h = 0;
    SDL_DisplayMode mode = {};
    RunEngine([](int) { CommandGlobal("quit"); },
              [&] {
                  SDL_GetWindowSize(g_window, &w, &h);
                  SDL_GetDesktopDisplayMode(0, &mode);
              });
    EXPECT_EQ(w, static_cast<int>(mode.w * 0.8));
    EXPECT_EQ(h, static_cast<int>(mode.h * 0.8));
    const std::string saved = dir.ReadFile("test/scripts/cvars.txt");
    EXPECT_NE(saved.find("window_width \"" + std::to_string(w) + "\"\n"), std::string::npos) << saved;
    EXPECT_NE(saved.find("window_height \"" + std::to_string(h) + "\"\n"), std::string::npos) << saved;
}

TEST(EngineStartup, MissingFileIsReportedOnceAndCreatedAtShutdown) {
    TempWorkDir dir;
    LogCapture log;
    RunEngine([](int) { CommandGlobal("quit"); });
    const std::string error = "Error: Could not open file './test/scripts/cvars.txt'\n";
    const size_t first = log.text().find(error);
    ASSERT_NE(first, std::string::npos);
    EXPECT_EQ(log.text().find(error, first + 1), std::string::npos);
    bool exists = false;
    dir.ReadFile("test/scripts/cvars.txt", &exists);
    EXPECT_TRUE(exists);
}

TEST(EngineStartup, UnknownRendererFallsBackToSdlAndTheFallbackIsSaved) {
    TempWorkDir dir;
    dir.WriteFile("test/scripts/cvars.txt", "renderer_type \"glrenderer\"\n");
    LogCapture log;
    RunEngine([](int) { CommandGlobal("quit"); });
    EXPECT_NE(log.text().find("Available renderers:\n-SDLRenderer\n-GLRenderer\n"
                              "Unknown renderer 'glrenderer'. Falling back to SDLRenderer.\n"),
              std::string::npos)
        << log.text();
    EXPECT_NE(log.text().find("Using renderer: SDLRenderer\n"), std::string::npos);
    EXPECT_NE(dir.ReadFile("test/scripts/cvars.txt").find("renderer_type \"SDLRenderer\"\n"), std::string::npos);
}

TEST(EngineStartup, ForceExitLeavesTheCvarsFileUntouched) {
    TempWorkDir dir;
    const std::string original = "frame_delay \"3\"\nunknown \"kept\"\n";
    dir.WriteFile("test/scripts/cvars.txt", original);
    EXPECT_EXIT(RunEngine([](int frame) { if (frame == 1) CommandGlobal("force_exit"); }),
                ::testing::ExitedWithCode(0), "");
    EXPECT_EQ(dir.ReadFile("test/scripts/cvars.txt"), original);
}

TEST(EngineStartup, UnwritableScriptsFolderReportsAndLosesNothing) {
    TempWorkDir dir;
    const std::string original = "frame_delay \"3\"\n";
    dir.WriteFile("test/scripts/cvars.txt", original);
    // The engine cannot replace the file when the folder is read-only; root ignores permissions, so
    // the folder is replaced by one the engine cannot write into at all: a file in its place.
    LogCapture log;
    RunEngine([](int frame) {
        if (frame == 0) {
            std::rename("test/scripts", "test/scripts.moved");
            FILE* blocker = std::fopen("test/scripts", "w");
            if (blocker) std::fclose(blocker);
            CommandGlobal("quit");
        }
    });
    EXPECT_NE(log.text().find("Error: Could not open file './test/scripts/cvars.txt'\n",
                              log.text().find("Entering main loop")),
              std::string::npos)
        << log.text();
    EXPECT_EQ(dir.ReadFile("test/scripts.moved/cvars.txt"), original);
    std::remove("test/scripts");
}

TEST(EngineStartup, FpsIsSampledOnceTheClockPassesOneHundredMilliseconds) {
    TempWorkDir dir;
    int fps = -1;
    RunEngine([&](int) {
        if (SDL_GetTicks() > 400) {
            fps = g_fps;
            CommandGlobal("quit");
        }
    }, nullptr, 5000);
    EXPECT_GT(fps, 0);
    EXPECT_LE(fps, 1100);  // at least 1 ms of delay per frame
}

TEST(EngineStartupFailure, NoVideoDevicePrintsTheErrorAndReturnsOne) {
    TempWorkDir dir;
    unsetenv("DISPLAY");
    setenv("SDL_VIDEODRIVER", "nonexistent", 1);
    LogCapture log;
    EXPECT_EQ(EngineMain(), 1);
    EXPECT_EQ(log.text().rfind("SDL_Init Error: ", 0), 0u) << log.text();
    EXPECT_EQ(log.text().find("Entering main loop"), std::string::npos);
}
