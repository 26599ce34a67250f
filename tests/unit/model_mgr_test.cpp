#include <SDL.h>
#include <gtest/gtest.h>

#include <climits>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <memory>
#include <random>
#include <sstream>
#include <string>
#include <vector>

#include "engine/console_output.h"
#include "engine/engine.h"
#include "render/renderer.h"
#include "resources/model_mgr.h"
#include "resources/texture_mgr.h"
#include "support/engine_fixture.h"

namespace {

uint64_t s_now = 0;
uint64_t FakeTicks() {
    return s_now;
}

// Where the writer puts things: file header, mesh header, string table, vertices, indices, sections.
const size_t kMeshAt = 76;
const size_t kMeshVertexCount = kMeshAt + 36;
const size_t kMeshIndexCount = kMeshAt + 44;
const size_t kMeshIndexOffset = kMeshAt + 48;
const size_t kMeshSectionCount = kMeshAt + 52;
const size_t kStringTableAt = kMeshAt + 60;

void PutI32(std::string& bytes, size_t at, int32_t value) {
    const uint32_t bits = static_cast<uint32_t>(value);
    for (int i = 0; i < 4; ++i) {
        bytes[at + i] = static_cast<char>((bits >> (8 * i)) & 0xFF);
    }
}

template <typename T>
void Append(std::string& bytes, const std::vector<T>& items) {
    bytes.append(reinterpret_cast<const char*>(items.data()), items.size() * sizeof(T));
}

struct ModelFile {
    std::vector<ModelVertex> vertices;
    std::vector<uint32_t> indices;
    std::vector<ModelSection> sections;
    std::string strings;

    std::string Build() const {
        std::string bytes(kStringTableAt, '\0');
        bytes.replace(0, 4, "VEMM");
        const size_t vertexAt = kStringTableAt + strings.size();
        const size_t indexAt = vertexAt + vertices.size() * sizeof(ModelVertex);
        const size_t sectionAt = indexAt + indices.size() * sizeof(uint32_t);
        PutI32(bytes, 44, static_cast<int32_t>(kMeshAt));
        PutI32(bytes, 52, static_cast<int32_t>(kStringTableAt));
        PutI32(bytes, 56, static_cast<int32_t>(strings.size()));
        PutI32(bytes, kMeshVertexCount, static_cast<int32_t>(vertices.size()));
        PutI32(bytes, kMeshAt + 40, static_cast<int32_t>(vertexAt));
        PutI32(bytes, kMeshIndexCount, static_cast<int32_t>(indices.size()));
        PutI32(bytes, kMeshIndexOffset, static_cast<int32_t>(indexAt));
        PutI32(bytes, kMeshSectionCount, static_cast<int32_t>(sections.size()));
        PutI32(bytes, kMeshAt + 56, static_cast<int32_t>(sectionAt));
        bytes += strings;
        Append(bytes, vertices);
        Append(bytes, indices);
        Append(bytes, sections);
        return bytes;
    }
};

ModelFile Quad(const std::string& strings) {
    ModelFile file;
    for (int i = 0; i < 4; ++i) {
        const float f = static_cast<float>(i);
        file.vertices.push_back({f, f + 0.5f, -f, 0.0f, 1.0f, 0.0f, f * 0.25f, 1.0f - f * 0.25f});
    }
    file.indices = {0, 1, 2, 0, 2, 3};
    file.sections = {{0, 0, 3}, {1, 3, 3}};
    file.strings = strings;
    return file;
}

std::string TextureBytes() {
    std::ifstream in(std::string(VORMI_SOURCE_DIR) + "/tests/data/rgb24.bmp", std::ios::binary);
    std::ostringstream bytes;
    bytes << in.rdbuf();
    return bytes.str();
}

// The texture and model managers on a real SDLRenderer, in a temporary working directory, with a
// clock the test moves by hand.
class ModelMgrTest : public ::testing::Test {
protected:
    void SetUp() override {
        SDL_SetHint(SDL_HINT_RENDER_DRIVER, "software");
        // Keeps the window surface in plain memory: no GL library is loaded and unloaded per test.
        SDL_SetHint(SDL_HINT_FRAMEBUFFER_ACCELERATION, "0");
        ASSERT_EQ(SDL_Init(SDL_INIT_VIDEO), 0) << SDL_GetError();
        g_window = SDL_CreateWindow("models", 0, 0, 32, 32, SDL_WINDOW_HIDDEN);
        ASSERT_NE(g_window, nullptr) << SDL_GetError();
        g_renderer = NewSDLRenderer();
        ASSERT_TRUE(g_renderer && g_renderer->Init());
        dir.reset(new TempWorkDir());
        s_now = 1000;
        g_resourceTicks = FakeTicks;
        ASSERT_TRUE(g_textureMgr->Init());
        ASSERT_TRUE(g_modelMgr->Init());
        g_consoleText.clear();
    }

    void TearDown() override {
        g_modelMgr->Shutdown();
        g_textureMgr->Shutdown();
        g_resourceTicks = SDL_GetTicks64;
        dir.reset();
        delete g_renderer;
        g_renderer = nullptr;
        SDL_DestroyWindow(g_window);
        g_window = nullptr;
        SDL_Quit();
    }

    void WriteModel(const std::string& name, const std::string& bytes) { dir->WriteFile("test/models/" + name, bytes); }
    void WriteTexture(const std::string& name) { dir->WriteFile("test/tex/" + name, TextureBytes()); }

    std::unique_ptr<TempWorkDir> dir;
};

TEST_F(ModelMgrTest, LoadsGeometryAndKeepsCpuArraysUnderSdl) {
    WriteTexture("a.bmp");
    WriteTexture("b.bmp");
    const ModelFile file = Quad(std::string("a.bmp\0\0b.bmp", 12));
    WriteModel("quad.vmdl", file.Build());

    const int handle = g_modelMgr->LoadModel("quad.vmdl");
    ASSERT_GE(handle, 1) << g_consoleText;
    const ModelRecord* model = g_modelMgr->GetModel(handle);
    EXPECT_EQ(model->name, "quad.vmdl");
    ASSERT_EQ(model->vertices.size(), 4u);
    EXPECT_EQ(std::memcmp(model->vertices.data(), file.vertices.data(), 4 * sizeof(ModelVertex)), 0);
    EXPECT_EQ(model->indices, file.indices);
    ASSERT_EQ(model->sections.size(), 2u);
    EXPECT_EQ(std::memcmp(model->sections.data(), file.sections.data(), 2 * sizeof(ModelSection)), 0);
    EXPECT_EQ(model->textureNames, (std::vector<std::string>{"a.bmp", "b.bmp"}));
    const int a = g_textureMgr->FindTexture("a.bmp");
    const int b = g_textureMgr->FindTexture("b.bmp");
    ASSERT_TRUE(a >= 1 && b >= 1);
    EXPECT_EQ(model->textureHandles, (std::vector<int>{a, b}));
    EXPECT_EQ(g_textureMgr->GetTexture(a)->refCount, 1);
    EXPECT_EQ(model->vertexBuffer, 0u);
    EXPECT_EQ(model->indexBuffer, 0u);
    EXPECT_FALSE(model->uploaded);

    // With the file gone only the cache can answer, and it takes no further texture references.
    std::filesystem::remove("test/models/quad.vmdl");
    EXPECT_EQ(g_modelMgr->LoadModel(".\\quad.vmdl"), handle);
    EXPECT_EQ(g_modelMgr->LoadModel("quad.vmdl"), handle);
    EXPECT_EQ(g_textureMgr->GetTexture(a)->refCount, 1);
    EXPECT_EQ(g_consoleText, "");
}

TEST_F(ModelMgrTest, UnreadableFilesReportPathAndGiveFallback) {
    std::string wrongMagic = Quad("").Build();
    wrongMagic[3] = 'X';
    WriteModel("magic.vmdl", wrongMagic);
    WriteModel("tiny.vmdl", "VE");

    const struct {
        const char* name;
        const char* message;
    } cases[] = {
        {"absent.vmdl", "Error: Could not open model file: ./test/models/absent.vmdl\n"},
        {"magic.vmdl", "Invalid model magic number: ./test/models/magic.vmdl\n"},
        {"tiny.vmdl", "Invalid model magic number: ./test/models/tiny.vmdl\n"},
    };
    for (const auto& c : cases) {
        g_consoleText.clear();
        EXPECT_EQ(g_modelMgr->LoadModel(c.name), 0) << c.name;
        EXPECT_EQ(g_consoleText, c.message);
    }

    // Failures are not remembered.
    WriteModel("magic.vmdl", Quad("").Build());
    EXPECT_GE(g_modelMgr->LoadModel("magic.vmdl"), 1);
}

TEST_F(ModelMgrTest, ModelsNamingOneTextureShareItsReferences) {
    WriteTexture("shared.bmp");
    WriteModel("one.vmdl", Quad("shared.bmp").Build());
    WriteModel("two.vmdl", Quad(std::string("\0shared.bmp\0absent.bmp\0", 23)).Build());
    WriteModel("bare.vmdl", Quad("").Build());

    const int one = g_modelMgr->LoadModel("one.vmdl");
    const int two = g_modelMgr->LoadModel("two.vmdl");
    const int bare = g_modelMgr->LoadModel("bare.vmdl");
    ASSERT_TRUE(one >= 1 && two >= 1 && bare >= 1);
    const int shared = g_textureMgr->FindTexture("shared.bmp");
    ASSERT_GE(shared, 1);
    const Texture* texture = g_textureMgr->GetTexture(shared);
    EXPECT_EQ(texture->refCount, 2);
    EXPECT_EQ(g_modelMgr->GetModel(two)->textureNames, (std::vector<std::string>{"shared.bmp", "absent.bmp"}));
    // A missing texture is the fallback, which is never counted.
    EXPECT_EQ(g_modelMgr->GetModel(two)->textureHandles, (std::vector<int>{shared, 0}));
    EXPECT_EQ(g_textureMgr->GetTexture(0)->refCount, 0);
    EXPECT_TRUE(g_modelMgr->GetModel(bare)->textureHandles.empty());

    g_modelMgr->UnloadModel(one);
    EXPECT_EQ(texture->refCount, 1);
    EXPECT_EQ(texture->releaseTime, 0u);
    const ModelRecord* freed = g_modelMgr->GetModel(one);
    EXPECT_EQ(freed->name, "");
    EXPECT_TRUE(freed->vertices.empty() && freed->sections.empty() && freed->textureHandles.empty());

    s_now = 5000;
    g_modelMgr->UnloadModel(two);
    EXPECT_EQ(texture->refCount, 0);
    EXPECT_EQ(texture->releaseTime, 35000u);
    EXPECT_EQ(texture->width, 3) << "the texture must wait out its grace period";
}

TEST_F(ModelMgrTest, HeldModelsAreCollectedAfterGracePeriod) {
    WriteTexture("skin.bmp");
    WriteModel("held.vmdl", Quad("skin.bmp").Build());
    WriteModel("kept.vmdl", Quad("").Build());

    int holder = 0;
    int other = 0;
    g_modelMgr->SetModel("held.vmdl", holder);
    ASSERT_GE(holder, 1);
    // Loads may grow the table, so the entry is looked up afresh each time.
    auto held = [&] { return g_modelMgr->GetModel(holder); };
    g_modelMgr->SetModel("./held.vmdl", holder);
    EXPECT_EQ(held()->refCount, 1) << "the holder already had it";
    g_modelMgr->SetModel("held.vmdl", other);
    EXPECT_EQ(held()->refCount, 2);

    g_modelMgr->ReleaseModel(other);
    EXPECT_EQ(held()->releaseTime, 0u);
    g_modelMgr->ReleaseModel(holder);
    EXPECT_EQ(held()->releaseTime, 31000u);
    // Releasing at zero clamps and pushes the deadline out.
    s_now = 2000;
    g_modelMgr->ReleaseModel(holder);
    EXPECT_EQ(held()->refCount, 0);
    EXPECT_EQ(held()->releaseTime, 32000u);

    const int kept = g_modelMgr->LoadPersistentModel("kept.vmdl");
    g_modelMgr->ReleaseModel(kept);
    // Bad handles and the fallback are ignored; the fallback is one triangle on the checker.
    for (int handle : {0, -1, 50}) {
        g_modelMgr->ReleaseModel(handle);
        g_modelMgr->UnloadModel(handle);
    }
    const ModelRecord* fallback = g_modelMgr->GetModel(0);
    EXPECT_EQ(fallback->name, "missing_model");
    EXPECT_EQ(fallback->refCount, 0);
    EXPECT_EQ(fallback->indices, (std::vector<uint32_t>{0, 1, 2}));
    EXPECT_EQ(fallback->textureHandles, (std::vector<int>{0}));
    EXPECT_EQ(g_modelMgr->GetModel(-1), nullptr);

    s_now = 31999;
    for (int i = 0; i < 6; ++i) {
        g_modelMgr->Collect();
    }
    EXPECT_EQ(held()->name, "held.vmdl");
    s_now = 32000;
    for (int i = 0; i < 2; ++i) {
        g_modelMgr->Collect();
    }
    EXPECT_EQ(held()->name, "");
    EXPECT_TRUE(held()->vertices.empty());
    const Texture* skin = g_textureMgr->GetTexture(g_textureMgr->FindTexture("skin.bmp"));
    EXPECT_EQ(skin->refCount, 0);
    EXPECT_EQ(skin->releaseTime, 62000u);

    s_now = 100000;
    for (int i = 0; i < 6; ++i) {
        g_modelMgr->Collect();
    }
    EXPECT_EQ(g_modelMgr->GetModel(kept)->name, "kept.vmdl");
}

TEST_F(ModelMgrTest, FreeLookingEntriesAreReused) {
    ModelFile noVertices = Quad("");
    noVertices.vertices.clear();
    WriteModel("flat.vmdl", noVertices.Build());
    WriteModel("one.vmdl", Quad("").Build());
    WriteModel("two.vmdl", Quad("").Build());
    WriteModel("three.vmdl", Quad("").Build());

    // No vertices under the SDL renderer looks exactly like a free entry.
    const int flat = g_modelMgr->LoadModel("flat.vmdl");
    ASSERT_GE(flat, 1);
    EXPECT_EQ(g_modelMgr->LoadModel("one.vmdl"), flat);
    EXPECT_EQ(g_modelMgr->GetModel(flat)->name, "one.vmdl");

    const int two = g_modelMgr->LoadModel("two.vmdl");
    EXPECT_EQ(two, flat + 1);
    g_modelMgr->UnloadModel(flat);
    // The cache does not skip free entries, whose names are empty.
    g_consoleText.clear();
    EXPECT_EQ(g_modelMgr->LoadModel(""), flat);
    EXPECT_EQ(g_consoleText, "");
    EXPECT_EQ(g_modelMgr->LoadModel("three.vmdl"), flat);
    EXPECT_EQ(g_modelMgr->GetModel(flat)->name, "three.vmdl");
}

TEST_F(ModelMgrTest, ArraysAreBoundedByTheFile) {
    // Two vertices in the file but four announced: the rest is zero, and every later read comes up
    // empty, leaving indices and sections zero-filled at their announced sizes.
    ModelFile shortFile = Quad("");
    shortFile.vertices.resize(2);
    shortFile.indices.clear();
    shortFile.sections.clear();
    std::string bytes = shortFile.Build();
    PutI32(bytes, kMeshVertexCount, 4);
    PutI32(bytes, kMeshIndexCount, 3);
    PutI32(bytes, kMeshIndexOffset, 0);
    PutI32(bytes, kMeshSectionCount, 1);
    WriteModel("short.vmdl", bytes);
    const int shortHandle = g_modelMgr->LoadModel("short.vmdl");
    ASSERT_GE(shortHandle, 1);
    const ModelRecord* model = g_modelMgr->GetModel(shortHandle);
    ASSERT_EQ(model->vertices.size(), 4u);
    EXPECT_EQ(model->vertices[1].px, 1.0f);
    EXPECT_EQ(model->vertices[2].px, 0.0f);
    EXPECT_EQ(model->vertices[3].v, 0.0f);
    EXPECT_EQ(model->indices, (std::vector<uint32_t>{0, 0, 0}));
    ASSERT_EQ(model->sections.size(), 1u);
    EXPECT_EQ(model->sections[0].indexCount, 0u);

    // Counts no file of this size could hold are cut to the file, negative ones give nothing.
    std::string absurd = Quad("").Build();
    PutI32(absurd, kMeshVertexCount, INT_MAX);
    PutI32(absurd, kMeshIndexCount, 0x40000000);
    PutI32(absurd, kMeshSectionCount, -7);
    PutI32(absurd, 56, INT_MAX);
    WriteModel("absurd.vmdl", absurd);
    const int absurdHandle = g_modelMgr->LoadModel("absurd.vmdl");
    ASSERT_GE(absurdHandle, 1);
    model = g_modelMgr->GetModel(absurdHandle);
    EXPECT_LE(model->vertices.size() * sizeof(ModelVertex), absurd.size());
    EXPECT_LE(model->indices.size() * sizeof(uint32_t), absurd.size());
    EXPECT_TRUE(model->sections.empty());

    // A negative mesh offset fails the stream: nothing after it is read.
    std::string lost = Quad("").Build();
    PutI32(lost, 44, -16);
    WriteModel("lost.vmdl", lost);
    const int lostHandle = g_modelMgr->LoadModel("lost.vmdl");
    ASSERT_GE(lostHandle, 1);
    model = g_modelMgr->GetModel(lostHandle);
    EXPECT_TRUE(model->vertices.empty() && model->indices.empty() && model->sections.empty());
    EXPECT_TRUE(model->textureNames.empty());
}

TEST_F(ModelMgrTest, MalformedFilesNeverCrash) {
    const std::string base = Quad(std::string("a.bmp\0b.bmp", 11)).Build();
    // Offsets into both headers of every field the loader reads.
    const size_t fields[] = {44, 52, 56, kMeshAt + 36, kMeshAt + 40, kMeshAt + 44,
                             kMeshAt + 48, kMeshAt + 52, kMeshAt + 56};
    const int32_t edgeValues[] = {0, 1, -1, INT_MIN, INT_MAX, static_cast<int32_t>(base.size()),
                                static_cast<int32_t>(base.size()) - 1, 0x10000000};
    std::mt19937 random(20240611u);

    for (int round = 0; round < 300; ++round) {
        std::string bytes = base;
        const int edits = 1 + static_cast<int>(random() % 4);
        for (int e = 0; e < edits; ++e) {
            switch (random() % 4) {
            case 0:
                PutI32(bytes, fields[random() % 9], edgeValues[random() % 8]);
                break;
            case 1:
                PutI32(bytes, fields[random() % 9], static_cast<int32_t>(random()));
                break;
            case 2:
                bytes[4 + random() % (bytes.size() - 4)] = static_cast<char>(random());
                break;
            default:
                bytes.resize(4 + random() % (bytes.size() - 4));
                break;
            }
        }
        const std::string name = "fuzz" + std::to_string(round) + ".vmdl";
        WriteModel(name, bytes);
        // The magic is never touched, so every file loads as something.
        const int handle = g_modelMgr->LoadModel(name);
        ASSERT_GE(handle, 1) << "round " << round;
        const ModelRecord* model = g_modelMgr->GetModel(handle);
        EXPECT_LE(model->vertices.size() * sizeof(ModelVertex), bytes.size()) << "round " << round;
        EXPECT_LE(model->indices.size() * sizeof(uint32_t), bytes.size()) << "round " << round;
        EXPECT_LE(model->sections.size() * sizeof(ModelSection), bytes.size()) << "round " << round;
        ASSERT_EQ(model->textureNames.size(), model->textureHandles.size());
        for (int texture : model->textureHandles) {
            EXPECT_NE(g_textureMgr->GetTexture(texture), nullptr);
        }
        if (round % 2 == 0) {
            g_modelMgr->UnloadModel(handle);
        }
    }
}

}  // namespace
