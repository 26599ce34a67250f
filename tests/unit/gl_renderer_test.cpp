#include <gtest/gtest.h>

#include <cstdio>
#include <string>
#include <vector>

#include "console/cvars.h"
#include "engine/engine.h"
#include "render/shader_program.h"
#include "resources/model_mgr.h"
#include "resources/texture_mgr.h"
#include "support/engine_fixture.h"
#include "support/offscreen.h"

namespace {

class GLRendererTest : public OffscreenTest {
protected:
    GLRendererTest() : OffscreenTest(640, 480, kRendererGL) {}
    Frame DrawModel(ModelRecord* model) {
        return Render(kGrey, [&] {
            g_renderer->Begin3D(0, 0, 640, 480, 90.0f, 1.0f, 100.0f);
            g_renderer->DrawModel(model, 0.0f, 0.0f, -2.0f, 0.0f, 0.0f, 0.0f);
        });
    }
    LogCapture log_;
};

TEST_F(GLRendererTest, PlaneModelLooksTheSameThroughProgramAndImmediateModeEvenWhenDamaged) {
    ASSERT_TRUE(g_textureMgr->Init());
    ASSERT_TRUE(g_modelMgr->Init());
    cv_filter_textures.SetString("0");  // each quarter of the plane is then exactly one texel
    ModelRecord* plane = g_modelMgr->GetModel(g_modelMgr->LoadModel("plane.vmdl"));
    ASSERT_NE(plane, nullptr);
    EXPECT_TRUE(plane->uploaded);
    EXPECT_EQ(plane->vertices.capacity() + plane->indices.capacity(), 0u) << "CPU copies freed after the upload";
    const std::vector<Probe> quarters = {{240, 160, kRed, "top left"},    {400, 160, kGreen, "top right"},
                                         {240, 320, kBlue, "bottom left"}, {400, 320, kWhite, "bottom right"},
                                         {100, 240, kGrey, "beside"}};
    ExpectProbes(DrawModel(plane), quarters);

    // The same plane from CPU arrays, with a damaged second section: a texture index beyond the
    // list, a run past the indices and a vertex number past the vertices.
    ModelRecord cpu;
    cpu.vertices = {{-1, 1, 0, 0, 0, 1, 0, 0}, {1, 1, 0, 0, 0, 1, 1, 0}, {1, -1, 0, 0, 0, 1, 1, 1},
                    {-1, -1, 0, 0, 0, 1, 0, 1}};
    cpu.indices = {0, 3, 2, 0, 2, 1, 99, 0, 1};
    cpu.sections = {{0, 0, 6}, {7, 6, 1000}};
    cpu.textureHandles = plane->textureHandles;
    ExpectProbes(DrawModel(&cpu), quarters);

    plane->sections.push_back({9, 4, 1u << 30});
    ExpectProbes(DrawModel(plane), quarters);
    const uint32_t program = modelProgram;
    modelProgram = 0;
    ExpectProbes(DrawModel(plane), {{240, 160, kGrey, "no program, no draw"}});
    modelProgram = program;
}

TEST_F(GLRendererTest, ShaderReloadRebuildsOnEveryWriteAndReportsBadSources) {
    ASSERT_NE(modelProgram, 0u);
    const std::string frag = dir_.ReadFile("test/shaders/model.frag");
    const std::string noMain = "#version 330 compatibility\nvoid helper() {}\n";  // compiles, cannot link
    const struct {
        std::string frag;
        const char* first;
        const char* last;
        bool built;
    } cases[] = {
        {"not glsl", "Shader compilation failed:\n", "Error: Failed to build model shader program.\n", false},
        {"", "Error: Model shader source is missing.\n", "Error: Model shader source is missing.\n", false},
        {frag, "Model shader compiled successfully. Program ID = ", "\n", true},
        {frag, "Model shader compiled successfully. Program ID = ", "\n", true},  // same value, rebuilt
        {noMain, "Shader program linking failed:\n", "Error: Failed to build model shader program.\n", false},
    };
    for (const auto& c : cases) {
        dir_.WriteFile("test/shaders/model.frag", c.frag);
        log_.Clear();
        cv_shader_reload.SetString("1");
        const std::string& text = log_.text();
        EXPECT_EQ(text.rfind(c.first, 0), 0u) << text;
        EXPECT_EQ(text.substr(text.size() - std::string(c.last).size()), c.last) << text;
        EXPECT_EQ(modelProgram != 0, c.built) << text;
    }
    dir_.WriteFile("test/shaders/model.frag", frag);
    cv_shader_reload.SetString("1");
    const uint32_t built = modelProgram;
    std::remove("test/shaders/model.vert");
    std::remove("test/shaders/model.frag");
    log_.Clear();
    EXPECT_FALSE(BuildModelShader());
    EXPECT_EQ(log_.text(),
              "Failed to open shader file: ./test/shaders/model.vert\n"
              "Failed to open shader file: ./test/shaders/model.frag\n"
              "Error: Model shader source is missing.\n");
    EXPECT_EQ(modelProgram, built) << "a missing source leaves the program as it was";
}

}  // namespace
