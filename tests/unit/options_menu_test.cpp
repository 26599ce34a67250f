#include <gtest/gtest.h>

#include <string>

#include "app/options_menu.h"
#include "console/command_system.h"
#include "console/cvars.h"
#include "engine/engine.h"
#include "render/renderer.h"
#include "support/engine_fixture.h"
#include "support/ui_driver.h"
#include "ui/button.h"
#include "ui/root_panel.h"
#include "ui/text_box.h"
#include "ui/toggle_button.h"

namespace {

class OptionsMenuTest : public InterfaceTest {
protected:
    OptionsMenuTest() : InterfaceTest(800, 600) {}
    void SetUp() override {
        InterfaceTest::SetUp();
        menu_ = g_optionsMenu;
    }
    void Open() {
        g_commandSystem->Execute("open_optionsmenu");
        Settle();
    }

    OptionsMenu* menu_ = nullptr;
};

TEST_F(OptionsMenuTest, OpensCentredWithTheCvarsAndCloseDiscardsEdits) {
    ASSERT_FALSE(menu_->visible);
    cv_viewport_autoscale.SetString("1");
    cv_viewport_scale.SetString("1.25");
    menu_->scaleBox->SetText("stale");
    Open();
    EXPECT_TRUE(g_rootPanel->GetLayer(kLayerMenus)->visible && menu_->visible && menu_->focused);
    EXPECT_EQ(menu_->screenX, 225);
    EXPECT_EQ(menu_->y, 100);
    EXPECT_TRUE(menu_->autoscaleToggle->checked);
    EXPECT_EQ(menu_->scaleBox->text, "1.25");
    EXPECT_EQ(menu_->scaleBox->cursor, 4);

    menu_->scaleBox->SetText("4");
    menu_->autoscaleToggle->SetChecked(false);
    ClickOn(menu_->closeButton);
    Settle();
    EXPECT_EQ(g_optionsMenu, menu_) << "hidden, not destroyed";
    EXPECT_FALSE(menu_->visible);
    EXPECT_EQ(cv_viewport_scale.value, "1.25");
    EXPECT_EQ(menu_->scaleBox->text, "1.25");
    EXPECT_TRUE(menu_->autoscaleToggle->checked);
}

TEST_F(OptionsMenuTest, OkWritesFirstWordsAndCancelAfterApplyKeepsTheApplied) {
    const struct {
        const char *scale, *delay, *scaleWritten, *delayWritten;
    } cases[] = {{"1.5 more words", " 7 ms", "1.5", "7"}, {"", "", "", ""}};
    for (const auto& c : cases) {
        Open();
        menu_->clearToggle->SetChecked(false);
        menu_->scaleBox->SetText(c.scale);
        menu_->frameDelayBox->SetText(c.delay);
        ClickOn(menu_->okButton);
        EXPECT_FALSE(menu_->visible);
        EXPECT_EQ(cv_viewport_scale.value, c.scaleWritten);
        EXPECT_EQ(cv_frame_delay.value, c.delayWritten);
        EXPECT_EQ(cv_render_clear.intValue, 0);
    }
    Open();
    menu_->scaleBox->SetText("2");
    ClickOn(menu_->applyButton);
    EXPECT_TRUE(menu_->visible);
    menu_->scaleBox->SetText("3");
    ClickOn(menu_->cancelButton);
    EXPECT_FALSE(menu_->visible);
    EXPECT_EQ(cv_viewport_scale.value, "2");
}

TEST_F(OptionsMenuTest, RendererButtonTurnsRedOnlyForAnotherRenderer) {
    selectedRendererIndex = 0;
    Open();
    Button* button = menu_->rendererButton;
    EXPECT_EQ(button->text, "RecordingRenderer");
    renderer_.name = "SDLRenderer";
    const struct {
        const char* shown;
    } presses[] = {{"GLRenderer"}, {"SDLRenderer"}, {"GLRenderer"}};
    for (const auto& p : presses) {
        ClickOn(button);
        const bool running = std::string(p.shown) == "SDLRenderer";
        EXPECT_EQ(button->text, p.shown);
        EXPECT_EQ(cv_renderer_type.value, p.shown);
        EXPECT_EQ(button->normalColor.r, running ? 150 : 200) << p.shown;
        EXPECT_EQ(button->pressedColor.r, running ? 112 : 160) << p.shown;
        EXPECT_EQ(button->backgroundColor.g, running ? 150 : 10) << p.shown;
    }
}

}  // namespace
