#include <SDL_opengl.h>
#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

#include "console/command_system.h"
#include "engine/engine.h"
#include "render/renderer.h"
#include "render/renderer_backend.h"
#include "support/engine_fixture.h"

TEST(GLRendererEngine, SelectedByNameDrawsFramesAndASwitchWaitsForTheNextStart) {
    TempWorkDir dir;
    dir.WriteFile("test/scripts/cvars.txt", "renderer_type \"GLRenderer\"\n");
    LogCapture log;
    std::vector<std::string> seen;
    GLenum error = GL_NO_ERROR;
    const EngineRunResult run = RunEngine([&](int frame) {
        if (frame != 3) return;
        error = glGetError();
        seen = {SwitchRenderer(), g_renderer->GetName()};
        CommandGlobal("quit");
    });
    EXPECT_EQ(run.exitCode, 0);
    ExpectInOrder(log.text(), {"Available renderers:\n-SDLRenderer\n-GLRenderer\nSelected renderer: GLRenderer (ID 1)\n",
                               "Using renderer: GLRenderer\n", "OpenGL Version: ", "Renderer: ", "Vendor: ",
                               "Model shader compiled successfully. Program ID = ", "Entering main loop\n"});
    EXPECT_EQ(error, static_cast<GLenum>(GL_NO_ERROR)) << "the UI frames left a GL error";
    EXPECT_EQ(seen, (std::vector<std::string>{"SDLRenderer", "GLRenderer"})) << "switched for the next start only";
    EXPECT_NE(dir.ReadFile("test/scripts/cvars.txt").find("renderer_type \"SDLRenderer\"\n"), std::string::npos);
}

TEST(GLRendererEngine, MissingShaderSourceStopsTheStart) {
    TempWorkDir dir;
    unsetenv("DISPLAY");  // the fatal box then fails at once instead of waiting for a click
    dir.WriteFile("test/scripts/cvars.txt", "renderer_type \"GLRenderer\"\n");
    std::remove("test/shaders/model.frag");
    LogCapture log;
    EXPECT_EQ(RunEngine([](int) {}).exitCode, 1);
    ExpectInOrder(log.text(), {"Failed to open shader file: ./test/shaders/model.frag\n",
                               "Error: Model shader source is missing.\n", "Failed to build shaders\n",
                               "Init_Renderer() failed!\n", "Init_Video() failed!\n"});
}
