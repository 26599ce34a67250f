// The base of every interface element: a named rectangle placed relative to its parent, with an
// optional background and border, a z-order among its siblings and an owned list of children.
// The engine updates and draws the tree from the root once per frame; hover, press, click and focus
// are decided here from the input system's polled state, so widgets only override what they draw and
// the few events they need. Child lists are edited through a pending copy, so panels may add, raise,
// close and destroy panels (themselves included) while the tree is being walked.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "engine/api.h"
#include "render/draw_types.h"

class VORMI_API Panel {
public:
    explicit Panel(std::string name);
    // Frees the lists and the name; children are deleted only through Destroy.
    virtual ~Panel();
    // Reads a panel script into this panel; a file that cannot be opened leaves it unchanged.
    virtual void LoadFromFile(const std::string& path);
    // Applies one script property; unknown keys are ignored.
    virtual void SetProperty(const std::string& key, const std::string& value);
    virtual void OnClick();
    virtual void Update();
    virtual void Draw();
    virtual void DrawDebugOutline();
    virtual void DrawBorder();
    virtual bool IsDrawable();
    virtual void ComputeClipRect();
    // Detaches from the parent, destroys the subtree and deletes this panel.
    virtual void Destroy();
    // Null when no child of that exact name is alive and not closing.
    virtual Panel* FindChild(const std::string& name);
    virtual void SetZPos(int32_t z);
    virtual void OnShown();
    virtual void OnResized();
    virtual void OnMousePressed();
    virtual void OnMouseReleased();
    virtual void OnMouseReleasedOutside();
    virtual void OnMousePressedOutside();
    virtual void Focus();
    virtual void Unfocus();
    virtual void HandleCommand(const std::string& text);
    // children.end() when the pointer is not a child.
    virtual std::vector<Panel*>::iterator FindChildSlot(Panel* child);
    // Null detaches without deleting; the caller owns the panel from then on.
    virtual void SetParent(Panel* newParent);
    virtual void BringToFront();
    virtual void OnChildRaised(int32_t index);
    virtual void AddChild(Panel* child);
    virtual void RemoveChild(Panel* child);
    virtual void DestroyChild(Panel* child);
    virtual void AttachChild(Panel* child);
    virtual void DetachChild(Panel* child);

    bool enabled = true;
    bool childHovered = false;
    bool childrenDirty = false;
    bool hovered = false;
    bool focused = false;
    bool drawBackground = true;
    bool drawBorder = false;
    bool closeRequested = false;
    bool visible = true;
    bool alwaysDraw = false;
    std::string name;
    int32_t x = 0;
    int32_t y = 0;
    int32_t screenX = 0;
    int32_t screenY = 0;
    int32_t width = 25;
    int32_t height = 25;
    Rect clipRect = {0, 0, 25, 25};
    bool clipVisible = true;
    Color backgroundColor = {255, 0, 255, 255};
    Panel* parent = nullptr;
    Panel* focusedChild = nullptr;
    std::vector<Panel*> children;
    std::vector<Panel*> pendingChildren;
    int32_t zpos = 0;
    bool pressed = false;
    bool mouseWasUp = false;
    bool removalsPending = false;
    bool inUpdate = false;
    int32_t inDraw = 0;
    int32_t visibleChildCount = 0;

    Panel(const Panel&) = delete;
    Panel& operator=(const Panel&) = delete;
};
