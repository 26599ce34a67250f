// BMP textures through the texture manager and the SDL renderer. A texture that loads must be one its
// file could describe: no side past the engine's limit, no more pixels than its bytes can code.
#include "fuzz_support.h"
#include "render/renderer.h"
#include "resources/texture_mgr.h"

static const int64_t kMaxSide = 16384;
// Run-length coding is the densest a BMP gets: two bytes for up to 255 pixels.
static const int64_t kMaxPixelsPerByte = 128;

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    StartEngine("SDLRenderer");
    WriteFile("./test/tex/fuzz.bmp", data, size);
    const int handle = g_textureMgr->LoadTexture("fuzz.bmp");
    if (handle > 0) {
        const Texture* texture = g_textureMgr->GetTexture(handle);
        FUZZ_CHECK(texture && texture->width <= kMaxSide && texture->height <= kMaxSide, "texture side");
        FUZZ_CHECK(int64_t(texture->width) * texture->height <= kMaxPixelsPerByte * int64_t(size),
                   "%dx%d pixels from %zu bytes", texture->width, texture->height, size);
        const Rect place = {0, 0, 64, 64};
        g_renderer->DrawTextureById(&place, Color{255, 255, 255, 255}, handle);
        g_textureMgr->UnloadTexture(handle);
    }
    ForgetOutput();
    return 0;
}
