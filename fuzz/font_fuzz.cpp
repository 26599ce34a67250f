// Fonts at fuzzed sizes and both rendering modes. The atlas keeps to its documented shape (16 by 6
// cells, each side at most 16384 pixels, a line no taller than the size asked for, every glyph inside
// it), and building it never allocates more than a small multiple of the atlas or the file.
#include <fuzzer/FuzzedDataProvider.h>
#include <sanitizer/allocator_interface.h>

#include <vector>

#include "fuzz_support.h"
#include "resources/font_system.h"
#include "resources/texture_mgr.h"

static const int64_t kMaxAtlasSide = 16384;
static const uint64_t kSlackBytes = 4u << 20;

static bool s_watching = false;
static size_t s_largest = 0;

static void OnMalloc(const volatile void*, size_t size) {
    if (s_watching && size > s_largest) {
        s_largest = size;
    }
}
static void OnFree(const volatile void*) {}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    static const bool s_hooked = [] {
        StartEngine("SDLRenderer");
        return __sanitizer_install_malloc_and_free_hooks(OnMalloc, OnFree) != 0;
    }();
    (void)s_hooked;
    FuzzedDataProvider input(data, size);
    // Mostly the sizes widgets use, now and then anything up to the largest the font system takes.
    const int pixelSize = input.ConsumeBool() ? input.ConsumeIntegralInRange(1, 300) : input.ConsumeIntegralInRange(8, 40);
    const Color back = {0, 0, 0, static_cast<uint8_t>(input.ConsumeBool() ? 255 : 0)};
    const std::vector<uint8_t> file = input.ConsumeRemainingBytes<uint8_t>();
    WriteFile("./test/fonts/fuzz.ttf", file.data(), file.size());

    s_largest = 0;
    s_watching = true;
    const int handle = g_fontSystem->LoadFont("fuzz", "./test/fonts/fuzz.ttf", pixelSize, Color{255, 255, 255, 255}, back);
    s_watching = false;
    FontRecord* font = g_fontSystem->GetFont(handle);
    if (!font) {
        ForgetOutput();
        return 0;
    }
    const Texture& atlas = font->atlas;
    FUZZ_CHECK(font->cellHeight <= pixelSize, "line of %d pixels at size %d", font->cellHeight, pixelSize);
    FUZZ_CHECK(int64_t(atlas.width) == 16 * int64_t(font->cellWidth) && int64_t(atlas.height) == 6 * int64_t(font->cellHeight),
               "atlas %dx%d for cells %dx%d", atlas.width, atlas.height, font->cellWidth, font->cellHeight);
    FUZZ_CHECK(atlas.width <= kMaxAtlasSide && atlas.height <= kMaxAtlasSide, "atlas %dx%d", atlas.width, atlas.height);
    for (const auto& glyph : font->glyphs) {
        FUZZ_CHECK(glyph.x >= 0 && glyph.y >= 0 && int64_t(glyph.x) + glyph.w <= atlas.width &&
                       int64_t(glyph.y) + glyph.h <= atlas.height,
                   "glyph at %d,%d %dx%d outside the atlas", glyph.x, glyph.y, glyph.w, glyph.h);
    }
    const uint64_t atlasBytes = uint64_t(atlas.width) * atlas.height * 4;
    FUZZ_CHECK(s_largest <= 4 * std::max<uint64_t>(atlasBytes, file.size()) + kSlackBytes,
               "a %zu-byte allocation for a %dx%d atlas from %zu bytes", s_largest, atlas.width, atlas.height, file.size());
    // Font records are never removed; the atlas is what costs, so it goes back at once.
    g_textureMgr->FreeTextureRecord(&font->atlas);
    ForgetOutput();
    return 0;
}
