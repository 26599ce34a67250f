#include "app/main_menu.h"

#include <utility>

#include "console/command_system.h"
#include "ui/button.h"
#include "ui/root_panel.h"

MainMenu* g_mainMenu = nullptr;

static const char* const kMainMenuScript = "test/scripts/main_menu.txt";

MainMenu::MainMenu(std::string menuName) : Panel(std::move(menuName)) {
    x = 100;
    y = 100;
    width = 500;
    height = 300;
    OnResized();
    drawBorder = true;
    backgroundColor = Color{124, 138, 178, 255};

    // The buttons exist before the script runs, so that it styles them rather than adding new ones.
    newProjectButton = new Button("mm_newproject");
    newProjectButton->SetParent(this);
    newProjectButton->globalCommand = "create_project";

    openProjectButton = new Button("mm_openproject");
    openProjectButton->SetParent(this);
    openProjectButton->globalCommand = "load_project";

    LoadFromFile(std::string("./") + kMainMenuScript);
}

MainMenu::~MainMenu() {
    if (g_mainMenu == this) {
        g_mainMenu = nullptr;
    }
}

void MainMenu::Update() {
    Panel::Update();
    CentreInParent(this);
}

void MainMenu::OnResized() {}

void MainMenu::HandleCommand(const std::string& text) {
    if (text == "cmd_submit") {
        return;
    }
    Panel::HandleCommand(text);
}

static void Cmd_ShowMainMenu(const CommandLine&) {
    if (g_rootPanel) {
        g_rootPanel->ShowLayer(kLayerMenus);
    }
    if (g_mainMenu) {
        ShowPanel(g_mainMenu);
    }
}

static CommandReg s_showMainMenu("show_mainmenu", Cmd_ShowMainMenu,
                                 "show_mainmenu - shows the main application menu", 20);
