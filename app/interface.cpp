#include "app/interface.h"

#include "app/fps_counter.h"
#include "app/main_menu.h"
#include "app/options_menu.h"
#include "console/console_panel.h"
#include "ui/root_panel.h"

void BuildInterface(RootPanel* root) {
    if (!root) {
        return;
    }
    CreateConsolePanel();

    if (g_mainMenu) {
        g_mainMenu->closeRequested = true;
    }
    g_mainMenu = new MainMenu("mm_panel");
    g_mainMenu->SetParent(root->GetLayer(kLayerMenus));
    HidePanel(g_mainMenu);

    if (g_optionsMenu) {
        g_optionsMenu->closeRequested = true;
    }
    g_optionsMenu = new OptionsMenu("options_panel");
    g_optionsMenu->SetParent(root->GetLayer(kLayerMenus));
    CentreInParent(g_optionsMenu);
    HidePanel(g_optionsMenu);

    CreateFpsCounter(root->GetLayer(kLayerToolsOverlay));

    ShowPanel(g_mainMenu);
}
