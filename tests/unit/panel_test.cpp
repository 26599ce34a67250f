#include <SDL.h>
#include <gtest/gtest.h>

#include <cstddef>
#include <string>
#include <vector>

#include "console/cvars.h"
#include "engine/console_output.h"
#include "engine/engine.h"
#include "input/input_system.h"
#include "support/ui_driver.h"
#include "ui/root_panel.h"

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

class Probe : public Panel {
public:
    enum Role { kPlain, kSelfDestroyOnClick, kKillParentOnClick, kCloseParentOnClick, kQuitter };
    Probe(const std::string& panelName, int* deaths, Role role = kPlain)
        : Panel(panelName), deaths_(deaths), role_(role) {}
    ~Probe() override { ++*deaths_; }
    void OnClick() override {
        ++clicks;
        if (role_ == kSelfDestroyOnClick) {
            Destroy();
        } else if (role_ == kKillParentOnClick) {
            parent->Destroy();
        } else if (role_ == kCloseParentOnClick) {
            parent->HandleCommand("close_panel");
        }
    }
    void OnMouseReleasedOutside() override {
        Panel::OnMouseReleasedOutside();
        ++releasedOutside;
    }
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
        if (role_ == kQuitter) {
            Destroy();
        }
    }
    int clicks = 0;
    int releasedOutside = 0;
    Panel* victim = nullptr;
    int spawn = 0;

private:
    int* deaths_;
    Role role_;
};

class PanelTest : public UiTest {
protected:
    void SetUp() override {
        UiTest::SetUp();
        top_ = new Panel("top");
        top_->width = 400;
        top_->height = 300;
    }
    void TearDown() override {
        if (top_) {
            top_->Destroy();
        }
    }
    Probe* Add(Panel* parent, const std::string& panelName, int x, int y, int w, int h,
               Probe::Role role = Probe::kPlain) {
        Probe* panel = new Probe(panelName, &deaths_, role);
        panel->x = x;
        panel->y = y;
        panel->width = w;
        panel->height = h;
        parent->AddChild(panel);
        return panel;
    }
    int deaths_ = 0;
};

TEST_F(PanelTest, HoverGoesToTheFrontmostPanelInsideHalfOpenRects) {
    Probe* back = Add(top_, "back", 10, 10, 100, 100);
    Probe* front = Add(top_, "front", 50, 50, 100, 100);
    Probe* overhang = Add(top_, "overhang", 350, 250, 100, 100);
    Settle();
    const struct {
        int x, y;
        Probe* hovered;
    } cases[] = {{60, 60, front}, {149, 149, front}, {150, 60, nullptr}, {60, 150, nullptr},
                 {20, 20, back},  {420, 260, nullptr}};
    for (const auto& c : cases) {
        Step(c.x, c.y, false);
        for (Probe* p : {back, front, overhang}) {
            EXPECT_EQ(p->hovered, p == c.hovered) << p->name << " at " << c.x << "," << c.y;
        }
    }
}

TEST_F(PanelTest, OnlyAPressThatStartsOverThePanelClicks) {
    Probe* button = Add(top_, "b", 10, 10, 50, 50);
    Settle();
    Step(100, 100, true);
    Step(20, 20, true);
    Step(20, 20, false);
    EXPECT_EQ(0, button->clicks) << "pressed outside, dragged in, released inside";
    Click(20, 20);
    EXPECT_TRUE(button->clicks == 1 && button->focused);

    Step(20, 20, true);
    Step(100, 100, true);
    Step(100, 100, false);
    EXPECT_TRUE(button->releasedOutside == 1 && button->clicks == 1 && !button->pressed) << "released outside";
    Step(100, 100, true);
    EXPECT_FALSE(button->focused) << "a press elsewhere takes the focus";
}

TEST_F(PanelTest, ClosePanelRemovesTheSubtreeAtTheParentsNextUpdate) {
    Panel* form = Add(top_, "form", 0, 0, 100, 100);
    Add(form, "inner", 0, 0, 10, 10);
    Settle(2);
    form->HandleCommand("close_panel");
    EXPECT_TRUE(top_->FindChild("form") == nullptr && deaths_ == 0) << "not found from the moment it asks to close";
    Settle();
    EXPECT_TRUE(deaths_ == 2 && top_->children.empty() && top_->pendingChildren.empty());

    top_->HandleCommand("testcmd");
    top_->HandleCommand("bogus");
    EXPECT_EQ("Test command Panel\nUnknown command: bogus\n", g_consoleText);
}

TEST_F(PanelTest, ZOrderBandsHoldWhateverTheAttachOrder) {
    for (int order = 0; order < 2; ++order) {
        Panel* parent = Add(top_, "parent", 0, 0, 100, 100);
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
    top_->drawBackground = false;
    Panel* back = Add(top_, "back", 10, 10, 30, 30);
    back->backgroundColor = Color{1, 2, 3, 255};
    back->drawBorder = true;
    Add(back, "outside", 100, 100, 10, 10);
    Panel* front = Add(top_, "front", 380, 290, 40, 40);
    front->backgroundColor = Color{4, 5, 6, 255};
    Add(top_, "hidden", 0, 0, 10, 10)->visible = false;
    Settle(3);
    Step(385, 295, false);
    top_->Draw();
    const std::vector<std::string> expected = {
        "clip 0 0 400 300", "clip 10 10 30 30", "fill 10 10 30 30 1 2 3 255",
        "line 11 11 11 37 64 64 64 255 w1", "line 12 11 37 11 64 64 64 255 w1",
        "line 10 39 39 39 64 64 64 255 w1", "line 39 10 39 39 64 64 64 255 w1",
        "rect 10 10 29 29 96 96 96 255", "clip off", "clip 380 290 20 10",
        "fill 380 290 40 40 4 5 6 255", "clip off", "clip off"};
    EXPECT_EQ(expected, renderer_.calls);

    renderer_.Reset();
    cv_debug_drawoutline.SetInt(1);
    top_->DrawDebugOutline();
    EXPECT_EQ((std::vector<std::string>{"rect 0 0 400 300 255 0 0 255", "rect 380 290 40 40 255 0 0 255"}),
              renderer_.calls)
        << "only the hovered chain";
}

TEST_F(PanelTest, TreeEditsFromUpdateClicksAndCommandsKeepTheWalkValid) {
    // The walk runs from the back of the list: "late" is reached after "editor" has destroyed it.
    Probe* late = Add(top_, "late", 300, 0, 10, 10);
    Probe* editor = Add(top_, "editor", 300, 100, 10, 10);
    Add(top_, "quitter", 300, 200, 10, 10, Probe::kQuitter);
    Settle();
    editor->victim = late;
    editor->spawn = 2;
    Settle(3);
    EXPECT_TRUE(deaths_ == 2 && top_->FindChild("quitter") == nullptr) << "late and quitter";
    EXPECT_EQ(editor, top_->children.back()) << "raised in front of what it spawned";
    EXPECT_EQ(3u, top_->children.size()) << "two spawned and the editor";

    Add(top_, "selfish", 0, 0, 10, 10, Probe::kSelfDestroyOnClick);
    Add(Add(top_, "form", 100, 100, 50, 50), "killer", 0, 0, 10, 10, Probe::kKillParentOnClick);
    Add(Add(top_, "form2", 200, 100, 50, 50), "closer", 0, 0, 10, 10, Probe::kCloseParentOnClick);
    Settle(2);
    Click(5, 5);
    Click(105, 105);
    Click(205, 105);
    EXPECT_EQ(7, deaths_) << "selfish, both forms and their buttons";
    for (Panel* child : top_->children) {
        EXPECT_NE(nullptr, child);
    }
}

class RootPanelTest : public PanelTest {
protected:
    void SetUp() override {
        UiTest::SetUp();
        g_windowWidth = 1280;
        g_windowHeight = 720;
        g_viewportScale = 2.0f;
        CreateRootPanel();
        top_ = g_rootPanel;
    }
    void TearDown() override {
        DestroyRootPanel();
        top_ = nullptr;
        g_viewportScale = 1.0f;
    }
    static LayerPanel* Layer(int id) { return g_rootPanel->GetLayer(id); }
};

TEST_F(RootPanelTest, LayersStackInBandsAndTheMenusBlockWhatIsBehind) {
    Settle(2);
    const int ids[] = {kLayerHUD, kLayerGameUI, kLayerMenus, kLayerTools, kLayerToolsOverlay};
    ASSERT_EQ(5u, top_->children.size());
    for (int i = 0; i < 5; ++i) {
        EXPECT_EQ(top_->children[i], Layer(ids[i])) << "drawn from the HUD to the tool overlay";
        EXPECT_TRUE(Layer(ids[i])->width == 640 && Layer(ids[i])->height == 360) << "the root's size in UI units";
    }
    EXPECT_TRUE(g_rootPanel->GetLayer(3) == nullptr && g_rootPanel->GetLayer(32) == nullptr);

    Panel* game = Add(Layer(kLayerGameUI), "game", 0, 0, 100, 100);
    Panel* hud = Add(Layer(kLayerHUD), "hud", 0, 0, 100, 100);
    Panel* tool = Add(Layer(kLayerTools), "tool", 300, 0, 10, 10);
    Settle();
    Step(10, 10, false);
    EXPECT_FALSE(game->hovered) << "the visible menus layer takes the mouse everywhere";
    g_rootPanel->HideLayer(kLayerMenus);
    Step(10, 10, false);
    EXPECT_TRUE(game->hovered) << "falls through the tools layer where none of its children is";
    EXPECT_FALSE(hud->hovered) << "the HUD never takes the mouse";
    Step(305, 5, false);
    EXPECT_TRUE(tool->hovered);
    Add(Layer(kLayerTools), "tool2", 300, 0, 10, 10);
    Settle(2);
    tool->BringToFront();
    Settle();
    EXPECT_EQ(Layer(kLayerTools), top_->children[3]) << "a raised layer stays in its band";
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
    EXPECT_TRUE(g_rootPanel == nullptr && deaths_ == 2) << "including a panel attached since the last update";
}

}  // namespace
