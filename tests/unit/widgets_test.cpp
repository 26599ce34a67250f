#include <memory>

#include "app/test_panels.h"
#include "console/command_system.h"
#include "resources/font_system.h"
#include "support/ui_driver.h"
#include "ui/button.h"
#include "ui/form.h"
#include "ui/grab_bar.h"
#include "ui/rich_text_box.h"
#include "ui/root_panel.h"
#include "ui/text_box.h"
#include "ui/toggle_button.h"
#include "ui/widget_factory.h"

namespace {

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
