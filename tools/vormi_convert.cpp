// vormi-convert: brings a user's assets into the formats the engine loads.
//   vormi-convert model IN OUT.vmdl    any 3D format Assimp reads -> the engine's model file, with each
//                                      material's base-colour image as a BMP beside it
//   vormi-convert texture IN OUT.bmp   any image SDL2_image reads -> a BMP the texture manager loads
// A bad input gets one line naming the file and the reason and exit status 1; nothing is left behind,
// because every output is written to a temporary file beside it and renamed only when all succeeded.

#include <SDL.h>
#include <SDL_image.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <assimp/Importer.hpp>
#include <assimp/material.h>
#include <assimp/postprocess.h>
#include <assimp/scene.h>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <map>
#include <string>
#include <utility>
#include <vector>

#include "resources/model_file.h"

namespace {

// Thrown nowhere: every failure travels back as this, printed once by main.
struct Failure {
    std::string file;
    std::string reason;
};

// Outputs are written under temporary names beside their final ones and renamed together at the end;
// whatever was not renamed is removed when this goes away.
class PendingOutputs {
public:
    ~PendingOutputs() {
        for (const auto& output : outputs_) {
            std::remove(output.first.c_str());
        }
    }
    // The temporary path to write the final file to; "" (with the reason) when it cannot be created.
    std::string Add(const std::string& finalPath, Failure& failure) {
        std::string temp = finalPath + ".partial-XXXXXX";
        const int fd = mkstemp(&temp[0]);
        if (fd < 0) {
            failure = {finalPath, std::string("cannot write: ") + std::strerror(errno)};
            return "";
        }
        // mkstemp makes the file private; the output gets the mode any new file would.
        const mode_t mask = umask(0);
        umask(mask);
        fchmod(fd, 0666 & ~mask);
        close(fd);
        outputs_.emplace_back(temp, finalPath);
        return temp;
    }
    bool Commit(Failure& failure) {
        for (size_t i = 0; i < outputs_.size(); ++i) {
            if (std::rename(outputs_[i].first.c_str(), outputs_[i].second.c_str()) != 0) {
                failure = {outputs_[i].second, std::string("cannot write: ") + std::strerror(errno)};
                // The ones already in place came from this run and go too.
                for (size_t j = 0; j < i; ++j) {
                    std::remove(outputs_[j].second.c_str());
                }
                return false;
            }
        }
        outputs_.clear();
        return true;
    }

private:
    std::vector<std::pair<std::string, std::string>> outputs_;
};

// The image libraries print their own warnings on stderr; a bad input must make exactly one line.
class QuietStderr {
public:
    QuietStderr() : saved_(dup(2)) {
        const int null = open("/dev/null", O_WRONLY);
        if (null >= 0) {
            dup2(null, 2);
            close(null);
        }
    }
    ~QuietStderr() {
        if (saved_ >= 0) {
            dup2(saved_, 2);
            close(saved_);
        }
    }
    QuietStderr(const QuietStderr&) = delete;
    QuietStderr& operator=(const QuietStderr&) = delete;

private:
    int saved_;
};

SDL_Surface* LoadImage(const std::string& path) {
    QuietStderr quiet;
    return IMG_Load(path.c_str());
}

std::string DirectoryOf(const std::string& path) {
    const size_t slash = path.rfind('/');
    return slash == std::string::npos ? std::string(".") : path.substr(0, slash);
}

std::string StemOf(const std::string& path) {
    const size_t slash = path.rfind('/');
    std::string name = slash == std::string::npos ? path : path.substr(slash + 1);
    const size_t dot = name.rfind('.');
    return dot == std::string::npos || dot == 0 ? name : name.substr(0, dot);
}

// A regular file we may read; otherwise the reason, as the system words it.
bool CheckReadable(const std::string& path, Failure& failure) {
    struct stat info;
    if (stat(path.c_str(), &info) != 0) {
        failure = {path, std::strerror(errno)};
        return false;
    }
    if (!S_ISREG(info.st_mode)) {
        failure = {path, "not a regular file"};
        return false;
    }
    FILE* f = std::fopen(path.c_str(), "rb");
    if (!f) {
        failure = {path, std::strerror(errno)};
        return false;
    }
    std::fclose(f);
    return true;
}

// Saves as 24-bit, or 32-bit when the image has alpha: both are what SDL_LoadBMP, and so the texture
// manager, reads back with the same pixels.
bool SaveBmp(SDL_Surface* surface, const std::string& path) {
    const bool alpha = SDL_ISPIXELFORMAT_ALPHA(surface->format->format) || SDL_HasColorKey(surface) ||
                       (surface->format->palette && surface->format->palette->ncolors > 0 &&
                        surface->format->Amask != 0);
    SDL_Surface* converted =
        SDL_ConvertSurfaceFormat(surface, alpha ? SDL_PIXELFORMAT_ARGB8888 : SDL_PIXELFORMAT_BGR24, 0);
    if (!converted) {
        return false;
    }
    const bool saved = SDL_SaveBMP(converted, path.c_str()) == 0;
    SDL_FreeSurface(converted);
    return saved;
}

bool ConvertTexture(const std::string& in, const std::string& out, Failure& failure) {
    if (!CheckReadable(in, failure)) {
        return false;
    }
    SDL_Surface* image = LoadImage(in);
    if (!image) {
        failure = {in, std::string("not an image this tool reads (") + IMG_GetError() + ")"};
        return false;
    }
    PendingOutputs outputs;
    const std::string temp = outputs.Add(out, failure);
    const bool saved = !temp.empty() && SaveBmp(image, temp);
    if (!temp.empty() && !saved) {
        failure = {out, std::string("cannot write the BMP (") + SDL_GetError() + ")"};
    }
    const int w = image->w;
    const int h = image->h;
    SDL_FreeSurface(image);
    if (!saved || !outputs.Commit(failure)) {
        return false;
    }
    std::printf("%s: %dx%d\n", out.c_str(), w, h);
    return true;
}

// The base-colour image of a material, from the file it names or from inside the model; null when
// there is none or it cannot be read (the caller then uses the material's colour).
SDL_Surface* LoadMaterialImage(const aiScene* scene, const aiMaterial* material, const std::string& modelDir,
                               std::string& source) {
    aiString path;
    if (material->GetTexture(aiTextureType_BASE_COLOR, 0, &path) != AI_SUCCESS &&
        material->GetTexture(aiTextureType_DIFFUSE, 0, &path) != AI_SUCCESS) {
        return nullptr;
    }
    source = path.C_Str();
    if (const aiTexture* embedded = scene->GetEmbeddedTexture(path.C_Str())) {
        if (embedded->mHeight == 0) {
            QuietStderr quiet;
            SDL_RWops* rw = SDL_RWFromConstMem(embedded->pcData, static_cast<int>(embedded->mWidth));
            return IMG_Load_RW(rw, 1);
        }
        SDL_Surface* view = SDL_CreateRGBSurfaceWithFormatFrom(
            embedded->pcData, static_cast<int>(embedded->mWidth), static_cast<int>(embedded->mHeight), 32,
            static_cast<int>(embedded->mWidth * 4), SDL_PIXELFORMAT_BGRA32);
        SDL_Surface* copy = view ? SDL_ConvertSurfaceFormat(view, SDL_PIXELFORMAT_ARGB8888, 0) : nullptr;
        SDL_FreeSurface(view);
        return copy;
    }
    // Exporters on other systems write backslashes; image paths are relative to the model.
    for (char& c : source) {
        if (c == '\\') {
            c = '/';
        }
    }
    source = !source.empty() && source[0] == '/' ? source : modelDir + "/" + source;
    return LoadImage(source);
}

// A 1x1 image of the material's colour (white without a material), for materials without an image.
SDL_Surface* MaterialColourImage(const aiMaterial* material) {
    aiColor4D colour(1.0f, 1.0f, 1.0f, 1.0f);
    if (material && material->Get(AI_MATKEY_BASE_COLOR, colour) != AI_SUCCESS) {
        material->Get(AI_MATKEY_COLOR_DIFFUSE, colour);
    }
    SDL_Surface* pixel = SDL_CreateRGBSurfaceWithFormat(0, 1, 1, 24, SDL_PIXELFORMAT_BGR24);
    if (!pixel) {
        return nullptr;
    }
    auto byte = [](float v) { return static_cast<uint8_t>(v <= 0.0f ? 0 : v >= 1.0f ? 255 : v * 255.0f + 0.5f); };
    SDL_FillRect(pixel, nullptr, SDL_MapRGB(pixel->format, byte(colour.r), byte(colour.g), byte(colour.b)));
    return pixel;
}

class ModelConverter {
public:
    ModelConverter(const std::string& in, const std::string& out) : in_(in), out_(out) {}

    bool Run(Failure& failure) {
        if (!CheckReadable(in_, failure)) {
            return false;
        }
        Assimp::Importer importer;
        // Hard edges stay hard where normals are generated; points and lines are dropped.
        importer.SetPropertyFloat(AI_CONFIG_PP_GSN_MAX_SMOOTHING_ANGLE, 80.0f);
        importer.SetPropertyInteger(AI_CONFIG_PP_SBP_REMOVE, aiPrimitiveType_POINT | aiPrimitiveType_LINE);
        // Flipped UVs put v = 0 at the image's top row, where the engine's textures start.
        const aiScene* scene = importer.ReadFile(
            in_, aiProcess_Triangulate | aiProcess_GenSmoothNormals | aiProcess_JoinIdenticalVertices |
                     aiProcess_SortByPType | aiProcess_PreTransformVertices | aiProcess_FlipUVs |
                     aiProcess_ValidateDataStructure);
        if (!scene) {
            const std::string why = importer.GetErrorString();
            if (why.find("o meshes") != std::string::npos || why.find("no faces") != std::string::npos) {
                failure = {in_, "the model has no triangles"};
            } else {
                failure = {in_, "not a 3D model this tool reads (" + why + ")"};
            }
            return false;
        }
        for (unsigned m = 0; m < scene->mNumMeshes; ++m) {
            AddMesh(scene, scene->mMeshes[m]);
        }
        if (contents_.indices.empty()) {
            failure = {in_, "the model has no triangles"};
            return false;
        }
        if (!WriteTextures(failure)) {
            return false;
        }
        std::string bytes, error;
        if (!EncodeModelFile(contents_, bytes, error)) {
            failure = {in_, error};
            return false;
        }
        const std::string temp = outputs_.Add(out_, failure);
        if (temp.empty() || !WriteBytes(temp, bytes, failure) || !outputs_.Commit(failure)) {
            return false;
        }
        std::printf("%s: %zu vertices, %zu triangles, %zu materials\n", out_.c_str(), contents_.vertices.size(),
                    contents_.indices.size() / 3, contents_.textureNames.size());
        return true;
    }

private:
    void AddMesh(const aiScene* scene, const aiMesh* mesh) {
        if (!(mesh->mPrimitiveTypes & aiPrimitiveType_TRIANGLE)) {
            return;
        }
        const uint32_t base = static_cast<uint32_t>(contents_.vertices.size());
        for (unsigned v = 0; v < mesh->mNumVertices; ++v) {
            ModelVertex vertex = {};
            vertex.px = mesh->mVertices[v].x;
            vertex.py = mesh->mVertices[v].y;
            vertex.pz = mesh->mVertices[v].z;
            if (mesh->HasNormals()) {
                vertex.nx = mesh->mNormals[v].x;
                vertex.ny = mesh->mNormals[v].y;
                vertex.nz = mesh->mNormals[v].z;
            }
            if (mesh->HasTextureCoords(0)) {
                vertex.u = mesh->mTextureCoords[0][v].x;
                vertex.v = mesh->mTextureCoords[0][v].y;
            }
            contents_.vertices.push_back(vertex);
        }
        ModelSection section = {TextureFor(scene, mesh->mMaterialIndex),
                                static_cast<uint32_t>(contents_.indices.size()), 0};
        for (unsigned f = 0; f < mesh->mNumFaces; ++f) {
            const aiFace& face = mesh->mFaces[f];
            if (face.mNumIndices != 3) {
                continue;
            }
            for (int k = 0; k < 3; ++k) {
                contents_.indices.push_back(base + face.mIndices[k]);
            }
        }
        section.indexCount = static_cast<uint32_t>(contents_.indices.size()) - section.firstIndex;
        if (section.indexCount > 0) {
            contents_.sections.push_back(section);
        }
    }

    // The texture list entry of a material: one BMP per distinct image, or per colour-only material.
    int32_t TextureFor(const aiScene* scene, unsigned materialIndex) {
        const auto known = byMaterial_.find(materialIndex);
        if (known != byMaterial_.end()) {
            return known->second;
        }
        std::string source;
        SDL_Surface* image = nullptr;
        const aiMaterial* material = materialIndex < scene->mNumMaterials ? scene->mMaterials[materialIndex] : nullptr;
        if (material) {
            image = LoadMaterialImage(scene, material, DirectoryOf(in_), source);
            if (!image && !source.empty()) {
                std::fprintf(stderr, "vormi-convert: %s: image %s cannot be read (%s); using the material's colour\n",
                             in_.c_str(), source.c_str(), IMG_GetError());
            }
            const auto shared = bySource_.find(source);
            if (image && shared != bySource_.end()) {
                SDL_FreeSurface(image);
                byMaterial_[materialIndex] = shared->second;
                return shared->second;
            }
        }
        if (!image) {
            image = MaterialColourImage(material);
            source.clear();
        }
        const int32_t index = static_cast<int32_t>(contents_.textureNames.size());
        contents_.textureNames.push_back(StemOf(out_) + "_" + std::to_string(index) + ".bmp");
        images_.push_back(image);
        byMaterial_[materialIndex] = index;
        if (!source.empty()) {
            bySource_[source] = index;
        }
        return index;
    }

    bool WriteTextures(Failure& failure) {
        const std::string dir = DirectoryOf(out_);
        bool ok = true;
        for (size_t i = 0; i < images_.size(); ++i) {
            const std::string path = dir + "/" + contents_.textureNames[i];
            if (ok) {
                const std::string temp = outputs_.Add(path, failure);
                if (temp.empty()) {
                    ok = false;
                } else if (!images_[i] || !SaveBmp(images_[i], temp)) {
                    failure = {path, std::string("cannot write the BMP (") + SDL_GetError() + ")"};
                    ok = false;
                }
            }
            SDL_FreeSurface(images_[i]);
        }
        images_.clear();
        return ok;
    }

    static bool WriteBytes(const std::string& path, const std::string& bytes, Failure& failure) {
        FILE* f = std::fopen(path.c_str(), "wb");
        const bool ok = f && std::fwrite(bytes.data(), 1, bytes.size(), f) == bytes.size();
        if (f && std::fclose(f) != 0) {
            failure = {path, std::strerror(errno)};
            return false;
        }
        if (!ok) {
            failure = {path, std::string("cannot write: ") + std::strerror(errno)};
        }
        return ok;
    }

    std::string in_;
    std::string out_;
    ModelFileContents contents_;
    std::vector<SDL_Surface*> images_;
    std::map<unsigned, int32_t> byMaterial_;
    std::map<std::string, int32_t> bySource_;
    PendingOutputs outputs_;
};

void PrintUsage(FILE* out) {
    std::fprintf(out,
                 "Usage: vormi-convert model IN OUT.vmdl\n"
                 "       vormi-convert texture IN OUT.bmp\n"
                 "Converts a 3D model (OBJ, glTF/GLB, FBX, Collada and the other formats Assimp reads) to\n"
                 "the engine's model file, each material's base-colour image becoming a BMP beside it; or\n"
                 "an image (PNG, JPEG, TGA and the rest SDL2_image reads) to a BMP.\n");
}

}  // namespace

int main(int argc, char** argv) {
    if (argc == 2 && (std::strcmp(argv[1], "--help") == 0 || std::strcmp(argv[1], "-h") == 0)) {
        PrintUsage(stdout);
        return 0;
    }
    const std::string kind = argc == 4 ? argv[1] : "";
    if (kind != "model" && kind != "texture") {
        PrintUsage(stderr);
        return 2;
    }
    Failure failure;
    bool ok;
    if (kind == "texture") {
        ok = ConvertTexture(argv[2], argv[3], failure);
    } else {
        ModelConverter converter(argv[2], argv[3]);
        ok = converter.Run(failure);
    }
    if (!ok) {
        std::fprintf(stderr, "vormi-convert: %s: %s\n", failure.file.c_str(), failure.reason.c_str());
        return 1;
    }
    return 0;
}
