// Screenshots: the window's pixels as a PNG, under either renderer. The command "screenshot [FILE]"
// asks for one; the frame loop takes it after the interface is drawn and before it is presented, so
// the file holds exactly the frame that goes to the screen.
#pragma once

#include <string>

// Takes the screenshot the command asked for, if any. Called between drawing and presenting.
void CaptureRequestedScreenshot();
// Writes the pixels drawn so far to a PNG; false, with one console line, when it cannot.
bool SaveWindowPng(const std::string& path);
// The first free screenshots/shotNNNN.png, its folder created; "" when none is free.
std::string NextScreenshotPath();
