// The opening screen: a panel with the project buttons, styled by test/scripts/main_menu.txt and kept
// centred in its parent (the menus layer) whatever the script or a resize says.
#pragma once

#include <string>

#include "engine/api.h"
#include "ui/panel.h"

class Button;

class MainMenu : public Panel {
public:
    explicit MainMenu(std::string name);
    ~MainMenu() override;
    // Re-centres in the parent after the ordinary update.
    void Update() override;
    // The menu lays itself out from its script; a size change moves nothing.
    void OnResized() override;
    // Swallows "cmd_submit"; everything else is the panel's.
    void HandleCommand(const std::string& text) override;

    Button* newProjectButton = nullptr;
    Button* openProjectButton = nullptr;
};

// The engine's main menu, or null.
extern MainMenu* g_mainMenu;
