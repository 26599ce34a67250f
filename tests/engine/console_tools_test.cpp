#include <gtest/gtest.h>

#include <string>

#include "console/command_system.h"
#include "engine/engine.h"
#include "support/desktop.h"
#include "support/engine_fixture.h"
#include "ui/panel.h"
#include "ui/root_panel.h"

class ConsoleToolsEngine : public ::testing::TestWithParam<const char*> {};

// A screenshot holds the frame drawn, the right way up, in its real colours.
TEST_P(ConsoleToolsEngine, ScreenshotHoldsTheFrameAndAnUnwritablePathGetsOneLine) {
    TempWorkDir dir;
    dir.WriteFile("test/scripts/cvars.txt",
                  std::string("renderer_type ") + GetParam() + "\nwindow_width 640\nwindow_height 480\n");
    LogCapture log;
    const EngineRunResult run = RunEngine(
        [&](int frame) {
            if (frame == 1) CommandGlobal("screenshot first.png");
            if (frame == 3) CommandGlobal("screenshot missing_folder/shot.png");
            if (frame == 6) CommandGlobal("quit");
        },
        [&] {
            g_rootPanel->HideLayer(kLayerMenus);
            Panel* probe = new Panel("probe");
            probe->SetParent(g_rootPanel->GetLayer(kLayerGameUI));
            probe->width = 40;
            probe->height = 20;
            probe->backgroundColor = kRed;
        });
    EXPECT_EQ(run.exitCode, 0);
    ExpectInOrder(log.text(), {"screenshot: saved first.png\n", "screenshot: cannot write missing_folder/shot.png"});

    const Frame shot = ReadImage(dir.path() + "/first.png");
    EXPECT_EQ(shot.width, 640);
    EXPECT_EQ(shot.pixels.size(), 640u * 480u);
    const Probe probes[] = {{5, 5, kRed, "probe"},          {35, 15, kRed, "probe"},
                            {45, 5, kGrey, "right of it"}, {5, 474, kGrey, "bottom-left"},
                            {634, 5, kGrey, "top-right"}};
    for (const Probe& p : probes) {
        EXPECT_TRUE(SameColor(shot.At(p.x, p.y), p.want)) << p.what << " at " << p.x << "," << p.y;
    }
}

INSTANTIATE_TEST_SUITE_P(Renderers, ConsoleToolsEngine, ::testing::Values("SDLRenderer", "GLRenderer"));
