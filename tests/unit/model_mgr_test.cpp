#include <SDL.h>
#include <SDL_opengl.h>
#include <gtest/gtest.h>

#include <climits>
#include <cstring>
#include <filesystem>
#include <random>
#include <string>
#include <vector>

#include "engine/console_output.h"
#include "render/gl_renderer.h"
#include "resources/model_mgr.h"
#include "resources/texture_mgr.h"
#include "support/offscreen.h"

namespace {

// The header fields the loader reads, in file order: the mesh header's offset, the string table's
// offset and size, then in the mesh header each array's count and offset.
const size_t kMeshAt = 76;
const size_t kStringTableAt = kMeshAt + 60;
const size_t kFields[] = {44, 52, 56, kMeshAt + 36, kMeshAt + 40, kMeshAt + 44, kMeshAt + 48, kMeshAt + 52, kMeshAt + 56};
enum Field { kVertexCount = 3, kIndexCount = 5, kIndices, kSectionCount };

void PutI32(std::string& bytes, size_t at, int32_t value) {
    for (int i = 0; i < 4; ++i) {
        bytes[at + i] = static_cast<char>((static_cast<uint32_t>(value) >> (8 * i)) & 0xFF);
    }
}

// A unit quad facing the camera, one section per triangle, textures named in the string table.
struct ModelFile {
    std::vector<ModelVertex> vertices = {{-1, 1, 0, 0, 0, 1, 0, 0}, {1, 1, 0, 0, 0, 1, 1, 0},
                                         {1, -1, 0, 0, 0, 1, 1, 1}, {-1, -1, 0, 0, 0, 1, 0, 1}};
    std::vector<uint32_t> indices = {0, 3, 2, 0, 2, 1};
    std::vector<ModelSection> sections = {{0, 0, 3}, {1, 3, 3}};
    std::string strings;

    explicit ModelFile(const std::string& textureNames = "") : strings(textureNames) {}
    std::string Build() const {
        std::string bytes(kStringTableAt, '\0');
        bytes.replace(0, 4, "VEMM");
        const size_t vertexAt = kStringTableAt + strings.size();
        const size_t indexAt = vertexAt + vertices.size() * sizeof(ModelVertex);
        const size_t sectionAt = indexAt + indices.size() * sizeof(uint32_t);
        const size_t values[] = {kMeshAt,        kStringTableAt, strings.size(),  vertices.size(), vertexAt,
                                 indices.size(), indexAt,        sections.size(), sectionAt};
        for (int i = 0; i < 9; ++i) {
            PutI32(bytes, kFields[i], static_cast<int32_t>(values[i]));
        }
        bytes += strings;
        bytes.append(reinterpret_cast<const char*>(vertices.data()), vertices.size() * sizeof(ModelVertex));
        bytes.append(reinterpret_cast<const char*>(indices.data()), indices.size() * sizeof(uint32_t));
        bytes.append(reinterpret_cast<const char*>(sections.data()), sections.size() * sizeof(ModelSection));
        return bytes;
    }
};

void WriteModel(TempWorkDir& dir, const std::string& name, const std::string& bytes) {
    dir.WriteFile("test/models/" + name, bytes);
}

Texture* Skin() {
    return g_textureMgr->GetTexture(g_textureMgr->FindTexture("skin.bmp"));
}

class ModelMgrTest : public OffscreenTest {
protected:
    void SetUp() override {
        OffscreenTest::SetUp();
        ASSERT_TRUE(g_textureMgr->Init());
        ASSERT_TRUE(g_modelMgr->Init());
        dir_.WriteFile("test/tex/skin.bmp", TestDataFile("rgb24.bmp"));
    }
};

TEST_F(ModelMgrTest, LoadsGeometryOnceAndModelsNamingOneTextureShareIt) {
    const ModelFile file(std::string("skin.bmp\0\0absent.bmp", 20));
    WriteModel(dir_, "quad.vmdl", file.Build());
    WriteModel(dir_, "other.vmdl", ModelFile("skin.bmp").Build());
    const int handle = g_modelMgr->LoadModel("quad.vmdl");
    ASSERT_GE(handle, 1) << g_consoleText;
    const ModelRecord* model = g_modelMgr->GetModel(handle);
    ASSERT_EQ(model->vertices.size(), 4u);
    ASSERT_EQ(model->sections.size(), 2u);
    EXPECT_EQ(std::memcmp(model->vertices.data(), file.vertices.data(), 4 * sizeof(ModelVertex)), 0);
    EXPECT_EQ(model->indices, file.indices);
    EXPECT_EQ(std::memcmp(model->sections.data(), file.sections.data(), 2 * sizeof(ModelSection)), 0);
    EXPECT_EQ(model->textureNames, (std::vector<std::string>{"skin.bmp", "absent.bmp"}));
    EXPECT_EQ(model->textureHandles, (std::vector<int>{g_textureMgr->FindTexture("skin.bmp"), 0}));
    EXPECT_FALSE(model->uploaded) << "CPU arrays only under the SDL renderer";

    std::filesystem::remove("test/models/quad.vmdl");
    EXPECT_EQ(g_modelMgr->LoadModel(".\\quad.vmdl"), handle);
    const int other = g_modelMgr->LoadModel("other.vmdl");
    EXPECT_EQ(Skin()->refCount, 2);
    EXPECT_EQ(g_textureMgr->GetTexture(0)->refCount, 0);
    g_modelMgr->UnloadModel(handle);
    EXPECT_TRUE(g_modelMgr->GetModel(handle)->name.empty());
    EXPECT_EQ(Skin()->refCount, 1);
    now_ = 5000;
    g_modelMgr->UnloadModel(other);
    EXPECT_EQ(Skin()->releaseTime, 35000u) << "the last model gives its texture back";
}

TEST_F(ModelMgrTest, UnreadableFilesReportPathAndGiveFallback) {
    std::string wrongMagic = ModelFile().Build();
    wrongMagic[3] = 'X';
    WriteModel(dir_, "magic.vmdl", wrongMagic);
    WriteModel(dir_, "tiny.vmdl", "VE");
    const char* const cases[][2] = {{"absent.vmdl", "Error: Could not open model file: ./test/models/absent.vmdl\n"},
                                    {"magic.vmdl", "Invalid model magic number: ./test/models/magic.vmdl\n"},
                                    {"tiny.vmdl", "Invalid model magic number: ./test/models/tiny.vmdl\n"}};
    for (const auto& c : cases) {
        g_consoleText.clear();
        EXPECT_EQ(g_modelMgr->LoadModel(c[0]), 0) << c[0];
        EXPECT_EQ(g_consoleText, c[1]);
    }
    WriteModel(dir_, "magic.vmdl", ModelFile().Build());
    EXPECT_GE(g_modelMgr->LoadModel("magic.vmdl"), 1) << "failures are not remembered";
    EXPECT_EQ(g_modelMgr->GetModel(0)->name, "missing_model");
}

TEST_F(ModelMgrTest, AHeldModelWithNoVerticesReplacedByTheNextLoadLeavesNoTextureReference) {
    ModelFile empty("skin.bmp");
    empty.vertices.clear();
    WriteModel(dir_, "empty.vmdl", empty.Build());
    WriteModel(dir_, "next.vmdl", ModelFile().Build());
    int holder = 0;
    g_modelMgr->SetModel("empty.vmdl", holder);
    ASSERT_GE(holder, 1);
    EXPECT_EQ(Skin()->refCount, 1);
    EXPECT_EQ(g_modelMgr->LoadModel("next.vmdl"), holder) << "an entry without vertices looks free";
    EXPECT_EQ(Skin()->refCount, 0);
    EXPECT_EQ(Skin()->releaseTime, 31000u);
}

TEST_F(ModelMgrTest, ArraysAreBoundedByTheFileAndMalformedFilesAlwaysLoad) {
    // Two vertices in the file but four announced: the rest is zero, and every later read comes up
    // empty, leaving indices and sections zero-filled at their announced sizes.
    ModelFile shortFile;
    shortFile.vertices.resize(2);
    shortFile.indices.clear();
    shortFile.sections.clear();
    std::string shortBytes = shortFile.Build();
    PutI32(shortBytes, kFields[kVertexCount], 4);
    PutI32(shortBytes, kFields[kIndexCount], 3);
    PutI32(shortBytes, kFields[kIndices], 0);
    PutI32(shortBytes, kFields[kSectionCount], 1);
    WriteModel(dir_, "short.vmdl", shortBytes);
    const ModelRecord* model = g_modelMgr->GetModel(g_modelMgr->LoadModel("short.vmdl"));
    ASSERT_EQ(model->vertices.size(), 4u);
    EXPECT_EQ(model->vertices[1].px, 1.0f);
    EXPECT_EQ(model->vertices[2].px, 0.0f);
    EXPECT_EQ(model->indices, (std::vector<uint32_t>{0, 0, 0}));
    ASSERT_EQ(model->sections.size(), 1u);
    EXPECT_EQ(model->sections[0].indexCount, 0u);

    const std::string base = ModelFile(std::string("a.bmp\0b.bmp", 11)).Build();
    const int32_t edges[] = {0, 1, -1, INT_MIN, INT_MAX, static_cast<int32_t>(base.size()),
                             static_cast<int32_t>(base.size()) - 1, 0x10000000};
    std::mt19937 random(20240611u);
    for (int round = 0; round < 300; ++round) {
        std::string bytes = base;
        for (int e = 1 + static_cast<int>(random() % 4); e > 0; --e) {
            switch (random() % 4) {
            case 0: PutI32(bytes, kFields[random() % 9], edges[random() % 8]); break;
            case 1: PutI32(bytes, kFields[random() % 9], static_cast<int32_t>(random())); break;
            case 2: bytes[4 + random() % (bytes.size() - 4)] = static_cast<char>(random()); break;
            default: bytes.resize(4 + random() % (bytes.size() - 4)); break;
            }
        }
        const std::string name = "fuzz" + std::to_string(round) + ".vmdl";
        WriteModel(dir_, name, bytes);
        const int handle = g_modelMgr->LoadModel(name);
        ASSERT_GE(handle, 1) << "round " << round;
        model = g_modelMgr->GetModel(handle);
        EXPECT_LE(model->vertices.size() * sizeof(ModelVertex), bytes.size()) << "round " << round;
        EXPECT_LE(model->indices.size() * sizeof(uint32_t), bytes.size()) << "round " << round;
        EXPECT_LE(model->sections.size() * sizeof(ModelSection), bytes.size()) << "round " << round;
        ASSERT_EQ(model->textureNames.size(), model->textureHandles.size());
        if (round % 2 == 0) {
            g_modelMgr->UnloadModel(handle);
        }
    }
}

class ModelDrawing : public RendererTest {};

TEST_P(ModelDrawing, IndicesPastTheVerticesDrawWithoutReadingOutsideThem) {
    ASSERT_TRUE(g_textureMgr->Init());
    ASSERT_TRUE(g_modelMgr->Init());
    ModelFile file;
    file.indices = {0, 3, 2, 0, 99, 1u << 31, 4};
    file.sections = {{0, 0, 7}, {5, 4, 1000}};
    WriteModel(dir_, "bad.vmdl", file.Build());
    ModelFile none;
    none.vertices.clear();
    WriteModel(dir_, "none.vmdl", none.Build());
    for (const char* name : {"bad.vmdl", "none.vmdl"}) {
        ModelRecord* model = g_modelMgr->GetModel(g_modelMgr->LoadModel(name));
        ASSERT_NE(model, nullptr);
        EXPECT_EQ(model->uploaded, kind_ == kRendererGL) << name;
        const Frame frame = Render(kGrey, [&] {
            g_renderer->Begin3D(0, 0, width_, height_, 90.0f, 1.0f, 100.0f);
            g_renderer->DrawModel(model, 0.0f, 0.0f, -2.0f, 0.0f, 0.0f, 0.0f);
        });
        ExpectProbes(frame, {{20, 20, kGrey, "outside the quad"}});
        if (kind_ != kRendererGL) {
            continue;
        }
        // What went to the GPU: every vertex number inside the vertices, none at all without vertices.
        auto getBufferData = reinterpret_cast<PFNGLGETBUFFERSUBDATAPROC>(SDL_GL_GetProcAddress("glGetBufferSubData"));
        std::vector<uint32_t> uploaded(model->bufferIndexCount);
        g_gl.BindBuffer(GL_ELEMENT_ARRAY_BUFFER, model->indexBuffer);
        getBufferData(GL_ELEMENT_ARRAY_BUFFER, 0, uploaded.size() * 4, uploaded.data());
        g_gl.BindBuffer(GL_ELEMENT_ARRAY_BUFFER, 0);
        const std::vector<uint32_t> want = name == std::string("bad.vmdl") ? std::vector<uint32_t>{0, 3, 2, 0, 0, 0, 0}
                                                                           : std::vector<uint32_t>{};
        EXPECT_EQ(uploaded, want) << name;
    }
}

INSTANTIATE_ON_BOTH_RENDERERS(ModelDrawing);

}  // namespace
