#include <SDL.h>
#include <SDL_image.h>
#include <gtest/gtest.h>

#include <regex>
#include <sstream>
#include <string>

#include "console/command_system.h"
#include "console/cvars.h"
#include "engine/engine.h"
#include "support/desktop.h"
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

// Autoexec runs before the first frame (and before the host's start hook), and a screenshot holds the
// frame drawn, the right way up, in its real colours.
TEST_P(ConsoleToolsEngine, AutoexecRunsBeforeTheFirstFrameAndScreenshotsHoldTheFrame) {
    TempWorkDir dir;
    dir.WriteFile("test/scripts/cvars.txt",
                  std::string("renderer_type ") + GetParam() + "\nwindow_width 640\nwindow_height 480\n");
    dir.WriteFile("test/scripts/autoexec.cfg", "frame_delay 0\necho autoexec\n");
    LogCapture log;
    int delayAtFirstFrame = -1;
    const EngineRunResult run = RunEngine(
        [&](int frame) {
            if (frame == 1) {
                delayAtFirstFrame = cv_frame_delay.intValue;
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
            cv_frame_delay.SetString("2");
        });
    EXPECT_EQ(run.exitCode, 0);
    EXPECT_EQ(delayAtFirstFrame, 2) << "the start hook runs after autoexec";
    ExpectInOrder(log.text(), {"autoexec\n", "Entering main loop\n", "screenshot: saved first.png\n",
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

TEST(ConsoleToolsHost, ExecUsesTheConsoleGrammarAndLogStampsEveryLine) {
    TempWorkDir dir;
    VormiProcess run("", dir.path(),
                     {"--frames", "3", "--log", "console.log", "--exec", "frame_delay 4", "--exec", "frame_delay",
                      "--exec", "  echo from exec", "--exec", "no_such_command"},
                     {"SDL_VIDEODRIVER=offscreen"});
    ASSERT_EQ(run.Wait(60), 0) << run.output();
    const std::string log = dir.ReadFile("console.log");
    const std::regex stamp(R"(^\[\d{4}-\d\d-\d\d \d\d:\d\d:\d\d\.\d{3}\] )");
    std::istringstream in(log);
    std::string line;
    size_t lines = 0;
    for (; std::getline(in, line); ++lines) {
        EXPECT_TRUE(std::regex_search(line, stamp)) << line;
    }
    EXPECT_GT(lines, 5u);
    ExpectInOrder(log, {"frame_delay: \"4\"\n", "Entering main loop\n", "from exec\n",
                        "Unknown command: no_such_command\n"});
    EXPECT_NE(dir.ReadFile("test/scripts/cvars.txt").find("frame_delay \"4\"\n"), std::string::npos);
}
