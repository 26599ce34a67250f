#include <memory>

#include "app/test_panels.h"
#include "resources/font_system.h"
#include "support/ui_driver.h"
#include "ui/button.h"
#include "ui/form.h"
#include "ui/grab_bar.h"
#include "ui/rich_text_box.h"
#include "ui/text_box.h"
#include "ui/toggle_button.h"
#include "ui/widget_factory.h"

namespace {

int g_deaths = 0;

// Counts its clicks, releases outside and deletions; a test may edit the tree from its click or update.
class Probe : public Panel {
public:
    explicit Probe(const std::string& panelName) : Panel(panelName) {}
    ~Probe() override { ++g_deaths; }
    void OnClick() override { ++clicks; onClick(this); }
    void OnMouseReleasedOutside() override { Panel::OnMouseReleasedOutside(); ++releasedOutside; }
    void Update() override { Panel::Update(); onUpdate(this); }
    int clicks = 0, releasedOutside = 0;
    std::function<void(Probe*)> onClick = [](Probe*) {}, onUpdate = [](Probe*) {};
};

class PanelTest : public WidgetTest {
protected:
    Probe* P(const std::string& name, int x, int y, int w, int h, Panel* parent = nullptr) {
        return Add(new Probe(name), x, y, w, h, parent);
    }
};

TEST_F(PanelTest, HoverGoesToTheFrontmostPanelInsideHalfOpenRectsAndOnlyAPressOverItClicks) {
    Probe* back = P("back", 10, 10, 100, 100);
    Probe* front = P("front", 50, 50, 100, 100);
    Probe* overhang = P("overhang", 350, 250, 100, 100);
    Settle();
    const struct { int x, y; Probe* hovered; } cases[] = {{60, 60, front}, {149, 149, front}, {150, 60, nullptr},
                                                          {60, 150, nullptr}, {20, 20, back}, {420, 260, nullptr}};
    for (const auto& c : cases) {
        Step(c.x, c.y, false);
        for (Probe* p : {back, front, overhang}) {
            EXPECT_EQ(p->hovered, p == c.hovered) << p->name << " at " << c.x << "," << c.y;
        }
    }
    Step(200, 200, true);  // pressed outside, released inside: no click
    Step(20, 20, true);
    Step(20, 20, false);
    Click(20, 20);
    EXPECT_TRUE(back->focused);
    Step(20, 20, true);  // pressed inside, released outside: no click
    Step(200, 200, true);
    Step(200, 200, false);
    Step(200, 200, true);
    EXPECT_EQ(1, back->clicks);
    EXPECT_EQ(1, back->releasedOutside);
    EXPECT_FALSE(back->pressed);
    EXPECT_FALSE(back->focused) << "a press elsewhere takes the focus";
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
        "clip 0 0 400 300", "clip 10 10 30 30", "fill 10 10 30 30 1 2 3 255", "line 11 11 11 37 64 64 64 255 w1",
        "line 12 11 37 11 64 64 64 255 w1", "line 10 39 39 39 64 64 64 255 w1", "line 39 10 39 39 64 64 64 255 w1",
        "rect 10 10 29 29 96 96 96 255", "clip off", "clip 380 290 20 10", "fill 380 290 40 40 4 5 6 255",
        "clip off", "clip off"};
    EXPECT_EQ(expected, renderer_.calls);
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
    EXPECT_EQ(3u, top_->children.size());
}

class RootPanelTest : public PanelTest {
protected:
    void SetUp() override {
        WidgetTest::SetUp();
        top_->Destroy();
        g_windowWidth = 1280;
        g_windowHeight = 720;
        g_viewportScale = 2.0f;
        CreateRootPanel();
        top_ = g_rootPanel;
    }
    void TearDown() override {
        DestroyRootPanel();
        TTF_Quit();
        SDL_Quit();
    }
    static LayerPanel* Layer(int id) { return g_rootPanel->GetLayer(id); }
};

TEST_F(RootPanelTest, LayersStackInBandsTheMenusBlockWhatIsBehindAndTeardownFreesAll) {
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
    P("pending", 0, 0, 10, 10, Layer(kLayerMenus));
    DestroyRootPanel();
    EXPECT_EQ(nullptr, g_rootPanel);
    EXPECT_EQ(5, g_deaths) << "every panel, including one attached since the last update";
}

TEST_F(RootPanelTest, CtrlVPastesTheClipboardAsPlainBytesOnlyWhenTextIsWanted) {
    ASSERT_EQ(0, SDL_SetClipboardText("a\xC3\xA9" "b"));
    Press({SDL_SCANCODE_V}, {SDL_SCANCODE_LCTRL});
    EXPECT_EQ("", g_inputSystem->textInput) << "nothing wants text";
    g_inputSystem->wantTextInput = true;
    Press({SDL_SCANCODE_V}, {SDL_SCANCODE_LCTRL});
    EXPECT_EQ("a??b", g_inputSystem->textInput);
}

class Loader : public Panel {
public:
    Loader() : Panel("loader") {}
    void OnResized() override { widthAtResize = width; }
    int widthAtResize = 0;
};

class PanelScriptTest : public ::testing::Test {
protected:
    void SetUp() override { g_consoleText.clear(); }
    void TearDown() override { loader_->Destroy(); }
    void Load(const std::string& text) {
        dir_.WriteFile("panel.txt", text);
        loader_->LoadFromFile("panel.txt");
        loader_->Update();
    }
    bool Has(const std::string& childName) { return loader_->FindChild(childName) != nullptr; }

    TempWorkDir dir_;
    Loader* loader_ = new Loader();
};

TEST_F(PanelScriptTest, QuotingTypeWordsAndMalformedBlocks) {
    Load("Panel {\nname \"same_line\"\n}\nPanel extra words\n\n{\nname \"two words\"\n}\n{\nname  bare\n}\n"
         "{\nname \"lone\n}\n{\nname pre \"a\" mid \"b\" post\n}\nThis\n{\nname\t\"self\"  \n}\n"
         "Panel\n{\nname \"kept\"\nno_such_key 1\n}\nNonsense\n{\nname \"unknown_type\"\n}\n"
         "Panel\n{\nname \"abandoned\"\n{\nname \"restarted\"\n}\nstray } closes nothing\n{\nname \"unterminated\"\n");
    EXPECT_FALSE(Has("same_line")) << "a line with a brace sets no type word";
    EXPECT_TRUE(Has("two words")) << "the type word stays until another line sets it";
    EXPECT_TRUE(Has("  bare")) << "an unquoted value keeps its leading blanks";
    EXPECT_TRUE(Has("")) << "a lone quote empties the value";
    EXPECT_TRUE(Has("a\" mid \"b"));
    EXPECT_EQ("self", loader_->name);
    EXPECT_TRUE(Has("kept")) << "unknown keys are ignored";
    EXPECT_TRUE(Has("restarted")) << "a second opening abandons the first block";
    EXPECT_EQ(6u, loader_->children.size()) << "no unknown type, abandoned or unterminated block";
    EXPECT_EQ("", g_consoleText);
    loader_->LoadFromFile("./no/such/panel.txt");
    EXPECT_EQ("Error: Could not open file './no/such/panel.txt'\n", g_consoleText);
}

TEST_F(PanelScriptTest, NamedBlocksUpdateChildrenInPlace) {
    const std::string script = "Panel\n{\nname \"box\"\nposition 5 6\n}\nPanel\n{\nsize 7 8\n}\n";
    Load(script);
    Panel* box = loader_->FindChild("box");
    Load(script);
    Load("Bogus\n{\nposition 9 10\nname \"box\"\n}\n");
    ASSERT_NE(nullptr, box);
    EXPECT_EQ(box, loader_->FindChild("box")) << "the type word is not checked against the child";
    EXPECT_EQ(9, box->x);
    EXPECT_EQ(3u, loader_->children.size()) << "one named child, and unnamed blocks always add";
}

TEST_F(PanelScriptTest, MissingOrMalformedNumbersTakeTheirPositionsDefault) {
    loader_->height = 300;
    Load("This\n{\nposition 40\nsize 100\nbackground_color 0 0 0\nzpos 5\n}\n");
    EXPECT_EQ(0, loader_->y);
    EXPECT_EQ(100, loader_->widthAtResize) << "size calls OnResized once it is set";
    EXPECT_EQ(25, loader_->height) << "the default, not the previous height";
    EXPECT_EQ(loader_->backgroundColor.a, 255) << "opaque black";
    EXPECT_TRUE(loader_->drawBackground);
    EXPECT_EQ(5, loader_->zpos);
    Load("This\n{\nsize abc 3\nbackground_color 1 2 3 0\nzpos\nposition 7 99999999999\n}\n");
    EXPECT_EQ(25, loader_->width) << "a malformed number and those after it take their defaults";
    EXPECT_EQ(25, loader_->height);
    EXPECT_FALSE(loader_->drawBackground) << "alpha 0";
    EXPECT_EQ(0, loader_->zpos);
    EXPECT_EQ(0, loader_->y) << "out of range is malformed";
}

// Arbitrary bytes are the panel script fuzz target's; here sizes it never reaches.
TEST_F(PanelScriptTest, HugeFilesAndLinesLoadSafely) {
    std::string huge = "Panel\n{\n", longLine(10u << 20, 'x');
    while (huge.size() < 10u << 20) huge += "size 1 2\n";
    Load(huge);
    longLine[5u << 20] = '{';
    Load("Panel\n" + longLine + "\nname \"after\"\n}\n");
    EXPECT_TRUE(Has("after"));
}

using Widgets = WidgetTest;

class CommandSink : public Panel {
public:
    CommandSink() : Panel("sink") {}
    void HandleCommand(const std::string& text) override { received.push_back(text); }
    std::vector<std::string> received;
};

TEST_F(Widgets, LabelSizesToTextAndButtonCentresIt) {
    Label* label = Add(new Label("label"), 0, 0);
    FontRecord* font = g_fontSystem->GetFont(static_cast<int>(label->fontId));
    ASSERT_NE(font, nullptr) << "the default font loads";
    label->SetText("Hello");
    EXPECT_EQ(label->width, g_fontSystem->MeasureText("Hello", font).width);
    EXPECT_EQ(label->height, font->cellHeight);
    label->SetProperty("font_size", "big");
    EXPECT_EQ(g_fontSystem->GetFont(static_cast<int>(label->fontId))->size, 20) << "not a number: no change";
    label->SetProperty("font_size", "30");
    EXPECT_EQ(g_fontSystem->GetFont(static_cast<int>(label->fontId))->size, 30);
    Button* button = Add(new Button("button"), 10, 20);
    Settle(2);
    button->SetText("A text far wider than seventy-five pixels");
    EXPECT_EQ(button->width, 75) << "buttons keep their size";
    EXPECT_EQ(button->textOffsetX, (75 - button->textWidth) / 2);
    button->SetProperty("size", "401 25");
    EXPECT_EQ(button->textOffsetX, (401 - button->textWidth) / 2) << "resizing re-centres";
    top_->Draw();
    const int at = renderer_.IndexOf("text " + std::to_string(button->fontId) + " " + button->text + " " +
                                     std::to_string(10 + button->textOffsetX) + " " +
                                     std::to_string(20 + button->textOffsetY));
    ASSERT_GT(at, 0);
    EXPECT_EQ(renderer_.calls[at - 1], "clip 10 20 390 25");
    EXPECT_EQ(renderer_.calls[at + 1], "clip off");
}

TEST_F(Widgets, ButtonRunsItsCommandsOnlyWhenReleasedOverIt) {
    CommandSink* sink = Add(new CommandSink(), 0, 0, 300, 200);
    dir_.WriteFile("test/scripts/b.txt", "Button\n{\nname \"b\"\nposition 20 20\nglobal_command \"testcmd\"\n"
                                         "panel_command \"apply\"\npressed_color 1 2 3\nregular_color 4 5 6 7\n}\n");
    sink->LoadFromFile("./test/scripts/b.txt");
    Button* button = static_cast<Button*>(sink->FindChild("b"));
    ASSERT_NE(button, nullptr);
    Settle(2);
    Step(30, 30, false);
    Step(30, 30, true);
    EXPECT_EQ(button->backgroundColor.r, 1) << "pressed colour";
    EXPECT_EQ(button->backgroundColor.a, 255) << "alpha defaults";
    Step(30, 30, false);
    EXPECT_EQ(button->backgroundColor.g, 5);
    EXPECT_EQ(g_commandQueue, std::vector<std::string>{"testcmd"});
    EXPECT_EQ(sink->received, std::vector<std::string>{"apply"});
    Step(30, 30, true);
    Step(250, 150, true);
    Step(250, 150, false);
    EXPECT_EQ(g_commandQueue.size() + sink->received.size(), 2u) << "released elsewhere runs nothing";
    EXPECT_EQ(button->backgroundColor.r, 4);
    button->Unfocus();
    button->enabled = false;
    button->OnMousePressed();
    EXPECT_EQ(button->backgroundColor.r, 1) << "a disabled button still shows the press";
    EXPECT_FALSE(button->focused);
}

TEST_F(Widgets, ToggleFlipsBeforeItsCommandsFormKeepsItsBarsAndTheFactoryKnowsTheTypes) {
    ToggleButton* toggle = Add(static_cast<ToggleButton*>(CreateWidget("ToggleButton")), 50, 50);
    Settle(2);
    EXPECT_EQ(toggle->width, 16);
    toggle->globalCommand = "testcmd";
    for (const char* mark : {"X", ""}) {
        Click(55, 55);
        EXPECT_EQ(toggle->checked, *mark != '\0');
        EXPECT_EQ(toggle->text, mark);
    }
    EXPECT_EQ(g_commandQueue.size(), 2u) << "each click runs the commands";
    toggle->SetChecked(true);
    EXPECT_EQ(g_commandQueue.size(), 2u) << "SetChecked runs nothing";

    Form* form = Add(new Form("f"), 50, 50);
    form->SetProperty("size", "300 120");
    EXPECT_EQ(form->closeButton->x, 250);
    EXPECT_EQ(form->grabBar->width, 250);
    EXPECT_EQ(form->grabBar->text, "f");
    EXPECT_EQ(form->closeButton->panelCommand, "close_panel");
    for (const char* name :
         {"Panel", "GrabBar", "ImagePanel", "Label", "Button", "ToggleButton", "TextBox", "RichTextBox"}) {
        std::unique_ptr<Panel> widget(CreateWidget(name));
        ASSERT_NE(widget, nullptr) << name;
        EXPECT_EQ(widget->name, name);
    }
    EXPECT_NE(dynamic_cast<TextBox*>(std::unique_ptr<Panel>(CreateWidget("TextBox")).get()), nullptr);
    EXPECT_NE(dynamic_cast<RichTextBox*>(std::unique_ptr<Panel>(CreateWidget("RichTextBox")).get()), nullptr);
    EXPECT_EQ(CreateWidget("button"), nullptr);
    EXPECT_EQ(CreateWidget("Form"), nullptr);
}

class TestCommands : public Widgets {
protected:
    void SetUp() override {
        Widgets::SetUp();
        g_windowWidth = 640;
        g_windowHeight = 480;
        CreateRootPanel();
    }
    static size_t RootChildren(const char* name) {
        size_t count = 0;
        for (Panel* child : g_rootPanel->childrenDirty ? g_rootPanel->pendingChildren : g_rootPanel->children) {
            count += (child && child->name == name) ? 1 : 0;
        }
        return count;
    }
};

TEST_F(TestCommands, CountsAndDestroyLeaveAlonePanelsTheUserClosed) {
    for (const char* line : {"test_create_panel 0", "test_create_panel many", "test_create_panel -3"}) {
        g_commandSystem->Execute(line);
    }
    EXPECT_EQ(RootChildren("test_panel"), 2u) << "0 and a non-number make one each, a negative count none";
    g_commandSystem->Execute("test_create_form 3");
    g_rootPanel->Update();
    g_testPanels[3]->HandleCommand("close_panel");
    g_rootPanel->Update();
    EXPECT_EQ(g_testPanels.size(), 4u) << "the closed form left the list";
    // Under the address sanitizer, touching the closed form here would fail the test.
    g_commandSystem->Execute("test_destroy_panel");
    EXPECT_TRUE(g_testPanels.empty());
    EXPECT_EQ(RootChildren("test_form"), 2u) << "freed at the root's next update";
    g_rootPanel->Update();
    EXPECT_EQ(RootChildren("test_form") + RootChildren("test_panel"), 0u);
    g_rootPanel->HideLayer(kLayerMenus);
    g_commandSystem->Execute("show_mainmenu");
    EXPECT_TRUE(g_rootPanel->GetLayer(kLayerMenus)->visible);
    DestroyRootPanel();
}

}  // namespace
