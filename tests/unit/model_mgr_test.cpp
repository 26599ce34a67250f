#include <utility>

#include "console/cvars.h"
#include "render/shader_program.h"
#include "support/offscreen.h"

namespace {

// test/models/plane.vmdl: a unit quad facing the camera, indices {0, 3, 2, 0, 2, 1} in one section,
// textured with plane.bmp (one red, green, blue and white texel per quarter). The header fields the
// loader reads: the mesh header's offset, then each array's count and offset (strings: size, offset).
const size_t kFields[] = {44, 56, 52, 76 + 36, 76 + 40, 76 + 44, 76 + 48, 76 + 52, 76 + 56};
enum Field { kStrings = 1, kVertices = 3, kIndices = 5, kSections = 7 };
const std::vector<ModelVertex> kQuad = {{-1, 1, 0, 0, 0, 1, 0, 0}, {1, 1, 0, 0, 0, 1, 1, 0}, {1, -1, 0, 0, 0, 1, 1, 1},
                                        {-1, -1, 0, 0, 0, 1, 0, 1}};

void PutI32(std::string& bytes, size_t at, int32_t value) {
    for (int i = 0; i < 4; ++i) bytes[at + i] = static_cast<char>((static_cast<uint32_t>(value) >> (8 * i)) & 0xFF);
}

// Appends the items and points the field's count (or size) and offset at them.
template <typename T>
void Put(std::string& bytes, Field field, const std::vector<T>& items) {
    PutI32(bytes, kFields[field], static_cast<int32_t>(items.size()));
    PutI32(bytes, kFields[field + 1], static_cast<int32_t>(bytes.size()));
    bytes.append(reinterpret_cast<const char*>(items.data()), items.size() * sizeof(T));
}

Texture* Skin() { return g_textureMgr->GetTexture(g_textureMgr->FindTexture("plane.bmp")); }

class ModelMgrTest : public OffscreenTest {
protected:
    void Write(const std::string& name, const std::string& bytes) { dir_.WriteFile("test/models/" + name, bytes); }
    const std::string plane_ = dir_.ReadFile("test/models/plane.vmdl");
};

TEST_F(ModelMgrTest, LoadsOnceByNormalisedNameAndReportsUnreadableFiles) {
    std::string bytes = plane_;
    const char names[] = "plane.bmp\0\0absent.bmp";
    Put(bytes, kStrings, std::vector<char>(names, names + sizeof(names) - 1));
    Put(bytes, kSections, std::vector<ModelSection>{{0, 0, 3}, {1, 3, 3}});
    Write("quad.vmdl", bytes);
    const int handle = g_modelMgr->LoadModel("quad.vmdl");
    ASSERT_GE(handle, 1) << g_consoleText;
    const ModelRecord* model = g_modelMgr->GetModel(handle);
    EXPECT_EQ(model->indices, (std::vector<uint32_t>{0, 3, 2, 0, 2, 1}));
    ASSERT_EQ(model->sections.size(), 2u);
    EXPECT_EQ(model->sections[1].firstIndex, 3u);
    EXPECT_EQ(model->textureNames, (std::vector<std::string>{"plane.bmp", "absent.bmp"}));
    EXPECT_EQ(model->textureHandles, (std::vector<int>{g_textureMgr->FindTexture("plane.bmp"), 0}));
    std::filesystem::remove("test/models/quad.vmdl");
    EXPECT_EQ(g_modelMgr->LoadModel(".\\quad.vmdl"), handle);

    std::string wrongMagic = plane_;
    wrongMagic[3] = 'X';
    Write("magic.vmdl", wrongMagic);
    Write("tiny.vmdl", "VE");
    const char* const cases[][2] = {{"absent.vmdl", "Error: Could not open model file: ./test/models/absent.vmdl\n"},
                                    {"magic.vmdl", "Invalid model magic number: ./test/models/magic.vmdl\n"},
                                    {"tiny.vmdl", "Invalid model magic number: ./test/models/tiny.vmdl\n"}};
    for (const auto& c : cases) {
        g_consoleText.clear();
        EXPECT_EQ(g_modelMgr->LoadModel(c[0]), 0) << c[0];
        EXPECT_EQ(g_consoleText, c[1]);
    }
    Write("magic.vmdl", plane_);
    EXPECT_GE(g_modelMgr->LoadModel("magic.vmdl"), 1) << "failures are not remembered";
    EXPECT_EQ(g_modelMgr->GetModel(0)->name, "missing_model");
}

TEST_F(ModelMgrTest, AHeldModelWithNoVerticesReplacedByTheNextLoadLeavesNoTextureReference) {
    std::string empty = plane_;
    PutI32(empty, kFields[kVertices], 0);
    Write("empty.vmdl", empty);
    int holder = 0;
    g_modelMgr->SetModel("empty.vmdl", holder);
    ASSERT_GE(holder, 1);
    EXPECT_EQ(Skin()->refCount, 1);
    EXPECT_EQ(g_modelMgr->LoadModel("plane.vmdl"), holder) << "an entry without vertices looks free";
    EXPECT_EQ(Skin()->refCount, 1) << "the overwritten entry gave its reference back";
}

// Four vertices announced where two and a half remain: the rest is zero, and every later read comes up
// empty, leaving indices and sections zero-filled at their announced sizes. (Edge values of every
// header field are the model fuzz target's.)
TEST_F(ModelMgrTest, ATruncatedFileLoadsWithItsArraysZeroFilled) {
    std::string bytes = plane_.substr(0, 146 + 80);
    const int32_t announced[][2] = {{kIndices, 3}, {kIndices + 1, 0}, {kSections, 1}};
    for (const auto& a : announced) PutI32(bytes, kFields[a[0]], a[1]);
    Write("short.vmdl", bytes);
    const ModelRecord* model = g_modelMgr->GetModel(g_modelMgr->LoadModel("short.vmdl"));
    ASSERT_EQ(model->vertices.size(), 4u);
    EXPECT_EQ(model->vertices[1].px, 1.0f);
    EXPECT_EQ(model->vertices[3].px, 0.0f);
    EXPECT_EQ(model->indices, (std::vector<uint32_t>{0, 0, 0}));
    ASSERT_EQ(model->sections.size(), 1u);
    EXPECT_EQ(model->sections[0].indexCount, 0u);
}

class ModelDrawing : public RendererTest {
protected:
    Frame Draw(ModelRecord* model) {
        return Render(kGrey, [&] {
            g_renderer->Begin3D(0, 0, width_, height_, 90.0f, 1.0f, 100.0f);
            g_renderer->DrawModel(model, 0.0f, 0.0f, -2.0f, 0.0f, 0.0f, 0.0f);
        });
    }
};

// The second section is damaged: a texture index past the list, a run past the indices and vertex
// numbers past the vertices. Only the plane's own triangles may be drawn.
TEST_P(ModelDrawing, IndicesPastTheVerticesDrawTheGoodTrianglesWithoutReadingOutsideThem) {
    cv_filter_textures.SetString("0");
    const std::vector<uint32_t> indices = {0, 3, 2, 0, 2, 1, 99, 1u << 31, 4};
    const std::vector<ModelSection> sections = {{0, 0, 6}, {5, 6, 1000}};
    std::string bad = dir_.ReadFile("test/models/plane.vmdl"), none = bad;
    Put(bad, kIndices, indices);
    Put(bad, kSections, sections);
    PutI32(none, kFields[kVertices], 0);
    dir_.WriteFile("test/models/bad.vmdl", bad);
    dir_.WriteFile("test/models/none.vmdl", none);
    const int badHandle = g_modelMgr->LoadModel("bad.vmdl"), emptyHandle = g_modelMgr->LoadModel("none.vmdl");
    ASSERT_NE(emptyHandle, badHandle);
    ModelRecord* model = g_modelMgr->GetModel(badHandle);
    ModelRecord* empty = g_modelMgr->GetModel(emptyHandle);
    EXPECT_EQ(model->uploaded, kind_ == kRendererGL);
    ExpectProbes(Draw(empty), {{320, 240, kGrey, "no vertices, nothing drawn"}});
    if (kind_ != kRendererGL) {
        ExpectProbes(Draw(model), {{240, 160, kGrey, "the SDL renderer draws no models"}});
        return;
    }
    const std::vector<Probe> quarters = {{240, 160, kRed, "top left"}, {400, 160, kGreen, "top right"},
                                         {240, 320, kBlue, "bottom left"}, {400, 320, kWhite, "bottom right"},
                                         {100, 240, kGrey, "beside"}};
    ExpectProbes(Draw(model), quarters);
    EXPECT_EQ(model->vertices.capacity() + model->indices.capacity(), 0u) << "CPU copies freed after the upload";
    // What went to the GPU: every vertex number inside the vertices, none at all without vertices.
    auto getBufferData = reinterpret_cast<PFNGLGETBUFFERSUBDATAPROC>(SDL_GL_GetProcAddress("glGetBufferSubData"));
    for (const ModelRecord* m : {model, empty}) {
        std::vector<uint32_t> uploaded(m->bufferIndexCount);
        g_gl.BindBuffer(GL_ELEMENT_ARRAY_BUFFER, m->indexBuffer);
        getBufferData(GL_ELEMENT_ARRAY_BUFFER, 0, uploaded.size() * 4, uploaded.data());
        g_gl.BindBuffer(GL_ELEMENT_ARRAY_BUFFER, 0);
        EXPECT_EQ(uploaded, (m == model ? std::vector<uint32_t>{0, 3, 2, 0, 2, 1, 0, 0, 0} : std::vector<uint32_t>{}));
    }
    // The same arrays from the CPU in immediate mode; without a program an uploaded model is not drawn.
    ModelRecord cpu{"cpu", kQuad, indices, sections, {}, model->textureHandles};
    ExpectProbes(Draw(&cpu), quarters);
    modelProgram = 0;
    ExpectProbes(Draw(model), {{240, 160, kGrey, "no program, no draw"}});
}

INSTANTIATE_ON_BOTH_RENDERERS(ModelDrawing);

void Write(const TempWorkDir& dir, const std::string& name, const std::string& bytes = TestDataFile("rgb24.bmp")) {
    dir.WriteFile("test/tex/" + name, bytes);
}

using TextureMgrTest = OffscreenTest;

TEST_F(TextureMgrTest, LoadsOnceByNormalisedNameAndUnreadableFilesWarnWithPathEveryTime) {
    Write(dir_, "a/b.bmp");
    const int handle = g_textureMgr->LoadTexture("a\\b.bmp");
    ASSERT_GE(handle, 1) << g_consoleText;
    std::filesystem::remove("test/tex/a/b.bmp");
    EXPECT_EQ(g_textureMgr->LoadTexture("./a//b.bmp"), handle) << "read once";
    EXPECT_EQ(g_textureMgr->GetTexture(0)->name, "missing");

    // Headers that promise far more pixels than the file holds are refused before SDL allocates.
    const std::string rgb = TestDataFile("rgb24.bmp");
    std::string huge = rgb, wide = rgb;
    huge[18] = huge[19] = huge[20] = 0x7F;
    wide[19] = 0x20;
    const std::pair<const char*, std::string> files[] = {
        {"nope.bmp", ""}, {"truncated.bmp", rgb.substr(0, rgb.size() - 10)}, {"header_only.bmp", rgb.substr(0, 20)},
        {"renamed.bmp", TestDataFile("png_renamed.bmp")}, {"huge.bmp", huge}, {"wide.bmp", wide}};
    for (const auto& f : files) {
        if (!f.second.empty()) Write(dir_, f.first, f.second);
        g_consoleText.clear();
        EXPECT_EQ(g_textureMgr->LoadTexture(f.first), 0) << f.first;
        EXPECT_EQ(g_consoleText, std::string("Warning: Failed to load texture: ./test/tex/") + f.first + "\n");
    }
    Write(dir_, "nope.bmp");
    EXPECT_GE(g_textureMgr->LoadTexture("nope.bmp"), 1) << "failures are not remembered";
}

}  // namespace
