// The top of the interface tree. The root owns five layers that stack the interface in fixed bands
// (HUD at the back, tool overlays at the front); application panels go on a layer, never on the root.
// Its update also handles the global keys (console, menus, paste) and decides whether the game gets
// the mouse in relative mode.
#pragma once

#include <cstdint>

#include "engine/api.h"
#include "ui/panel.h"

// Layer ids, one bit each.
enum LayerId : int32_t {
    kLayerHUD = 1,
    kLayerGameUI = 2,
    kLayerMenus = 4,
    kLayerTools = 8,
    kLayerToolsOverlay = 16,
};

// A full-size band of the interface. A pass-through layer takes the mouse only where one of its
// children is under it; pressing a layer raises it within its band.
class VORMI_API LayerPanel : public Panel {
public:
    explicit LayerPanel(std::string name);
    void Update() override;
    void OnMousePressed() override;
    void OnChildRaised(int32_t index) override;

    bool passThrough = true;
    bool raiseRequested = false;
};

class VORMI_API RootPanel : public Panel {
public:
    explicit RootPanel(std::string name);
    void Update() override;

    // Null for anything but 1, 2, 4, 8 or 16.
    virtual LayerPanel* GetLayer(int32_t id);
    // The three below do nothing when the id names no layer.
    virtual void ShowLayer(int32_t id);
    virtual void HideLayer(int32_t id);
    virtual void ToggleLayer(int32_t id);

    LayerPanel* layerHUD = nullptr;
    LayerPanel* layerGameUI = nullptr;
    LayerPanel* layerMenus = nullptr;
    LayerPanel* layerTools = nullptr;
    LayerPanel* layerToolsOverlay = nullptr;
};

// The show/hide sequence every panel goes through: set visible; on show call OnShown when the parent
// is visible; on hide give up focus.
void ShowPanel(Panel* panel);
void HidePanel(Panel* panel);
void TogglePanel(Panel* panel);
// Centres the panel in its parent (half the spare room, toward zero; negative when it is larger) and
// moves its screen position at once. Nothing without a parent.
void CentreInParent(Panel* panel);
// Moves the panel to (homeX, homeY) when its rectangle lies wholly outside the root panel's, so a window
// dragged away comes back when it is opened again. Nothing without a root.
void KeepOnRoot(Panel* panel, int32_t homeX, int32_t homeY);

// The top of the interface tree, or null; owned here from CreateRootPanel to DestroyRootPanel.
extern RootPanel* g_rootPanel;

// The console is an application panel, above this toolkit; the root's console keys reach it through
// the hooks the console's file installs (a static node, the last one constructed wins). Without hooks
// the keys do nothing.
struct ConsoleHooks {
    ConsoleHooks(Panel* (*current)(), void (*create)(), void (*applyVisibility)());

    Panel* (*current)();        // the console, or null
    void (*create)();           // replaces the console with a new, hidden one
    void (*applyVisibility)();  // after the root set or flipped the console's visible flag
};
extern const ConsoleHooks* g_consoleHooks;

// Builds the root and its layers at start-up, sized to the window in UI units; stores g_rootPanel. Every
// viewport update resizes it again. The screens on the layers come from the application.
void CreateRootPanel();
// Destroys the root and everything under it; clears g_rootPanel.
void DestroyRootPanel();
