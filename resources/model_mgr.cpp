#include "resources/model_mgr.h"

#include <SDL.h>

#include "engine/console_output.h"
#include "engine/registry.h"
#include "render/gpu_objects.h"
#include "resources/file_system.h"
#include "resources/handle_table.h"
#include "resources/texture_mgr.h"

// The file's arrays are read straight into these, and the same bytes go to the GPU buffers.
static_assert(sizeof(ModelVertex) == 32, "ModelVertex must match the file's 32-byte vertex");
static_assert(sizeof(ModelSection) == 12, "ModelSection must match the file's 12-byte section");

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

// An entry is free when it holds no geometry. Freeing gives its textures back, so a record that
// looks free (a file with no vertices) and is overwritten by the next load leaves no reference behind.
struct ModelEntries {
    // The name lookup does not skip free entries: an empty name finds the first freed one.
    static constexpr bool kLookupMatchesFree = true;
    static bool IsFree(const ModelRecord& model) { return !model.uploaded && model.vertices.empty(); }
    static void Free(ModelRecord& model) {
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
        DeleteModelBuffers(model);
    }
};

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
    HandleTable<ModelRecord, ModelEntries> table;
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
    table.entries.push_back(std::move(fallback));
    return true;
}

void ModelMgr::Shutdown() {
    UnloadAll();
}

int ModelMgr::LoadModel(const std::string& name) {
    const std::string normalised = NormalizeAssetName(name);
    if (const int cached = table.Find(normalised)) {
        return cached;
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

    UploadModelGeometry(model);
    return table.Place(std::move(model));
}

int ModelMgr::LoadPersistentModel(const std::string& name) {
    const int handle = LoadModel(name);
    if (handle >= 1) {
        table.entries[handle].persistent = true;
    }
    return handle;
}

void ModelMgr::SetModel(const std::string& name, int& handle) {
    table.Set(name, handle, [this](const std::string& n) { return LoadModel(n); });
}

void ModelMgr::ReleaseModel(int handle) {
    table.Release(handle);
}

ModelRecord* ModelMgr::GetModel(int handle) {
    return table.Get(handle);
}

void ModelMgr::UnloadModel(int handle) {
    table.Unload(handle);
}

void ModelMgr::UnloadAll() {
    table.Clear();
}

void ModelMgr::Collect() {
    table.Collect();
}

static ModelMgr s_modelMgr;
IModelMgr* g_modelMgr = &s_modelMgr;
EXPOSE_INTERFACE(s_modelMgr, "ModelMgrV1");
