#include <SDL.h>
#include <SDL_ttf.h>
#include <gtest/gtest.h>

#include <cstddef>
#include <cstdlib>
#include <filesystem>
#include <memory>
#include <string>
#include <vector>

#include "console/command_system.h"
#include "console/panel_commands.h"
#include "engine/engine.h"
#include "input/input_system.h"
#include "render/renderer.h"
#include "resources/font_system.h"
#include "resources/texture_mgr.h"
#include "support/engine_fixture.h"
#include "support/recording_renderer.h"
#include "ui/button.h"
#include "ui/form.h"
#include "ui/grab_bar.h"
#include "ui/image_panel.h"
#include "ui/label.h"
#include "ui/root_panel.h"
#include "ui/toggle_button.h"
#include "ui/widget_factory.h"

// Hosts derive from the widgets and read their fields: each class's fields start where its base ends.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Winvalid-offsetof"
static_assert(offsetof(Label, text) == sizeof(Panel), "label fields follow the panel");
static_assert(offsetof(Label, fontPath) == offsetof(Label, text) + sizeof(std::string), "font path after text");
static_assert(offsetof(Label, fontSize) == offsetof(Label, fontName) + sizeof(std::string), "size after font name");
static_assert(offsetof(Label, fontBackColor) == offsetof(Label, fontColor) + 4, "two colour words in a row");
static_assert(offsetof(Label, autoSize) == offsetof(Label, fontBackColor) + 4, "autoSize after the font");
static_assert(offsetof(Label, textHeight) == offsetof(Label, fontId) + 16, "offsets and sizes after the font id");
static_assert(offsetof(Button, globalCommand) == sizeof(Label), "button fields follow the label");
static_assert(offsetof(Button, normalColor) == offsetof(Button, pressedColor) + 4, "pressed colour, then normal");
static_assert(offsetof(ToggleButton, checked) == sizeof(Button), "toggle state follows the button");
static_assert(offsetof(GrabBar, grabOffsetX) == sizeof(Button), "grab offsets follow the button");
static_assert(offsetof(ImagePanel, texture) == sizeof(Panel), "image handle follows the panel");
static_assert(offsetof(Form, grabBar) == sizeof(Panel), "form children follow the panel");
#pragma GCC diagnostic pop

namespace {

// Widgets in a plain top panel, drawn into a recording renderer; fonts come from the asset copy.
class Widgets : public ::testing::Test {
protected:
    void SetUp() override {
        ASSERT_EQ(TTF_Init(), 0);
        *g_inputSystem = InputSystem();
        g_commandQueue.clear();
        top_ = new Panel("top");
        top_->width = 400;
        top_->height = 300;
    }
    void TearDown() override {
        top_->Destroy();
        g_commandQueue.clear();
        TTF_Quit();
    }
    void Frame(int x, int y, bool down) {
        g_inputSystem->mouseX = x;
        g_inputSystem->mouseY = y;
        g_inputSystem->mouseButtons = down ? SDL_BUTTON_LMASK : 0;
        top_->Update();
    }
    void Click(int x, int y) {
        Frame(x, y, false);
        Frame(x, y, true);
        Frame(x, y, false);
    }
    // Panels attached during a frame join from the next one, a level deeper one frame later still.
    void Settle() {
        Frame(-1, -1, false);
        Frame(-1, -1, false);
    }
    template <typename T>
    T* Add(T* widget, int x, int y) {
        widget->x = x;
        widget->y = y;
        top_->AddChild(widget);
        Settle();
        return widget;
    }
    // The log from the first line equal to `from`, `count` lines long.
    std::vector<std::string> CallsFrom(const std::string& from, size_t count) {
        const int start = renderer_.IndexOf(from);
        if (start < 0) {
            return {"no line " + from};
        }
        const size_t end = std::min(renderer_.calls.size(), static_cast<size_t>(start) + count);
        return std::vector<std::string>(renderer_.calls.begin() + start, renderer_.calls.begin() + end);
    }

    TempWorkDir dir_;
    RecordingRenderer renderer_;
    ScopedRenderer scoped_{&renderer_};
    Panel* top_ = nullptr;
};

// Receives panel commands.
class CommandSink : public Panel {
public:
    CommandSink() : Panel("sink") {}
    void HandleCommand(const std::string& text) override { received.push_back(text); }
    std::vector<std::string> received;
};

TEST_F(Widgets, LabelSizesToTextAndButtonCentresIt) {
    Label* label = Add(new Label("label"), 0, 0);
    ASSERT_NE(label->fontId, kNoFont) << "the default font loads";
    FontRecord* font = g_fontSystem->GetFont(static_cast<int>(label->fontId));
    ASSERT_NE(font, nullptr);
    EXPECT_EQ(font->name, "OpenSans-Regular");
    EXPECT_EQ(font->size, 20);
    EXPECT_FALSE(label->enabled);
    label->SetText("Hello");
    const TextSize measured = g_fontSystem->MeasureText("Hello", font);
    EXPECT_EQ(label->width, measured.width);
    EXPECT_EQ(label->height, measured.height);
    EXPECT_EQ(label->textOffsetX, 0);

    Button* button = Add(new Button("button"), 10, 20);
    button->SetText("A text far wider than seventy-five pixels");
    EXPECT_EQ(button->width, 75) << "buttons keep their size";
    EXPECT_LT(button->textOffsetX, 0);
    EXPECT_EQ(button->textOffsetY, (25 - button->textHeight) / 2);
    button->SetProperty("size", "401 25");
    EXPECT_EQ(button->textOffsetX, (401 - button->textWidth) / 2) << "resizing re-centres";

    // The text is drawn at its offset, clipped to the button.
    Frame(0, 0, false);
    top_->Draw();
    const std::string clip = "clip 10 20 390 25";
    const std::vector<std::string> text = renderer_.Matching("text ");
    ASSERT_EQ(text.size(), 2u);
    EXPECT_EQ(text[1], "text " + std::to_string(button->fontId) + " " + button->text + " " +
                           std::to_string(10 + button->textOffsetX) + " " + std::to_string(20 + button->textOffsetY));
    const int at = renderer_.IndexOf(text[1]);
    EXPECT_EQ(renderer_.calls[at - 1], clip);
    EXPECT_EQ(renderer_.calls[at + 1], "clip off");

    const uint32_t before = label->fontId;
    label->SetProperty("font_size", "big");
    EXPECT_EQ(label->fontId, before) << "a size that is not a number changes nothing";
    label->SetProperty("font_size", "30");
    EXPECT_NE(label->fontId, before);
    EXPECT_EQ(g_fontSystem->GetFont(static_cast<int>(label->fontId))->size, 30);
    label->SetProperty("scale_with_font", "0");
    label->SetText("Hello again");
    EXPECT_EQ(label->width, measured.width) << "without autoSize the label keeps its size";
}

TEST_F(Widgets, ButtonClickRunsGlobalThenPanelCommand) {
    CommandSink* sink = Add(new CommandSink(), 0, 0);
    sink->width = 300;
    sink->height = 200;
    dir_.WriteFile("test/scripts/b.txt",
                   "Button\n{\nname \"b\"\nposition 20 20\nglobal_command \"testcmd\"\n"
                   "panel_command \"apply\"\npressed_color 1 2 3\nregular_color 4 5 6 7\n}\n");
    sink->LoadFromFile("./test/scripts/b.txt");
    Button* button = static_cast<Button*>(sink->FindChild("b"));
    ASSERT_NE(button, nullptr);
    Settle();

    Frame(30, 30, false);
    Frame(30, 30, true);
    EXPECT_EQ(button->backgroundColor.r, 1);
    EXPECT_EQ(button->backgroundColor.a, 255) << "missing numbers take their defaults";
    Frame(30, 30, false);
    EXPECT_EQ(button->backgroundColor.g, 5);
    ASSERT_EQ(g_commandQueue.size(), 1u);
    EXPECT_EQ(g_commandQueue[0], "testcmd");
    ASSERT_EQ(sink->received.size(), 1u);
    EXPECT_EQ(sink->received[0], "apply");

    // Released elsewhere: nothing runs and the colour returns.
    Frame(30, 30, true);
    Frame(250, 150, true);
    Frame(250, 150, false);
    EXPECT_EQ(g_commandQueue.size(), 1u);
    EXPECT_EQ(sink->received.size(), 1u);
    EXPECT_EQ(button->backgroundColor.r, 4);

    // An explicit target takes the panel command instead of the parent.
    CommandSink* other = Add(new CommandSink(), 350, 0);
    button->commandTarget = other;
    button->globalCommand.clear();
    Click(30, 30);
    EXPECT_EQ(other->received.size(), 1u);
    EXPECT_EQ(sink->received.size(), 1u);
    EXPECT_EQ(g_commandQueue.size(), 1u);

    // Disabled: shows the press, but neither raises nor takes focus.
    Button* idle = new Button("idle");
    sink->AddChild(idle);
    sink->AddChild(new Panel("front"));
    Frame(0, 0, false);
    idle->enabled = false;
    idle->OnMousePressed();
    EXPECT_EQ(idle->backgroundColor.r, 112);
    EXPECT_FALSE(idle->focused);
    EXPECT_FALSE(sink->childrenDirty) << "not raised";
    idle->OnMouseReleasedOutside();
    EXPECT_EQ(idle->backgroundColor.r, 150);
}

TEST_F(Widgets, ButtonBevelSinksAndImageFollowsState) {
    Button* button = Add(new Button("b"), 10, 20);
    button->releasedTexture = 5;
    Frame(0, 0, false);
    top_->Draw();
    const std::vector<std::string> released = {
        "clip 10 20 75 25",
        "fill 10 20 75 25 150 150 150 255",
        "line 10 20 10 43 135 135 135 255 w1",
        "line 11 20 83 20 135 135 135 255 w1",
        "line 10 44 84 44 64 64 64 255 w1",
        "line 84 20 84 44 64 64 64 255 w1",
        "clip off",
    };
    EXPECT_EQ(CallsFrom("clip 10 20 75 25", released.size()), released);
    // The image comes last, over the text.
    ASSERT_GE(renderer_.calls.size(), 4u);
    EXPECT_EQ(renderer_.calls[renderer_.calls.size() - 4], "clip 10 20 75 25");
    EXPECT_EQ(renderer_.calls[renderer_.calls.size() - 3], "texture 5 10 20 75 25 255 255 255 255");

    Frame(15, 25, false);
    Frame(15, 25, true);
    ASSERT_TRUE(button->pressed);
    renderer_.Reset();
    top_->Draw();
    EXPECT_GE(renderer_.IndexOf("line 10 20 10 43 64 64 64 255 w1"), 0) << "sunken while pressed";
    EXPECT_GE(renderer_.IndexOf("line 84 20 84 44 135 135 135 255 w1"), 0);
    EXPECT_GE(renderer_.IndexOf("texture 5 10 20 75 25 255 255 255 255"), 0) << "no pressed image: released one";
    button->pressedTexture = 7;
    renderer_.Reset();
    top_->Draw();
    EXPECT_GE(renderer_.IndexOf("texture 7 10 20 75 25 255 255 255 255"), 0);
    EXPECT_EQ(renderer_.Matching("texture 5").size(), 0u);

    // Without images no texture is drawn.
    button->pressedTexture = 0;
    button->releasedTexture = 0;
    renderer_.Reset();
    top_->Draw();
    EXPECT_EQ(renderer_.Matching("texture").size(), 0u);
}

TEST_F(Widgets, ToggleButtonFlipsBeforeItsCommands) {
    ToggleButton* toggle = Add(new ToggleButton("t"), 50, 50);
    EXPECT_EQ(toggle->width, 16);
    EXPECT_EQ(toggle->height, 16);
    toggle->globalCommand = "testcmd";
    Click(55, 55);
    EXPECT_TRUE(toggle->checked);
    EXPECT_EQ(toggle->text, "X");
    Click(55, 55);
    EXPECT_FALSE(toggle->checked);
    EXPECT_EQ(toggle->text, "");
    EXPECT_EQ(g_commandQueue.size(), 2u) << "each click runs the commands";
    toggle->SetChecked(true);
    EXPECT_EQ(toggle->text, "X");
    EXPECT_EQ(g_commandQueue.size(), 2u) << "SetChecked runs nothing";
}

TEST_F(Widgets, GrabBarDragsItsFormByTheMouseOffset) {
    // A form inside an offset container, behind another form.
    Panel* container = Add(new Panel("container"), 20, 10);
    container->width = 380;
    container->height = 290;
    Form* form = new Form("dragged");
    Form* cover = new Form("cover");
    container->AddChild(form);
    container->AddChild(cover);
    form->x = 30;
    form->y = 40;
    cover->x = 200;
    cover->y = 200;
    Settle();
    EXPECT_EQ(form->grabBar->text, "dragged");

    // Press 10, 5 into the grab bar (screen 50 + 10, 50 + 5), then move the mouse.
    Frame(60, 55, false);
    Frame(60, 55, true);
    ASSERT_TRUE(form->grabBar->dragging);
    EXPECT_EQ(form->grabBar->grabOffsetX, 10);
    EXPECT_EQ(form->grabBar->grabOffsetY, 5);
    EXPECT_EQ(container->children.back(), form) << "dragging raises the form";
    Frame(240, 230, true);
    EXPECT_EQ(form->x, 240 - 10 - 20);
    EXPECT_EQ(form->y, 230 - 5 - 10);
    EXPECT_EQ(form->screenX, 230);
    Frame(240, 230, false);
    EXPECT_FALSE(form->grabBar->dragging);
    Frame(100, 100, false);
    EXPECT_EQ(form->x, 210) << "no drag after the release";

    // Off screen is allowed, and a release outside the bar ends the drag too.
    Frame(235, 225, true);
    Frame(5, 5, true);
    EXPECT_EQ(form->x, -20);
    EXPECT_EQ(form->y, -5);
    form->grabBar->OnMouseReleasedOutside();
    EXPECT_FALSE(form->grabBar->dragging);
    EXPECT_EQ(form->grabBar->backgroundColor.b, 229);
}

TEST_F(Widgets, FormLaysOutAndClosesFromItsButton) {
    Form* form = Add(new Form("f"), 50, 50);
    EXPECT_EQ(form->width, 200);
    EXPECT_EQ(form->closeButton->x, 150);
    EXPECT_EQ(form->grabBar->width, 150);
    form->SetProperty("size", "300 120");
    EXPECT_EQ(form->closeButton->x, 250) << "the close button follows the right edge";
    EXPECT_EQ(form->grabBar->width, 250);
    EXPECT_EQ(form->closeButton->text, "Close");

    Click(50 + 260, 60);
    EXPECT_EQ(top_->FindChild("f"), nullptr) << "closed and freed by its parent's update";
    EXPECT_TRUE(top_->children.empty());
}

TEST_F(Widgets, FactoryMakesEachTypeByExactName) {
    const char* const names[] = {"Panel", "GrabBar", "ImagePanel", "Label", "Button", "ToggleButton"};
    for (const char* name : names) {
        std::unique_ptr<Panel> widget(CreateWidget(name));
        ASSERT_NE(widget, nullptr) << name;
        EXPECT_EQ(widget->name, name);
    }
    std::unique_ptr<Panel> toggle(CreateWidget("ToggleButton"));
    EXPECT_NE(dynamic_cast<ToggleButton*>(toggle.get()), nullptr);
    EXPECT_EQ(toggle->width, 16);
    std::unique_ptr<Panel> bar(CreateWidget("GrabBar"));
    EXPECT_NE(dynamic_cast<GrabBar*>(bar.get()), nullptr);
    EXPECT_EQ(CreateWidget("button"), nullptr);
    EXPECT_EQ(CreateWidget("Form"), nullptr);
    EXPECT_EQ(CreateWidget(""), nullptr);
}

TEST_F(Widgets, ImagePanelDrawsItsTextureTinted) {
    ImagePanel* image = Add(new ImagePanel("img"), 5, 6);
    image->backgroundColor = Color{10, 20, 30, 255};
    image->texture = 3;
    Frame(0, 0, false);
    top_->Draw();
    const std::vector<std::string> expected = {
        "clip 5 6 25 25", "fill 5 6 25 25 10 20 30 255", "clip off", "clip 5 6 25 25",
        "texture 3 5 6 25 25 10 20 30 255", "clip off"};
    EXPECT_EQ(CallsFrom("clip 5 6 25 25", expected.size()), expected);
    image->texture = 0;
    renderer_.Reset();
    top_->Draw();
    EXPECT_EQ(renderer_.Matching("texture").size(), 0u) << "handle 0 is no image";
}

// The test commands act on a real root panel.
class TestCommands : public Widgets {
protected:
    void SetUp() override {
        Widgets::SetUp();
        g_windowWidth = 640;
        g_windowHeight = 480;
        CreateRootPanel();
        g_rootPanel->width = 640;
        g_rootPanel->height = 480;
    }
    void TearDown() override {
        DestroyRootPanel();
        EXPECT_TRUE(g_testPanels.empty()) << "freed panels leave the list";
        Widgets::TearDown();
    }
    static void Run(const char* line) { g_commandSystem->Execute(line); }
    static size_t RootChildren(const char* name) {
        size_t count = 0;
        const std::vector<Panel*>& list =
            g_rootPanel->childrenDirty ? g_rootPanel->pendingChildren : g_rootPanel->children;
        for (Panel* child : list) {
            count += (child && child->name == name) ? 1 : 0;
        }
        return count;
    }
};

TEST_F(TestCommands, CreatePanelCountsAndPlacesFromRand) {
    std::srand(1);
    Run("test_create_panel 2");
    std::srand(1);
    ASSERT_EQ(g_testPanels.size(), 2u);
    for (Panel* panel : g_testPanels) {
        const int x = std::rand() % 641;
        const int y = std::rand() % 481;
        EXPECT_EQ(panel->name, "test_panel");
        EXPECT_EQ(panel->parent, g_rootPanel);
        EXPECT_EQ(panel->x, x);
        EXPECT_EQ(panel->y, y);
        EXPECT_EQ(panel->backgroundColor.r, x % 256);
        EXPECT_EQ(panel->backgroundColor.g, y % 256);
        EXPECT_EQ(panel->backgroundColor.b, (x + y) % 256);
    }
    Run("test_create_panel 0");
    Run("test_create_panel many");
    EXPECT_EQ(g_testPanels.size(), 4u) << "0 and a non-number make one each";
    Run("test_create_panel -3");
    EXPECT_EQ(g_testPanels.size(), 4u);
    EXPECT_EQ(RootChildren("test_panel"), 4u);
}

TEST_F(TestCommands, DestroyRemovesWhatIsLeftOfTheTestPanels) {
    Run("test_create_form 3");
    Run("test_create_panel");
    ASSERT_EQ(g_testPanels.size(), 4u);
    EXPECT_EQ(RootChildren("test_form"), 3u);
    g_rootPanel->Update();

    // The user closes one form; destroying the rest must not touch it.
    Form* closed = static_cast<Form*>(g_testPanels[1]);
    closed->HandleCommand("close_panel");
    g_rootPanel->Update();
    EXPECT_EQ(g_testPanels.size(), 3u);

    Run("test_destroy_panel");
    EXPECT_TRUE(g_testPanels.empty());
    EXPECT_EQ(RootChildren("test_form"), 2u) << "freed at the root's next update";
    g_rootPanel->Update();
    EXPECT_EQ(RootChildren("test_form"), 0u);
    EXPECT_EQ(RootChildren("test_panel"), 0u);
    EXPECT_NE(g_rootPanel->GetLayer(kLayerMenus)->parent, nullptr) << "the layers stay";
}

TEST_F(TestCommands, ShowMainMenuShowsTheMenusLayer) {
    g_rootPanel->HideLayer(kLayerMenus);
    Run("show_mainmenu");
    EXPECT_TRUE(g_rootPanel->GetLayer(kLayerMenus)->visible);
    g_rootPanel->HideLayer(kLayerMenus);
    Run("open_optionsmenu");
    EXPECT_TRUE(g_rootPanel->GetLayer(kLayerMenus)->visible);
}

// A real renderer, so the texture manager loads and counts a real texture.
class ImageTextures : public ::testing::Test {
protected:
    void SetUp() override {
        SDL_SetHint(SDL_HINT_RENDER_DRIVER, "software");
        // No GL context behind the window surface: the software renderer needs none.
        SDL_SetHint(SDL_HINT_FRAMEBUFFER_ACCELERATION, "0");
        ASSERT_EQ(SDL_Init(SDL_INIT_VIDEO), 0) << SDL_GetError();
        g_window = SDL_CreateWindow("images", 0, 0, 64, 64, SDL_WINDOW_HIDDEN);
        ASSERT_NE(g_window, nullptr) << SDL_GetError();
        g_renderer = NewSDLRenderer();
        ASSERT_TRUE(g_renderer && g_renderer->Init());
        g_renderer->SetBlendMode(SDL_BLENDMODE_BLEND);
        ASSERT_TRUE(g_textureMgr->Init());
        std::filesystem::create_directories("test/tex");
        // A plain green 4x4 image.
        SDL_Surface* surface = SDL_CreateRGBSurfaceWithFormat(0, 4, 4, 32, SDL_PIXELFORMAT_RGBA32);
        ASSERT_NE(surface, nullptr);
        SDL_FillRect(surface, nullptr, SDL_MapRGBA(surface->format, 0, 255, 0, 255));
        SDL_SaveBMP(surface, "test/tex/green.bmp");
        SDL_FreeSurface(surface);
    }
    void TearDown() override {
        g_textureMgr->Shutdown();
        delete g_renderer;
        g_renderer = nullptr;
        SDL_DestroyWindow(g_window);
        g_window = nullptr;
        SDL_Quit();
    }

    TempWorkDir dir_;
};

TEST_F(ImageTextures, ImagePanelsHoldTheirTextureUntilDestroyed) {
    Panel* top = new Panel("top");
    top->width = 64;
    top->height = 64;
    ImagePanel* first = new ImagePanel("a");
    ImagePanel* second = new ImagePanel("b");
    top->AddChild(first);
    top->AddChild(second);
    first->SetProperty("texture", "green.bmp");
    second->SetTexture("./green.bmp");
    ASSERT_GT(first->texture, 0);
    EXPECT_EQ(second->texture, first->texture) << "one entry for both";
    Texture* entry = g_textureMgr->GetTexture(first->texture);
    EXPECT_EQ(entry->refCount, 2);

    // Tinted by the background: green 255 scaled by 128.
    first->x = 8;
    first->y = 8;
    first->backgroundColor = Color{255, 128, 255, 255};
    second->visible = false;
    top->Update();
    top->Draw();
    uint8_t pixel[4] = {0, 0, 0, 0};
    const SDL_Rect at = {20, 20, 1, 1};
    SDL_Renderer* sdl = SDL_GetRenderer(g_window);
    ASSERT_EQ(SDL_RenderReadPixels(sdl, &at, SDL_PIXELFORMAT_RGBA32, pixel, 4), 0);
    EXPECT_EQ(pixel[0], 0);
    EXPECT_EQ(pixel[1], 128);
    EXPECT_EQ(pixel[2], 0);

    first->Destroy();
    EXPECT_EQ(entry->refCount, 1);
    EXPECT_EQ(entry->releaseTime, 0u);
    top->Destroy();
    EXPECT_EQ(entry->refCount, 0);
    EXPECT_NE(entry->releaseTime, 0u) << "the last holder schedules the release";
}

}  // namespace
