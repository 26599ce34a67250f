// Drives a panel tree as the frame loop does, without a screen, drawing into a recording renderer.
#pragma once

#include <gtest/gtest.h>

#include "support/engine_fixture.h"
#include "support/recording_renderer.h"
#include "ui/panel.h"

class UiTest : public ::testing::Test {
protected:
    void SetUp() override;
    // One frame of the tree under top_ with the mouse at (x, y), the left button down or up.
    void Step(int x, int y, bool down);
    void Click(int x, int y);
    // Attached panels go live at a frame's end, one tree level per frame.
    void Settle(int frames = 1);

    void ClickOn(Panel* p) { Click(p->screenX + p->width / 2, p->screenY + p->height / 2); }

    Panel* top_ = nullptr;
    RecordingRenderer renderer_;
    ScopedRenderer scopedRenderer_{&renderer_};
};

// The whole interface as the engine builds it at start-up, for a window of the given size.
class InterfaceTest : public UiTest {
protected:
    InterfaceTest(int windowWidth, int windowHeight) : windowWidth_(windowWidth), windowHeight_(windowHeight) {}
    void SetUp() override;
    void TearDown() override;

    TempWorkDir dir_;
    int windowWidth_, windowHeight_;
};
