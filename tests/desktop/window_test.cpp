#include <gtest/gtest.h>

#include <string>

#include "support/desktop.h"

namespace {

const RGB kGrey = {128, 128, 128};
const RGB kGrabBar = {27, 84, 229};

bool ColourExtent(const Image& image, int y, RGB colour, int* first, int* last) {
    *first = *last = -1;
    for (int x = 0; x < image.width; ++x) {
        if (image.At(x, y) == colour) {
            *last = x;
            *first = *first < 0 ? x : *first;
        }
    }
    return *first >= 0;
}

}  // namespace

TEST_F(DesktopTest, WindowOpensAtEightyPercentIsClearedGreyAndClosesInAnOrderlyWay) {
    Start({});
    int wx, wy, ww, wh;
    ASSERT_TRUE(desk_->WindowGeometry(window_, &wx, &wy, &ww, &wh));
    EXPECT_EQ(ww, 1024);
    EXPECT_EQ(wh, 576);
    desk_->Key(window_, "Escape");
    EXPECT_TRUE(Shows(ww - 5, wh - 5, kGrey, "clear colour"));
    const std::string cvars = Close();
    EXPECT_NE(cvars.find("window_height \"576\"\nwindow_width \"1024\"\n"), std::string::npos) << cvars;
}

TEST_F(DesktopTest, ResizingTheWindowRescalesTheInterface) {
    // 640x480 is the base size: with autoscale on the scale there is exactly 1. The unseeded C library
    // generator puts the first form at (19, 35) in a 640x480 window.
    Start({"--exec", "test_create_form 1"}, "window_width 640\nwindow_height 480\nviewport_autoscale 1\n");
    desk_->Key(window_, "Escape");
    const int row = 37;  // two UI units into the grab bar at scale 1
    ASSERT_TRUE(Shows(30, row, kGrabBar, "grab bar"));
    int first1, last1, first2, last2;
    ASSERT_TRUE(ColourExtent(desk_->Capture(window_), row, kGrabBar, &first1, &last1));
    EXPECT_EQ(first1, 20) << "the bevelled border takes the first column";

    desk_->ResizeWindow(window_, 960, 720);
    const int row2 = static_cast<int>(row * 1.5);
    ASSERT_TRUE(Shows(40, row2, kGrabBar, "grab bar after the resize"));
    ASSERT_TRUE(ColourExtent(desk_->Capture(window_), row2, kGrabBar, &first2, &last2));
    EXPECT_NEAR(first2, first1 * 1.5, 1.0);
    EXPECT_NEAR(last2 - first2 + 1, (last1 - first1 + 1) * 1.5, 2.0);
    const std::string cvars = Close();
    EXPECT_NE(cvars.find("window_height \"720\"\nwindow_width \"960\"\n"), std::string::npos) << cvars;
    EXPECT_NE(cvars.find("viewport_scale \"1.500000\"\n"), std::string::npos) << cvars;
}
