#include <SDL.h>
#include <gtest/gtest.h>

#include <climits>
#include <cstring>
#include <filesystem>
#include <random>
#include <string>
#include <vector>

#include "engine/console_output.h"
#include "engine/engine.h"
#include "resources/model_mgr.h"
#include "resources/texture_mgr.h"
#include "support/offscreen.h"

namespace {

// The header fields the loader reads, in file order: the mesh header's offset, the string table's
// offset and size, then in the mesh header each array's count and offset.
const size_t kMeshAt = 76;
const size_t kStringTableAt = kMeshAt + 60;
const size_t kFields[] = {44,           52,           56,           kMeshAt + 36, kMeshAt + 40,
                          kMeshAt + 44, kMeshAt + 48, kMeshAt + 52, kMeshAt + 56};
enum Field { kMesh, kStrings, kStringsSize, kVertexCount, kVertices, kIndexCount, kIndices, kSectionCount, kSections };

void PutI32(std::string& bytes, size_t at, int32_t value) {
    for (int i = 0; i < 4; ++i) {
        bytes[at + i] = static_cast<char>((static_cast<uint32_t>(value) >> (8 * i)) & 0xFF);
    }
}

struct ModelFile {
    std::vector<ModelVertex> vertices;
    std::vector<uint32_t> indices = {0, 1, 2, 0, 2, 3};
    std::vector<ModelSection> sections = {{0, 0, 3}, {1, 3, 3}};
    std::string strings;

    explicit ModelFile(const std::string& textureNames = "") : strings(textureNames) {
        for (int i = 0; i < 4; ++i) {
            const float f = static_cast<float>(i);
            vertices.push_back({f, f + 0.5f, -f, 0.0f, 1.0f, 0.0f, f * 0.25f, 1.0f - f * 0.25f});
        }
    }
    std::string Build() const {
        std::string bytes(kStringTableAt, '\0');
        bytes.replace(0, 4, "VEMM");
        const size_t vertexAt = kStringTableAt + strings.size();
        const size_t indexAt = vertexAt + vertices.size() * sizeof(ModelVertex);
        const size_t sectionAt = indexAt + indices.size() * sizeof(uint32_t);
        const size_t values[] = {kMeshAt,       kStringTableAt, strings.size(),  vertices.size(), vertexAt,
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

class ModelMgrTest : public OffscreenTest {
protected:
    void SetUp() override {
        OffscreenTest::SetUp();
        ASSERT_TRUE(g_textureMgr->Init());
        ASSERT_TRUE(g_modelMgr->Init());
        dir_.WriteFile("test/tex/skin.bmp", TestDataFile("rgb24.bmp"));
    }
    void WriteModel(const std::string& name, const std::string& bytes) { dir_.WriteFile("test/models/" + name, bytes); }
    static ModelRecord* Model(int handle) { return g_modelMgr->GetModel(handle); }
    static Texture* Skin() { return g_textureMgr->GetTexture(g_textureMgr->FindTexture("skin.bmp")); }
};

TEST_F(ModelMgrTest, LoadsGeometryOnceAndModelsNamingOneTextureShareIt) {
    const ModelFile file(std::string("skin.bmp\0\0absent.bmp", 20));
    WriteModel("quad.vmdl", file.Build());
    WriteModel("other.vmdl", ModelFile("skin.bmp").Build());
    const int handle = g_modelMgr->LoadModel("quad.vmdl");
    ASSERT_GE(handle, 1) << g_consoleText;
    const ModelRecord* model = Model(handle);
    ASSERT_TRUE(model->vertices.size() == 4 && model->sections.size() == 2);
    EXPECT_EQ(std::memcmp(model->vertices.data(), file.vertices.data(), 4 * sizeof(ModelVertex)), 0);
    EXPECT_EQ(model->indices, file.indices);
    EXPECT_EQ(std::memcmp(model->sections.data(), file.sections.data(), 2 * sizeof(ModelSection)), 0);
    EXPECT_EQ(model->textureNames, (std::vector<std::string>{"skin.bmp", "absent.bmp"}));
    EXPECT_EQ(model->textureHandles, (std::vector<int>{g_textureMgr->FindTexture("skin.bmp"), 0}));
    EXPECT_TRUE(model->vertexBuffer == 0 && !model->uploaded) << "CPU arrays only under the SDL renderer";

    std::filesystem::remove("test/models/quad.vmdl");
    EXPECT_EQ(g_modelMgr->LoadModel(".\\quad.vmdl"), handle);
    const int other = g_modelMgr->LoadModel("other.vmdl");
    EXPECT_EQ(Skin()->refCount, 2);
    EXPECT_EQ(g_textureMgr->GetTexture(0)->refCount, 0);
    g_modelMgr->UnloadModel(handle);
    EXPECT_TRUE(Model(handle)->name.empty() && Model(handle)->vertices.empty());
    EXPECT_TRUE(Skin()->refCount == 1 && Skin()->releaseTime == 0u);
    now_ = 5000;
    g_modelMgr->UnloadModel(other);
    EXPECT_TRUE(Skin()->refCount == 0 && Skin()->releaseTime == 35000u && Skin()->width == 3)
        << "the texture waits out its grace period";
}

TEST_F(ModelMgrTest, UnreadableFilesReportPathAndGiveFallback) {
    std::string wrongMagic = ModelFile().Build();
    wrongMagic[3] = 'X';
    WriteModel("magic.vmdl", wrongMagic);
    WriteModel("tiny.vmdl", "VE");
    const char* const cases[][2] = {{"absent.vmdl", "Error: Could not open model file: ./test/models/absent.vmdl\n"},
                                    {"magic.vmdl", "Invalid model magic number: ./test/models/magic.vmdl\n"},
                                    {"tiny.vmdl", "Invalid model magic number: ./test/models/tiny.vmdl\n"}};
    for (const auto& c : cases) {
        g_consoleText.clear();
        EXPECT_EQ(g_modelMgr->LoadModel(c[0]), 0) << c[0];
        EXPECT_EQ(g_consoleText, c[1]);
    }
    WriteModel("magic.vmdl", ModelFile().Build());
    EXPECT_GE(g_modelMgr->LoadModel("magic.vmdl"), 1) << "failures are not remembered";
    EXPECT_TRUE(Model(0)->name == "missing_model" && Model(0)->indices.size() == 3 && Model(-1) == nullptr);
}

TEST_F(ModelMgrTest, HeldModelsAreCollectedAfterGracePeriodAndKeptOnesNever) {
    WriteModel("held.vmdl", ModelFile("skin.bmp").Build());
    WriteModel("kept.vmdl", ModelFile().Build());
    int holder = 0;
    g_modelMgr->SetModel("held.vmdl", holder);
    g_modelMgr->SetModel("./held.vmdl", holder);
    ASSERT_GE(holder, 1);
    EXPECT_EQ(Model(holder)->refCount, 1) << "the holder already had it";
    g_modelMgr->ReleaseModel(holder);
    now_ = 2000;
    g_modelMgr->ReleaseModel(holder);
    EXPECT_EQ(Model(holder)->refCount, 0) << "clamped at zero";
    EXPECT_EQ(Model(holder)->releaseTime, 32000u) << "and the deadline pushed out";
    const int kept = g_modelMgr->LoadPersistentModel("kept.vmdl");
    g_modelMgr->ReleaseModel(kept);
    for (int handle : {0, -1, 50}) {
        g_modelMgr->ReleaseModel(handle);
        g_modelMgr->UnloadModel(handle);
    }

    now_ = 31999;
    for (int i = 0; i < 6; ++i) {
        g_modelMgr->Collect();
    }
    EXPECT_EQ(Model(holder)->name, "held.vmdl");
    now_ = 100000;
    for (int i = 0; i < 6; ++i) {
        g_modelMgr->Collect();
    }
    EXPECT_TRUE(Model(holder)->name.empty() && Model(holder)->vertices.empty());
    EXPECT_TRUE(Skin()->refCount == 0 && Skin()->releaseTime == 130000u) << "the texture is given back";
    EXPECT_EQ(Model(kept)->name, "kept.vmdl");
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
    WriteModel("short.vmdl", shortBytes);
    const ModelRecord* model = Model(g_modelMgr->LoadModel("short.vmdl"));
    ASSERT_TRUE(model->vertices.size() == 4u && model->sections.size() == 1u);
    EXPECT_TRUE(model->vertices[1].px == 1.0f && model->vertices[2].px == 0.0f);
    EXPECT_EQ(model->indices, (std::vector<uint32_t>{0, 0, 0}));
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
        WriteModel(name, bytes);
        const int handle = g_modelMgr->LoadModel(name);
        ASSERT_GE(handle, 1) << "round " << round;
        model = Model(handle);
        EXPECT_LE(model->vertices.size() * sizeof(ModelVertex), bytes.size()) << "round " << round;
        EXPECT_LE(model->indices.size() * sizeof(uint32_t), bytes.size()) << "round " << round;
        EXPECT_LE(model->sections.size() * sizeof(ModelSection), bytes.size()) << "round " << round;
        ASSERT_EQ(model->textureNames.size(), model->textureHandles.size());
        if (round % 2 == 0) {
            g_modelMgr->UnloadModel(handle);
        }
    }
}

}  // namespace
