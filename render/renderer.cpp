#include "render/renderer.h"
#include "render/renderer_backend.h"

#include <cmath>
#include <string_view>

#include "console/cvars.h"
#include "engine/console_output.h"
#include "resources/font_system.h"

SDL_Window* g_window = nullptr;
int32_t g_windowWidth = 0;
int32_t g_windowHeight = 0;
IRenderer* g_renderer = nullptr;
bool g_rendererReady = false;
void (*g_viewportResizeListener)() = nullptr;

const RendererFactory availableRenderers[kAvailableRendererCount] = {
    {"SDLRenderer", NewSDLRenderer},
    {"GLRenderer", NewGLRenderer},
};
int32_t selectedRendererIndex = -1;
int32_t rendererKind = kRendererUnknown;
float g_viewportScale = 1.0f;

int32_t RendererKindFromName(const char* name) {
    static const struct {
        const char* name;
        int32_t kind;
    } kKinds[] = {
        {"SDLRenderer", kRendererSDL},       {"GLRenderer", kRendererGL},
        {"GLESRenderer", kRendererGLES},     {"DXRenderer", kRendererDX},
        {"VulkanRenderer", kRendererVulkan},
    };
    for (const auto& entry : kKinds) {
        if (std::string_view(entry.name) == name) {
            return entry.kind;
        }
    }
    return kRendererUnknown;
}

static int32_t FindAvailableRenderer(const std::string& name) {
    for (int32_t i = 0; i < kAvailableRendererCount; ++i) {
        if (name == availableRenderers[i].name) {
            return static_cast<int32_t>(i);
        }
    }
    return -1;
}

void SelectRenderer() {
    ConMsg("Available renderers:\n");
    for (const RendererFactory& factory : availableRenderers) {
        ConMsg("-%s\n", factory.name);
    }

    selectedRendererIndex = -1;
    const std::string requested = cv_renderer_type.value;
    const int32_t index = FindAvailableRenderer(requested);
    if (index >= 0) {
        selectedRendererIndex = index;
        ConMsg("Selected renderer: %s (ID %d)\n", availableRenderers[index].name, index);
        rendererKind = RendererKindFromName(availableRenderers[index].name);
        return;
    }
    ConMsg("Unknown renderer '%s'. Falling back to SDLRenderer.\n", requested.c_str());
    cv_renderer_type.SetString("SDLRenderer");
    rendererKind = kRendererSDL;
    selectedRendererIndex = FindAvailableRenderer("SDLRenderer");
}

bool CreateSelectedRenderer() {
    if (g_renderer) {
        delete g_renderer;
        g_renderer = nullptr;
    }
    if (selectedRendererIndex >= 0 && selectedRendererIndex < kAvailableRendererCount) {
        g_renderer = availableRenderers[selectedRendererIndex].create();
    }
    if (!g_renderer) {
        ConMsg("Falling back to SDLRenderer.\n");
        g_renderer = NewSDLRenderer();
        cv_renderer_type.SetString("SDLRenderer");
        rendererKind = kRendererSDL;
    }
    return g_renderer != nullptr;
}

std::string SwitchRenderer() {
    ++selectedRendererIndex;
    if (selectedRendererIndex < 0 || selectedRendererIndex >= kAvailableRendererCount) {
        selectedRendererIndex = 0;
    }
    const char* name = availableRenderers[selectedRendererIndex].name;
    cv_renderer_type.SetString(name);
    return name;
}

void StoreViewportScale() {
    cv_viewport_scale.SetFloat(g_viewportScale);
}

void UpdateViewportIfReady() {
    if (g_window && g_rendererReady && g_renderer) {
        g_renderer->UpdateViewportScale();
    }
}

// "viewport_scale" and "viewport_autoscale" apply at once.
void OnViewportChanged(CVar*) {
    UpdateViewportIfReady();
}

int32_t PixelsToUiUnits(int32_t pixels) {
    if (!(g_viewportScale > 0.0f)) {
        return pixels;
    }
    const float units = static_cast<float>(pixels) / g_viewportScale;
    if (!std::isfinite(units) || std::fabs(units) >= 2147483520.0f) {
        return pixels;
    }
    return static_cast<int32_t>(units);
}

float ComputeViewportScale(int width, int height, float requested, bool noClamp, bool autoScaleOn) {
    float scale = requested;
    const float w = static_cast<float>(width);
    const float h = static_cast<float>(height);
    const float aspect = h != 0.0f ? w / h : 0.0f;
    // Fit a 640x480 base: by height for wide windows, by width for windows taller than 4:3.
    float autoScale = h / 480.0f;
    if (aspect < 1.3333334f) {
        autoScale = w / 640.0f;
    }
    const float capped = autoScale < 1.0f ? autoScale : 1.0f;
    if (!noClamp) {
        if (capped * 0.5f > scale) {
            scale = capped * 0.5f;
        } else {
            scale = autoScale < scale ? autoScale : scale;
        }
    }
    if (autoScaleOn) {
        scale = autoScale;
    }
    return scale;
}

float RefreshViewportScale() {
    SDL_GetWindowSize(g_window, &g_windowWidth, &g_windowHeight);
    float scale = ComputeViewportScale(g_windowWidth, g_windowHeight, cv_viewport_scale.floatValue,
                                       cv_viewport_scale_noclamp.intValue != 0,
                                       cv_viewport_autoscale.intValue != 0);
    // A zero, negative or non-finite scale (a minimised window, a typo in the settings) would divide
    // the UI by nothing: keep the last good one.
    if (!(scale > 0.0f) || !std::isfinite(scale)) {
        scale = g_viewportScale > 0.0f ? g_viewportScale : 1.0f;
    }
    g_viewportScale = scale;
    return scale;
}

void NotifyViewportResized() {
    if (g_viewportResizeListener) {
        g_viewportResizeListener();
    }
}

int32_t TruncToInt(float f) {
    // Saturate: a huge radius or length must not turn into undefined behaviour.
    if (!(f == f)) {
        return 0;
    }
    if (f >= 2147483520.0f) {
        return INT32_MAX;
    }
    if (f <= -2147483648.0f) {
        return INT32_MIN;
    }
    return static_cast<int32_t>(f);
}

ArrowHead ComputeArrowHead(Point p1, Point p2, int headLength, int headWidth) {
    const float angle = std::atan2(static_cast<float>(p2.y - p1.y), static_cast<float>(p2.x - p1.x));
    ArrowHead head;
    head.base = {p2.x - TruncToInt(static_cast<float>(headLength) * std::cos(angle)),
                 p2.y - TruncToInt(static_cast<float>(headLength) * std::sin(angle))};
    const float half = static_cast<float>(headWidth) * 0.5f;
    head.ox = TruncToInt(std::sin(angle) * half);
    head.oy = TruncToInt(std::cos(angle) * half);
    return head;
}

void IRenderer::DrawFontAtlas(int fontId) {
    FontRecord* font = g_fontSystem->GetFont(fontId);
    if (!font) {
        return;
    }
    DrawTexture(font->atlas, 0, 0);
    const Rect outline = {0, 0, font->atlas.width, font->atlas.height};
    DrawRect(&outline, MakeColor(255, 0, 0, 255));
}
