#include "support/desktop.h"

namespace {

const Color kClearGrey = kGrey, kBackdrop = {91, 91, 91, 255}, kGrabBarBlue = {27, 84, 229, 255};
// The 480x400 viewer opens centred on the 800x600 window; its view is the form less title and frame.
const int kCentreX = 160 + 2 + 476 / 2, kCentreY = 100 + 27 + 371 / 2;
// Where the unseeded C library generator puts the first test form in an 800x600 window.
const int kFormX = 37, kFormY = 484;

// One session: the model viewer, then with nothing open a form dragged by the relative mouse, Escape
// toggling the menus and a resize that is saved.
TEST_F(DesktopTest, ViewerShowsTheSampleAndTurnsFormsDragEscapeTogglesMenusAndAResizeIsSaved) {
    // Nearest filtering keeps each texel's colour whole, so every quarter of the plane is one colour.
    Start({"--exec", "test_create_form 1", "--view", dir_.path() + "/test/models/plane.vmdl"},
          "renderer_type \"GLRenderer\"\nfilter_textures \"0\"\nwindow_width \"800\"\nwindow_height \"600\"\n");
    const struct { int dx, dy; Color colour; } quarters[] = {
        {-15, -15, kRed}, {15, -15, kGreen}, {-15, 15, kBlue}, {15, 15, kWhite}};
    for (const auto& q : quarters) EXPECT_TRUE(Shows(kCentreX + q.dx, kCentreY + q.dy, q.colour, "texel of plane.bmp"));
    const Frame before = Capture();
    MoveTo(kCentreX, kCentreY);
    Button("down");
    for (int step = 1; step <= 4; ++step) MoveTo(kCentreX + 30 * step, kCentreY + 10 * step);
    Button("up");
    const Frame after = Capture();
    int changed = 0;
    for (const auto& q : quarters) {
        const int x = kCentreX + 3 * q.dx, y = kCentreY + 3 * q.dy;
        changed += !SameColor(before.At(x, y), after.At(x, y));
    }
    EXPECT_GE(changed, 2) << "the drag left the plane where it was";
    Click(160 + 480 - 25, 100 + 12);
    EXPECT_TRUE(Shows(kCentreX, kCentreY, kClearGrey, "clear colour once Close was clicked"));

    ASSERT_TRUE(Shows(kFormX + 4, kFormY + 3, kGrabBarBlue, "the form's grab bar"));
    PointAt(kFormX + 40, kFormY + 10);
    Button("down");
    for (int step = 0; step < 4; ++step) {
        X("xdotool mousemove_relative -- 25 -20");
        SleepSeconds(0.1);
    }
    Button("up");
    EXPECT_TRUE(Shows(kFormX + 104, kFormY - 77, kGrabBarBlue, "grab bar dragged by (100, -80)"));
    EXPECT_TRUE(Shows(kFormX + 4, kFormY + 3, kClearGrey, "where the grab bar was"));
    Key("Escape");
    EXPECT_TRUE(Shows(20, 20, kBackdrop, "the menus' backdrop, 80,80,80 at alpha 200"));
    Key("Escape");
    EXPECT_TRUE(Shows(20, 20, kClearGrey, "clear colour once the menus are hidden again"));
    X("xdotool windowsize --sync " + window_ + " 960 720 2>/dev/null");
    EXPECT_TRUE(Shows(900, 300, kClearGrey, "beyond the old width"));
    const std::string cvars = Close();
    EXPECT_NE(cvars.find("window_height \"720\"\nwindow_width \"960\"\n"), std::string::npos) << cvars;
}

}  // namespace
