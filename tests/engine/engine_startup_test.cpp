#include <SDL.h>
#include <gtest/gtest.h>

#include <string>

#include "console/command_system.h"
#include "console/cvars.h"
#include "engine/engine.h"
#include "engine/engine_common.h"
#include "render/renderer.h"
#include "support/engine_fixture.h"

// Each TEST runs in its own process (CTest runs them one by one), so EngineMain starts fresh here.

TEST(EngineStartup, PrintsItsStepsInOrderAndQuitsInAnOrderlyWay) {
    TempWorkDir dir;
    LogCapture log;
    void* rendererAtStart = nullptr;
    const EngineRunResult run = RunEngine([](int frame) { if (frame == 2) CommandGlobal("quit"); },
                                          [&] { rendererAtStart = GetEngineCommonInterface()->Find("RendererV1"); });
    EXPECT_EQ(run.exitCode, 0);
    EXPECT_EQ(run.frames, 4) << "\"quit\" queued in frame 2 runs at the end of frame 3";
    const std::string& text = log.text();
    const std::string missing = "Error: Could not open file './test/scripts/cvars.txt'\n";
    ExpectInOrder(text, {"SDL loaded\n", "SDL TTF loaded\n", missing, "Available renderers:\n",
                         "Selected renderer: SDLRenderer (ID 0)\n", "Using renderer: SDLRenderer\n",
                         "Entering main loop\n"});
    EXPECT_EQ(text.find(missing), text.rfind(missing)) << "a missing file is reported once";
    bool saved = false;
    dir.ReadFile("test/scripts/cvars.txt", &saved);
    EXPECT_TRUE(saved) << "and created at shutdown";
    EXPECT_NE(rendererAtStart, nullptr);
    EXPECT_EQ(GetEngineCommonInterface()->Find("RendererV1"), rendererAtStart);
    EXPECT_EQ(g_renderer, nullptr);
    EXPECT_EQ(g_window, nullptr);
}

// The store's order, quoting and clamping are unit-tested; here the engine reads the file before the
// window opens and writes what the run ended with.
TEST(EngineStartup, CvarsFileIsAppliedAtStartAndTheRunsValuesAreSavedAtQuit) {
    TempWorkDir dir;
    dir.WriteFile("test/scripts/cvars.txt", "frame_delay -5\nwindow_width \"800\"\nwindow_height \"0\"\n");
    uint32_t delay = 99;
    int w = 0, h = 0;
    SDL_DisplayMode mode = {};
    RunEngine([](int) { CommandGlobal("exit"); }, [&] {
        delay = g_frameDelay;
        SDL_GetWindowSize(g_window, &w, &h);
        SDL_GetDesktopDisplayMode(0, &mode);
    });
    EXPECT_EQ(delay, 0u);
    EXPECT_EQ(w, static_cast<int>(mode.w * 0.8)) << "a half-given size falls back to 80% of the desktop";
    EXPECT_EQ(h, static_cast<int>(mode.h * 0.8));
    const std::string saved = dir.ReadFile("test/scripts/cvars.txt");
    for (const std::string& line : {"window_height \"" + std::to_string(h) + "\"\nwindow_width \"" + std::to_string(w) + "\"\n",
                                    std::string("frame_delay \"-5\"\n")}) {
        EXPECT_NE(saved.find(line), std::string::npos) << line << "in:\n" << saved;
    }
}

TEST(EngineStartup, ForceExitLeavesTheCvarsFileUntouched) {
    TempWorkDir dir;
    const std::string original = "frame_delay \"3\"\nunknown \"kept\"\n";
    dir.WriteFile("test/scripts/cvars.txt", original);
    EXPECT_EXIT(RunEngine([](int frame) { if (frame == 1) CommandGlobal("force_exit"); }),
                ::testing::ExitedWithCode(0), "");
    EXPECT_EQ(dir.ReadFile("test/scripts/cvars.txt"), original);
}

TEST(EngineStartup, FpsIsSampledOnceTheClockPassesOneHundredMilliseconds) {
    TempWorkDir dir;
    int fps = -1;
    uint32_t firstFrame = 0;
    // Timed from the first frame: a start-up slower than a second makes the first sample 0 frames/s.
    RunEngine([&](int frame) {
        if (frame == 0) {
            firstFrame = SDL_GetTicks();
        } else if (SDL_GetTicks() > firstFrame + 400) {
            fps = g_fps;
            CommandGlobal("quit");
        }
    }, nullptr, 5000);
    EXPECT_GT(fps, 0);
    EXPECT_LE(fps, 1100) << "at least 1 ms of delay per frame";
}
