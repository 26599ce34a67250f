#include "resources/texture_mgr.h"

#include <SDL_opengl.h>

#include <vector>

#include "engine/console_output.h"
#include "engine/registry.h"
#include "render/renderer.h"
#include "resources/file_system.h"

ResourceTickSource g_resourceTicks = SDL_GetTicks64;

// Grace period between the last release and the collector freeing the entry, so that a screen that
// is closed and reopened does not reload its images.
static const uint64_t kReleaseDelayMs = 30000;

// SDL sizes the decoded surface from the header before it reads a pixel. Nothing the engine draws
// comes near these, and a damaged header must not turn into a gigabyte allocation.
static const uint64_t kMaxBmpSide = 16384;
static const uint64_t kMaxBmpPixels = 8192 * 8192;
// A run-length pair of two bytes expands to at most 255 pixels.
static const uint64_t kMaxRlePixelsPerByte = 128;

std::string NormalizeAssetName(const std::string& name) {
    std::string normalised;
    normalised.reserve(name.size());
    for (char c : name) {
        if (c == '\\') {
            c = '/';
        }
        if (c == '/' && !normalised.empty() && normalised.back() == '/') {
            continue;
        }
        normalised.push_back(c);
    }
    if (normalised.compare(0, 2, "./") == 0) {
        normalised.erase(0, 2);
    }
    return normalised;
}

static uint32_t ReadLE16(const uint8_t* p) {
    return static_cast<uint32_t>(p[0]) | (static_cast<uint32_t>(p[1]) << 8);
}

static uint32_t ReadLE32(const uint8_t* p) {
    return ReadLE16(p) | (ReadLE16(p + 2) << 16);
}

static uint64_t Magnitude(uint32_t bits) {
    const int64_t value = static_cast<int32_t>(bits);
    return static_cast<uint64_t>(value < 0 ? -value : value);
}

// False when the header describes more image than the file can hold. The stream is left at its start.
// Files that are not BMPs at all pass: SDL rejects them itself without allocating.
static bool BmpFitsFile(SDL_RWops* rw) {
    const Sint64 fileSize = SDL_RWsize(rw);
    uint8_t header[34] = {};
    const size_t got = SDL_RWread(rw, header, 1, sizeof(header));
    SDL_RWseek(rw, 0, RW_SEEK_SET);
    if (fileSize < 0 || got < 2 || header[0] != 'B' || header[1] != 'M') {
        return true;
    }

    uint64_t width = 0;
    uint64_t height = 0;
    uint32_t bitsPerPixel = 0;
    uint32_t compression = 0;
    const uint32_t infoSize = got >= 18 ? ReadLE32(header + 14) : 0;
    if (infoSize == 12) {
        // The old OS/2 header: 16-bit dimensions, never compressed.
        if (got < 26) {
            return false;
        }
        width = ReadLE16(header + 18);
        height = ReadLE16(header + 20);
        bitsPerPixel = ReadLE16(header + 24);
    } else {
        if (got < sizeof(header)) {
            return false;
        }
        width = Magnitude(ReadLE32(header + 18));
        height = Magnitude(ReadLE32(header + 22));
        bitsPerPixel = ReadLE16(header + 28);
        compression = ReadLE32(header + 30);
    }
    if (width > kMaxBmpSide || height > kMaxBmpSide || width * height > kMaxBmpPixels) {
        return false;
    }

    const uint64_t fileBytes = static_cast<uint64_t>(fileSize);
    const uint32_t kRle8 = 1;
    const uint32_t kRle4 = 2;
    if (compression == kRle8 || compression == kRle4) {
        return width * height <= fileBytes * kMaxRlePixelsPerByte;
    }
    const uint64_t bits = bitsPerPixel > 0 ? bitsPerPixel : 1;
    const uint64_t rowBytes = (width * bits + 31) / 32 * 4;
    return rowBytes * height <= fileBytes;
}

static bool IsValidRecord(const Texture& texture) {
    return texture.sdlTexture != nullptr || texture.glTexture != 0;
}

static void DestroyGpuObjects(Texture& texture) {
    if (texture.sdlTexture) {
        SDL_DestroyTexture(texture.sdlTexture);
        texture.sdlTexture = nullptr;
    }
    if (texture.glTexture != 0) {
        const GLuint glName = texture.glTexture;
        glDeleteTextures(1, &glName);
        texture.glTexture = 0;
    }
}

class TextureMgr : public ITextureMgr {
public:
    bool Init() override;
    void Shutdown() override;
    int LoadTexture(const std::string& name) override;
    int LoadPersistentTexture(const std::string& name) override;
    void UnloadTexture(int handle) override;
    void FreeTextureRecord(Texture* texture) override;
    void UnloadAll() override;
    int FindTexture(const std::string& name) override;
    SDL_Texture* GetSDLTexture(int handle) override;
    uint32_t GetGLTexture(int handle) override;
    Texture* GetTexture(int handle) override;
    void SetTexture(const std::string& name, int& handle) override;
    void ReleaseTexture(int handle) override;
    void Collect() override;

private:
    bool IsTableHandle(int handle) const {
        return handle > 0 && static_cast<size_t>(handle) < textures.size();
    }
    // The entry for a handle, entry 0 for a bad one, null while the table is empty.
    Texture* EntryOrFallback(int handle);

    std::vector<Texture> textures;
    size_t collectCursor = 1;
};

bool TextureMgr::Init() {
    // Magenta on the diagonal from top-left, black elsewhere; bytes R, G, B, A in memory.
    uint32_t checker[4] = {0xFFFF00FFu, 0xFF000000u, 0xFF000000u, 0xFFFF00FFu};
    SDL_Surface* surface =
        SDL_CreateRGBSurfaceWithFormatFrom(checker, 2, 2, 24, 8, SDL_PIXELFORMAT_ABGR8888);
    if (!surface) {
        ConMsg("Failed to create fallback texture!\n");
        return false;
    }
    Texture fallback;
    if (g_renderer) {
        // Never filtered, so the checker stays sharp however far it is stretched.
        fallback = g_renderer->CreateTexture(surface, "missing", false);
    }
    SDL_FreeSurface(surface);
    fallback.persistent = true;
    if (!IsValidRecord(fallback)) {
        ConMsg("Failed to create fallback texture!\n");
        return false;
    }
    textures.push_back(fallback);
    return true;
}

void TextureMgr::Shutdown() {
    UnloadAll();
}

int TextureMgr::LoadTexture(const std::string& name) {
    const std::string normalised = NormalizeAssetName(name);
    const std::string path = g_fileSystem->GetTexturePath(normalised);

    for (size_t i = 1; i < textures.size(); ++i) {
        if (textures[i].width > 0 && textures[i].name == normalised) {
            return static_cast<int>(i);
        }
    }

    SDL_Surface* surface = nullptr;
    SDL_RWops* rw = SDL_RWFromFile(path.c_str(), "rb");
    if (rw) {
        if (BmpFitsFile(rw)) {
            surface = SDL_LoadBMP_RW(rw, 1);
        } else {
            SDL_RWclose(rw);
        }
    }
    if (!surface) {
        ConMsg("Warning: Failed to load texture: %s\n", path.c_str());
        return 0;
    }

    // "!f_" in a name keeps pixel art and masks sharp whatever the filtering setting says.
    const bool filterAllowed = normalised.find("!f_") == std::string::npos;
    Texture texture;
    if (g_renderer) {
        texture = g_renderer->CreateTexture(surface, normalised, filterAllowed);
    }
    SDL_FreeSurface(surface);
    if (!IsValidRecord(texture)) {
        ConMsg("Warning: Failed to create texture from surface: %s\n", path.c_str());
        return 0;
    }

    for (size_t i = 1; i < textures.size(); ++i) {
        if (textures[i].width == 0) {
            textures[i] = texture;
            return static_cast<int>(i);
        }
    }
    textures.push_back(texture);
    return static_cast<int>(textures.size() - 1);
}

int TextureMgr::LoadPersistentTexture(const std::string& name) {
    const int handle = LoadTexture(name);
    if (handle >= 1) {
        textures[handle].persistent = true;
    }
    return handle;
}

void TextureMgr::UnloadTexture(int handle) {
    if (!IsTableHandle(handle)) {
        return;
    }
    Texture& texture = textures[handle];
    DestroyGpuObjects(texture);
    // clear() keeps the string's buffer, so the collector frees without touching the heap.
    texture.name.clear();
    texture.width = 0;
    texture.height = 0;
    texture.refCount = 0;
    texture.releaseTime = 0;
}

void TextureMgr::FreeTextureRecord(Texture* texture) {
    if (texture) {
        DestroyGpuObjects(*texture);
    }
}

void TextureMgr::UnloadAll() {
    for (Texture& texture : textures) {
        DestroyGpuObjects(texture);
    }
    textures.clear();
    collectCursor = 1;
}

int TextureMgr::FindTexture(const std::string& name) {
    for (size_t i = 0; i < textures.size(); ++i) {
        if (textures[i].name == name) {
            return static_cast<int>(i);
        }
    }
    return 0;
}

Texture* TextureMgr::EntryOrFallback(int handle) {
    if (textures.empty()) {
        return nullptr;
    }
    if (handle < 0 || static_cast<size_t>(handle) >= textures.size()) {
        handle = 0;
    }
    return &textures[handle];
}

SDL_Texture* TextureMgr::GetSDLTexture(int handle) {
    Texture* texture = EntryOrFallback(handle);
    return texture ? texture->sdlTexture : nullptr;
}

uint32_t TextureMgr::GetGLTexture(int handle) {
    Texture* texture = EntryOrFallback(handle);
    return texture ? texture->glTexture : 0;
}

Texture* TextureMgr::GetTexture(int handle) {
    if (handle < 0 || static_cast<size_t>(handle) >= textures.size()) {
        return nullptr;
    }
    return &textures[handle];
}

void TextureMgr::SetTexture(const std::string& name, int& handle) {
    const Texture* current = GetTexture(handle);
    if (current && current->name == NormalizeAssetName(name)) {
        return;
    }
    ReleaseTexture(handle);
    handle = LoadTexture(name);
    if (handle >= 1) {
        textures[handle].refCount++;
        textures[handle].releaseTime = 0;
    }
}

void TextureMgr::ReleaseTexture(int handle) {
    if (!IsTableHandle(handle)) {
        return;
    }
    Texture& texture = textures[handle];
    texture.refCount--;
    if (texture.refCount > 0) {
        return;
    }
    texture.refCount = 0;
    texture.releaseTime = g_resourceTicks() + kReleaseDelayMs;
}

void TextureMgr::Collect() {
    if (textures.size() < 2) {
        return;
    }
    if (collectCursor >= textures.size()) {
        collectCursor = 1;
    }
    const Texture& texture = textures[collectCursor];
    if (!texture.persistent && texture.refCount < 1 && texture.releaseTime != 0 &&
        g_resourceTicks() >= texture.releaseTime) {
        UnloadTexture(static_cast<int>(collectCursor));
    }
    ++collectCursor;
}

static TextureMgr s_textureMgr;
ITextureMgr* g_textureMgr = &s_textureMgr;
EXPOSE_INTERFACE(s_textureMgr, "TextureMgrV1");
