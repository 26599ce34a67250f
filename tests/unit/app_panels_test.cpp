#include <SDL.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <initializer_list>
#include <string>
#include <vector>

#include "app/fps_counter.h"
#include "app/main_menu.h"
#include "app/options_menu.h"
#include "console/command_system.h"
#include "console/console_panel.h"
#include "console/cvars.h"
#include "engine/console_output.h"
#include "engine/engine.h"
#include "input/input_system.h"
#include "render/renderer.h"
#include "support/ui_driver.h"
#include "ui/button.h"
#include "ui/rich_text_box.h"
#include "ui/root_panel.h"
#include "ui/text_box.h"
#include "ui/toggle_button.h"

namespace {

class AppPanels : public InterfaceTest {
protected:
    AppPanels() : InterfaceTest(1280, 720) {}
    void Frame(std::initializer_list<int> keys = {}, const std::string& typed = "") {
        InputSystem* in = g_inputSystem;
        for (int key : keys) {
            in->keysPressed[key] = in->keysPressedNoRepeat[key] = in->keysHeld[key] = 1;
        }
        in->textInput = typed;
        g_rootPanel->Update();
        for (int key : keys) {
            in->keysPressed[key] = in->keysPressedNoRepeat[key] = in->keysHeld[key] = 0;
        }
    }
    static bool LogHas(const std::string& text) {
        const std::vector<RichTextLine>& lines = g_consolePanel->log->lines;
        return std::any_of(lines.begin(), lines.end(), [&](const RichTextLine& l) { return l.text == text; });
    }
};

TEST_F(AppPanels, MainMenuStaysCentredAndItsButtonsRunTheirCommands) {
    ASSERT_NE(g_mainMenu, nullptr);
    EXPECT_EQ(g_mainMenu->parent, g_rootPanel->GetLayer(kLayerMenus));
    EXPECT_TRUE(g_mainMenu->visible);
    EXPECT_EQ(g_mainMenu->x, 390);
    EXPECT_EQ(g_mainMenu->y, 210);

    ClickOn(g_mainMenu->newProjectButton);
    ClickOn(g_mainMenu->FindChild("mm_quit"));
    EXPECT_EQ(g_commandQueue, (std::vector<std::string>{"create_project", "quit"}));
    g_mainMenu->HandleCommand("cmd_submit");
    EXPECT_EQ(g_consoleText, "");
    g_mainMenu->HandleCommand("close_panel");
    Frame();
    EXPECT_EQ(g_mainMenu, nullptr) << "closed and freed by its layer";
}

TEST_F(AppPanels, ToolFpsSwitchesTheRightAlignedReadout) {
    FPSCounter* fps = g_fpsCounter;
    ASSERT_NE(fps, nullptr);
    EXPECT_EQ(fps->parent, g_rootPanel->GetLayer(kLayerToolsOverlay));
    EXPECT_FALSE(fps->visible);
    const struct {
        const char* toolFps;
        int rate;
        bool background;
        const char* text;
    } steps[] = {{"1", 60, false, "60 FPS"}, {"2", 61, true, "61 FPS"}, {"1", 61, false, "61 FPS"},
                 {"-1", 7, false, "61 FPS"}, {"3", -7, false, "-7 FPS"}};
    for (const auto& step : steps) {
        SCOPED_TRACE(step.toolFps);
        g_fps = step.rate;
        cv_tool_fps.SetString(step.toolFps);
        Frame();
        Frame();
        EXPECT_TRUE(fps->visible);
        EXPECT_EQ(fps->drawBackground, step.background);
        EXPECT_EQ(fps->text, step.text);
        EXPECT_EQ(fps->x + fps->width, fps->parent->width);
    }
    cv_tool_fps.SetString("0");
    EXPECT_FALSE(fps->visible);
}

TEST_F(AppPanels, ConsoleSubmitsToCvarsOrCommandsAndWalksItsHistory) {
    ConsolePanel* con = g_consolePanel;
    ASSERT_NE(con, nullptr);
    EXPECT_EQ(con->parent, g_rootPanel->GetLayer(kLayerTools));
    EXPECT_FALSE(con->visible);
    Frame({SDL_SCANCODE_GRAVE});
    Frame();
    ASSERT_TRUE(con->visible);
    EXPECT_TRUE(g_inputSystem->wantTextInput) << "the input box takes the typing";

    Frame({SDL_SCANCODE_RETURN}, "frame_delay 10");
    EXPECT_EQ(cv_frame_delay.intValue, 10);
    EXPECT_TRUE(LogHas(">frame_delay 10"));
    EXPECT_TRUE(g_commandQueue.empty());
    Frame({SDL_SCANCODE_RETURN}, "testcmd");
    EXPECT_EQ(g_commandQueue, std::vector<std::string>{"testcmd"});
    Frame({SDL_SCANCODE_RETURN}, "clear");
    EXPECT_EQ(con->log->lines.size(), 1u);

    Frame({}, "draft");
    const int up = SDL_SCANCODE_UP, down = SDL_SCANCODE_DOWN;
    const struct {
        int key;
        const char* shown;
    } walk[] = {{up, "clear"},   {up, "testcmd"},   {up, "frame_delay 10"}, {up, "frame_delay 10"},
                {down, "testcmd"}, {down, "clear"}, {down, "draft"},        {down, "draft"}};
    for (const auto& step : walk) {
        Frame({step.key});
        EXPECT_EQ(con->input->text, step.shown);
        EXPECT_EQ(con->input->cursor, static_cast<int32_t>(con->input->text.size()));
    }

    Frame({SDL_SCANCODE_GRAVE});
    EXPECT_FALSE(con->visible);
    EXPECT_FALSE(g_inputSystem->wantTextInput);
    ConMsg("printed while hidden\n");
    Frame();
    EXPECT_TRUE(LogHas("printed while hidden"));

    Frame({SDL_SCANCODE_GRAVE, SDL_SCANCODE_LALT});
    Frame({SDL_SCANCODE_GRAVE, SDL_SCANCODE_LALT});
    EXPECT_TRUE(con->visible) << "Alt+grave leaves it open";
    con->HandleCommand("close_panel");
    EXPECT_FALSE(con->visible);
    con->x = -5000;
    g_commandSystem->Execute("show_console");
    EXPECT_TRUE(con->visible);
    EXPECT_EQ(con->x, 100) << "brought back on screen";

    ClickOn(con->log);
    EXPECT_TRUE(con->visible);
    Click(5, 5);
    EXPECT_FALSE(con->visible) << "a click elsewhere takes the focus, which hides the console";
    EXPECT_FALSE(g_inputSystem->wantTextInput);
}

TEST_F(AppPanels, OptionsOpenCentredWithTheCvarsAndCloseDiscardsEdits) {
    OptionsMenu* menu = g_optionsMenu;
    ASSERT_FALSE(menu->visible);
    cv_viewport_autoscale.SetString("1");
    cv_viewport_scale.SetString("1.25");
    menu->scaleBox->SetText("stale");
    g_rootPanel->HideLayer(kLayerMenus);
    g_commandSystem->Execute("open_optionsmenu");
    Settle();
    EXPECT_TRUE(g_rootPanel->GetLayer(kLayerMenus)->visible);
    EXPECT_TRUE(menu->focused);
    EXPECT_EQ(menu->screenX, (1280 - 350) / 2);
    EXPECT_EQ(menu->y, (720 - 400) / 2);
    EXPECT_TRUE(menu->autoscaleToggle->checked);
    EXPECT_EQ(menu->scaleBox->text, "1.25");
    EXPECT_EQ(menu->scaleBox->cursor, 4);

    menu->scaleBox->SetText("4");
    menu->autoscaleToggle->SetChecked(false);
    ClickOn(menu->closeButton);
    Settle();
    EXPECT_EQ(g_optionsMenu, menu) << "hidden, not destroyed";
    EXPECT_FALSE(menu->visible);
    EXPECT_EQ(cv_viewport_scale.value, "1.25");
    EXPECT_EQ(menu->scaleBox->text, "1.25");
    EXPECT_TRUE(menu->autoscaleToggle->checked);
}

TEST_F(AppPanels, OptionsOkWritesFirstWordsAndCancelAfterApplyKeepsTheApplied) {
    OptionsMenu* menu = g_optionsMenu;
    const struct {
        const char *scale, *delay, *scaleWritten, *delayWritten;
    } cases[] = {{"1.5 more words", " 7 ms", "1.5", "7"}, {"", "", "", ""}};
    for (const auto& c : cases) {
        g_commandSystem->Execute("open_optionsmenu");
        Settle();
        menu->clearToggle->SetChecked(false);
        menu->scaleBox->SetText(c.scale);
        menu->frameDelayBox->SetText(c.delay);
        ClickOn(menu->okButton);
        EXPECT_FALSE(menu->visible);
        EXPECT_EQ(cv_viewport_scale.value, c.scaleWritten);
        EXPECT_EQ(cv_frame_delay.value, c.delayWritten);
        EXPECT_EQ(cv_render_clear.intValue, 0);
    }
    g_commandSystem->Execute("open_optionsmenu");
    Settle();
    menu->scaleBox->SetText("2");
    ClickOn(menu->applyButton);
    EXPECT_TRUE(menu->visible);
    menu->scaleBox->SetText("3");
    ClickOn(menu->cancelButton);
    EXPECT_FALSE(menu->visible);
    EXPECT_EQ(cv_viewport_scale.value, "2");
}

TEST_F(AppPanels, OptionsRendererButtonTurnsRedOnlyForAnotherRenderer) {
    selectedRendererIndex = 0;
    g_commandSystem->Execute("open_optionsmenu");
    Settle();
    Button* button = g_optionsMenu->rendererButton;
    EXPECT_EQ(button->text, "RecordingRenderer");
    renderer_.name = "SDLRenderer";
    const char* const presses[] = {"GLRenderer", "SDLRenderer", "GLRenderer"};
    for (const char* shown : presses) {
        ClickOn(button);
        const bool running = std::string(shown) == "SDLRenderer";
        EXPECT_EQ(button->text, shown);
        EXPECT_EQ(cv_renderer_type.value, shown);
        EXPECT_EQ(button->normalColor.r, running ? 150 : 200) << shown;
        EXPECT_EQ(button->pressedColor.r, running ? 112 : 160) << shown;
        EXPECT_EQ(button->backgroundColor.g, running ? 150 : 10) << shown;
    }
}

}  // namespace
