#include <gtest/gtest.h>

#include <SDL.h>

#include <cstddef>
#include <string>
#include <vector>

#include "console/cvars.h"
#include "engine/console_output.h"
#include "engine/engine.h"
#include "input/input_system.h"
#include "support/recording_renderer.h"
#include "ui/root_panel.h"

// What hosts read directly: the field order fixes these offsets.
static_assert(sizeof(Color) == 4 && sizeof(Rect) == sizeof(SDL_Rect) && sizeof(Point) == sizeof(SDL_Point), "layouts");
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Winvalid-offsetof"
static_assert(offsetof(Panel, enabled) == sizeof(void*) && offsetof(Panel, alwaysDraw) == sizeof(void*) + 9, "flags");
static_assert(offsetof(Panel, name) == (sizeof(void*) + 10 + alignof(std::string) - 1) / alignof(std::string) *
                                           alignof(std::string), "name right after the flags");
static_assert(offsetof(Panel, x) == offsetof(Panel, name) + sizeof(std::string), "position after the name");
static_assert(offsetof(Panel, clipRect) == offsetof(Panel, x) + 24, "x y screenX screenY width height, clip");
static_assert(offsetof(Panel, backgroundColor) == offsetof(Panel, clipRect) + 17, "colour packed behind clipVisible");
static_assert(offsetof(Panel, parent) == offsetof(Panel, clipRect) + 24, "parent aligned after the colour");
static_assert(offsetof(Panel, children) == offsetof(Panel, parent) + 2 * sizeof(void*), "lists after focusedChild");
static_assert(offsetof(Panel, zpos) == offsetof(Panel, children) + 2 * sizeof(std::vector<Panel*>), "zpos");
static_assert(offsetof(Panel, inDraw) == offsetof(Panel, zpos) + 8, "four flags after zpos, then inDraw");
static_assert(offsetof(Panel, visibleChildCount) == offsetof(Panel, inDraw) + 4, "visibleChildCount last");
static_assert(offsetof(LayerPanel, raiseRequested) == sizeof(Panel) + 1, "layer flags follow the panel");
#pragma GCC diagnostic pop

namespace {

// Counts its clicks, its releases outside and its own deletion.
class Probe : public Panel {
public:
    Probe(const std::string& panelName, int* deaths) : Panel(panelName), deaths_(deaths) {}
    ~Probe() override { ++*deaths_; }
    void OnClick() override { ++clicks; }
    void OnMouseReleasedOutside() override {
        Panel::OnMouseReleasedOutside();
        ++releasedOutside;
    }
    int clicks = 0;
    int releasedOutside = 0;

protected:
    int* deaths_;
};

class PanelTest : public ::testing::Test {
protected:
    void SetUp() override {
        *g_inputSystem = InputSystem();
        g_consoleText.clear();
        root_ = new Panel("top");
        root_->width = 400;
        root_->height = 300;
    }
    void TearDown() override {
        if (root_) {
            root_->Destroy();
        }
    }
    template <typename T = Probe>
    T* Add(Panel* parent, const std::string& panelName, int x, int y, int w, int h) {
        T* panel = new T(panelName, &deaths_);
        panel->x = x;
        panel->y = y;
        panel->width = w;
        panel->height = h;
        parent->AddChild(panel);
        return panel;
    }
    void Frame(int x, int y, bool down) {
        g_inputSystem->mouseX = x;
        g_inputSystem->mouseY = y;
        g_inputSystem->mouseButtons = down ? SDL_BUTTON_LMASK : 0;
        root_->Update();
    }
    // Panels attached during a frame go live at its end, one level of the tree per frame.
    void Settle(int levels = 1) {
        for (int i = 0; i < levels; ++i) {
            Frame(-100, -100, false);
        }
    }
    void Click(int x, int y) {
        Frame(x, y, false);
        Frame(x, y, true);
        Frame(x, y, false);
    }

    Panel* root_ = nullptr;
    int deaths_ = 0;
    RecordingRenderer renderer_;
    ScopedRenderer scopedRenderer_{&renderer_};
};

TEST_F(PanelTest, HoverGoesToTheFrontmostPanelInsideHalfOpenRects) {
    Probe* back = Add(root_, "back", 10, 10, 100, 100);
    Probe* front = Add(root_, "front", 50, 50, 100, 100);
    Probe* overhang = Add(root_, "overhang", 350, 250, 100, 100);
    Settle();
    Frame(60, 60, false);
    EXPECT_TRUE(front->hovered);
    EXPECT_FALSE(back->hovered);
    Frame(149, 149, false);
    EXPECT_TRUE(front->hovered);
    Frame(150, 60, false);
    EXPECT_FALSE(front->hovered) << "the right edge is outside";
    Frame(60, 150, false);
    EXPECT_FALSE(front->hovered) << "the bottom edge is outside";
    Frame(420, 260, false);
    EXPECT_FALSE(overhang->hovered) << "only the part inside the parent takes the mouse";
    EXPECT_FALSE(root_->childHovered);
}

TEST_F(PanelTest, OnlyAPressThatStartsOverThePanelClicks) {
    Probe* button = Add(root_, "b", 10, 10, 50, 50);
    Settle();
    Frame(100, 100, true);
    Frame(20, 20, true);
    Frame(20, 20, false);
    EXPECT_EQ(0, button->clicks) << "pressed outside, dragged in, released inside";

    Click(20, 20);
    EXPECT_EQ(1, button->clicks);
    EXPECT_TRUE(button->focused);

    Frame(20, 20, true);
    Frame(100, 100, true);
    Frame(100, 100, false);
    EXPECT_EQ(1, button->releasedOutside);
    EXPECT_EQ(1, button->clicks) << "released outside";
    EXPECT_FALSE(button->pressed);
    Frame(100, 100, true);
    EXPECT_FALSE(button->focused) << "a press elsewhere takes the focus";
}

TEST_F(PanelTest, ClosePanelRemovesTheSubtreeAtTheParentsNextUpdate) {
    Panel* form = Add(root_, "form", 0, 0, 100, 100);
    Add(form, "inner", 0, 0, 10, 10);
    Settle(2);
    form->HandleCommand("close_panel");
    EXPECT_EQ(nullptr, root_->FindChild("form")) << "not found from the moment it asks to close";
    EXPECT_EQ(0, deaths_);
    Settle();
    EXPECT_EQ(2, deaths_);
    EXPECT_TRUE(root_->children.empty() && root_->pendingChildren.empty());

    root_->HandleCommand("testcmd");
    root_->HandleCommand("bogus");
    EXPECT_EQ("Test command Panel\nUnknown command: bogus\n", g_consoleText);
}

TEST_F(PanelTest, ZOrderBandsHoldWhateverTheAttachOrder) {
    for (int order = 0; order < 2; ++order) {
        Panel* parent = Add(root_, "parent", 0, 0, 100, 100);
        Panel* near = new Probe("near", &deaths_);
        Panel* far = new Probe("far", &deaths_);
        near->zpos = -1000;
        far->zpos = -100;
        parent->AddChild(order == 0 ? near : far);
        parent->AddChild(order == 0 ? far : near);
        Panel* sameAsFar = Add(parent, "same", 0, 0, 10, 10);
        sameAsFar->SetZPos(-100);
        Settle(2);
        EXPECT_EQ((std::vector<Panel*>{far, sameAsFar, near}), parent->children) << "attach order " << order;
        far->BringToFront();
        Settle(2);
        EXPECT_EQ((std::vector<Panel*>{sameAsFar, far, near}), parent->children) << "raised only within its band";
        parent->Destroy();
    }
}

TEST_F(PanelTest, DrawPaintsBackToFrontClippedToTheParent) {
    root_->drawBackground = false;
    Panel* back = Add(root_, "back", 10, 10, 30, 30);
    back->backgroundColor = Color{1, 2, 3, 255};
    back->drawBorder = true;
    Add(back, "outside", 100, 100, 10, 10);
    Panel* front = Add(root_, "front", 380, 290, 40, 40);
    front->backgroundColor = Color{4, 5, 6, 255};
    Add(root_, "hidden", 0, 0, 10, 10)->visible = false;
    Settle(3);
    Frame(385, 295, false);
    root_->Draw();
    const std::vector<std::string> expected = {
        "clip 0 0 400 300", "clip 10 10 30 30", "fill 10 10 30 30 1 2 3 255",
        "line 11 11 11 37 64 64 64 255 w1", "line 12 11 37 11 64 64 64 255 w1",
        "line 10 39 39 39 64 64 64 255 w1", "line 39 10 39 39 64 64 64 255 w1",
        "rect 10 10 29 29 96 96 96 255", "clip off", "clip 380 290 20 10",
        "fill 380 290 40 40 4 5 6 255", "clip off", "clip off"};
    EXPECT_EQ(expected, renderer_.calls);

    renderer_.Reset();
    cv_debug_drawoutline.SetInt(1);
    root_->DrawDebugOutline();
    EXPECT_EQ((std::vector<std::string>{"rect 0 0 400 300 255 0 0 255", "rect 380 290 40 40 255 0 0 255"}),
              renderer_.calls)
        << "only the hovered chain";
}

// Panels that change the tree while it is walked.
class SelfDestroyOnClick : public Probe {
public:
    using Probe::Probe;
    void OnClick() override { Destroy(); }
};

class ParentKillerOnClick : public Probe {
public:
    using Probe::Probe;
    void OnClick() override {
        if (name == "closer") {
            parent->HandleCommand("close_panel");
        } else {
            parent->Destroy();
        }
    }
};

class TreeEditor : public Probe {
public:
    using Probe::Probe;
    void Update() override {
        Panel::Update();
        if (victim) {
            victim->Destroy();
            victim = nullptr;
        }
        if (spawn > 0) {
            --spawn;
            parent->AddChild(new Probe("spawned", deaths_));
            BringToFront();
        }
        if (name == "quitter") {
            Destroy();
        }
    }
    Panel* victim = nullptr;
    int spawn = 0;
};

TEST_F(PanelTest, TreeEditsFromUpdateClicksAndCommandsKeepTheWalkValid) {
    // The walk runs from the back of the list: "late" is reached after "editor" has destroyed it.
    Probe* late = Add(root_, "late", 300, 0, 10, 10);
    TreeEditor* editor = Add<TreeEditor>(root_, "editor", 300, 100, 10, 10);
    Add<TreeEditor>(root_, "quitter", 300, 200, 10, 10);
    Settle();
    editor->victim = late;
    editor->spawn = 2;
    Settle(3);
    EXPECT_EQ(2, deaths_) << "late and quitter";
    EXPECT_EQ(nullptr, root_->FindChild("quitter"));
    EXPECT_EQ(editor, root_->children.back()) << "raised in front of what it spawned";
    EXPECT_EQ(3u, root_->children.size()) << "two spawned and the editor";

    Add<SelfDestroyOnClick>(root_, "selfish", 0, 0, 10, 10);
    Panel* form = Add(root_, "form", 100, 100, 50, 50);
    Add<ParentKillerOnClick>(form, "killer", 0, 0, 10, 10);
    Panel* form2 = Add(root_, "form2", 200, 100, 50, 50);
    Add<ParentKillerOnClick>(form2, "closer", 0, 0, 10, 10);
    Settle(2);
    Click(5, 5);
    Click(105, 105);
    Click(205, 105);
    EXPECT_EQ(7, deaths_) << "selfish, both forms and their buttons";
    for (Panel* child : root_->children) {
        EXPECT_NE(nullptr, child);
    }
}

class RootPanelTest : public PanelTest {
protected:
    void SetUp() override {
        PanelTest::SetUp();
        root_->Destroy();
        g_windowWidth = 1280;
        g_windowHeight = 720;
        g_viewportScale = 2.0f;
        CreateRootPanel();
        root_ = g_rootPanel;
    }
    void TearDown() override {
        DestroyRootPanel();
        root_ = nullptr;
        g_viewportScale = 1.0f;
    }
    LayerPanel* Layer(int id) { return g_rootPanel->GetLayer(id); }
};

TEST_F(RootPanelTest, LayersStackInBandsAndTheMenusBlockWhatIsBehind) {
    Settle(2);
    const int ids[] = {kLayerHUD, kLayerGameUI, kLayerMenus, kLayerTools, kLayerToolsOverlay};
    ASSERT_EQ(5u, root_->children.size());
    for (int i = 0; i < 5; ++i) {
        EXPECT_EQ(root_->children[i], Layer(ids[i])) << "drawn from the HUD to the tool overlay";
        EXPECT_EQ(640, Layer(ids[i])->width);
        EXPECT_EQ(360, Layer(ids[i])->height) << "layers cover the root, sized in UI units";
    }
    EXPECT_EQ(nullptr, g_rootPanel->GetLayer(3));
    EXPECT_EQ(nullptr, g_rootPanel->GetLayer(32));

    Panel* game = Add(Layer(kLayerGameUI), "game", 0, 0, 100, 100);
    Panel* hud = Add(Layer(kLayerHUD), "hud", 0, 0, 100, 100);
    Panel* tool = Add(Layer(kLayerTools), "tool", 300, 0, 10, 10);
    Settle();
    Frame(10, 10, false);
    EXPECT_FALSE(game->hovered) << "the visible menus layer takes the mouse everywhere";
    g_rootPanel->HideLayer(kLayerMenus);
    Frame(10, 10, false);
    EXPECT_TRUE(game->hovered) << "falls through the tools layer where none of its children is";
    EXPECT_FALSE(hud->hovered) << "the HUD never takes the mouse";
    Frame(305, 5, false);
    EXPECT_TRUE(tool->hovered);
    Add(Layer(kLayerTools), "tool2", 300, 0, 10, 10);
    Settle(2);
    tool->BringToFront();
    Settle();
    EXPECT_EQ(Layer(kLayerTools), root_->children[3]) << "a raised layer stays in its band";
}

TEST_F(RootPanelTest, EscapeTogglesTheMenusAndCtrlVPastesPlainBytes) {
    g_inputSystem->keysPressedNoRepeat[SDL_SCANCODE_ESCAPE] = 1;
    Settle();
    EXPECT_FALSE(Layer(kLayerMenus)->visible);
    Settle();
    EXPECT_TRUE(Layer(kLayerMenus)->visible);
    g_inputSystem->keysPressedNoRepeat[SDL_SCANCODE_ESCAPE] = 0;

    ASSERT_EQ(0, SDL_Init(SDL_INIT_VIDEO)) << SDL_GetError();
    ASSERT_EQ(0, SDL_SetClipboardText("a\xC3\xA9" "b"));
    g_inputSystem->keysHeld[SDL_SCANCODE_LCTRL] = 1;
    g_inputSystem->keysPressedNoRepeat[SDL_SCANCODE_V] = 1;
    Settle();
    EXPECT_EQ("", g_inputSystem->textInput) << "nothing wants text";
    g_inputSystem->wantTextInput = true;
    Settle();
    EXPECT_EQ("a??b", g_inputSystem->textInput);
    DestroyRootPanel();
    SDL_Quit();
}

TEST_F(RootPanelTest, TeardownFreesEveryPanelUnderTheRoot) {
    Add(Layer(kLayerGameUI), "a", 0, 0, 10, 10);
    Settle(2);
    Add(Layer(kLayerMenus), "b", 0, 0, 10, 10);
    DestroyRootPanel();
    EXPECT_EQ(nullptr, g_rootPanel);
    EXPECT_EQ(2, deaths_) << "including a panel attached since the last update";
}

}  // namespace
