#include <gtest/gtest.h>

#include <SDL.h>

#include <cstddef>
#include <string>
#include <vector>

#include "console/cvars.h"
#include "engine/console_output.h"
#include "engine/engine.h"
#include "input/input_system.h"
#include "render/renderer.h"
#include "support/recording_renderer.h"
#include "ui/panel.h"
#include "ui/root_panel.h"

// What hosts read directly: the field order fixes these offsets.
static_assert(sizeof(Color) == 4 && offsetof(Color, a) == 3, "Color is four bytes r g b a");
static_assert(sizeof(Rect) == sizeof(SDL_Rect) && offsetof(Rect, h) == offsetof(SDL_Rect, h), "Rect is SDL_Rect");
static_assert(sizeof(Point) == sizeof(SDL_Point) && offsetof(Point, y) == offsetof(SDL_Point, y), "Point is SDL_Point");

#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Winvalid-offsetof"
static_assert(offsetof(Panel, enabled) == sizeof(void*), "flags follow the vtable pointer");
static_assert(offsetof(Panel, alwaysDraw) == offsetof(Panel, enabled) + 9, "ten one-byte flags in a row");
constexpr size_t AlignUp(size_t offset, size_t alignment) {
    return (offset + alignment - 1) / alignment * alignment;
}
static_assert(offsetof(Panel, name) == AlignUp(offsetof(Panel, alwaysDraw) + 1, alignof(std::string)),
              "name right after the flags");
static_assert(offsetof(Panel, x) == offsetof(Panel, name) + sizeof(std::string), "position after the name");
static_assert(offsetof(Panel, screenX) == offsetof(Panel, x) + 8, "screen position after position");
static_assert(offsetof(Panel, width) == offsetof(Panel, x) + 16, "size after screen position");
static_assert(offsetof(Panel, clipRect) == offsetof(Panel, x) + 24, "clip rectangle after size");
static_assert(offsetof(Panel, clipVisible) == offsetof(Panel, clipRect) + 16, "clipVisible after the clip rectangle");
static_assert(offsetof(Panel, backgroundColor) == offsetof(Panel, clipVisible) + 1, "colour packed behind clipVisible");
static_assert(offsetof(Panel, parent) == offsetof(Panel, clipRect) + 24, "parent pointer aligned after the colour");
static_assert(offsetof(Panel, focusedChild) == offsetof(Panel, parent) + sizeof(void*), "focusedChild after parent");
static_assert(offsetof(Panel, children) == offsetof(Panel, focusedChild) + sizeof(void*), "children after focus");
static_assert(offsetof(Panel, pendingChildren) == offsetof(Panel, children) + sizeof(std::vector<Panel*>),
              "pending list after children");
static_assert(offsetof(Panel, zpos) == offsetof(Panel, pendingChildren) + sizeof(std::vector<Panel*>), "zpos after the lists");
static_assert(offsetof(Panel, pressed) == offsetof(Panel, zpos) + 4, "press flags after zpos");
static_assert(offsetof(Panel, inUpdate) == offsetof(Panel, pressed) + 3, "four one-byte flags");
static_assert(offsetof(Panel, inDraw) == offsetof(Panel, zpos) + 8, "inDraw aligned after the flags");
static_assert(offsetof(Panel, visibleChildCount) == offsetof(Panel, inDraw) + 4, "visibleChildCount last");
static_assert(offsetof(LayerPanel, passThrough) == sizeof(Panel), "layer flags follow the panel");
static_assert(offsetof(LayerPanel, raiseRequested) == sizeof(Panel) + 1, "raiseRequested after passThrough");
#pragma GCC diagnostic pop

namespace {

// Counts its clicks, releases outside and its own deletion.
class ProbePanel : public Panel {
public:
    explicit ProbePanel(const std::string& panelName, int* deaths = nullptr) : Panel(panelName), deaths_(deaths) {}
    ~ProbePanel() override {
        if (deaths_) {
            ++*deaths_;
        }
    }
    void OnClick() override { ++clicks; }
    void OnMouseReleasedOutside() override {
        Panel::OnMouseReleasedOutside();
        ++releasedOutside;
    }
    int clicks = 0;
    int releasedOutside = 0;

private:
    int* deaths_;
};

Panel* MakePanel(Panel* parent, const std::string& panelName, int x, int y, int w, int h, int* deaths = nullptr) {
    Panel* panel = new ProbePanel(panelName, deaths);
    panel->x = x;
    panel->y = y;
    panel->width = w;
    panel->height = h;
    if (parent) {
        parent->AddChild(panel);
    }
    return panel;
}

ProbePanel* MakeProbe(Panel* parent, const std::string& panelName, int x, int y, int w, int h, int* deaths = nullptr) {
    return static_cast<ProbePanel*>(MakePanel(parent, panelName, x, y, w, h, deaths));
}

class PanelTest : public ::testing::Test {
protected:
    void SetUp() override {
        ResetInput();
        g_consoleText.clear();
        root_ = MakePanel(nullptr, "top", 0, 0, 400, 300);
    }
    void TearDown() override {
        if (root_) {
            root_->Destroy();
        }
        ResetInput();
    }
    static void ResetInput() {
        *g_inputSystem = InputSystem();
        g_viewportScale = 1.0f;
    }
    // One frame with the mouse at (x, y) and the left button as given.
    void Frame(int x, int y, bool down) {
        g_inputSystem->mouseX = x;
        g_inputSystem->mouseY = y;
        g_inputSystem->mouseButtons = down ? SDL_BUTTON_LMASK : 0;
        root_->Update();
    }
    // Children attached since the last update go live at the end of the next one.
    void Settle() { Frame(-100, -100, false); }
    void Click(int x, int y) {
        Frame(x, y, false);
        Frame(x, y, true);
        Frame(x, y, false);
    }

    Panel* root_ = nullptr;
    RecordingRenderer renderer_;
    ScopedRenderer scopedRenderer_{&renderer_};
};

TEST_F(PanelTest, OnlyFrontmostOverlappingChildIsHovered) {
    Panel* back = MakePanel(root_, "back", 10, 10, 100, 100);
    Panel* front = MakePanel(root_, "front", 50, 50, 100, 100);
    // Reaches outside the root: only its inside part can take the mouse.
    Panel* overhang = MakePanel(root_, "overhang", 350, 250, 100, 100);
    Settle();
    Frame(60, 60, false);
    EXPECT_TRUE(front->hovered);
    EXPECT_FALSE(back->hovered);
    EXPECT_TRUE(root_->hovered) << "a panel without parent is always hovered";
    EXPECT_TRUE(root_->childHovered);

    Frame(20, 20, false);
    EXPECT_TRUE(back->hovered);
    EXPECT_FALSE(front->hovered);

    Frame(360, 260, false);
    EXPECT_TRUE(overhang->hovered);
    Frame(420, 260, false);
    EXPECT_FALSE(overhang->hovered) << "outside the parent";
    EXPECT_FALSE(root_->childHovered);

    back->enabled = false;
    Frame(20, 20, false);
    EXPECT_FALSE(back->hovered) << "disabled panels never take the mouse";
    back->enabled = true;
    back->visible = false;
    Frame(20, 20, false);
    EXPECT_FALSE(back->hovered) << "hidden panels never take the mouse";
}

TEST_F(PanelTest, RightAndBottomEdgesAreOutside) {
    Panel* panel = MakePanel(root_, "p", 10, 10, 20, 20);
    Settle();
    struct Case {
        int x, y;
        bool inside;
    } cases[] = {{10, 10, true}, {29, 29, true}, {30, 15, false}, {15, 30, false}, {9, 15, false}, {15, 9, false}};
    for (const Case& c : cases) {
        Frame(c.x, c.y, false);
        EXPECT_EQ(c.inside, panel->hovered) << "mouse at " << c.x << "," << c.y;
    }
}

TEST_F(PanelTest, PressMustStartOverPanelToClick) {
    ProbePanel* button = MakeProbe(root_, "b", 10, 10, 50, 50);
    Settle();
    // Pressed outside, dragged in, released inside: neither pressed nor clicked.
    Frame(100, 100, false);
    Frame(100, 100, true);
    Frame(20, 20, true);
    EXPECT_FALSE(button->pressed);
    Frame(20, 20, false);
    EXPECT_EQ(0, button->clicks);

    Click(20, 20);
    EXPECT_EQ(1, button->clicks);
    EXPECT_FALSE(button->pressed);
    EXPECT_TRUE(button->focused);
    EXPECT_EQ(button, root_->focusedChild);

    // Pressed inside, released outside: released-outside and no click.
    Frame(20, 20, true);
    EXPECT_TRUE(button->pressed);
    Frame(100, 100, true);
    Frame(100, 100, false);
    EXPECT_FALSE(button->pressed);
    EXPECT_EQ(1, button->releasedOutside);
    EXPECT_EQ(1, button->clicks);

    // Pressing elsewhere takes the focus away.
    Frame(100, 100, true);
    EXPECT_FALSE(button->focused);
    EXPECT_EQ(nullptr, root_->focusedChild);
}

TEST_F(PanelTest, FocusMovesToTheLastPressedSibling) {
    Panel* a = MakePanel(root_, "a", 0, 0, 50, 50);
    Panel* b = MakePanel(root_, "b", 100, 0, 50, 50);
    Settle();
    Click(10, 10);
    EXPECT_TRUE(a->focused);
    b->Focus();
    Frame(200, 200, false);
    EXPECT_FALSE(a->focused) << "a sibling took the parent's focus";
    EXPECT_TRUE(b->focused);
}

TEST_F(PanelTest, ClosePanelRemovesSubtreeAtParentsNextUpdate) {
    int deaths = 0;
    Panel* form = MakePanel(root_, "form", 0, 0, 100, 100, &deaths);
    MakePanel(form, "inner", 0, 0, 10, 10, &deaths);
    Frame(0, 0, false);
    ASSERT_EQ(form, root_->FindChild("form"));

    form->HandleCommand("close_panel");
    EXPECT_TRUE(form->closeRequested);
    EXPECT_EQ(nullptr, root_->FindChild("form")) << "a closing panel is no longer found";
    EXPECT_EQ(0, deaths);
    Frame(0, 0, false);
    EXPECT_EQ(2, deaths);
    EXPECT_TRUE(root_->children.empty());
    EXPECT_TRUE(root_->pendingChildren.empty());

    root_->HandleCommand("testcmd");
    root_->HandleCommand("bogus");
    EXPECT_EQ("Test command Panel\nUnknown command: bogus\n", g_consoleText);
}

TEST_F(PanelTest, FindChildIsExactAndSeesChildrenAddedThisFrame) {
    Panel* child = MakePanel(root_, "con_input", 0, 0, 10, 10);
    EXPECT_EQ(child, root_->FindChild("con_input")) << "found before the next update";
    EXPECT_EQ(nullptr, root_->FindChild("Con_input"));
    EXPECT_EQ(nullptr, root_->FindChild(" con_input"));
    EXPECT_EQ(nullptr, root_->FindChild("con_inpu"));
    Frame(0, 0, false);
    EXPECT_EQ(child, root_->FindChild("con_input"));
    EXPECT_NE(root_->children.end(), root_->FindChildSlot(child));

    // Removing leaves the child alive and unowned.
    root_->RemoveChild(child);
    EXPECT_EQ(nullptr, root_->FindChild("con_input"));
    EXPECT_EQ(root_->children.end(), root_->FindChildSlot(child));
    child->SetZPos(3);
    EXPECT_EQ("Error, panel is not on the list\n", g_consoleText);
    Frame(0, 0, false);
    EXPECT_TRUE(root_->children.empty());
    delete child;
}

TEST_F(PanelTest, ZOrderBandsHoldWhateverTheAttachOrder) {
    for (int order = 0; order < 2; ++order) {
        Panel* parent = MakePanel(root_, "parent", 0, 0, 100, 100);
        Panel* near = new Panel("near");
        Panel* far = new Panel("far");
        near->zpos = -1000;
        far->zpos = -100;
        if (order == 0) {
            parent->AddChild(near);
            parent->AddChild(far);
        } else {
            parent->AddChild(far);
            parent->AddChild(near);
        }
        Settle();
        Settle();
        ASSERT_EQ(2u, parent->children.size());
        EXPECT_EQ(far, parent->children[0]) << "attach order " << order;
        EXPECT_EQ(near, parent->children[1]) << "attach order " << order;

        // Raising the far one keeps it behind the nearer band.
        far->BringToFront();
        Frame(0, 0, false);
        EXPECT_EQ(near, parent->children[1]);
        parent->Destroy();
        Frame(0, 0, false);
    }
}

TEST_F(PanelTest, EqualZPosPutsNewestAndRaisedInFront) {
    Panel* a = MakePanel(root_, "a", 0, 0, 10, 10);
    Panel* b = MakePanel(root_, "b", 0, 0, 10, 10);
    Panel* c = MakePanel(root_, "c", 0, 0, 10, 10);
    Frame(50, 50, false);
    EXPECT_EQ((std::vector<Panel*>{a, b, c}), root_->children);
    a->BringToFront();
    Frame(50, 50, false);
    EXPECT_EQ((std::vector<Panel*>{b, c, a}), root_->children);
    // The press hits the frontmost of the equals, which stays in front.
    Click(5, 5);
    EXPECT_TRUE(a->focused);
    EXPECT_EQ(a, root_->children.back());
    c->SetZPos(5);
    Frame(50, 50, false);
    EXPECT_EQ((std::vector<Panel*>{c, b, a}), root_->children) << "larger zpos goes to the back";
}

TEST_F(PanelTest, DrawPaintsBackToFrontClippedToParent) {
    root_->drawBackground = false;
    Panel* back = MakePanel(root_, "back", 10, 10, 30, 30);
    back->backgroundColor = Color{1, 2, 3, 255};
    back->drawBorder = true;
    Panel* front = MakePanel(root_, "front", 380, 290, 40, 40);
    front->backgroundColor = Color{4, 5, 6, 255};
    Panel* hidden = MakePanel(root_, "hidden", 0, 0, 10, 10);
    hidden->visible = false;
    Panel* gone = MakePanel(back, "gone", 100, 100, 10, 10);
    gone->backgroundColor = Color{7, 8, 9, 255};
    Settle();
    Settle();
    Settle();
    root_->Draw();

    const std::vector<std::string> expected = {
        "clip 0 0 400 300",
        "clip 10 10 30 30",
        "fill 10 10 30 30 1 2 3 255",
        "line 11 11 11 37 64 64 64 255 w1",
        "line 12 11 37 11 64 64 64 255 w1",
        "line 10 39 39 39 64 64 64 255 w1",
        "line 39 10 39 39 64 64 64 255 w1",
        "rect 10 10 29 29 96 96 96 255",
        "clip off",
        "clip 380 290 20 10",
        "fill 380 290 40 40 4 5 6 255",
        "clip off",
        "clip off",
    };
    EXPECT_EQ(expected, renderer_.calls) << "the hidden panel and the child outside its parent draw nothing";
    EXPECT_FALSE(gone->clipVisible);
    EXPECT_EQ(0, root_->inDraw);

    gone->alwaysDraw = true;
    renderer_.Reset();
    root_->Draw();
    EXPECT_NE(-1, renderer_.IndexOf("fill 110 110 10 10 7 8 9 255")) << "alwaysDraw ignores clipping";
}

TEST_F(PanelTest, DebugOutlineFollowsOnlyTheHoveredChain) {
    Panel* outer = MakePanel(root_, "outer", 10, 10, 100, 100);
    Panel* inner = MakePanel(outer, "inner", 10, 10, 20, 20);
    MakePanel(root_, "other", 200, 200, 20, 20);
    Settle();
    Settle();
    Frame(25, 25, false);
    ASSERT_TRUE(inner->hovered);

    root_->DrawDebugOutline();
    EXPECT_TRUE(renderer_.calls.empty()) << "nothing while debug_drawoutline is 0";

    cv_debug_drawoutline.SetInt(1);
    root_->DrawDebugOutline();
    cv_debug_drawoutline.SetInt(0);
    const std::vector<std::string> expected = {
        "rect 0 0 400 300 255 0 0 255",
        "rect 10 10 100 100 255 0 0 255",
        "rect 20 20 20 20 255 0 0 255",
    };
    EXPECT_EQ(expected, renderer_.calls);
}

// Panels that change the tree while it is walked.
class SelfDestroyOnClick : public ProbePanel {
public:
    using ProbePanel::ProbePanel;
    void OnClick() override { Destroy(); }
};

class DestroyParentOnClick : public ProbePanel {
public:
    using ProbePanel::ProbePanel;
    void OnClick() override { parent->Destroy(); }
};

class CloseParentOnClick : public ProbePanel {
public:
    using ProbePanel::ProbePanel;
    void OnClick() override { parent->HandleCommand("close_panel"); }
};

class TreeEditor : public ProbePanel {
public:
    using ProbePanel::ProbePanel;
    void Update() override {
        Panel::Update();
        if (victim) {
            victim->Destroy();
            victim = nullptr;
        }
        if (spawn > 0) {
            --spawn;
            MakePanel(parent, "spawned", 0, 0, 5, 5, spawnDeaths);
            BringToFront();
        }
        if (destroySelf) {
            Destroy();
        }
    }
    Panel* victim = nullptr;
    int spawn = 0;
    int* spawnDeaths = nullptr;
    bool destroySelf = false;
};

TEST_F(PanelTest, TreeEditsDuringTheWalkKeepItValid) {
    int deaths = 0;
    // Walked from the back of the list: "late" is updated after "editor" destroys it, "early" before.
    ProbePanel* late = MakeProbe(root_, "late", 300, 0, 10, 10, &deaths);
    TreeEditor* editor = new TreeEditor("editor", &deaths);
    root_->AddChild(editor);
    ProbePanel* early = MakeProbe(root_, "early", 300, 50, 10, 10, &deaths);
    TreeEditor* quitter = new TreeEditor("quitter", &deaths);
    root_->AddChild(quitter);
    Frame(200, 200, false);

    editor->victim = late;
    editor->spawn = 2;
    editor->spawnDeaths = &deaths;
    quitter->destroySelf = true;
    Frame(200, 200, false);
    EXPECT_EQ(2, deaths) << "late and quitter";
    EXPECT_EQ(nullptr, root_->FindChild("late"));
    EXPECT_EQ(nullptr, root_->FindChild("quitter"));
    editor->victim = early;
    Frame(200, 200, false);
    EXPECT_EQ(3, deaths);
    Frame(200, 200, false);
    int spawned = 0;
    for (Panel* child : root_->children) {
        ASSERT_NE(nullptr, child);
        spawned += child->name == "spawned";
    }
    EXPECT_EQ(2, spawned);
    EXPECT_EQ(editor, root_->children.back()) << "raised in front of what it spawned";

    // Clicks that destroy the clicked panel, its parent, or close the parent by command.
    SelfDestroyOnClick* selfish = new SelfDestroyOnClick("selfish", &deaths);
    selfish->width = 10;
    selfish->height = 10;
    root_->AddChild(selfish);
    Settle();
    Click(5, 5);
    EXPECT_EQ(4, deaths);
    EXPECT_EQ(nullptr, root_->FindChild("selfish"));

    Panel* form = MakePanel(root_, "form", 100, 100, 50, 50, &deaths);
    DestroyParentOnClick* killer = new DestroyParentOnClick("killer", &deaths);
    form->AddChild(killer);
    Panel* form2 = MakePanel(root_, "form2", 200, 100, 50, 50, &deaths);
    CloseParentOnClick* closer = new CloseParentOnClick("closer", &deaths);
    form2->AddChild(closer);
    Settle();
    Settle();
    Click(105, 105);
    EXPECT_EQ(nullptr, root_->FindChild("form"));
    EXPECT_EQ(6, deaths) << "the form and the button in it";
    Click(205, 105);
    EXPECT_EQ(8, deaths);
    for (Panel* child : root_->children) {
        EXPECT_NE(nullptr, child);
    }
}

TEST_F(PanelTest, DestroyFreesChildrenAttachedThisFrame) {
    int deaths = 0;
    Panel* parent = MakePanel(root_, "parent", 0, 0, 10, 10, &deaths);
    MakePanel(parent, "a", 0, 0, 10, 10, &deaths);
    MakePanel(parent, "b", 0, 0, 10, 10, &deaths);
    parent->Destroy();
    EXPECT_EQ(3, deaths);
    Frame(0, 0, false);
    EXPECT_TRUE(root_->children.empty());
}

class RootPanelTest : public PanelTest {
protected:
    void SetUp() override {
        PanelTest::SetUp();
        g_windowWidth = 1280;
        g_windowHeight = 720;
        g_viewportScale = 2.0f;
        CreateRootPanel();
        ASSERT_NE(nullptr, g_rootPanel);
        root_->Destroy();
        root_ = g_rootPanel;
    }
    void TearDown() override {
        DestroyRootPanel();
        root_ = nullptr;
        PanelTest::TearDown();
    }
    RootPanel* rootPanel() { return g_rootPanel; }
};

TEST_F(RootPanelTest, LayersStackInFixedBands) {
    EXPECT_EQ(640, rootPanel()->width);
    EXPECT_EQ(360, rootPanel()->height);
    EXPECT_FALSE(rootPanel()->drawBackground);
    Settle();
    Settle();
    std::vector<std::string> names;
    for (Panel* layer : rootPanel()->children) {
        names.push_back(layer->name);
        EXPECT_EQ(640, layer->width) << layer->name << " covers the root";
        EXPECT_EQ(360, layer->height) << layer->name << " covers the root";
    }
    EXPECT_EQ((std::vector<std::string>{"layerHUD", "layerGameUI", "layerMenus", "layerTools", "layerToolsOverlay"}),
              names);
    const int ids[] = {kLayerHUD, kLayerGameUI, kLayerMenus, kLayerTools, kLayerToolsOverlay};
    for (int i = 0; i < 5; ++i) {
        EXPECT_EQ(rootPanel()->children[i], rootPanel()->GetLayer(ids[i]));
    }
    EXPECT_EQ(nullptr, rootPanel()->GetLayer(3));
    EXPECT_EQ(nullptr, rootPanel()->GetLayer(32));
    rootPanel()->HideLayer(3);
    rootPanel()->ShowLayer(0);

    // Raising a layer's child raises the layer only within its band.
    Panel* tool = MakePanel(rootPanel()->GetLayer(kLayerTools), "tool", 0, 0, 10, 10);
    MakePanel(rootPanel()->GetLayer(kLayerTools), "tool2", 0, 0, 10, 10);
    Frame(0, 0, false);
    tool->BringToFront();
    Frame(0, 0, false);
    EXPECT_EQ(tool, rootPanel()->GetLayer(kLayerTools)->children.back());
    EXPECT_EQ(rootPanel()->GetLayer(kLayerTools), rootPanel()->children[3]);
    EXPECT_EQ(rootPanel()->GetLayer(kLayerToolsOverlay), rootPanel()->children.back());
}

TEST_F(RootPanelTest, MenusLayerBlocksTheLayersBehindIt) {
    Panel* game = MakePanel(rootPanel()->GetLayer(kLayerGameUI), "game", 0, 0, 100, 100);
    Panel* hud = MakePanel(rootPanel()->GetLayer(kLayerHUD), "hud", 0, 0, 100, 100);
    Panel* menu = MakePanel(rootPanel()->GetLayer(kLayerMenus), "menu", 200, 200, 50, 50);
    Settle();
    Settle();
    Frame(10, 10, false);
    EXPECT_FALSE(game->hovered) << "the visible menus layer takes the mouse everywhere";
    Frame(210, 210, false);
    EXPECT_TRUE(menu->hovered);

    rootPanel()->HideLayer(kLayerMenus);
    Frame(10, 10, false);
    EXPECT_TRUE(game->hovered);
    EXPECT_FALSE(hud->hovered) << "the HUD layer never takes the mouse";
    // A pass-through layer with nothing under the mouse lets it fall through.
    Panel* tool = MakePanel(rootPanel()->GetLayer(kLayerTools), "tool", 300, 0, 10, 10);
    Settle();
    Frame(10, 10, false);
    EXPECT_TRUE(game->hovered);
    Frame(305, 5, false);
    EXPECT_TRUE(tool->hovered);
}

TEST_F(RootPanelTest, EscapeTogglesTheMenusLayer) {
    LayerPanel* menus = rootPanel()->GetLayer(kLayerMenus);
    ASSERT_TRUE(menus->visible);
    g_inputSystem->keysPressedNoRepeat[SDL_SCANCODE_ESCAPE] = 1;
    Frame(0, 0, false);
    EXPECT_FALSE(menus->visible);
    Frame(0, 0, false);
    EXPECT_TRUE(menus->visible);
    g_inputSystem->keysPressedNoRepeat[SDL_SCANCODE_ESCAPE] = 0;
    g_inputSystem->keysPressedNoRepeat[SDL_SCANCODE_AC_BACK] = 1;
    Frame(0, 0, false);
    EXPECT_FALSE(menus->visible);
    g_inputSystem->keysPressedNoRepeat[SDL_SCANCODE_AC_BACK] = 0;
    Frame(0, 0, false);
    EXPECT_FALSE(menus->visible);
}

TEST_F(RootPanelTest, CtrlVPastesClipboardAsPlainBytesOnlyWhenTextIsWanted) {
    ASSERT_EQ(0, SDL_Init(SDL_INIT_VIDEO)) << SDL_GetError();
    ASSERT_EQ(0, SDL_SetClipboardText("a\xC3\xA9" "b"));
    g_inputSystem->keysHeld[SDL_SCANCODE_LCTRL] = 1;
    g_inputSystem->keysPressedNoRepeat[SDL_SCANCODE_V] = 1;
    Frame(0, 0, false);
    EXPECT_EQ("", g_inputSystem->textInput) << "no text box wants text";
    g_inputSystem->wantTextInput = true;
    Frame(0, 0, false);
    EXPECT_EQ("a??b", g_inputSystem->textInput);
    g_inputSystem->keysHeld[SDL_SCANCODE_LCTRL] = 0;
    Frame(0, 0, false);
    EXPECT_EQ("a??b", g_inputSystem->textInput) << "V alone types nothing here";
    DestroyRootPanel();
    root_ = nullptr;
    SDL_Quit();
}

TEST_F(RootPanelTest, TeardownFreesEveryPanelUnderTheRoot) {
    int deaths = 0;
    MakePanel(rootPanel()->GetLayer(kLayerGameUI), "a", 0, 0, 10, 10, &deaths);
    Frame(0, 0, false);
    MakePanel(rootPanel()->GetLayer(kLayerMenus), "b", 0, 0, 10, 10, &deaths);
    DestroyRootPanel();
    root_ = nullptr;
    EXPECT_EQ(nullptr, g_rootPanel);
    EXPECT_EQ(2, deaths);
}

}  // namespace
