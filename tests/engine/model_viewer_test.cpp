#include <SDL_opengl.h>
#include <gtest/gtest.h>

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

}  // namespace
