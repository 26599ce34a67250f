#include "ui/root_panel.h"

#include <SDL.h>

#include <cmath>
#include <utility>
#include <vector>

#include "input/input_system.h"
#include "render/renderer.h"

RootPanel* g_rootPanel = nullptr;
const ConsoleHooks* g_consoleHooks = nullptr;

ConsoleHooks::ConsoleHooks(Panel* (*currentFn)(), void (*createFn)(), void (*applyVisibilityFn)())
    : current(currentFn), create(createFn), applyVisibility(applyVisibilityFn) {
    g_consoleHooks = this;
}

static Panel* CurrentConsole() {
    return g_consoleHooks ? g_consoleHooks->current() : nullptr;
}

static const Color kMenusBackdrop = {80, 80, 80, 200};
static const Color kRootBackground = {128, 128, 128, 255};

LayerPanel::LayerPanel(std::string layerName) : Panel(std::move(layerName)) {
    x = 0;
    y = 0;
    width = 640;
    height = 480;
    drawBackground = false;
}

void LayerPanel::Update() {
    // A layer in front that took the mouse already owns it this frame.
    const bool frontTookMouse = parent && parent->childHovered;
    Panel::Update();
    if (!parent) {
        return;
    }
    width = parent->width;
    height = parent->height;
    // A pass-through layer claims the mouse only where one of its children is under it.
    if (!frontTookMouse && passThrough) {
        parent->childHovered = childHovered;
    }
    if (raiseRequested && childHovered) {
        BringToFront();
    }
    raiseRequested = false;
}

void LayerPanel::OnMousePressed() {
    pressed = true;
    if (enabled) {
        raiseRequested = true;
    }
}

// Distinct zpos values keep the layers in their bands, so raising never reorders them.
void LayerPanel::OnChildRaised(int32_t) {
    BringToFront();
}

void ShowPanel(Panel* panel) {
    panel->visible = true;
    if (panel->parent && panel->parent->visible) {
        panel->OnShown();
    }
}

void HidePanel(Panel* panel) {
    panel->visible = false;
    if (panel->focused) {
        panel->Unfocus();
    }
}

void TogglePanel(Panel* panel) {
    if (panel->visible) {
        HidePanel(panel);
    } else {
        ShowPanel(panel);
    }
}

void CentreInParent(Panel* panel) {
    Panel* parent = panel->parent;
    if (!parent) {
        return;
    }
    // In 64 bits: a script may give the panel any size, and the spare room must not overflow.
    panel->x = static_cast<int32_t>((int64_t(parent->width) - panel->width) / 2);
    panel->y = static_cast<int32_t>((int64_t(parent->height) - panel->height) / 2);
    panel->screenX = parent->screenX + panel->x;
    panel->screenY = parent->screenY + panel->y;
}

void KeepOnRoot(Panel* panel, int32_t homeX, int32_t homeY) {
    if (!g_rootPanel) {
        return;
    }
    const SDL_Rect own = {panel->x, panel->y, panel->width, panel->height};
    const SDL_Rect root = {g_rootPanel->x, g_rootPanel->y, g_rootPanel->width, g_rootPanel->height};
    if (!SDL_HasIntersection(&own, &root)) {
        panel->x = homeX;
        panel->y = homeY;
    }
}

// Each layer goes on the root in creation order and is sorted into its band by its zpos.
static LayerPanel* AddLayer(RootPanel* root, const char* name, int32_t zpos) {
    LayerPanel* layer = new LayerPanel(name);
    layer->SetParent(root);
    layer->SetZPos(zpos);
    layer->visible = true;
    if (root->visible) {
        layer->OnShown();
    }
    return layer;
}

RootPanel::RootPanel(std::string rootName) : Panel(std::move(rootName)) {
    layerHUD = AddLayer(this, "layerHUD", -100);
    layerHUD->enabled = false;

    layerGameUI = AddLayer(this, "layerGameUI", -200);

    layerMenus = AddLayer(this, "layerMenus", -300);
    layerMenus->drawBackground = true;
    layerMenus->backgroundColor = kMenusBackdrop;
    // The menus block everything behind them.
    layerMenus->passThrough = false;

    layerTools = AddLayer(this, "layerTools", -400);

    layerToolsOverlay = AddLayer(this, "layerToolsOverlay", -1000);
    layerToolsOverlay->enabled = false;
}

LayerPanel* RootPanel::GetLayer(int32_t id) {
    switch (id) {
    case kLayerHUD:
        return layerHUD;
    case kLayerGameUI:
        return layerGameUI;
    case kLayerMenus:
        return layerMenus;
    case kLayerTools:
        return layerTools;
    case kLayerToolsOverlay:
        return layerToolsOverlay;
    default:
        return nullptr;
    }
}

void RootPanel::ShowLayer(int32_t id) {
    if (LayerPanel* layer = GetLayer(id)) {
        ShowPanel(layer);
    }
}

void RootPanel::HideLayer(int32_t id) {
    if (LayerPanel* layer = GetLayer(id)) {
        HidePanel(layer);
    }
}

void RootPanel::ToggleLayer(int32_t id) {
    if (LayerPanel* layer = GetLayer(id)) {
        TogglePanel(layer);
    }
}

// Pasted text reaches the focused text box as if typed: plain bytes, '?' for anything outside ASCII.
static void PasteClipboard(std::string& textInput) {
    if (!SDL_HasClipboardText()) {
        return;
    }
    char* text = SDL_GetClipboardText();
    if (!text) {
        return;
    }
    for (const char* p = text; *p; ++p) {
        const unsigned char c = static_cast<unsigned char>(*p);
        textInput.push_back(c >= 128 ? '?' : static_cast<char>(c));
    }
    SDL_free(text);
}

void RootPanel::Update() {
    Panel::Update();

    InputSystem* input = g_inputSystem;
    const bool gravePressed = input->keysPressedNoRepeat[SDL_SCANCODE_GRAVE] != 0;
    if (Panel* console = gravePressed ? CurrentConsole() : nullptr) {
        TogglePanel(console);
        g_consoleHooks->applyVisibility();
    }
    if (input->keysPressedNoRepeat[SDL_SCANCODE_ESCAPE] || input->keysPressedNoRepeat[SDL_SCANCODE_AC_BACK]) {
        ToggleLayer(kLayerMenus);
    }
    // Alt+grave always leaves the console open, whatever the plain toggle just did.
    if (gravePressed && input->keysHeld[SDL_SCANCODE_LALT] && g_consoleHooks) {
        if (!CurrentConsole()) {
            g_consoleHooks->create();
        }
        if (Panel* console = CurrentConsole()) {
            ShowPanel(console);
            g_consoleHooks->applyVisibility();
        }
    }
    if (input->keysPressedNoRepeat[SDL_SCANCODE_V] && input->keysHeld[SDL_SCANCODE_LCTRL] && input->wantTextInput) {
        PasteClipboard(input->textInput);
    }

    // The game takes the mouse only while no interface wants it.
    const Panel* console = CurrentConsole();
    const bool consoleShown = console && console->visible;
    const bool interfaceIdle = !consoleShown && layerGameUI->visibleChildCount == 0 &&
                               layerTools->visibleChildCount == 0 && !layerMenus->visible;
    input->SetRelativeMouse(interfaceIdle);
}

// Keeps the root at the window size in UI units whenever the renderer's viewport changes. Installed at
// static initialisation, so the root follows the window whoever made it.
static void ResizeRootPanelToWindow() {
    if (g_rootPanel) {
        g_rootPanel->height = PixelsToUiUnits(g_windowHeight);
        g_rootPanel->width = PixelsToUiUnits(g_windowWidth);
        g_rootPanel->OnResized();
    }
}

static struct RootResizeInstaller {
    RootResizeInstaller() { g_viewportResizeListener = ResizeRootPanelToWindow; }
} s_rootResizeInstaller;

void CreateRootPanel() {
    RootPanel* root = new RootPanel("root");
    g_rootPanel = root;
    root->x = 0;
    root->y = 0;
    root->width = PixelsToUiUnits(g_windowWidth);
    root->height = PixelsToUiUnits(g_windowHeight);
    root->OnResized();
    root->backgroundColor = kRootBackground;
    root->drawBackground = false;
}

void DestroyRootPanel() {
    RootPanel* root = g_rootPanel;
    if (!root) {
        return;
    }
    if (root->parent) {
        HidePanel(root);
        root->parent->RemoveChild(root);
    }
    // Children attached since the last update are only on the working list.
    const std::vector<Panel*>& list = root->childrenDirty ? root->pendingChildren : root->children;
    std::vector<Panel*> removed;
    for (Panel* child : list) {
        if (child) {
            removed.push_back(child);
        }
    }
    for (Panel* child : removed) {
        root->RemoveChild(child);
    }
    // Removed panels belong to us now; free them while the root their parent pointer names still exists.
    for (Panel* child : removed) {
        child->Destroy();
    }
    root->Destroy();
    g_rootPanel = nullptr;
}
