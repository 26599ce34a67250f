#include <SDL.h>
#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <vector>

#include "console/cvars.h"
#include "engine/console_output.h"
#include "engine/engine.h"
#include "input/input_system.h"
#include "support/ui_driver.h"
#include "ui/root_panel.h"

namespace {

int g_deaths = 0;

// Counts its clicks, releases outside and deletions; a test may edit the tree from its click or update.
class Probe : public Panel {
public:
    explicit Probe(const std::string& panelName) : Panel(panelName) {}
    ~Probe() override { ++g_deaths; }
    void OnClick() override {
        ++clicks;
        if (onClick) {
            onClick(this);
        }
    }
    void OnMouseReleasedOutside() override {
        Panel::OnMouseReleasedOutside();
        ++releasedOutside;
    }
    void Update() override {
        Panel::Update();
        if (onUpdate) {
            onUpdate(this);
        }
    }
    int clicks = 0, releasedOutside = 0;
    std::function<void(Probe*)> onClick, onUpdate;
};

class PanelTest : public UiTest {
protected:
    void SetUp() override {
        UiTest::SetUp();
        g_deaths = 0;
        top_ = new Panel("top");
        top_->width = 400;
        top_->height = 300;
    }
    void TearDown() override {
        if (top_) {
            top_->Destroy();
        }
    }
    Probe* P(const std::string& name, int x, int y, int w, int h, Panel* parent = nullptr) {
        return Add(new Probe(name), x, y, w, h, parent);
    }
};

TEST_F(PanelTest, HoverGoesToTheFrontmostPanelInsideHalfOpenRects) {
    Probe* back = P("back", 10, 10, 100, 100);
    Probe* front = P("front", 50, 50, 100, 100);
    Probe* overhang = P("overhang", 350, 250, 100, 100);
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
    Probe* button = P("b", 10, 10, 50, 50);
    Settle();
    Step(100, 100, true);
    Step(20, 20, true);
    Step(20, 20, false);
    EXPECT_EQ(0, button->clicks) << "pressed outside, dragged in, released inside";
    Click(20, 20);
    EXPECT_EQ(1, button->clicks);
    EXPECT_TRUE(button->focused);
    Step(20, 20, true);
    Step(100, 100, true);
    Step(100, 100, false);
    EXPECT_EQ(1, button->releasedOutside);
    EXPECT_EQ(1, button->clicks) << "released outside";
    EXPECT_FALSE(button->pressed);
    Step(100, 100, true);
    EXPECT_FALSE(button->focused) << "a press elsewhere takes the focus";
}

TEST_F(PanelTest, ClosePanelRemovesTheSubtreeAtTheParentsNextUpdate) {
    Panel* form = P("form", 0, 0, 100, 100);
    P("inner", 0, 0, 10, 10, form);
    Settle(2);
    form->HandleCommand("close_panel");
    EXPECT_EQ(nullptr, top_->FindChild("form")) << "not found from the moment it asks to close";
    EXPECT_EQ(0, g_deaths);
    Settle();
    EXPECT_EQ(2, g_deaths);
    EXPECT_TRUE(top_->children.empty());
    EXPECT_TRUE(top_->pendingChildren.empty());
    top_->HandleCommand("testcmd");
    top_->HandleCommand("bogus");
    EXPECT_EQ("Test command Panel\nUnknown command: bogus\n", g_consoleText);
}

TEST_F(PanelTest, ZOrderBandsHoldWhateverTheAttachOrder) {
    for (int order = 0; order < 2; ++order) {
        Panel* parent = P("parent", 0, 0, 100, 100);
        Panel* near = new Probe("near");
        Panel* far = new Probe("far");
        near->zpos = -1000;
        far->zpos = -100;
        parent->AddChild(order == 0 ? near : far);
        parent->AddChild(order == 0 ? far : near);
        Panel* sameAsFar = P("same", 0, 0, 10, 10, parent);
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
    Panel* back = P("back", 10, 10, 30, 30);
    back->backgroundColor = Color{1, 2, 3, 255};
    back->drawBorder = true;
    P("outside", 100, 100, 10, 10, back);
    P("front", 380, 290, 40, 40)->backgroundColor = Color{4, 5, 6, 255};
    P("hidden", 0, 0, 10, 10)->visible = false;
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
              renderer_.calls) << "only the hovered chain";
}

TEST_F(PanelTest, TreeEditsFromUpdateClicksAndCommandsKeepTheWalkValid) {
    // The walk runs from the back of the list: "late" is reached after "editor" has destroyed it.
    Probe* late = P("late", 300, 0, 10, 10);
    Probe* editor = P("editor", 300, 100, 10, 10);
    P("quitter", 300, 200, 10, 10)->onUpdate = [](Probe* p) { p->Destroy(); };
    Settle();
    int spawn = 2;
    editor->onUpdate = [&](Probe* p) {
        if (late) {
            late->Destroy();
            late = nullptr;
        }
        for (; spawn > 0; --spawn) {
            p->parent->AddChild(new Probe("spawned"));
            p->BringToFront();
        }
    };
    Settle(3);
    EXPECT_EQ(2, g_deaths) << "late and quitter";
    EXPECT_EQ(editor, top_->children.back()) << "raised in front of what it spawned";
    EXPECT_EQ(3u, top_->children.size()) << "two spawned and the editor";
    P("selfish", 0, 0, 10, 10)->onClick = [](Probe* p) { p->Destroy(); };
    P("killer", 0, 0, 10, 10, P("form", 100, 100, 50, 50))->onClick = [](Probe* p) { p->parent->Destroy(); };
    P("closer", 0, 0, 10, 10, P("form2", 200, 100, 50, 50))->onClick = [](Probe* p) {
        p->parent->HandleCommand("close_panel");
    };
    Settle(2);
    Click(5, 5);
    Click(105, 105);
    Click(205, 105);
    EXPECT_EQ(7, g_deaths) << "selfish, both forms and their buttons";
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
        EXPECT_EQ(640, Layer(ids[i])->width) << "the root's size in UI units";
        EXPECT_EQ(360, Layer(ids[i])->height);
    }
    EXPECT_EQ(nullptr, Layer(3));
    EXPECT_EQ(nullptr, Layer(32));
    Panel* game = P("game", 0, 0, 100, 100, Layer(kLayerGameUI));
    Panel* hud = P("hud", 0, 0, 100, 100, Layer(kLayerHUD));
    Panel* tool = P("tool", 300, 0, 10, 10, Layer(kLayerTools));
    Settle();
    Step(10, 10, false);
    EXPECT_FALSE(game->hovered) << "the visible menus layer takes the mouse everywhere";
    g_rootPanel->HideLayer(kLayerMenus);
    Step(10, 10, false);
    EXPECT_TRUE(game->hovered) << "falls through the tools layer where none of its children is";
    EXPECT_FALSE(hud->hovered) << "the HUD never takes the mouse";
    Step(305, 5, false);
    EXPECT_TRUE(tool->hovered);
    P("tool2", 300, 0, 10, 10, Layer(kLayerTools));
    Settle(2);
    tool->BringToFront();
    Settle();
    EXPECT_EQ(Layer(kLayerTools), top_->children[3]) << "a raised layer stays in its band";
}

TEST_F(RootPanelTest, EscapeTogglesTheMenusAndCtrlVPastesPlainBytes) {
    Press({SDL_SCANCODE_ESCAPE});
    EXPECT_FALSE(Layer(kLayerMenus)->visible);
    Press({SDL_SCANCODE_ESCAPE});
    EXPECT_TRUE(Layer(kLayerMenus)->visible);
    ASSERT_EQ(0, SDL_Init(SDL_INIT_VIDEO)) << SDL_GetError();
    ASSERT_EQ(0, SDL_SetClipboardText("a\xC3\xA9" "b"));
    Press({SDL_SCANCODE_V}, {SDL_SCANCODE_LCTRL});
    EXPECT_EQ("", g_inputSystem->textInput) << "nothing wants text";
    g_inputSystem->wantTextInput = true;
    Press({SDL_SCANCODE_V}, {SDL_SCANCODE_LCTRL});
    EXPECT_EQ("a??b", g_inputSystem->textInput);
    DestroyRootPanel();
    SDL_Quit();
}

TEST_F(RootPanelTest, TeardownFreesEveryPanelUnderTheRoot) {
    P("a", 0, 0, 10, 10, Layer(kLayerGameUI));
    Settle(2);
    P("b", 0, 0, 10, 10, Layer(kLayerMenus));
    DestroyRootPanel();
    EXPECT_EQ(nullptr, g_rootPanel);
    EXPECT_EQ(2, g_deaths) << "including a panel attached since the last update";
}

}  // namespace
