#include "app/fps_counter.h"
#include "app/main_menu.h"
#include "app/options_menu.h"
#include "console/console_panel.h"
#include "render/renderer_backend.h"
#include "support/ui_driver.h"
#include "ui/button.h"
#include "ui/rich_text_box.h"
#include "ui/text_box.h"
#include "ui/toggle_button.h"

namespace {

class AppPanels : public InterfaceTest {
protected:
    AppPanels() : InterfaceTest(1280, 720) {}
    void Submit(const std::string& line) {
        g_inputSystem->textInput = line;
        Press({SDL_SCANCODE_RETURN});
    }
    // Submitted, then the queue runs as at the end of a frame and the log takes the output.
    void Run(const std::string& line) {
        Submit(line);
        g_commandSystem->ExecuteQueue();
        Settle();
    }
    static bool LogHas(const std::string& text) {
        const std::vector<RichTextLine>& lines = g_consolePanel->log->lines;
        return std::any_of(lines.begin(), lines.end(), [&](const RichTextLine& l) { return l.text == text; });
    }
    void OpenOptions() {
        g_commandSystem->Execute("open_optionsmenu");
        Settle();
    }
};

TEST_F(AppPanels, MainMenuStaysCentredAndItsButtonsRunTheirCommands) {
    ASSERT_NE(g_mainMenu, nullptr);
    EXPECT_EQ(g_mainMenu->parent, g_rootPanel->GetLayer(kLayerMenus));
    EXPECT_EQ(g_mainMenu->x, 390);
    EXPECT_EQ(g_mainMenu->y, 210);
    ClickOn(g_mainMenu->newProjectButton);
    ClickOn(g_mainMenu->FindChild("mm_quit"));
    EXPECT_EQ(g_commandQueue, (std::vector<std::string>{"create_project", "quit"}));
    g_mainMenu->HandleCommand("close_panel");
    Settle();
    EXPECT_EQ(g_mainMenu, nullptr) << "closed and freed by its layer";
}

TEST_F(AppPanels, ToolFpsSwitchesTheRightAlignedReadout) {
    FPSCounter* fps = g_fpsCounter;
    EXPECT_EQ(fps->parent, g_rootPanel->GetLayer(kLayerToolsOverlay));
    const struct { const char* toolFps; int rate; bool background; const char* text; } steps[] = {
        {"1", 60, false, "60 FPS"}, {"2", 61, true, "61 FPS"}, {"1", 61, false, "61 FPS"}, {"-1", 7, false, "61 FPS"},
        {"3", -7, false, "-7 FPS"}};
    for (const auto& step : steps) {
        SCOPED_TRACE(step.toolFps);
        g_fps = step.rate;
        cv_tool_fps.SetString(step.toolFps);
        Settle(2);
        EXPECT_TRUE(fps->visible);
        EXPECT_EQ(fps->drawBackground, step.background);
        EXPECT_EQ(fps->text, step.text);
        EXPECT_EQ(fps->x + fps->width, fps->parent->width);
    }
    cv_tool_fps.SetString("0");
    EXPECT_FALSE(fps->visible);
}

TEST_F(AppPanels, ConsoleSubmitsToCvarsOrCommandsWalksItsHistoryAndPagesItsLog) {
    ConsolePanel* con = g_consolePanel;
    EXPECT_EQ(con->parent, g_rootPanel->GetLayer(kLayerTools));
    Press({SDL_SCANCODE_GRAVE});
    Settle();
    ASSERT_TRUE(con->visible);
    EXPECT_TRUE(g_inputSystem->wantTextInput) << "the input box takes the typing";
    Submit("frame_delay 10");
    EXPECT_EQ(cv_frame_delay.intValue, 10);
    EXPECT_TRUE(LogHas(">frame_delay 10"));
    Submit("testcmd");
    EXPECT_EQ(g_commandQueue, std::vector<std::string>{"testcmd"}) << "and only there: a cvar line queues nothing";
    Submit("clear");
    EXPECT_EQ(con->log->lines.size(), 1u);
    Type("draft");
    const int up = SDL_SCANCODE_UP, down = SDL_SCANCODE_DOWN;
    const struct { int key; const char* shown; } walk[] = {
        {up, "clear"}, {up, "testcmd"}, {up, "frame_delay 10"}, {up, "frame_delay 10"}, {down, "testcmd"},
        {down, "clear"}, {down, "draft"}, {down, "draft"}};
    for (const auto& step : walk) {
        Press({step.key});
        EXPECT_EQ(con->input->text, step.shown);
        EXPECT_EQ(con->input->cursor, static_cast<int32_t>(con->input->text.size()));
    }
    Press({SDL_SCANCODE_GRAVE});
    EXPECT_FALSE(con->visible);
    EXPECT_FALSE(g_inputSystem->wantTextInput);
    ConMsg("printed while hidden\n");
    Settle();
    EXPECT_TRUE(LogHas("printed while hidden"));
    Press({SDL_SCANCODE_GRAVE}, {SDL_SCANCODE_LALT});
    Press({SDL_SCANCODE_GRAVE}, {SDL_SCANCODE_LALT});
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

    // Lines typed and run behave as they always have; the page keys scroll the log.
    Press({SDL_SCANCODE_GRAVE});
    Settle();
    con->input->SetText("");
    g_commandQueue.clear();
    for (const char* line : {"clear", "list_cmd", "window_width", "nosuch thing"}) Run(line);
    std::vector<std::string> lines;
    for (const RichTextLine& line : con->log->lines) lines.push_back(line.text);
    EXPECT_EQ(lines, (std::vector<std::string>{">list_cmd", "Commands:", "exit/quit - closes the application",
                                               "show_mainmenu - shows the main application menu",
                                               "open_optionsmenu - opens the options menu", ">window_width",
                                               ">nosuch thing", "Unknown command: nosuch", ""}));
    EXPECT_EQ(cv_window_width.value, "");

    Run("help");
    RichTextBox* log = con->log;
    const int32_t bottom = log->firstVisibleLine;
    const int32_t page = (log->height - log->marginY) / log->lineHeight;
    Press({SDL_SCANCODE_PAGEUP});
    EXPECT_EQ(log->firstVisibleLine, bottom - page);
    Press({SDL_SCANCODE_PAGEDOWN});
    Press({SDL_SCANCODE_PAGEDOWN});
    EXPECT_EQ(log->firstVisibleLine, bottom) << "never below the last page";
}

TEST_F(AppPanels, OptionsShowTheCvarsOkAndApplyWriteFirstWordsCloseAndCancelDiscardEdits) {
    OptionsMenu* menu = g_optionsMenu;
    cv_viewport_autoscale.SetString("1");
    cv_viewport_scale.SetString("1.25");
    menu->scaleBox->SetText("stale");
    g_rootPanel->HideLayer(kLayerMenus);
    OpenOptions();
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

    const char* const cases[][4] = {{"1.5 more words", " 7 ms", "1.5", "7"}, {"", "", "", ""}};
    for (const auto& c : cases) {
        OpenOptions();
        menu->clearToggle->SetChecked(false);
        menu->scaleBox->SetText(c[0]);
        menu->frameDelayBox->SetText(c[1]);
        ClickOn(menu->okButton);
        EXPECT_FALSE(menu->visible);
        EXPECT_EQ(cv_viewport_scale.value, c[2]);
        EXPECT_EQ(cv_frame_delay.value, c[3]);
        EXPECT_EQ(cv_render_clear.intValue, 0);
    }
    OpenOptions();
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
    OpenOptions();
    Button* button = g_optionsMenu->rendererButton;
    EXPECT_EQ(button->text, "RecordingRenderer");
    renderer_.name = "SDLRenderer";
    for (const char* shown : {"GLRenderer", "SDLRenderer", "GLRenderer"}) {
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
