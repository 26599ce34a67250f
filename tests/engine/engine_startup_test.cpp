#include <SDL.h>
#include <gtest/gtest.h>

#include <cstdio>
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
    EXPECT_EQ(text.find(missing, text.find(missing) + 1), std::string::npos) << "a missing file is reported once";
    bool saved = false;
    dir.ReadFile("test/scripts/cvars.txt", &saved);
    EXPECT_TRUE(saved) << "and created at shutdown";
    EXPECT_NE(rendererAtStart, nullptr);
    EXPECT_EQ(GetEngineCommonInterface()->Find("RendererV1"), rendererAtStart);
    EXPECT_TRUE(g_renderer == nullptr && g_window == nullptr);
}

TEST(EngineStartup, CvarsFileIsAppliedAtStartAndRewrittenInStoreOrderAtQuit) {
    TempWorkDir dir;
    dir.WriteFile("test/scripts/cvars.txt", "frame_delay -5\nwindow_width \"800\"\nwindow_height \"600\"\n"
                                            "shader_reload \"1\"\nrenderer_type glrenderer\n");
    uint32_t delayAtStart = 99;
    int widthAtStart = 0;
    LogCapture log;
    RunEngine([](int) { CommandGlobal("exit"); }, [&] {
        delayAtStart = g_frameDelay;
        SDL_GetWindowSize(g_window, &widthAtStart, nullptr);
    });
    EXPECT_EQ(delayAtStart, 0u);
    EXPECT_EQ(widthAtStart, 800);
    EXPECT_NE(log.text().find("Unknown renderer 'glrenderer'. Falling back to SDLRenderer.\n"), std::string::npos);
    EXPECT_EQ(dir.ReadFile("test/scripts/cvars.txt"),
              "debug_drawoutline \"0\"\nwindow_minimum_size \"1\"\nwindow_height \"600\"\nwindow_width \"800\"\n"
              "tool_fps \"0\"\nfilter_textures \"1\"\nviewport_autoscale \"0\"\nviewport_scale_noclamp \"0\"\n"
              "viewport_scale \"1.000000\"\nrenderer_type \"SDLRenderer\"\nrender_clear \"1\"\nrender_batching \"1\"\n"
              "frame_delay \"-5\"\nenable_screen_keyboard \"1\"\n");
}

TEST(EngineStartup, LargeDelayIsClampedAndAHalfGivenWindowSizeFallsBackToEightyPercent) {
    TempWorkDir dir;
    dir.WriteFile("test/scripts/cvars.txt", "frame_delay 5000\nwindow_width 800\nwindow_height 0\n");
    uint32_t delay = 0;
    int w = 0, h = 0;
    SDL_DisplayMode mode = {};
    RunEngine([](int) { CommandGlobal("quit"); }, [&] {
        delay = g_frameDelay;
        g_cvars->ParseLine("frame_delay 0");
        SDL_GetWindowSize(g_window, &w, &h);
        SDL_GetDesktopDisplayMode(0, &mode);
    });
    EXPECT_EQ(delay, 1000u);
    EXPECT_EQ(w, static_cast<int>(mode.w * 0.8));
    EXPECT_EQ(h, static_cast<int>(mode.h * 0.8));
    const std::string saved = dir.ReadFile("test/scripts/cvars.txt");
    EXPECT_NE(saved.find("window_height \"" + std::to_string(h) + "\"\nwindow_width \"" + std::to_string(w) + "\"\n"),
              std::string::npos)
        << saved;
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
    dir.WriteFile("test/scripts/cvars.txt", "frame_delay \"3\"\n");
    // Root ignores permissions, so the folder is replaced by one the engine cannot write into at all:
    // a file in its place.
    LogCapture log;
    RunEngine([](int frame) {
        if (frame == 0) {
            std::rename("test/scripts", "test/scripts.moved");
            if (FILE* blocker = std::fopen("test/scripts", "w")) std::fclose(blocker);
            CommandGlobal("quit");
        }
    });
    EXPECT_NE(log.text().find("Error: Could not open file './test/scripts/cvars.txt'\n",
                              log.text().find("Entering main loop")),
              std::string::npos)
        << log.text();
    EXPECT_EQ(dir.ReadFile("test/scripts.moved/cvars.txt"), "frame_delay \"3\"\n");
    std::remove("test/scripts");
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
