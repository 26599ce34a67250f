#include "resources/texture_mgr.h"

#include "engine/console_output.h"
#include "engine/registry.h"
#include "render/gpu_objects.h"
#include "render/renderer.h"
#include "resources/file_system.h"
#include "resources/handle_table.h"

// SDL sizes the decoded surface from the header before it reads a pixel. Nothing the engine draws
// comes near these, and a damaged header must not turn into a gigabyte allocation.
static const uint64_t kMaxBmpSide = 16384;
static const uint64_t kMaxBmpPixels = 8192 * 8192;
// A run-length pair of two bytes expands to at most 255 pixels.
static const uint64_t kMaxRlePixelsPerByte = 128;

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

// An entry is in use while width > 0; freeing gives back the GPU objects and blanks the entry.
struct TextureEntries {
    static constexpr bool kLookupMatchesFree = false;
    static bool IsFree(const Texture& texture) { return texture.width == 0; }
    static void Free(Texture& texture) {
        DestroyTextureObjects(texture);
        // clear() keeps the string's buffer, so the collector frees without touching the heap.
        texture.name.clear();
        texture.width = 0;
        texture.height = 0;
        texture.refCount = 0;
        texture.releaseTime = 0;
    }
};

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
    HandleTable<Texture, TextureEntries> table;
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
    table.entries.push_back(fallback);
    return true;
}

void TextureMgr::Shutdown() {
    UnloadAll();
}

int TextureMgr::LoadTexture(const std::string& name) {
    const std::string normalised = NormalizeAssetName(name);
    const std::string path = g_fileSystem->GetTexturePath(normalised);
    if (const int cached = table.Find(normalised)) {
        return cached;
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
    return table.Place(std::move(texture));
}

int TextureMgr::LoadPersistentTexture(const std::string& name) {
    const int handle = LoadTexture(name);
    if (handle >= 1) {
        table.entries[handle].persistent = true;
    }
    return handle;
}

void TextureMgr::UnloadTexture(int handle) {
    table.Unload(handle);
}

void TextureMgr::FreeTextureRecord(Texture* texture) {
    if (texture) {
        DestroyTextureObjects(*texture);
    }
}

void TextureMgr::UnloadAll() {
    table.Clear();
}

int TextureMgr::FindTexture(const std::string& name) {
    for (size_t i = 0; i < table.entries.size(); ++i) {
        if (table.entries[i].name == name) {
            return static_cast<int>(i);
        }
    }
    return 0;
}

SDL_Texture* TextureMgr::GetSDLTexture(int handle) {
    Texture* texture = table.GetOrFallback(handle);
    return texture ? texture->sdlTexture : nullptr;
}

uint32_t TextureMgr::GetGLTexture(int handle) {
    Texture* texture = table.GetOrFallback(handle);
    return texture ? texture->glTexture : 0;
}

Texture* TextureMgr::GetTexture(int handle) {
    return table.Get(handle);
}

void TextureMgr::SetTexture(const std::string& name, int& handle) {
    table.Set(name, handle, [this](const std::string& n) { return LoadTexture(n); });
}

void TextureMgr::ReleaseTexture(int handle) {
    table.Release(handle);
}

void TextureMgr::Collect() {
    table.Collect();
}

static TextureMgr s_textureMgr;
ITextureMgr* g_textureMgr = &s_textureMgr;
EXPOSE_INTERFACE(s_textureMgr, "TextureMgrV1");
