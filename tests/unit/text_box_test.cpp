#include <SDL.h>
#include <SDL_ttf.h>
#include <gtest/gtest.h>

#include <cstddef>
#include <initializer_list>
#include <memory>
#include <string>

#include "input/input_system.h"
#include "resources/font_system.h"
#include "support/engine_fixture.h"
#include "support/recording_renderer.h"
#include "ui/rich_text_box.h"
#include "ui/text_box.h"
#include "ui/widget_factory.h"

namespace {

class TextBoxes : public ::testing::Test {
protected:
    void SetUp() override {
        ASSERT_EQ(SDL_Init(SDL_INIT_VIDEO), 0) << SDL_GetError();
        ASSERT_EQ(TTF_Init(), 0);
        *g_inputSystem = InputSystem();
        top_->width = 600;
        top_->height = 400;
    }
    void TearDown() override {
        top_->Destroy();
        TTF_Quit();
        SDL_Quit();
    }
    template <typename T>
    T* Add(T* box) {
        box->x = 10;
        box->y = 20;
        top_->AddChild(box);
        Frame({});
        box->Focus();
        return box;
    }
    void Frame(std::initializer_list<int> pressed, std::initializer_list<int> held = {}, const char* typed = "") {
        g_inputSystem->mouseX = -1;
        g_inputSystem->mouseY = -1;
        g_inputSystem->textInput += typed;
        for (int key : pressed) {
            g_inputSystem->keysPressed[key] = g_inputSystem->keysPressedNoRepeat[key] = 1;
        }
        for (int key : held) {
            g_inputSystem->keysHeld[key] = 1;
        }
        top_->Update();
        *g_inputSystem = InputSystem();
    }
    void Type(const char* typed) { Frame({}, {}, typed); }
    static std::string Clipboard() {
        std::unique_ptr<char, decltype(&SDL_free)> text(SDL_GetClipboardText(), SDL_free);
        return text ? text.get() : "";
    }
    static int Width(uint32_t fontId, const std::string& text) {
        return g_fontSystem->MeasureText(text.c_str(), g_fontSystem->GetFont(static_cast<int>(fontId))).width;
    }

    TempWorkDir dir_;
    RecordingRenderer renderer_;
    ScopedRenderer scoped_{&renderer_};
    Panel* top_ = new Panel("top");
};

TEST_F(TextBoxes, TextBoxEditsWithKeysSelectionAndClipboard) {
    TextBox* box = Add(new TextBox("txb"));
    ASSERT_NE(box->fontId, kNoFont);
    box->SetProperty("text", "hello");
    EXPECT_EQ(box->cursor, 5);
    Frame({kTextKeyLeft}, {kTextKeyLeftShift});
    EXPECT_EQ(box->selectionAnchor, 5);
    EXPECT_EQ(box->selectionEnd, 4) << "shift+left selects one character";
    Type("\r\nX\n");
    EXPECT_EQ(box->text, "hell X ") << "typing replaces the selection; line breaks flatten";
    EXPECT_EQ(box->cursor, 7);
    Frame({kTextKeyDelete});
    EXPECT_EQ(box->text, "hell X ") << "delete without a selection does nothing";
    Frame({kTextKeyBackspace});
    Frame({kTextKeyHome});
    Frame({kTextKeyRight}, {kTextKeyLeftShift});
    Frame({kTextKeyRight}, {kTextKeyLeftShift});
    Frame({kTextKeyC}, {kTextKeyLeftCtrl});
    EXPECT_EQ(Clipboard(), "he");
    Frame({kTextKeyX}, {kTextKeyLeftCtrl});
    EXPECT_EQ(box->text, "ll X");
    EXPECT_EQ(box->cursor, 0);
    Frame({kTextKeyEnd});
    EXPECT_EQ(box->selectionAnchor, box->selectionEnd) << "moving without shift drops the selection";
    Frame({kTextKeyA}, {kTextKeyLeftCtrl});
    EXPECT_EQ(box->selectionEnd - box->selectionAnchor, 4);
    box->SetText("");
    Frame({kTextKeyA}, {kTextKeyLeftCtrl});
    EXPECT_EQ(box->selectionAnchor, box->selectionEnd) << "select-all on an empty box selects nothing";
}

TEST_F(TextBoxes, TextBoxScrollsToTheCaretAndBackspaceAtTheEdgeScrollsBackFive) {
    TextBox* box = Add(new TextBox("txb"));
    Type("The quick brown fox jumps over the lazy dog");
    const int length = static_cast<int>(box->text.size());
    ASSERT_GT(box->scrollStart, 0) << "the end of a long text scrolls into view";
    EXPECT_EQ(box->visibleText, box->text.substr(box->scrollStart, box->visibleText.size()));
    EXPECT_LE(Width(box->fontId, box->visibleText), box->innerWidth);
    EXPECT_GE(box->scrollStart + static_cast<int>(box->visibleText.size()), length - 1);
    for (int i = 0; i < length; ++i) {
        Frame({kTextKeyLeft});
    }
    EXPECT_EQ(box->scrollStart, 0) << "the view follows the caret back";
    box->SetText(box->text);
    box->scrollStart = 20;
    box->cursor = 20;
    Frame({kTextKeyBackspace});
    EXPECT_EQ(box->scrollStart, 15);
    EXPECT_EQ(box->cursor, 19);
    EXPECT_EQ(static_cast<int>(box->text.size()), length - 1);
}

TEST_F(TextBoxes, TextInputIsHeldByTheActiveBoxAndCancelledOnlyThere) {
    RichTextBox* rich = Add(new RichTextBox("rich"));
    TextBox* idle = Add(new TextBox("idle"));
    idle->Unfocus();
    Frame({});
    // The idle box is the last child, so it sees the cancel first and must leave it alone.
    g_inputSystem->textInputCancel = true;
    top_->Update();
    EXPECT_FALSE(rich->active);
    EXPECT_FALSE(g_inputSystem->textInputCancel);
    EXPECT_FALSE(g_inputSystem->wantTextInput);
    TextBox* box = Add(new TextBox("txb"));
    Frame({});
    top_->Update();
    EXPECT_TRUE(g_inputSystem->wantTextInput) << "an active box keeps text input on";
    box->Unfocus();
    EXPECT_FALSE(box->active);
    EXPECT_FALSE(g_inputSystem->wantTextInput);
}

TEST_F(TextBoxes, TextBoxDrawsSelectionTextAndBlinkingCaret) {
    TextBox* box = Add(new TextBox("txb"));
    Type("abcd");
    Frame({kTextKeyLeft}, {kTextKeyLeftShift});
    Frame({kTextKeyLeft}, {kTextKeyLeftShift});
    renderer_.Reset();
    box->Draw();
    const int ab = Width(box->fontId, "ab");
    const std::string at = std::to_string(14 + ab) + " 24 ";
    EXPECT_NE(renderer_.IndexOf("fill " + at + std::to_string(Width(box->fontId, "cd")) + " 20 80 80 255 255"), -1);
    EXPECT_NE(renderer_.IndexOf("text " + std::to_string(box->fontId) + " abcd 14 24"), -1);
    EXPECT_NE(renderer_.IndexOf("fill " + at + "1 " + std::to_string(box->caretHeight) + " 0 0 0 255"), -1);
    EXPECT_TRUE(TextBox::caretVisible) << "shown steadily right after a key";
    TextBox::caretToggleTime = 0;
    box->Draw();
    EXPECT_FALSE(TextBox::caretVisible);
    EXPECT_GE(TextBox::caretToggleTime, SDL_GetTicks() + kCaretBlinkMs - 50);
    renderer_.Reset();
    box->Draw();
    EXPECT_EQ(renderer_.IndexOf("fill " + at + "1 " + std::to_string(box->caretHeight) + " 0 0 0 255"), -1)
        << "the caret is off for this phase";
}

TEST_F(TextBoxes, TextBoxMouseSetsTheCaretAndDragsPastTheLeftEdge) {
    TextBox* box = Add(new TextBox("txb"));
    Type("abcdefghijklmnopqrstuvwxyz0123456789");
    const int scrolled = box->scrollStart;
    ASSERT_GT(scrolled, 2);
    const int x = 14 + Width(box->fontId, box->visibleText.substr(0, 1)) +
                  Width(box->fontId, box->visibleText.substr(1, 1)) / 2 + 1;
    g_inputSystem->mouseX = x;
    g_inputSystem->mouseY = 30;
    top_->Update();
    g_inputSystem->mouseButtons = SDL_BUTTON_LMASK;
    top_->Update();
    EXPECT_EQ(box->cursor, scrolled + 2);
    EXPECT_EQ(box->selectionAnchor, scrolled + 2);
    g_inputSystem->mouseX = 5;
    for (int frame = 0; frame < 3; ++frame) {
        top_->Update();
    }
    EXPECT_EQ(box->cursor, scrolled - 1);
    EXPECT_EQ(box->scrollStart, scrolled - 1) << "one character per frame past the edge";
    g_inputSystem->mouseButtons = 0;
    top_->Update();
    EXPECT_FALSE(box->selecting);
    EXPECT_TRUE(box->active && box->focused);
    EXPECT_EQ(box->selectionEnd - box->selectionAnchor, -3);
}

TEST_F(TextBoxes, RichTextBoxSplitsLinesAndBoundsItsLength) {
    RichTextBox* box = Add(new RichTextBox("rich"));
    box->AppendText("a");
    box->AppendText("b\n");
    ASSERT_EQ(box->lines.size(), 2u);
    EXPECT_EQ(box->lines[0].text, "ab");
    EXPECT_EQ(box->lines[1].text, "");
    box->SetProperty("text", "x\n\ny");
    ASSERT_EQ(box->lines.size(), 3u);
    EXPECT_EQ(box->lines[2].text, "y");

    box->SetText(std::string(8999, '\n'));
    box->cursorLine = 500;
    box->firstVisibleLine = 1200;
    Frame({});
    EXPECT_EQ(box->lines.size(), 9000u) << "9000 lines are kept";
    box->AppendText("\n");
    Frame({});
    EXPECT_EQ(box->lines.size(), 8001u);
    EXPECT_EQ(box->cursorLine, 0);
    EXPECT_EQ(box->firstVisibleLine, 200);
    box->ScrollToEnd();
    EXPECT_EQ(box->cursorLine, 8000);
    EXPECT_EQ(box->firstVisibleLine, 8000 - (28 - 4) / box->lineHeight + 1);
    box->ClearText();
    EXPECT_EQ(box->lines.size(), 1u);
    EXPECT_EQ(box->cursorLine + box->firstVisibleLine, 0);
}

TEST_F(TextBoxes, RichTextBoxEditsAcrossLines) {
    RichTextBox* box = Add(new RichTextBox("rich"));
    box->SetText("first line\nxy");
    box->lines[0].column = 5;
    Type("A\r\nB\nC");
    ASSERT_EQ(box->lines.size(), 4u);
    EXPECT_EQ(box->lines[0].text, "firstA");
    EXPECT_EQ(box->lines[2].text, "C line") << "the rest of the line follows the inserted text";
    EXPECT_EQ(box->cursorLine, 2);
    EXPECT_EQ(box->lines[2].column, 1);
    Frame({kTextKeyReturn});
    Frame({kTextKeyBackspace});
    Frame({kTextKeyBackspace});
    EXPECT_EQ(box->lines[2].text, " line") << "return splits, backspace joins back and erases";
    EXPECT_EQ(box->lines[2].column, 0);
    Frame({kTextKeyEnd}, {kTextKeyLeftCtrl});
    Frame({kTextKeyUp});
    EXPECT_EQ(box->cursorLine, 2);
    EXPECT_EQ(box->lines[2].column, 2) << "the column carries over and fits the line";
    Frame({kTextKeyLeft});
    Frame({kTextKeyLeft});
    Frame({kTextKeyLeft});
    EXPECT_EQ(box->cursorLine, 1) << "left crosses to the end of the line above";
    Frame({kTextKeyDown}, {kTextKeyLeftShift});
    Frame({kTextKeyX}, {kTextKeyLeftCtrl});
    EXPECT_EQ(Clipboard(), "\n ");
    EXPECT_EQ(box->lines[1].text, "Bline");
    Frame({kTextKeyA}, {kTextKeyLeftCtrl});
    Frame({kTextKeyDelete});
    EXPECT_EQ(box->lines.size(), 1u);
    EXPECT_EQ(box->lines[0].text, "");
}

TEST_F(TextBoxes, ReadOnlyRichTextBoxNavigatesAndCopiesButNeverChanges) {
    RichTextBox* box = Add(new RichTextBox("log"));
    box->readOnly = true;
    box->SetText("one\ntwo");
    ASSERT_EQ(SDL_SetClipboardText("pasted"), 0);
    Frame({kTextKeyEnd}, {kTextKeyLeftShift}, "typed");
    for (int key : {kTextKeyReturn, kTextKeyBackspace, kTextKeyDelete}) {
        Frame({key});
    }
    Frame({kTextKeyV}, {kTextKeyLeftCtrl});
    Frame({kTextKeyX}, {kTextKeyLeftCtrl});
    EXPECT_EQ(box->lines[0].text, "one");
    EXPECT_EQ(box->lines.size(), 2u);
    EXPECT_EQ(Clipboard(), "pasted") << "nothing was cut";
    Frame({kTextKeyHome}, {kTextKeyLeftShift});
    Frame({kTextKeyDown}, {kTextKeyLeftShift});
    Frame({kTextKeyC}, {kTextKeyLeftCtrl});
    EXPECT_EQ(Clipboard(), "one\n");
}

TEST_F(TextBoxes, RichTextBoxWheelZoomsScrollsAndDrawsOnlyVisibleLines) {
    RichTextBox* box = Add(new RichTextBox("rich"));
    box->SetProperty("size", "200 100");
    box->SetText("0123456789\nline1\nline2\nline3\nline4\nline5\nline6\nline7");
    struct Case {
        int wheel;
        int held;
        int lineHeight;
        int firstLine;
        int firstColumn;
    };
    const Case cases[] = {
        {2, 0, 20, 1, 0}, {2, kTextKeyLeftShift, 20, 1, 1}, {1, kTextKeyLeftShift, 20, 1, 0},
        {2, kTextKeyLeftCtrl, 19, 1, 0}, {1, kTextKeyLeftCtrl, 20, 1, 0}, {1, 0, 20, 0, 0},
    };
    for (const Case& c : cases) {
        g_inputSystem->mouseWheel = c.wheel;
        Frame({}, {c.held});
        EXPECT_EQ(box->lineHeight, c.lineHeight) << c.wheel << " " << c.held;
        EXPECT_EQ(box->firstVisibleLine, c.firstLine) << c.wheel << " " << c.held;
        EXPECT_EQ(box->firstVisibleColumn, c.firstColumn) << c.wheel << " " << c.held;
    }
    for (int start : {50, 5}) {
        box->SetFont(kRichTextFontName, kRichTextFontPath, start, Color{0, 0, 0, 255}, Color{255, 255, 255, 0});
        g_inputSystem->mouseWheel = start == 50 ? 1 : 2;
        Frame({}, {kTextKeyLeftCtrl});
        EXPECT_EQ(box->lineHeight, start) << "zoom stops at " << start;
    }

    box->SetFont(kRichTextFontName, kRichTextFontPath, 20, Color{0, 0, 0, 255}, Color{255, 255, 255, 0});
    box->firstVisibleColumn = 2;
    box->selectionAnchor = TextPosition{4, 0};
    box->selectionEnd = TextPosition{0, 1};
    renderer_.Reset();
    box->Draw();
    const int cell = g_fontSystem->GetFont(static_cast<int>(box->fontId))->cellWidth;
    const std::string id = std::to_string(box->fontId);
    EXPECT_EQ(renderer_.Matching("text ").size(), 5u) << "lines 0 to (100 - 4) / 20";
    EXPECT_NE(renderer_.IndexOf("text " + id + " 23456789 14 24"), -1);
    EXPECT_NE(renderer_.IndexOf("fill " + std::to_string(14 + 2 * cell) + " 24 " + std::to_string(6 * cell) +
                                " 20 80 80 255 255"),
              -1);
}

TEST_F(TextBoxes, FactoryMakesBothBoxesWithTheirDefaults) {
    std::unique_ptr<Panel> box(CreateWidget("TextBox"));
    std::unique_ptr<Panel> rich(CreateWidget("RichTextBox"));
    ASSERT_TRUE(dynamic_cast<TextBox*>(box.get()) && dynamic_cast<RichTextBox*>(rich.get()));
    EXPECT_EQ(box->name, "TextBox");
    for (Panel* panel : {box.get(), rich.get()}) {
        EXPECT_EQ(panel->width * 1000 + panel->height, 108028);
        EXPECT_TRUE(panel->drawBorder && panel->enabled);
    }
    EXPECT_EQ(static_cast<RichTextBox*>(rich.get())->lines.size(), 1u);
    box->SetProperty("size", "208 40");
    EXPECT_EQ(static_cast<TextBox*>(box.get())->innerWidth, 200);
    EXPECT_EQ(static_cast<TextBox*>(box.get())->caretHeight, 32) << "the font follows the height";
}

}  // namespace
