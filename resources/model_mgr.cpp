#include "resources/model_mgr.h"

#include <SDL.h>

#include "engine/console_output.h"
#include "engine/registry.h"
#include "render/gl_renderer.h"
#include "render/renderer.h"
#include "resources/file_system.h"
#include "resources/texture_mgr.h"

// The file's arrays are read straight into these, and the same bytes go to the GPU buffers.
static_assert(sizeof(ModelVertex) == 32, "ModelVertex must match the file's 32-byte vertex");
static_assert(sizeof(ModelSection) == 12, "ModelSection must match the file's 12-byte section");

static const uint64_t kReleaseDelayMs = 30000;

// "VEMM" read as a little-endian word.
static const uint32_t kModelMagic = 'V' | ('E' << 8) | ('M' << 16) | (static_cast<uint32_t>('M') << 24);
static const size_t kFileHeaderSize = 76;
static const size_t kMeshHeaderSize = 60;

static int32_t ReadI32(const uint8_t* p) {
    const uint32_t bits = static_cast<uint32_t>(p[0]) | (static_cast<uint32_t>(p[1]) << 8) |
                          (static_cast<uint32_t>(p[2]) << 16) | (static_cast<uint32_t>(p[3]) << 24);
    return static_cast<int32_t>(bits);
}

// Reads a model file the way a stream does: once a seek or a read fails, every later read yields
// nothing. Callers zero-fill their buffers first, so whatever the file does not hold stays zero.
class ModelFileReader {
public:
    explicit ModelFileReader(SDL_RWops* stream) : rw(stream), size(SDL_RWsize(stream)) {
        if (size < 0) {
            failed = true;
        }
    }

    void Seek(int32_t offset) {
        if (failed) {
            return;
        }
        // Seeking past the end is allowed; the read after it fails.
        if (offset < 0 || SDL_RWseek(rw, offset, RW_SEEK_SET) < 0) {
            failed = true;
        }
    }

    void Read(void* destination, size_t bytes) {
        if (failed || bytes == 0) {
            return;
        }
        if (SDL_RWread(rw, destination, 1, bytes) < bytes) {
            failed = true;
        }
    }

    // Counts come from the file and are not trusted: an array can never be larger than the file
    // itself, and a negative count is an empty array.
    size_t ClampCount(int32_t count, size_t elementSize) const {
        if (count <= 0 || size <= 0) {
            return 0;
        }
        const uint64_t fits = static_cast<uint64_t>(size) / elementSize;
        const uint64_t wanted = static_cast<uint64_t>(count);
        return static_cast<size_t>(wanted < fits ? wanted : fits);
    }

private:
    SDL_RWops* rw;
    Sint64 size;
    bool failed = false;
};

template <typename T>
static void FreeArray(std::vector<T>& array) {
    std::vector<T>().swap(array);
}

// Moves the geometry into GPU buffers and drops the CPU copies, which the GL renderer no longer needs.
static void UploadGeometry(ModelRecord& model) {
    // The GL renderer loads these entry points when it starts; without them nothing is uploaded.
    if (!g_gl.GenBuffers) {
        return;
    }
    GLuint vertexBuffer = 0;
    g_gl.GenBuffers(1, &vertexBuffer);
    g_gl.BindBuffer(GL_ARRAY_BUFFER, vertexBuffer);
    g_gl.BufferData(GL_ARRAY_BUFFER, static_cast<GLsizeiptr>(model.vertices.size() * sizeof(ModelVertex)),
                    model.vertices.data(), GL_STATIC_DRAW);
    GLuint indexBuffer = 0;
    g_gl.GenBuffers(1, &indexBuffer);
    g_gl.BindBuffer(GL_ELEMENT_ARRAY_BUFFER, indexBuffer);
    g_gl.BufferData(GL_ELEMENT_ARRAY_BUFFER, static_cast<GLsizeiptr>(model.indices.size() * sizeof(uint32_t)),
                    model.indices.data(), GL_STATIC_DRAW);
    g_gl.BindBuffer(GL_ARRAY_BUFFER, 0);
    g_gl.BindBuffer(GL_ELEMENT_ARRAY_BUFFER, 0);
    model.vertexBuffer = vertexBuffer;
    model.indexBuffer = indexBuffer;
    model.bufferIndexCount = static_cast<uint32_t>(model.indices.size());
    model.uploaded = true;
    FreeArray(model.vertices);
    FreeArray(model.indices);
}

static void DeleteBuffer(uint32_t& buffer) {
    if (buffer == 0) {
        return;
    }
    if (g_gl.DeleteBuffers) {
        const GLuint name = buffer;
        g_gl.DeleteBuffers(1, &name);
    }
    buffer = 0;
}

// Names run to a zero byte or to the end of the table; empty names are skipped.
static std::vector<std::string> SplitStringTable(const std::vector<char>& table) {
    std::vector<std::string> names;
    size_t start = 0;
    for (size_t i = 0; i <= table.size(); ++i) {
        if (i == table.size() || table[i] == '\0') {
            if (i > start) {
                names.emplace_back(table.data() + start, i - start);
            }
            start = i + 1;
        }
    }
    return names;
}

static bool IsFreeEntry(const ModelRecord& model) {
    return !model.uploaded && model.vertices.empty();
}

class ModelMgr : public IModelMgr {
public:
    bool Init() override;
    void Shutdown() override;
    int LoadModel(const std::string& name) override;
    int LoadPersistentModel(const std::string& name) override;
    void SetModel(const std::string& name, int& handle) override;
    void ReleaseModel(int handle) override;
    ModelRecord* GetModel(int handle) override;
    void UnloadModel(int handle) override;
    void UnloadAll() override;
    void Collect() override;

private:
    bool IsTableHandle(int handle) const {
        return handle > 0 && static_cast<size_t>(handle) < models.size();
    }

    std::vector<ModelRecord> models;
    size_t collectCursor = 1;
};

bool ModelMgr::Init() {
    ModelRecord fallback;
    fallback.name = "missing_model";
    // One unit right triangle in the XY plane, facing +Z.
    fallback.vertices = {
        {0.0f, 0.0f, 0.0f, 0.0f, 0.0f, 1.0f, 0.0f, 0.0f},
        {1.0f, 0.0f, 0.0f, 0.0f, 0.0f, 1.0f, 1.0f, 0.0f},
        {0.0f, 1.0f, 0.0f, 0.0f, 0.0f, 1.0f, 0.0f, 1.0f},
    };
    fallback.indices = {0, 1, 2};
    fallback.sections = {{0, 0, 3}};
    fallback.textureNames = {"missing"};
    // The fallback texture is never counted, so it is taken as handle 0 directly.
    fallback.textureHandles = {0};
    fallback.persistent = true;
    models.push_back(std::move(fallback));
    return true;
}

void ModelMgr::Shutdown() {
    UnloadAll();
}

int ModelMgr::LoadModel(const std::string& name) {
    const std::string normalised = NormalizeAssetName(name);
    for (size_t i = 1; i < models.size(); ++i) {
        if (models[i].name == normalised) {
            return static_cast<int>(i);
        }
    }

    const std::string path = g_fileSystem->GetModelPath(normalised);
    SDL_RWops* rw = SDL_RWFromFile(path.c_str(), "rb");
    if (!rw) {
        ConMsg("Error: Could not open model file: %s\n", path.c_str());
        return 0;
    }
    ModelFileReader reader(rw);

    uint8_t header[kFileHeaderSize] = {};
    reader.Read(header, sizeof(header));
    if (static_cast<uint32_t>(ReadI32(header)) != kModelMagic) {
        SDL_RWclose(rw);
        ConMsg("Invalid model magic number: %s\n", path.c_str());
        return 0;
    }
    const int32_t meshOffset = ReadI32(header + 44);
    const int32_t stringTableOffset = ReadI32(header + 52);
    const int32_t stringTableSize = ReadI32(header + 56);

    ModelRecord model;
    model.name = normalised;

    uint8_t mesh[kMeshHeaderSize] = {};
    reader.Seek(meshOffset);
    reader.Read(mesh, sizeof(mesh));
    const int32_t vertexCount = ReadI32(mesh + 36);
    const int32_t vertexOffset = ReadI32(mesh + 40);
    const int32_t indexCount = ReadI32(mesh + 44);
    const int32_t indexOffset = ReadI32(mesh + 48);
    const int32_t sectionCount = ReadI32(mesh + 52);
    const int32_t sectionOffset = ReadI32(mesh + 56);

    std::vector<char> stringTable(reader.ClampCount(stringTableSize, 1), '\0');
    reader.Seek(stringTableOffset);
    reader.Read(stringTable.data(), stringTable.size());
    model.textureNames = SplitStringTable(stringTable);
    model.textureHandles.reserve(model.textureNames.size());
    for (const std::string& textureName : model.textureNames) {
        int handle = 0;
        g_textureMgr->SetTexture(textureName, handle);
        model.textureHandles.push_back(handle);
    }

    model.vertices.resize(reader.ClampCount(vertexCount, sizeof(ModelVertex)));
    reader.Seek(vertexOffset);
    reader.Read(model.vertices.data(), model.vertices.size() * sizeof(ModelVertex));

    model.indices.resize(reader.ClampCount(indexCount, sizeof(uint32_t)));
    reader.Seek(indexOffset);
    reader.Read(model.indices.data(), model.indices.size() * sizeof(uint32_t));

    model.sections.resize(reader.ClampCount(sectionCount, sizeof(ModelSection)));
    reader.Seek(sectionOffset);
    reader.Read(model.sections.data(), model.sections.size() * sizeof(ModelSection));
    SDL_RWclose(rw);

    if (g_renderer && g_renderer->GetRendererId() == kRendererGL) {
        UploadGeometry(model);
    }

    for (size_t i = 1; i < models.size(); ++i) {
        if (IsFreeEntry(models[i])) {
            models[i] = std::move(model);
            return static_cast<int>(i);
        }
    }
    models.push_back(std::move(model));
    return static_cast<int>(models.size() - 1);
}

int ModelMgr::LoadPersistentModel(const std::string& name) {
    const int handle = LoadModel(name);
    if (handle >= 1) {
        models[handle].persistent = true;
    }
    return handle;
}

void ModelMgr::SetModel(const std::string& name, int& handle) {
    const ModelRecord* current = GetModel(handle);
    if (current && current->name == NormalizeAssetName(name)) {
        return;
    }
    ReleaseModel(handle);
    handle = LoadModel(name);
    if (handle >= 1) {
        models[handle].refCount++;
        models[handle].releaseTime = 0;
    }
}

void ModelMgr::ReleaseModel(int handle) {
    if (!IsTableHandle(handle)) {
        return;
    }
    ModelRecord& model = models[handle];
    model.refCount--;
    if (model.refCount > 0) {
        return;
    }
    model.refCount = 0;
    model.releaseTime = g_resourceTicks() + kReleaseDelayMs;
}

ModelRecord* ModelMgr::GetModel(int handle) {
    if (handle < 0 || static_cast<size_t>(handle) >= models.size()) {
        return nullptr;
    }
    return &models[handle];
}

void ModelMgr::UnloadModel(int handle) {
    if (!IsTableHandle(handle)) {
        return;
    }
    ModelRecord& model = models[handle];
    for (int textureHandle : model.textureHandles) {
        g_textureMgr->ReleaseTexture(textureHandle);
    }
    FreeArray(model.vertices);
    FreeArray(model.indices);
    FreeArray(model.sections);
    FreeArray(model.textureNames);
    FreeArray(model.textureHandles);
    model.name.clear();
    model.refCount = 0;
    model.releaseTime = 0;
    DeleteBuffer(model.vertexBuffer);
    DeleteBuffer(model.indexBuffer);
    model.bufferIndexCount = 0;
    model.uploaded = false;
}

void ModelMgr::UnloadAll() {
    for (size_t i = 1; i < models.size(); ++i) {
        UnloadModel(static_cast<int>(i));
    }
    models.clear();
    collectCursor = 1;
}

void ModelMgr::Collect() {
    if (models.size() < 2) {
        return;
    }
    if (collectCursor >= models.size()) {
        collectCursor = 1;
    }
    const ModelRecord& model = models[collectCursor];
    if (!model.persistent && model.refCount < 1 && model.releaseTime != 0 &&
        g_resourceTicks() >= model.releaseTime) {
        UnloadModel(static_cast<int>(collectCursor));
    }
    ++collectCursor;
}

static ModelMgr s_modelMgr;
IModelMgr* g_modelMgr = &s_modelMgr;
EXPOSE_INTERFACE(s_modelMgr, "ModelMgrV1");
