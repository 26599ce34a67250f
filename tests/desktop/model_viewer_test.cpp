#include <gtest/gtest.h>

#include "support/desktop.h"

namespace {

// The 480x400 viewer opens centred on the 800x600 window; its view is the form less title and frame.
const int kViewCentreX = 160 + 2 + 476 / 2;
const int kViewCentreY = 100 + 27 + 371 / 2;
const int kProbe = 15;  // inside each quarter of the sample plane, which fills most of the view

TEST_F(DesktopTest, ModelViewerSampleShowsItsTextureADragTurnsItAndCloseRemovesIt) {
    // Nearest filtering keeps each texel's colour whole, so every quarter of the plane is one colour.
    Start({"--view", dir_.path() + "/test/models/plane.vmdl"},
          "renderer_type \"GLRenderer\"\nfilter_textures \"0\"\nwindow_width \"800\"\nwindow_height \"600\"\n");
    const struct {
        int dx, dy;
        RGB colour;
    } quarters[] = {{-kProbe, -kProbe, {255, 0, 0}}, {kProbe, -kProbe, {0, 255, 0}},
                    {-kProbe, kProbe, {0, 0, 255}}, {kProbe, kProbe, {255, 255, 255}}};
    for (const auto& q : quarters) {
        EXPECT_TRUE(Shows(kViewCentreX + q.dx, kViewCentreY + q.dy, q.colour, "texel of plane.bmp"));
    }
    const Image before = Capture();
    const auto moveTo = [&](int x, int y) {
        X("xdotool mousemove --window " + window_ + " " + std::to_string(x) + " " + std::to_string(y));
        SleepSeconds(0.1);
    };
    moveTo(kViewCentreX, kViewCentreY);
    Button("down");
    for (int step = 1; step <= 4; ++step) {
        moveTo(kViewCentreX + 30 * step, kViewCentreY + 10 * step);
    }
    Button("up");
    const Image after = Capture();
    int changed = 0;
    for (const auto& q : quarters) {
        changed += !(before.At(kViewCentreX + 3 * q.dx, kViewCentreY + 3 * q.dy) ==
                     after.At(kViewCentreX + 3 * q.dx, kViewCentreY + 3 * q.dy));
    }
    EXPECT_GE(changed, 2) << "the drag left the plane where it was";
    Click(160 + 480 - 25, 100 + 12);
    EXPECT_TRUE(Shows(kViewCentreX, kViewCentreY, RGB{128, 128, 128}, "clear colour once Close was clicked"));
    Close();
}

}  // namespace
