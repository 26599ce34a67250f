#include <cstdio>
#include <cstdlib>
#include <new>

#include "app/model_viewer.h"
#include "console/cvars.h"
#include "render/renderer.h"
#include "render/shader_program.h"
#include "support/desktop.h"
#include "ui/button.h"
#include "ui/model_panel.h"
#include "ui/panel.h"
#include "ui/rich_text_box.h"
#include "ui/root_panel.h"
#include "ui/text_box.h"

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
    int w = 0, h = 0;
    SDL_DisplayMode mode = {};
    RunEngine([](int) { CommandGlobal("exit"); }, [&] {
        SDL_GetWindowSize(g_window, &w, &h);
        SDL_GetDesktopDisplayMode(0, &mode);
    });
    EXPECT_EQ(w, static_cast<int>(mode.w * 0.8)) << "a half-given size falls back to 80% of the desktop";
    EXPECT_EQ(h, static_cast<int>(mode.h * 0.8));
    const std::string saved = dir.ReadFile("test/scripts/cvars.txt");
    const std::string wh = "window_height \"" + std::to_string(h) + "\"\nwindow_width \"" + std::to_string(w) + "\"\n";
    for (const std::string& line : {wh, std::string("frame_delay \"-5\"\n")}) {
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

class ConsoleToolsEngine : public ::testing::TestWithParam<const char*> {};

// A screenshot holds the frame drawn, the right way up, in its real colours.
TEST_P(ConsoleToolsEngine, ScreenshotHoldsTheFrameAndAnUnwritablePathGetsOneLine) {
    TempWorkDir dir;
    dir.WriteFile("test/scripts/cvars.txt",
                  std::string("renderer_type ") + GetParam() + "\nwindow_width 640\nwindow_height 480\n");
    LogCapture log;
    const EngineRunResult run = RunEngine(
        [&](int frame) {
            if (frame == 1) CommandGlobal("screenshot first.png");
            if (frame == 3) CommandGlobal("screenshot missing_folder/shot.png");
            if (frame == 6) CommandGlobal("quit");
        },
        [&] {
            g_rootPanel->HideLayer(kLayerMenus);
            Panel* probe = new Panel("probe");
            probe->SetParent(g_rootPanel->GetLayer(kLayerGameUI));
            probe->width = 40;
            probe->height = 20;
            probe->backgroundColor = kRed;
        });
    EXPECT_EQ(run.exitCode, 0);
    if (std::string(GetParam()) == "GLRenderer") {
        ExpectInOrder(log.text(), {"Available renderers:\n-SDLRenderer\n-GLRenderer\n",
                                   "Selected renderer: GLRenderer (ID 1)\n", "Using renderer: GLRenderer\n",
                                   "OpenGL Version: ", "Renderer: ", "Vendor: ",
                                   "Model shader compiled successfully. Program ID = ", "Entering main loop\n"});
    }
    ExpectInOrder(log.text(), {"screenshot: saved first.png\n", "screenshot: cannot write missing_folder/shot.png"});

    const Frame shot = ReadImage(dir.path() + "/first.png");
    EXPECT_EQ(shot.width, 640);
    EXPECT_EQ(shot.pixels.size(), 640u * 480u);
    const Probe probes[] = {{5, 5, kRed, "probe"},          {35, 15, kRed, "probe"},
                            {45, 5, kGrey, "right of it"}, {5, 474, kGrey, "bottom-left"},
                            {634, 5, kGrey, "top-right"}};
    for (const Probe& p : probes) {
        EXPECT_TRUE(SameColor(shot.At(p.x, p.y), p.want)) << p.what << " at " << p.x << "," << p.y;
    }
}

INSTANTIATE_TEST_SUITE_P(Renderers, ConsoleToolsEngine, ::testing::Values("SDLRenderer", "GLRenderer"));

namespace {

// The interface drawn afresh and the pixel read back before anything is presented; y from the top.
Color DrawnPixel(int x, int y) {
    g_renderer->Begin2D();
    g_rootPanel->Draw();
    Color c = {0, 0, 0, 0};
    glReadPixels(x, g_windowHeight - 1 - y, 1, 1, GL_RGBA, GL_UNSIGNED_BYTE, &c);
    return c;
}

uint64_t s_farFuture = 0;

// The viewer's pixels with and without the model program; closing it releases the model, and the
// collector frees it once the release delay has passed.
TEST(ModelViewerEngine, ShowsTheModelWithOrWithoutItsProgramAndReleasesItWhenClosed) {
    TempWorkDir dir;
    dir.WriteFile("test/scripts/cvars.txt", "renderer_type \"GLRenderer\"\nfilter_textures \"0\"\n");
    Color shaded = {}, fixedFunction = {};
    GLuint program = 1;
    ModelRecord* model = nullptr;
    bool released = false, collected = false;
    RunEngine([&](int frame) {
        if (frame == 1) {
            CommandGlobal("view_model plane.vmdl");
        } else if (frame == 4) {
            auto* viewer = dynamic_cast<ModelViewer*>(g_rootPanel->GetLayer(kLayerGameUI)->FindChild(kModelViewerName));
            ASSERT_NE(viewer, nullptr);
            model = g_modelMgr->GetModel(viewer->view->model);
            const int x = viewer->view->screenX + viewer->view->width / 2 - 15;
            const int y = viewer->view->screenY + viewer->view->height / 2 - 15;
            shaded = DrawnPixel(x, y);
            // A shader that no longer compiles takes the program away; the view draws on without it.
            dir.WriteFile("test/shaders/model.frag", "not glsl");
            cv_shader_reload.SetString("1");
            program = modelProgram;
            fixedFunction = DrawnPixel(x, y);
            viewer->closeButton->OnClick();
        } else if (frame == 6) {
            released = model && model->refCount == 0 && model->releaseTime != 0;
            s_farFuture = model ? model->releaseTime : 0;
            g_resourceTicks = [] { return s_farFuture; };
        } else if (frame == 9) {
            collected = model && model->name.empty();
            g_resourceTicks = SDL_GetTicks64;
            CommandGlobal("quit");
        }
    });
    EXPECT_TRUE(SameColor(shaded, kRed)) << "the top-left texel of plane.bmp through the model program";
    EXPECT_EQ(program, 0u);
    EXPECT_TRUE(SameColor(fixedFunction, kRed)) << "the same texel through the fixed-function path";
    EXPECT_TRUE(released) << "closing the viewer gives its model back";
    EXPECT_TRUE(collected) << "the collector frees the model once its delay has passed";
}

}  // namespace

// Counts every allocation made through operator new while counting is on. The plain and array forms
// are replaced together with their deletes; the library's nothrow forms call them.
static bool s_counting = false;
static long s_allocations = 0;

static void* CountedAllocate(std::size_t size) {
    s_allocations += s_counting;
    if (void* p = std::malloc(size == 0 ? 1 : size)) return p;
    throw std::bad_alloc();
}
void* operator new(std::size_t size) { return CountedAllocate(size); }
void* operator new[](std::size_t size) { return CountedAllocate(size); }
void operator delete(void* p) noexcept { std::free(p); }
void operator delete[](void* p) noexcept { std::free(p); }
void operator delete(void* p, std::size_t) noexcept { std::free(p); }
void operator delete[](void* p, std::size_t) noexcept { std::free(p); }

// Frames 20 to 49 of a scene with forms, panels, a focused text box and a log with a selection.
static long SteadyFrameAllocations(const std::string& cvars) {
    TempWorkDir dir;
    dir.WriteFile("test/scripts/cvars.txt", "debug_drawoutline 1\nframe_delay 0\n" + cvars);
    long allocations = -1;
    RunEngine([&](int frame) {
        if (frame == 0) {
            CommandGlobal("test_create_form 5");
            CommandGlobal("view_model plane.vmdl");
            CommandGlobal("test_create_panel 5");
            TextBox* box = new TextBox("txb_steady");
            box->SetText("steady frames allocate nothing at all");
            g_rootPanel->layerTools->AddChild(box);
            box->Focus();
            RichTextBox* log = new RichTextBox("log_steady");
            log->SetProperty("size", "300 200");
            log->AppendText("first line\nsecond line\n\nfourth line that is long enough to be cut at the edge\n");
            log->selectionEnd = TextPosition{3, 3};
            log->y = 40;
            g_rootPanel->layerTools->AddChild(log);
        }
        s_counting = frame >= 20 && frame < 50;
        s_allocations = frame == 20 ? 0 : s_allocations;
        if (frame == 50) {
            allocations = s_allocations;
            CommandGlobal("quit");
        }
    });
    return allocations;
}

TEST(SteadyState, FramesAllocateNothingOnceTheSceneIsBuilt) { EXPECT_EQ(SteadyFrameAllocations(""), 0); }

TEST(SteadyState, GLFramesAllocateNothingOnceTheSceneIsBuilt) {
    EXPECT_EQ(SteadyFrameAllocations("renderer_type GLRenderer\n"), 0);
}
