// Drives a panel tree as the frame loop does, without a screen: the mouse is written into the input
// system's fields and the real Update runs; drawing goes to a recording renderer.
#pragma once

#include <gtest/gtest.h>

#include "support/recording_renderer.h"
#include "ui/panel.h"

class UiTest : public ::testing::Test {
protected:
    // Clears the input system, the command queue and the console text.
    void SetUp() override;
    // One frame of the tree under top_ with the mouse at (x, y), the left button down or up.
    void Step(int x, int y, bool down);
    void Click(int x, int y);
    // Frames with the mouse away: panels attached during a frame go live at its end, one level of the
    // tree per frame.
    void Settle(int frames = 1);

    // Clicks the middle of a panel.
    void ClickOn(Panel* p) { Click(p->screenX + p->width / 2, p->screenY + p->height / 2); }

    Panel* top_ = nullptr;
    RecordingRenderer renderer_;
    ScopedRenderer scopedRenderer_{&renderer_};
};

// The whole interface as the engine builds it at start-up (root, layers, console, menus, FPS readout)
// for a window of the given size, with the shipped scripts and fonts; torn down after the test.
class InterfaceTest : public UiTest {
protected:
    void BuildInterface(int windowWidth, int windowHeight);
    void TearDown() override;
};
