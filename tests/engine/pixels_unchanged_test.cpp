#include <SDL_opengl.h>

#include <algorithm>
#include <cstdlib>

#include "console/console_panel.h"
#include "engine/console_output.h"
#include "render/gl_renderer.h"
#include "render/sdl_renderer.h"
#include "resources/font_system.h"
#include "support/engine_fixture.h"
#include "ui/rich_text_box.h"
#include "ui/root_panel.h"
#include "ui/text_box.h"

// The drawing paths as they were before the renderers learnt to batch, kept here so that every faster
// path is checked against them on the same machine: one SDL call, or one glBegin/glEnd, per primitive.
namespace {

template <typename Emit>
void WalkGlyphs(int fontId, const char* text, int x, Emit emit) {
    const FontRecord* font = g_fontSystem->GetFont(fontId);
    for (const char* p = text; font && *p; ++p) {
        if (static_cast<signed char>(*p) >= 32) {
            const Rect& g = font->glyphs[static_cast<unsigned char>(*p)];
            emit(*font, g, x);
            x += g.w;
        }
    }
}

class PinnedSDL : public SDLRenderer {
    static SDL_Renderer* R() { return SDL_GetRenderer(g_window); }
    static void Use(Color c) { SDL_SetRenderDrawColor(R(), c.r, c.g, c.b, c.a); }
    static const SDL_Rect* S(const Rect* r) { return reinterpret_cast<const SDL_Rect*>(r); }

public:
    void SetClipRect(const Rect* r) override { SDL_RenderSetClipRect(R(), S(r)); }
    void FillRect(const Rect* r, Color c) override { Use(c), SDL_RenderFillRect(R(), S(r)); }
    void DrawRect(const Rect* r, Color c) override { Use(c), SDL_RenderDrawRect(R(), S(r)); }
    void DrawLine(Point a, Point b, Color c, int) override { Use(c), SDL_RenderDrawLine(R(), a.x, a.y, b.x, b.y); }
    void DrawText(int fontId, const char* text, int x, int y) override {
        WalkGlyphs(fontId, text, x, [&](const FontRecord& f, const Rect& g, int pen) {
            const SDL_Rect dst = {pen, y, g.w, g.h};
            SDL_RenderCopy(R(), f.atlas.sdlTexture, S(&g), &dst);
        });
    }
};

class PinnedGL : public GLRenderer {
    static void Flat(Color c, GLenum mode) {
        glDisable(GL_TEXTURE_2D);
        glColor4f(c.r / 255.0f, c.g / 255.0f, c.b / 255.0f, c.a / 255.0f);
        glLineWidth(1.0f);
        glBegin(mode);
    }

public:
    void SetClipRect(const Rect* r) override {
        r ? glEnable(GL_SCISSOR_TEST) : glDisable(GL_SCISSOR_TEST);
        if (r) glScissor(r->x, g_windowHeight - r->y - r->h, r->w, r->h);
    }
    void FillRect(const Rect* r, Color c) override {
        Flat(c, GL_QUADS);
        glVertex2f(r->x, r->y), glVertex2f(r->x + r->w, r->y);
        glVertex2f(r->x + r->w, r->y + r->h), glVertex2f(r->x, r->y + r->h), glEnd();
    }
    void DrawRect(const Rect* r, Color c) override {
        Flat(c, GL_LINE_LOOP);
        glVertex2f(r->x + 0.5f, r->y + 0.5f), glVertex2f(r->x + r->w - 0.5f, r->y + 0.5f);
        glVertex2f(r->x + r->w - 0.5f, r->y + r->h - 0.5f), glVertex2f(r->x + 0.5f, r->y + r->h - 0.5f), glEnd();
    }
    void DrawLine(Point a, Point b, Color c, int) override {
        Flat(c, GL_LINES);
        glVertex2f(a.x + 0.1f, a.y + 0.1f);
        glVertex2f(b.x + (a.x < b.x ? 1.1f : 0.1f), b.y + (a.y < b.y ? 1.1f : 0.1f)), glEnd();
    }
    void DrawText(int fontId, const char* text, int x, int y) override {
        glEnable(GL_TEXTURE_2D);
        const FontRecord* font = g_fontSystem->GetFont(fontId);
        if (!font || !*text) return;
        glBindTexture(GL_TEXTURE_2D, font->atlas.glTexture);
        glColor4f(1.0f, 1.0f, 1.0f, 1.0f);
        glBegin(GL_QUADS);
        WalkGlyphs(fontId, text, x, [&](const FontRecord& f, const Rect& g, int pen) {
            const float w = f.atlas.width, h = f.atlas.height;
            const float u[2] = {g.x / w, (g.x + g.w) / w}, v[2] = {g.y / h, (g.y + g.h) / h};
            const int corners[4][2] = {{0, 0}, {1, 0}, {1, 1}, {0, 1}};
            for (const auto& k : corners) {
                glTexCoord2f(u[k[0]], v[k[1]]);
                glVertex2f(pen + k[0] * g.w, y + k[1] * g.h);
            }
        });
        glEnd();
    }
};

struct Diff {
    long pixels = 0;
    int channel = 0;
};

// Draws the whole interface with the given renderer into the back buffer and reads it back.
std::vector<uint8_t> Capture(IRenderer* with) {
    IRenderer* live = g_renderer;
    // The caret blinks by the clock; hold it on so both captures show it.
    TextBox::caretVisible = true;
    TextBox::caretToggleTime = UINT32_MAX;
    live->SetBlendMode(SDL_BLENDMODE_BLEND);
    live->SetDrawColor(128, 128, 128, 255);
    live->Clear();
    live->Begin2D();
    g_renderer = with;
    g_rootPanel->Draw();
    g_renderer = live;
    std::vector<uint8_t> pixels(static_cast<size_t>(g_windowWidth) * g_windowHeight * 4);
    if (auto* gl = dynamic_cast<GLRenderer*>(live)) {
        gl->Flush();
        glReadPixels(0, 0, g_windowWidth, g_windowHeight, GL_RGBA, GL_UNSIGNED_BYTE, pixels.data());
    } else {
        SDL_RenderReadPixels(SDL_GetRenderer(g_window), nullptr, SDL_PIXELFORMAT_RGBA32, pixels.data(),
                             g_windowWidth * 4);
    }
    return pixels;
}

Diff Compare(const std::vector<uint8_t>& a, const std::vector<uint8_t>& b) {
    Diff d;
    for (size_t i = 0; i < a.size(); i += 4) {
        int worst = 0;
        for (size_t k = i; k < i + 4; ++k) worst = std::max(worst, std::abs(a[k] - b[k]));
        d.pixels += worst > 0;
        d.channel = std::max(d.channel, worst);
    }
    return d;
}

// The menus at start, then the console with text and a selection, the options menu and 300 forms.
std::vector<Diff> SceneDiffs(const std::string& renderer, IRenderer* pinned) {
    TempWorkDir dir;
    dir.WriteFile("test/scripts/cvars.txt", "window_width 1280\nwindow_height 720\nrenderer_type " + renderer + "\n");
    std::vector<Diff> diffs;
    RunEngine([&](int frame) {
        if (frame == 4) {
            CommandGlobal("show_console");
            ConMsg("a line of console text\nand a second one, partly selected\n");
        } else if (frame == 8) {
            g_consolePanel->log->selectionEnd = TextPosition{12, 1};
            CommandGlobal("open_optionsmenu");
        } else if (frame == 12) {
            CommandGlobal("test_create_form 300");
        } else if (frame == 16) {
            CommandGlobal("quit");
        }
        if (frame % 4 == 3) {
            const std::vector<uint8_t> now = Capture(g_renderer);
            diffs.push_back(Compare(now, Capture(pinned)));
        }
    });
    return diffs;
}

}  // namespace

TEST(PixelsUnchanged, SdlRendererDrawsTheInterfaceByteForByteAsBefore) {
    PinnedSDL pinned;
    for (const Diff& d : SceneDiffs("SDLRenderer", &pinned)) {
        EXPECT_EQ(d.pixels, 0) << "largest channel difference " << d.channel;
    }
}

TEST(PixelsUnchanged, GlRendererStaysWithinTwoLevelsOnATenthOfAPercentOfPixels) {
    PinnedGL pinned;
    const std::vector<Diff> diffs = SceneDiffs("GLRenderer", &pinned);
    ASSERT_EQ(diffs.size(), 4u);
    for (const Diff& d : diffs) {
        EXPECT_LE(d.pixels, 1280 * 720 / 1000);
        EXPECT_LE(d.channel, 2);
    }
}
