// Where each kind of asset lives in the asset tree. Paths are built, never opened or checked here:
// "./test/tex/" + name and so on, the name appended exactly as given. Published as "FilesystemV1".
#pragma once

#include "engine/api.h"

#include <string>

class VORMI_API IFileSystem {
public:
    virtual ~IFileSystem() {}
    virtual std::string GetTexturePath(const std::string& name) = 0;   // ./test/tex/<name>
    virtual std::string GetMaterialPath(const std::string& name) = 0;  // ./test/mat/<name>
    virtual std::string GetModelPath(const std::string& name) = 0;     // ./test/models/<name>
    virtual std::string GetShaderPath(const std::string& name) = 0;    // ./test/shaders/<name>
};

class VORMI_API FileSystem : public IFileSystem {
public:
    std::string GetTexturePath(const std::string& name) override;
    std::string GetMaterialPath(const std::string& name) override;
    std::string GetModelPath(const std::string& name) override;
    std::string GetShaderPath(const std::string& name) override;
};

extern VORMI_API IFileSystem* g_fileSystem;
