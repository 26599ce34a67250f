// The texture manager: BMP textures from ./test/tex/ in one table addressed by int handles. Entry 0 is
// a generated magenta-and-black checker and every failure yields 0, so a caller always has something
// to draw. Holders acquire with SetTexture and give back with ReleaseTexture; a texture nobody holds is
// freed 30 seconds later by Collect, which looks at one entry per frame. Published as "TextureMgrV1".
#pragma once

#include <SDL.h>

#include <cstdint>
#include <string>

#include "render/draw_types.h"

class ITextureMgr {
public:
    virtual ~ITextureMgr() {}
    // Creates the fallback as entry 0; false if that failed.
    virtual bool Init() = 0;
    virtual void Shutdown() = 0;
    // Finds or loads; 0 on any failure.
    virtual int LoadTexture(const std::string& name) = 0;
    // As LoadTexture, and the entry is never collected.
    virtual int LoadPersistentTexture(const std::string& name) = 0;
    // Frees an entry's GPU objects and blanks it; handle 0 and bad handles are ignored.
    virtual void UnloadTexture(int handle) = 0;
    // Frees the GPU objects of a record held outside the table (null is ignored).
    virtual void FreeTextureRecord(Texture* texture) = 0;
    virtual void UnloadAll() = 0;
    // Exact name match over all entries; 0 if none.
    virtual int FindTexture(const std::string& name) = 0;
    // Bad handles give entry 0's texture.
    virtual SDL_Texture* GetSDLTexture(int handle) = 0;
    virtual uint32_t GetGLTexture(int handle) = 0;
    // Null for a bad handle.
    virtual Texture* GetTexture(int handle) = 0;
    // Points the holder's handle at the texture called name, taking one reference.
    virtual void SetTexture(const std::string& name, int& handle) = 0;
    // Drops one reference; the last one schedules the release.
    virtual void ReleaseTexture(int handle) = 0;
    // One step of the incremental collector.
    virtual void Collect() = 0;
};

extern ITextureMgr* g_textureMgr;
