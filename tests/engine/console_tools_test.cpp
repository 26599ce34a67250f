#include <SDL.h>
#include <SDL_image.h>
#include <gtest/gtest.h>

#include <string>

#include "console/command_system.h"
#include "engine/engine.h"
#include "support/engine_fixture.h"
#include "ui/panel.h"
#include "ui/root_panel.h"

namespace {

Uint32 PixelAt(SDL_Surface* s, int x, int y) {
    const Uint8* p = static_cast<const Uint8*>(s->pixels) + y * s->pitch + x * s->format->BytesPerPixel;
    Uint8 r = 0, g = 0, b = 0;
    Uint32 value = 0;
    SDL_memcpy(&value, p, s->format->BytesPerPixel);
    SDL_GetRGB(value, s->format, &r, &g, &b);
    return (Uint32(r) << 16) | (Uint32(g) << 8) | b;
}

}  // namespace

class ConsoleToolsEngine : public ::testing::TestWithParam<const char*> {};

// A screenshot holds the frame drawn, the right way up, in its real colours.
TEST_P(ConsoleToolsEngine, ScreenshotHoldsTheFrameAndAnUnwritablePathGetsOneLine) {
    TempWorkDir dir;
    dir.WriteFile("test/scripts/cvars.txt",
                  std::string("renderer_type ") + GetParam() + "\nwindow_width 640\nwindow_height 480\n");
    LogCapture log;
    const EngineRunResult run = RunEngine(
        [&](int frame) {
            if (frame == 1) {
                CommandGlobal("screenshot first.png");
            }
            if (frame == 3) {
                CommandGlobal("screenshot missing_folder/shot.png");
            }
            if (frame == 6) {
                CommandGlobal("quit");
            }
        },
        [&] {
            g_rootPanel->HideLayer(kLayerMenus);
            Panel* probe = new Panel("probe");
            probe->SetParent(g_rootPanel->GetLayer(kLayerGameUI));
            probe->width = 40;
            probe->height = 20;
            probe->backgroundColor = Color{255, 0, 0, 255};
        });
    EXPECT_EQ(run.exitCode, 0);
    ExpectInOrder(log.text(), {"screenshot: saved first.png\n",
                               "screenshot: cannot write missing_folder/shot.png"});

    SDL_Surface* shot = IMG_Load((dir.path() + "/first.png").c_str());
    ASSERT_NE(shot, nullptr) << IMG_GetError();
    EXPECT_EQ(shot->w, 640);
    EXPECT_EQ(shot->h, 480);
    const struct {
        int x, y;
        Uint32 rgb;
    } probes[] = {{5, 5, 0xFF0000}, {35, 15, 0xFF0000}, {45, 5, 0x808080}, {5, 474, 0x808080}, {634, 5, 0x808080}};
    for (const auto& p : probes) {
        EXPECT_EQ(PixelAt(shot, p.x, p.y), p.rgb) << "at " << p.x << "," << p.y;
    }
    SDL_FreeSurface(shot);
}

INSTANTIATE_TEST_SUITE_P(Renderers, ConsoleToolsEngine, ::testing::Values("SDLRenderer", "GLRenderer"));
