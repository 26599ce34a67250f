#include "resources/file_system.h"

#include "engine/registry.h"

// The asset root is fixed: assets are found relative to the working directory, never elsewhere.
static std::string AssetPath(const char* kindDir, const std::string& name) {
    return std::string("./") + (std::string("test") + kindDir + name);
}

std::string FileSystem::GetTexturePath(const std::string& name) {
    return AssetPath("/tex/", name);
}

std::string FileSystem::GetMaterialPath(const std::string& name) {
    return AssetPath("/mat/", name);
}

std::string FileSystem::GetModelPath(const std::string& name) {
    return AssetPath("/models/", name);
}

std::string FileSystem::GetShaderPath(const std::string& name) {
    return AssetPath("/shaders/", name);
}

static FileSystem s_fileSystem;
IFileSystem* g_fileSystem = &s_fileSystem;
EXPOSE_INTERFACE(s_fileSystem, "FilesystemV1");
