// Start-up cost of the glyph atlases the UI builds: each is timed through the font system's LoadFont
// on an offscreen window with SDL's software renderer, and the median of several runs is printed.
//
// Build and run (from the repository root; see bench/CMakeLists.txt):
//   cmake -S bench -B build-bench && cmake --build build-bench -j2
//   ./build-bench/font_atlas_bench [runs]      (default 21 runs per atlas)
#include <SDL.h>
#include <SDL_ttf.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

#include "engine/engine.h"
#include "render/renderer.h"
#include "render/renderer_backend.h"
#include "resources/font_system.h"

namespace {

struct AtlasCase {
    const char* use;
    const char* name;
    const char* file;
    int size;
    Color color;
    Color backColor;
};

// The colour words every widget passes: black text on a transparent back colour (blended glyphs).
const Color kBlack = {0, 0, 0, 255};
const Color kTransparentWhite = {255, 255, 255, 0};
const Color kAmber = {255, 212, 0, 255};
const Color kOpaqueWhite = {255, 255, 255, 255};

// Labels, buttons, text boxes and the console log all share the first atlas (same name, size and
// colours); the FPS readout has its own colour; rich text boxes default to a 20-pixel line. The last
// case is not used by the UI: it shows what an opaque back colour (LCD glyphs) would cost instead.
const AtlasCase kCases[] = {
    {"labels, buttons, text boxes, console log", "OpenSans-Regular", "OpenSans-Regular.ttf", 20, kBlack,
     kTransparentWhite},
    {"FPS readout", "OpenSans-Regular", "OpenSans-Regular.ttf", 20, kAmber, kTransparentWhite},
    {"rich text box", "Inconsolata-Regular", "Inconsolata-Regular.ttf", 20, kBlack, kTransparentWhite},
    {"(LCD variant, not used)", "OpenSans-Regular", "OpenSans-Regular.ttf", 20, kBlack, kOpaqueWhite},
};
const size_t kUiCases = 3;

double Milliseconds(Uint64 ticks) {
    return static_cast<double>(ticks) * 1000.0 / static_cast<double>(SDL_GetPerformanceFrequency());
}

double Median(std::vector<double> values) {
    std::sort(values.begin(), values.end());
    const size_t n = values.size();
    return n % 2 ? values[n / 2] : (values[n / 2 - 1] + values[n / 2]) / 2.0;
}

// Builds one atlas and returns its time in ms, or a negative value when the font did not load.
// The texture is freed at once so that repeated runs do not pile up renderer memory.
double TimeLoad(const AtlasCase& c, FontRecord** built) {
    const std::string path = std::string(VORMI_SOURCE_DIR) + "/test/fonts/" + c.file;
    const Uint64 start = SDL_GetPerformanceCounter();
    const int handle = g_fontSystem->LoadFont(c.name, path, c.size, c.color, c.backColor);
    const Uint64 end = SDL_GetPerformanceCounter();
    FontRecord* font = g_fontSystem->GetFont(handle);
    if (!font) {
        return -1.0;
    }
    *built = font;
    if (font->atlas.sdlTexture) {
        SDL_DestroyTexture(font->atlas.sdlTexture);
        font->atlas.sdlTexture = nullptr;
    }
    return Milliseconds(end - start);
}

}  // namespace

int main(int argc, char** argv) {
    int runs = 21;
    if (argc > 1) {
        char* end = nullptr;
        const long value = std::strtol(argv[1], &end, 10);
        runs = static_cast<int>(value);
        if (*end != '\0' || value < 1 || value > 10000) {
            std::fprintf(stderr, "runs must be 1 to 10000\n");
            return 2;
        }
    }
    SDL_SetHint(SDL_HINT_VIDEODRIVER, "offscreen");
    SDL_SetHint(SDL_HINT_RENDER_DRIVER, "software");
    if (SDL_Init(SDL_INIT_VIDEO) != 0 || TTF_Init() != 0) {
        std::fprintf(stderr, "SDL start-up failed: %s\n", SDL_GetError());
        return 1;
    }
    g_window = SDL_CreateWindow("font atlas bench", 0, 0, 640, 480, SDL_WINDOW_HIDDEN);
    g_renderer = g_window ? NewSDLRenderer() : nullptr;
    if (!g_renderer || !g_renderer->Init()) {
        std::fprintf(stderr, "renderer start-up failed: %s\n", SDL_GetError());
        return 1;
    }

    const size_t caseCount = sizeof(kCases) / sizeof(kCases[0]);
    std::vector<std::vector<double>> times(caseCount);
    std::vector<double> uiTotals;
    std::vector<FontRecord*> built(caseCount, nullptr);
    // One untimed round first, so that the font files are in the page cache like at a warm start.
    for (size_t i = 0; i < caseCount; ++i) {
        if (TimeLoad(kCases[i], &built[i]) < 0.0) {
            std::fprintf(stderr, "could not load %s\n", kCases[i].file);
            return 1;
        }
    }
    for (int run = 0; run < runs; ++run) {
        double total = 0.0;
        for (size_t i = 0; i < caseCount; ++i) {
            const double ms = TimeLoad(kCases[i], &built[i]);
            times[i].push_back(ms);
            if (i < kUiCases) {
                total += ms;
            }
        }
        uiTotals.push_back(total);
    }

    std::printf("Glyph atlas build time, SDL software renderer, median of %d runs\n\n", runs);
    std::printf("%-20s %4s %9s %-6s %10s %8s %8s  %s\n", "font", "size", "atlas", "glyphs", "median ms", "min ms",
                "max ms", "used by");
    for (size_t i = 0; i < caseCount; ++i) {
        const AtlasCase& c = kCases[i];
        const FontRecord* font = built[i];
        const std::vector<double>& t = times[i];
        char atlas[32];
        std::snprintf(atlas, sizeof(atlas), "%dx%d", font->atlas.width, font->atlas.height);
        std::printf("%-20s %4d %9s %-6s %10.3f %8.3f %8.3f  %s\n", c.name, c.size, atlas,
                    c.backColor.a ? "LCD" : "blend", Median(t), *std::min_element(t.begin(), t.end()),
                    *std::max_element(t.begin(), t.end()), c.use);
    }
    std::printf("\nThe three UI atlases together: median %.3f ms\n", Median(uiTotals));

    delete g_renderer;
    g_renderer = nullptr;
    SDL_DestroyWindow(g_window);
    g_window = nullptr;
    TTF_Quit();
    SDL_Quit();
    return 0;
}
