#include "ui/panel.h"

#include <SDL.h>

#include <algorithm>
#include <utility>

#include "console/cvars.h"
#include "engine/console_output.h"
#include "input/input_system.h"
#include "render/renderer.h"

static const Color kBorderDark = {64, 64, 64, 255};
static const Color kBorderOutline = {96, 96, 96, 255};
static const Color kDebugOutline = {255, 0, 0, 255};

// Intersection with SDL_IntersectRect's rule (an empty input gives no intersection), in 64 bits so
// positions and sizes from a script cannot overflow.
static bool IntersectRects(const Rect& a, const Rect& b, Rect* out) {
    if (a.w <= 0 || a.h <= 0 || b.w <= 0 || b.h <= 0) {
        return false;
    }
    const int64_t left = std::max<int64_t>(a.x, b.x);
    const int64_t top = std::max<int64_t>(a.y, b.y);
    const int64_t right = std::min<int64_t>(int64_t(a.x) + a.w, int64_t(b.x) + b.w);
    const int64_t bottom = std::min<int64_t>(int64_t(a.y) + a.h, int64_t(b.y) + b.h);
    if (right <= left || bottom <= top) {
        return false;
    }
    out->x = static_cast<int32_t>(left);
    out->y = static_cast<int32_t>(top);
    out->w = static_cast<int32_t>(right - left);
    out->h = static_cast<int32_t>(bottom - top);
    return true;
}

// Half-open: the right and bottom edges belong to the neighbour.
static bool ContainsPoint(const Rect& r, int32_t px, int32_t py) {
    return px >= r.x && int64_t(px) < int64_t(r.x) + r.w && py >= r.y && int64_t(py) < int64_t(r.y) + r.h;
}

// The list that holds the latest edits: pendingChildren once it has diverged from children.
static std::vector<Panel*>& CurrentChildren(Panel* panel) {
    return panel->childrenDirty ? panel->pendingChildren : panel->children;
}

// Edits go to the working copy; start it from the live list unless it already carries changes.
static void PrepareEdit(Panel* parent) {
    if (!parent->childrenDirty) {
        parent->pendingChildren = parent->children;
    }
}

Panel::Panel(std::string panelName) : name(std::move(panelName)) {}

Panel::~Panel() {}

void Panel::OnClick() {}

// Screen position from the parent's, and this frame's hover claim: siblings are walked front to back,
// so the first to claim the parent's mouse is the frontmost.
static void PlaceAndClaimHover(Panel* panel, const InputSystem* input) {
    Panel* parent = panel->parent;
    panel->screenX = (parent ? parent->screenX : 0) + panel->x;
    panel->screenY = (parent ? parent->screenY : 0) + panel->y;
    panel->visibleChildCount = 0;
    panel->childHovered = false;
    panel->hovered = (parent == nullptr);
    if (!panel->visible) {
        return;
    }
    if (parent) {
        ++parent->visibleChildCount;
    }
    Rect area = {panel->screenX, panel->screenY, panel->width, panel->height};
    bool nonEmpty = area.w > 0 && area.h > 0;
    if (parent) {
        const Rect parentArea = {parent->screenX, parent->screenY, parent->width, parent->height};
        nonEmpty = IntersectRects(area, parentArea, &area);
    }
    if (nonEmpty && panel->enabled && parent && parent->hovered && !parent->childHovered &&
        ContainsPoint(area, input->mouseX, input->mouseY)) {
        panel->hovered = true;
        parent->childHovered = true;
    }
}

// Turns the left button's state into press, release and click calls, and takes the focus away on a
// press elsewhere.
static void TrackLeftButton(Panel* panel, const InputSystem* input) {
    const bool buttonUp = (input->mouseButtons & SDL_BUTTON_LMASK) == 0;
    if (panel->hovered) {
        if (buttonUp) {
            panel->mouseWasUp = true;
            if (panel->pressed) {
                panel->OnMouseReleased();
            }
        } else if (!panel->pressed && panel->mouseWasUp) {
            // Only a press that starts over the panel counts; dragging in with the button held does not.
            panel->OnMousePressed();
            panel->mouseWasUp = false;
        }
    } else if (buttonUp) {
        if (panel->pressed) {
            panel->OnMouseReleasedOutside();
        }
        panel->mouseWasUp = true;
    } else {
        if (panel->focused && !panel->pressed) {
            panel->Unfocus();
        }
        if (panel->mouseWasUp) {
            panel->OnMousePressedOutside();
            panel->mouseWasUp = false;
        }
    }
    Panel* parent = panel->parent;
    if (parent && panel->focused && parent->focusedChild && parent->focusedChild != panel) {
        panel->Unfocus();
    }
}

// Updates the children frontmost first and destroys those that asked to close. Indexed walk:
// detaching only nulls entries and additions go to pendingChildren, so the list keeps its shape
// whatever the children do meanwhile.
static void UpdateChildren(std::vector<Panel*>& children) {
    for (size_t i = children.size(); i-- > 0;) {
        Panel* child = children[i];
        if (!child) {
            continue;
        }
        child->Update();
        // An override may have destroyed the child after its base update; its entry is null then.
        if (children[i] == child && child->closeRequested) {
            child->Destroy();
        }
    }
}

// The frame's attaches, raises and removals take effect now that the walk is over.
static void ApplyChildEdits(Panel* panel) {
    if (panel->childrenDirty) {
        panel->children = panel->pendingChildren;
        panel->childrenDirty = false;
    }
    if (panel->removalsPending) {
        std::vector<Panel*>& children = panel->children;
        std::vector<Panel*>& pending = panel->pendingChildren;
        children.erase(std::remove(children.begin(), children.end(), nullptr), children.end());
        pending.erase(std::remove(pending.begin(), pending.end(), nullptr), pending.end());
        panel->removalsPending = false;
    }
}

void Panel::Update() {
    inUpdate = true;
    PlaceAndClaimHover(this, g_inputSystem);
    TrackLeftButton(this, g_inputSystem);
    UpdateChildren(children);
    ApplyChildEdits(this);
    inUpdate = false;
}

void Panel::Draw() {
    ComputeClipRect();
    if (!IsDrawable() || !g_renderer) {
        return;
    }
    inDraw = 1;
    g_renderer->SetClipRect(&clipRect);
    if (drawBackground) {
        const Rect area = {screenX, screenY, width, height};
        g_renderer->FillRect(&area, backgroundColor);
    }
    DrawBorder();
    // Every child sets its own clip, so the parent's is not restored in between.
    for (size_t i = 0; i < children.size(); ++i) {
        if (children[i]) {
            children[i]->Draw();
        }
    }
    g_renderer->SetClipRect(nullptr);
    inDraw = 0;
}

void Panel::DrawDebugOutline() {
    if (cv_debug_drawoutline.intValue == 0 || !g_renderer) {
        return;
    }
    inDraw = 1;
    if (hovered) {
        const Rect area = {screenX, screenY, width, height};
        g_renderer->DrawRect(&area, kDebugOutline);
    }
    for (size_t i = 0; i < children.size(); ++i) {
        if (children[i]) {
            children[i]->DrawDebugOutline();
        }
    }
    inDraw = 0;
}

void Panel::DrawBorder() {
    if (!drawBorder || !g_renderer) {
        return;
    }
    const int32_t x0 = screenX;
    const int32_t y0 = screenY;
    const int32_t w = width;
    const int32_t h = height;
    // The uneven offsets are the look: short inner lines at the top-left, an outline one pixel smaller.
    g_renderer->DrawLine(Point{x0 + 1, y0 + 1}, Point{x0 + 1, y0 + h - 3}, kBorderDark, 1);
    g_renderer->DrawLine(Point{x0 + 2, y0 + 1}, Point{x0 + w - 3, y0 + 1}, kBorderDark, 1);
    g_renderer->DrawLine(Point{x0, y0 + h - 1}, Point{x0 + w - 1, y0 + h - 1}, kBorderDark, 1);
    g_renderer->DrawLine(Point{x0 + w - 1, y0}, Point{x0 + w - 1, y0 + h - 1}, kBorderDark, 1);
    const Rect outline = {x0, y0, w - 1, h - 1};
    g_renderer->DrawRect(&outline, kBorderOutline);
}

bool Panel::IsDrawable() {
    return (clipVisible && visible) || alwaysDraw;
}

void Panel::ComputeClipRect() {
    clipVisible = true;
    const Rect area = {screenX, screenY, width, height};
    if (!parent) {
        clipRect = area;
        return;
    }
    Rect clipped;
    clipVisible = IntersectRects(area, parent->clipRect, &clipped);
    if (clipVisible) {
        clipRect = clipped;
    }
}

void Panel::Destroy() {
    // A panel whose Update or Draw is still on the stack (it destroyed itself or an ancestor from a
    // click or a command) cannot be freed yet: its parent frees it once that call has returned.
    if (inUpdate || inDraw != 0) {
        closeRequested = true;
        return;
    }
    if (parent) {
        Unfocus();
        parent->DetachChild(this);
    }
    // Children attached since the last update are only on the working list.
    std::vector<Panel*>& list = CurrentChildren(this);
    for (size_t i = 0; i < list.size(); ++i) {
        if (list[i]) {
            DestroyChild(list[i]);
        }
    }
    delete this;
}

Panel* Panel::FindChild(const std::string& childName) {
    for (Panel* child : CurrentChildren(this)) {
        if (child && !child->closeRequested && child->name == childName) {
            return child;
        }
    }
    return nullptr;
}

// The panel's entry in its parent's working list, made ready for editing; end() when it is not
// there, which is reported.
static std::vector<Panel*>::iterator SlotInParentList(Panel* panel) {
    PrepareEdit(panel->parent);
    std::vector<Panel*>& list = panel->parent->pendingChildren;
    const std::vector<Panel*>::iterator self = std::find(list.begin(), list.end(), panel);
    if (self == list.end()) {
        ConMsg("Error, panel is not on the list\n");
    }
    return self;
}

void Panel::SetZPos(int32_t z) {
    zpos = z;
    if (!parent) {
        return;
    }
    std::vector<Panel*>& list = parent->pendingChildren;
    const std::vector<Panel*>::iterator self = SlotInParentList(this);
    if (self == list.end()) {
        return;
    }
    list.erase(self);
    // Lists run from the largest zpos (back) to the smallest (front); equal values put the newest in front.
    std::vector<Panel*>::iterator slot = std::find_if(
        list.begin(), list.end(), [z](const Panel* other) { return other && other->zpos < z; });
    list.insert(slot, this);
    parent->childrenDirty = true;
}

void Panel::OnShown() {}

void Panel::OnResized() {}

void Panel::OnMousePressed() {
    pressed = true;
    if (enabled) {
        BringToFront();
        if (!focused) {
            Focus();
        }
    }
}

void Panel::OnMouseReleased() {
    pressed = false;
    OnClick();
}

void Panel::OnMouseReleasedOutside() {
    pressed = false;
}

void Panel::OnMousePressedOutside() {}

void Panel::Focus() {
    focused = true;
    if (parent) {
        parent->focusedChild = this;
    }
}

void Panel::Unfocus() {
    focused = false;
    if (parent && parent->focusedChild == this) {
        parent->focusedChild = nullptr;
    }
}

void Panel::HandleCommand(const std::string& text) {
    if (text == "testcmd") {
        ConMsg("Test command Panel\n");
    } else if (text == "close_panel") {
        closeRequested = true;
    } else {
        ConMsg("Unknown command: %s\n", text.c_str());
    }
}

std::vector<Panel*>::iterator Panel::FindChildSlot(Panel* child) {
    return std::find(children.begin(), children.end(), child);
}

void Panel::SetParent(Panel* newParent) {
    if (newParent == parent || newParent == this) {
        return;
    }
    if (parent) {
        parent->DetachChild(this);
    }
    // Detaching keeps the old pointer value; the panel is simply on no list.
    if (newParent) {
        parent = newParent;
        newParent->AttachChild(this);
        SetZPos(zpos);
    }
}

void Panel::BringToFront() {
    if (!parent) {
        return;
    }
    std::vector<Panel*>& list = parent->pendingChildren;
    const std::vector<Panel*>::iterator self = SlotInParentList(this);
    if (self == list.end()) {
        return;
    }
    if (list.size() == 1) {
        parent->childrenDirty = true;
        return;
    }
    list.erase(self);
    list.push_back(this);
    // Walk back past siblings of groups further front (smaller zpos); stop behind the first sibling of
    // the same group or one further back, so the panel leads its own group and never leaves it.
    size_t index = list.size() - 1;
    while (index > 0 && (list[index - 1] == nullptr || list[index - 1]->zpos < zpos)) {
        std::swap(list[index - 1], list[index]);
        --index;
    }
    parent->childrenDirty = true;
    parent->OnChildRaised(static_cast<int32_t>(index));
}

void Panel::OnChildRaised(int32_t) {}

void Panel::AddChild(Panel* child) {
    if (child) {
        child->SetParent(this);
    }
}

void Panel::RemoveChild(Panel* child) {
    if (child) {
        child->SetParent(nullptr);
    }
}

void Panel::DestroyChild(Panel* child) {
    if (child) {
        child->Destroy();
    }
}

void Panel::AttachChild(Panel* child) {
    PrepareEdit(this);
    pendingChildren.push_back(child);
    childrenDirty = true;
}

void Panel::DetachChild(Panel* child) {
    std::replace(children.begin(), children.end(), child, static_cast<Panel*>(nullptr));
    std::replace(pendingChildren.begin(), pendingChildren.end(), child, static_cast<Panel*>(nullptr));
    // Never leave the focus pointing at a panel that may be freed next.
    if (focusedChild == child) {
        focusedChild = nullptr;
    }
    removalsPending = true;
}
