#include <SDL.h>
#include <SDL_opengl.h>
#include <SDL_ttf.h>
#include <gtest/gtest.h>

#include <cstdio>
#include <string>
#include <vector>

#include "console/cvars.h"
#include "engine/engine.h"
#include "render/gl_renderer.h"
#include "render/shader_program.h"
#include "resources/font_system.h"
#include "resources/model_mgr.h"
#include "resources/texture_mgr.h"
#include "support/engine_fixture.h"
#include "support/offscreen.h"

namespace {


struct Probe {
    int x, y;
    Color want;
};

class GLRendererTest : public ::testing::Test {
protected:
    void SetUp() override {
        ASSERT_EQ(SDL_Init(SDL_INIT_VIDEO), 0) << SDL_GetError();
        ASSERT_EQ(TTF_Init(), 0);
        g_window = SDL_CreateWindow("gl", 0, 0, 640, 480, SDL_WINDOW_OPENGL | SDL_WINDOW_HIDDEN);
        ASSERT_NE(g_window, nullptr) << SDL_GetError();
        g_renderer = renderer = new GLRenderer();
        ASSERT_TRUE(renderer->Init()) << log.text();
        g_rendererReady = true;
        renderer->PostInit();
        renderer->UpdateViewportScale();
        renderer->SetBlendMode(SDL_BLENDMODE_BLEND);
        ASSERT_TRUE(g_textureMgr->Init() && g_modelMgr->Init());
        renderer->Begin2D();
        renderer->SetDrawColor(0, 0, 0, 255);
        renderer->Clear();
    }
    void TearDown() override {
        g_modelMgr->Shutdown();
        g_textureMgr->Shutdown();
        g_rendererReady = false;
        delete renderer;
        g_renderer = nullptr;
        SDL_DestroyWindow(g_window);
        g_window = nullptr;
        TTF_Quit();
        SDL_Quit();
    }
    Color Pixel(int x, int y) const {
        renderer->Flush();
        uint8_t p[4] = {};
        glReadPixels(x, 479 - y, 1, 1, GL_RGBA, GL_UNSIGNED_BYTE, p);
        return Color{p[0], p[1], p[2], p[3]};
    }
    void Expect(const std::vector<Probe>& probes) const {
        for (const Probe& p : probes) {
            EXPECT_TRUE(SameColor(Pixel(p.x, p.y), p.want)) << " at (" << p.x << "," << p.y << ")";
        }
    }
    TempWorkDir dir;
    LogCapture log;
    GLRenderer* renderer = nullptr;
};

}  // namespace

TEST_F(GLRendererTest, UiPrimitivesLightTheSamePixelsAsOnTheSdlRenderer) {
    const Rect fill = {10, 10, 30, 20}, outline = {60, 10, 20, 20}, clip = {100, 0, 10, 10};
    const Rect wide = {100, 0, 50, 50}, checker = {200, 0, 40, 40};
    renderer->FillRect(&fill, kRed);
    renderer->DrawRect(&outline, kGreen);
    renderer->DrawLine({10, 50}, {20, 50}, kBlue, 1);
    renderer->SetClipRect(&clip);
    renderer->FillRect(&wide, kWhite);
    renderer->SetClipRect(nullptr);
    renderer->DrawTextureById(&checker, kWhite, 0);
    renderer->FillCircle({300, 50}, 20, kRed, 32);
    renderer->FillCircle({360, 50}, 20, kRed, 0);
    renderer->DrawCircle({420, 50}, 20, kRed, 1, 2);
    Expect({{10, 10, kRed},      {39, 29, kRed},      {40, 30, kBlack},    {70, 10, kGreen},  {79, 20, kGreen}, {70, 29, kGreen}, {60, 20, kGreen},
            {70, 20, kBlack},    {10, 50, kBlue},     {20, 50, kBlue},     {21, 50, kBlack},  {105, 5, kWhite},
            {115, 5, kBlack},    {105, 15, kBlack},   {201, 1, kMagenta},  {219, 19, kMagenta}, {220, 1, kBlack},
            {239, 39, kMagenta}, {300, 50, kRed},     {315, 50, kRed},     {325, 50, kBlack}, {360, 50, kBlack},
            {440, 50, kBlack}});

    const int font = g_fontSystem->LoadFont("OpenSans", "./test/fonts/OpenSans-Regular.ttf", 32, kWhite,
                                            Color{0, 0, 0, 0});
    ASSERT_GE(font, 0);
    const Rect& h = g_fontSystem->GetFont(font)->glyphs['H'];
    renderer->DrawText(font, "\tH", 500, 100);
    int lit = 0;
    for (int y = 100; y < 100 + h.h; ++y) {
        for (int x = 500; x < 500 + h.w; ++x) {
            lit += Pixel(x, y).r > 200;
        }
    }
    EXPECT_GT(lit, h.h) << "the two stems of the H";
    EXPECT_EQ(glGetError(), static_cast<GLenum>(GL_NO_ERROR));
}

TEST_F(GLRendererTest, PlaneModelUploadsAndLooksTheSameThroughProgramAndImmediateMode) {
    cv_filter_textures.SetString("0");  // each quarter of the plane is then exactly one texel
    const int handle = g_modelMgr->LoadModel("plane.vmdl");
    ModelRecord* plane = g_modelMgr->GetModel(handle);
    ASSERT_TRUE(handle >= 1 && plane);
    EXPECT_TRUE(plane->uploaded && plane->vertexBuffer != 0 && plane->indexBuffer != 0);
    EXPECT_EQ(plane->vertices.capacity() + plane->indices.capacity(), 0u);

    const std::vector<Probe> quarters = {
        {240, 160, kRed}, {400, 160, kGreen}, {240, 320, kBlue}, {400, 320, kWhite}, {100, 240, kGrey}};
    auto draw = [&](ModelRecord* model) {
        renderer->SetDrawColor(128, 128, 128, 255);
        renderer->Clear();
        renderer->Begin3D(0, 0, 640, 480, 90.0f, 1.0f, 100.0f);
        renderer->DrawModel(model, 0.0f, 0.0f, -2.0f, 0.0f, 0.0f, 0.0f);
    };
    draw(plane);
    Expect(quarters);

    // The same plane from CPU arrays, with a damaged second section: a texture index beyond the
    // list, a run past the indices and a vertex number past the vertices.
    ModelRecord cpu;
    cpu.vertices = {{-1, 1, 0, 0, 0, 1, 0, 0}, {1, 1, 0, 0, 0, 1, 1, 0}, {1, -1, 0, 0, 0, 1, 1, 1},
                    {-1, -1, 0, 0, 0, 1, 0, 1}};
    cpu.indices = {0, 3, 2, 0, 2, 1, 99, 0, 1};
    cpu.sections = {{0, 0, 6}, {7, 6, 1000}};
    cpu.textureHandles = plane->textureHandles;
    draw(&cpu);
    Expect(quarters);

    plane->sections.push_back({9, 4, 1u << 30});
    draw(plane);
    Expect(quarters);
    const uint32_t program = modelProgram;
    modelProgram = 0;
    draw(plane);
    modelProgram = program;
    Expect({{240, 160, kGrey}, {400, 320, kGrey}});
}

TEST_F(GLRendererTest, ShaderReloadRebuildsOnEveryWriteAndReportsBadSources) {
    ASSERT_NE(modelProgram, 0u);
    EXPECT_NE(log.text().find("Model shader compiled successfully. Program ID = " + std::to_string(modelProgram)),
              std::string::npos);
    const std::string frag = dir.ReadFile("test/shaders/model.frag");
    const std::string noMain = "#version 330 compatibility\nvoid helper() {}\n";  // compiles, cannot link
    struct Case {
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
    for (const Case& c : cases) {
        dir.WriteFile("test/shaders/model.frag", c.frag);
        log.Clear();
        cv_shader_reload.SetString("1");
        const std::string& text = log.text();
        EXPECT_EQ(text.rfind(c.first, 0), 0u) << text;
        EXPECT_EQ(text.substr(text.size() - std::string(c.last).size()), c.last) << text;
        EXPECT_EQ(modelProgram != 0, c.built) << text;
    }

    dir.WriteFile("test/shaders/model.frag", frag);
    cv_shader_reload.SetString("1");
    const uint32_t built = modelProgram;
    std::remove("test/shaders/model.vert");
    std::remove("test/shaders/model.frag");
    log.Clear();
    EXPECT_FALSE(BuildModelShader());
    EXPECT_EQ(log.text(),
              "Failed to open shader file: ./test/shaders/model.vert\n"
              "Failed to open shader file: ./test/shaders/model.frag\n"
              "Error: Model shader source is missing.\n");
    EXPECT_EQ(modelProgram, built);
}
