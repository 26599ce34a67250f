#include "app/options_menu.h"

#include <cstdint>
#include <utility>

#include "console/command_system.h"
#include "console/cvars.h"
#include "render/renderer.h"
#include "ui/button.h"
#include "ui/root_panel.h"
#include "ui/text_box.h"
#include "ui/toggle_button.h"

OptionsMenu* g_optionsMenu = nullptr;

static const char* const kOptionsScript = "test/scripts/options_panel.txt";
static const int32_t kOptionsZPos = -500;
// The renderer button is grey while it names the running renderer and red while the choice waits for
// a restart.
static const Color kRunningColor = {150, 150, 150, 255};
static const Color kRunningPressedColor = {112, 112, 112, 255};
static const Color kPendingColor = {200, 10, 10, 255};
static const Color kPendingPressedColor = {160, 0, 0, 255};

template <typename T>
static T* AddWidget(Panel* form, const char* name) {
    T* widget = new T(name);
    widget->SetParent(form);
    return widget;
}

OptionsMenu::OptionsMenu(std::string menuName) : Form(std::move(menuName)) {
    x = kOptionsHomeX;
    y = kOptionsHomeY;
    width = 350;
    height = 400;
    OnResized();
    SetZPos(kOptionsZPos);

    // The widgets exist before the script runs, so that it places them rather than adding new ones.
    autoscaleToggle = AddWidget<ToggleButton>(this, "tb_autoscale");
    scaleBox = AddWidget<TextBox>(this, "txb_scale");
    batchingToggle = AddWidget<ToggleButton>(this, "tb_render_batching");
    clearToggle = AddWidget<ToggleButton>(this, "tb_render_clear");
    filteringToggle = AddWidget<ToggleButton>(this, "tb_filter_textures");
    frameDelayBox = AddWidget<TextBox>(this, "tbx_frame_delay");
    rendererButton = AddWidget<Button>(this, "btn_renderer");
    okButton = AddWidget<Button>(this, "button_ok");
    applyButton = AddWidget<Button>(this, "button_apply");
    cancelButton = AddWidget<Button>(this, "button_cancel");

    if (g_renderer) {
        rendererButton->SetText(g_renderer->GetName());
    }

    LoadFromFile(std::string("./") + kOptionsScript);
}

OptionsMenu::~OptionsMenu() {
    if (g_optionsMenu == this) {
        g_optionsMenu = nullptr;
    }
}

void OptionsMenu::OnShown() {
    BringToFront();
    Focus();
    CentreInParent(this);
    Refresh();
}

void OptionsMenu::Refresh() {
    autoscaleToggle->SetChecked(cv_viewport_autoscale.intValue != 0);
    scaleBox->SetText(cv_viewport_scale.value);
    batchingToggle->SetChecked(cv_render_batching.intValue != 0);
    clearToggle->SetChecked(cv_render_clear.intValue != 0);
    filteringToggle->SetChecked(cv_filter_textures.intValue != 0);
    frameDelayBox->SetText(cv_frame_delay.value);
}

void OptionsMenu::WriteValues() {
    // Scaling first: each of these two writes re-runs the viewport scaling at once.
    cv_viewport_autoscale.SetInt(autoscaleToggle->checked ? 1 : 0);
    cv_viewport_scale.SetString(SplitCommandLine(scaleBox->text).name);
    cv_render_batching.SetInt(batchingToggle->checked ? 1 : 0);
    cv_render_clear.SetInt(clearToggle->checked ? 1 : 0);
    cv_filter_textures.SetInt(filteringToggle->checked ? 1 : 0);
    cv_frame_delay.SetString(SplitCommandLine(frameDelayBox->text).name);
}

void OptionsMenu::SwitchRendererChoice() {
    const std::string choice = SwitchRenderer();
    if (choice.empty()) {
        return;
    }
    rendererButton->SetText(choice);
    const bool running = g_renderer && choice == g_renderer->GetName();
    rendererButton->normalColor = running ? kRunningColor : kPendingColor;
    rendererButton->pressedColor = running ? kRunningPressedColor : kPendingPressedColor;
}

void OptionsMenu::HandleCommand(const std::string& text) {
    if (text == "ok") {
        WriteValues();
        HidePanel(this);
    } else if (text == "apply") {
        WriteValues();
    } else if (text == "cancel") {
        HidePanel(this);
    } else if (text == "close_panel") {
        // The close button discards the edits instead of destroying the window.
        Refresh();
        HidePanel(this);
    } else if (text == "switch_renderer") {
        SwitchRendererChoice();
    } else {
        Panel::HandleCommand(text);
    }
}

// The options menu lives on the menus layer; the layer shows even while there is no menu on it.
static void Cmd_OpenOptionsMenu(const CommandLine&) {
    if (g_rootPanel) {
        g_rootPanel->ShowLayer(kLayerMenus);
    }
    if (g_optionsMenu) {
        ShowPanel(g_optionsMenu);
        KeepOnRoot(g_optionsMenu, kOptionsHomeX, kOptionsHomeY);
    }
}

static CommandReg s_openOptionsMenu("open_optionsmenu", Cmd_OpenOptionsMenu, "open_optionsmenu - opens the options menu",
                                    30);
