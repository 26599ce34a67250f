// The model manager: triangle meshes from binary model files under ./test/models/, in one table
// addressed by int handles. Entry 0 is the generated "missing_model"; every failure yields 0. Holding,
// releasing and the delayed collection work as for textures. Published as "ModelMgrV1".
#pragma once

#include "engine/api.h"

#include <cstdint>
#include <string>
#include <vector>

struct ModelVertex {
    float px, py, pz;
    float nx, ny, nz;
    float u, v;
};

struct ModelSection {
    int32_t textureIndex;
    uint32_t firstIndex;
    uint32_t indexCount;
};

struct ModelRecord {
    std::string name;
    std::vector<ModelVertex> vertices;
    std::vector<uint32_t> indices;
    std::vector<ModelSection> sections;
    std::vector<std::string> textureNames;
    std::vector<int> textureHandles;
    uint32_t vertexBuffer = 0;
    uint32_t indexBuffer = 0;
    bool uploaded = false;
    int32_t refCount = 0;
    uint64_t releaseTime = 0;
    bool persistent = false;
    // Indices in indexBuffer: once the CPU copy is gone, what keeps a section drawing inside it.
    uint32_t bufferIndexCount = 0;
};

class VORMI_API IModelMgr {
public:
    virtual ~IModelMgr() {}
    // Builds the fallback model as entry 0.
    virtual bool Init() = 0;
    virtual void Shutdown() = 0;
    // Finds or loads; 0 on any failure.
    virtual int LoadModel(const std::string& name) = 0;
    virtual int LoadPersistentModel(const std::string& name) = 0;
    virtual void SetModel(const std::string& name, int& handle) = 0;
    virtual void ReleaseModel(int handle) = 0;
    // Null for a bad handle.
    virtual ModelRecord* GetModel(int handle) = 0;
    virtual void UnloadModel(int handle) = 0;
    virtual void UnloadAll() = 0;
    // One step of the incremental collector.
    virtual void Collect() = 0;
};

extern VORMI_API IModelMgr* g_modelMgr;
