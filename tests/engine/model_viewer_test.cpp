#include <SDL_opengl.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <string>

#include "app/model_viewer.h"
#include "console/command_system.h"
#include "console/cvars.h"
#include "engine/engine.h"
#include "render/renderer.h"
#include "render/shader_program.h"
#include "resources/model_mgr.h"
#include "support/desktop.h"
#include "support/engine_fixture.h"
#include "ui/button.h"
#include "ui/model_panel.h"
#include "ui/root_panel.h"

namespace {

// The interface drawn afresh and the pixel read back before anything is presented; y from the top.
Color DrawnPixel(int x, int y) {
    g_renderer->Begin2D();
    g_rootPanel->Draw();
    Color c = {0, 0, 0, 0};
    glReadPixels(x, g_windowHeight - 1 - y, 1, 1, GL_RGBA, GL_UNSIGNED_BYTE, &c);
    return c;
}

// Releasing and collecting are the handle table's; here the viewer's pixels with and without the program.
TEST(ModelViewerEngine, ShowsTheModelWithOrWithoutItsProgramAndReleasesItWhenClosed) {
    TempWorkDir dir;
    dir.WriteFile("test/scripts/cvars.txt", "renderer_type \"GLRenderer\"\nfilter_textures \"0\"\n");
    ModelRecord* model = nullptr;
    int heldAfterClose = -1;
    Color shaded = {}, fixedFunction = {};
    GLuint program = 1;
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
            heldAfterClose = model ? model->refCount : -1;
            CommandGlobal("quit");
        }
    });
    EXPECT_TRUE(SameColor(shaded, kRed)) << "the top-left texel of plane.bmp through the model program";
    EXPECT_EQ(program, 0u);
    EXPECT_TRUE(SameColor(fixedFunction, kRed)) << "the same texel through the fixed-function path";
    EXPECT_EQ(heldAfterClose, 0) << "closing the viewer gives its model back";
}

// The host without X on the offscreen driver, the model viewer asked for on the command line.
int ViewWithHost(const TempWorkDir& dir, const std::string& file, std::string* out) {
    VormiProcess run("", dir.path(), {"--view", file, "--frames", "5"},
                     {"SDL_VIDEODRIVER=offscreen", "TMPDIR=" + dir.path() + "/tmp"});
    const int status = run.Wait(60);
    *out = run.output();
    return status;
}

TEST(ModelViewerEngine, HostViewsAModelFromAnywhereWithItsTexturesBesideIt) {
    TempWorkDir dir;
    std::filesystem::create_directories("tmp");
    std::filesystem::create_directories("elsewhere");
    dir.WriteFile("test/scripts/cvars.txt", "renderer_type \"GLRenderer\"\n");
    dir.WriteFile("elsewhere/tri.obj", "mtllib tri.mtl\nv 0 0 0\nv 1 0 0\nv 0 1 0\nusemtl red\nf 1 2 3\n");
    dir.WriteFile("elsewhere/tri.mtl", "newmtl red\nKd 1 0 0\n");
    std::string out;
    ASSERT_EQ(ViewWithHost(dir, dir.path() + "/elsewhere/tri.obj", &out), 0) << out;
    EXPECT_NE(out.find("tri.vmdl: 3 vertices, 1 triangles, 1 materials"), std::string::npos) << out;
    EXPECT_EQ(out.find("Warning"), std::string::npos) << "the texture beside the model is found:\n" << out;
    EXPECT_EQ(out.find("Error"), std::string::npos) << out;
    EXPECT_TRUE(std::filesystem::is_empty("tmp")) << "the converted copy is removed at exit";

    dir.WriteFile("elsewhere/broken.obj", "nothing here\n");
    EXPECT_EQ(ViewWithHost(dir, dir.path() + "/elsewhere/broken.obj", &out), 1);
    EXPECT_NE(out.find("vormi-convert: "), std::string::npos) << out;
    EXPECT_EQ(ViewWithHost(dir, dir.path() + "/elsewhere", &out), 1) << "a folder is refused, not read";
    EXPECT_NE(out.find("cannot be read"), std::string::npos) << out;
    EXPECT_EQ(ViewWithHost(dir, "no/such.obj", &out), 1);
    EXPECT_NE(out.find("vormi: --view no/such.obj: No such file or directory"), std::string::npos) << out;
}

}  // namespace
