// The application's screens on the root panel's layers: the console, the main menu, the options menu
// and the FPS readout. A new screen is created here and declares its commands in its own file.
#pragma once

class RootPanel;

// Builds the screens on the root's layers at start-up, then shows the main menu. Nothing without a root.
void BuildInterface(RootPanel* root);
