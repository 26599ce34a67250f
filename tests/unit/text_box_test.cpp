#include <memory>

#include "resources/font_system.h"
#include "support/ui_driver.h"
#include "ui/rich_text_box.h"
#include "ui/text_box.h"

namespace {

const int kShift = SDL_SCANCODE_LSHIFT, kCtrl = SDL_SCANCODE_LCTRL;

class TextBoxes : public WidgetTest {
protected:
    template <typename T>
    T* AddBox(T* box) {
        Add(box, 10, 20);
        Settle();
        box->Focus();
        return box;
    }
    static std::string Clipboard() {
        std::unique_ptr<char, decltype(&SDL_free)> text(SDL_GetClipboardText(), SDL_free);
        return text ? text.get() : "";
    }
    static int Width(uint32_t fontId, const std::string& text) {
        return g_fontSystem->MeasureText(text.c_str(), g_fontSystem->GetFont(static_cast<int>(fontId))).width;
    }
    // One frame per key, each with the modifier (0 for none) held.
    void Keys(std::initializer_list<std::pair<int, int>> keys) { for (auto [key, mod] : keys) Press({key}, {mod}); }
};

TEST_F(TextBoxes, TextBoxEditsWithKeysSelectionAndClipboard) {
    TextBox* box = AddBox(new TextBox("txb"));
    box->SetProperty("text", "hello");
    EXPECT_EQ(box->cursor, 5);
    Press({SDL_SCANCODE_LEFT}, {kShift});
    EXPECT_EQ(box->selectionAnchor, 5);
    EXPECT_EQ(box->selectionEnd, 4) << "shift+left selects one character";
    Type("\r\nX\n");
    EXPECT_EQ(box->text, "hell X ") << "typing replaces the selection; line breaks flatten";
    EXPECT_EQ(box->cursor, 7);
    Press({SDL_SCANCODE_DELETE});
    EXPECT_EQ(box->text, "hell X ") << "delete without a selection does nothing";
    Keys({{SDL_SCANCODE_BACKSPACE, 0}, {SDL_SCANCODE_HOME, 0}, {SDL_SCANCODE_RIGHT, kShift},
          {SDL_SCANCODE_RIGHT, kShift}, {SDL_SCANCODE_C, kCtrl}, {SDL_SCANCODE_X, kCtrl}});
    EXPECT_EQ(Clipboard(), "he");
    EXPECT_EQ(box->text, "ll X");
    EXPECT_EQ(box->cursor, 0);
    Press({SDL_SCANCODE_END});
    EXPECT_EQ(box->selectionAnchor, box->selectionEnd) << "moving without shift drops the selection";
    Press({SDL_SCANCODE_A}, {kCtrl});
    EXPECT_EQ(box->selectionEnd - box->selectionAnchor, 4);
    box->SetText("");
    Press({SDL_SCANCODE_A}, {kCtrl});
    EXPECT_EQ(box->selectionAnchor, box->selectionEnd) << "select-all on an empty box selects nothing";
}

TEST_F(TextBoxes, TextBoxScrollsToTheCaretAndBackspaceAtTheEdgeScrollsBackFive) {
    TextBox* box = AddBox(new TextBox("txb"));
    Type("The quick brown fox jumps over the lazy dog");
    const int length = static_cast<int>(box->text.size());
    ASSERT_GT(box->scrollStart, 0) << "the end of a long text scrolls into view";
    EXPECT_EQ(box->visibleText, box->text.substr(box->scrollStart, box->visibleText.size()));
    EXPECT_LE(Width(box->fontId, box->visibleText), box->innerWidth);
    EXPECT_GE(box->scrollStart + static_cast<int>(box->visibleText.size()), length - 1);
    for (int i = 0; i < length; ++i) Press({SDL_SCANCODE_LEFT});
    EXPECT_EQ(box->scrollStart, 0) << "the view follows the caret back";
    box->scrollStart = box->cursor = 20;
    Press({SDL_SCANCODE_BACKSPACE});
    EXPECT_EQ(box->scrollStart, 15);
    EXPECT_EQ(box->cursor, 19);
    EXPECT_EQ(static_cast<int>(box->text.size()), length - 1);
    box->SetProperty("size", "208 40");
    EXPECT_EQ(box->innerWidth, 200);
    EXPECT_EQ(box->caretHeight, 32) << "the font follows the height";
}

TEST_F(TextBoxes, TextInputIsHeldByTheActiveBoxAndCancelledOnlyThere) {
    RichTextBox* rich = AddBox(new RichTextBox("rich"));
    AddBox(new TextBox("idle"))->Unfocus();
    Settle();
    // The idle box is the last child, so it sees the cancel first and must leave it alone.
    g_inputSystem->textInputCancel = true;
    Settle();
    EXPECT_FALSE(rich->active);
    EXPECT_FALSE(g_inputSystem->textInputCancel);
    EXPECT_FALSE(g_inputSystem->wantTextInput);
    TextBox* box = AddBox(new TextBox("txb"));
    Settle(2);
    EXPECT_TRUE(g_inputSystem->wantTextInput) << "an active box keeps text input on";
    box->Unfocus();
    EXPECT_FALSE(g_inputSystem->wantTextInput);
}

TEST_F(TextBoxes, TextBoxMouseSetsTheCaretAndDragsPastTheLeftEdge) {
    TextBox* box = AddBox(new TextBox("txb"));
    Type("abcdefghijklmnopqrstuvwxyz0123456789");
    const int scrolled = box->scrollStart;
    ASSERT_GT(scrolled, 2);
    const int x = 14 + Width(box->fontId, box->visibleText.substr(0, 1)) +
                  Width(box->fontId, box->visibleText.substr(1, 1)) / 2 + 1;
    Step(x, 30, false);
    Step(x, 30, true);
    EXPECT_EQ(box->cursor, scrolled + 2) << "the nearer character boundary";
    for (int frame = 0; frame < 3; ++frame) Step(5, 30, true);
    EXPECT_EQ(box->cursor, scrolled - 1);
    EXPECT_EQ(box->scrollStart, scrolled - 1) << "one character per frame past the edge";
    Step(5, 30, false);
    EXPECT_FALSE(box->selecting);
    EXPECT_TRUE(box->focused) << "a drag that ends outside leaves the box focused";
    EXPECT_EQ(box->selectionEnd - box->selectionAnchor, -3) << "anchored where the press was";
}

TEST_F(TextBoxes, RichTextBoxSplitsLinesAndBoundsItsLength) {
    RichTextBox* box = AddBox(new RichTextBox("rich"));
    box->AppendText("a");
    box->AppendText("b\n");
    ASSERT_EQ(box->lines.size(), 2u);
    EXPECT_EQ(box->lines[0].text, "ab");
    EXPECT_EQ(box->lines[1].text, "");
    box->SetText(std::string(8999, '\n'));
    box->cursorLine = 500;
    box->firstVisibleLine = 1200;
    Settle();
    EXPECT_EQ(box->lines.size(), 9000u) << "9000 lines are kept";
    box->AppendText("\n");
    Settle();
    EXPECT_EQ(box->lines.size(), 8001u);
    EXPECT_EQ(box->cursorLine, 0);
    EXPECT_EQ(box->firstVisibleLine, 200);
    box->ScrollToEnd();
    EXPECT_EQ(box->cursorLine, 8000);
    EXPECT_EQ(box->firstVisibleLine, 8000 - (28 - 4) / box->lineHeight + 1);
}

TEST_F(TextBoxes, RichTextBoxEditsAcrossLines) {
    RichTextBox* box = AddBox(new RichTextBox("rich"));
    box->SetProperty("text", "first line\nxy");
    box->lines[0].column = 5;
    Type("A\r\nB\nC");
    ASSERT_EQ(box->lines.size(), 4u);
    EXPECT_EQ(box->lines[0].text, "firstA");
    EXPECT_EQ(box->lines[2].text, "C line") << "the rest of the line follows the inserted text";
    EXPECT_EQ(box->lines[2].column, 1);
    Keys({{SDL_SCANCODE_RETURN, 0}, {SDL_SCANCODE_BACKSPACE, 0}, {SDL_SCANCODE_BACKSPACE, 0}});
    EXPECT_EQ(box->lines[2].text, " line") << "return splits, backspace joins back and erases";
    Keys({{SDL_SCANCODE_END, kCtrl}, {SDL_SCANCODE_UP, 0}});
    EXPECT_EQ(box->cursorLine, 2);
    EXPECT_EQ(box->lines[2].column, 2) << "the column carries over and fits the line";
    Keys({{SDL_SCANCODE_LEFT, 0}, {SDL_SCANCODE_LEFT, 0}, {SDL_SCANCODE_LEFT, 0}});
    EXPECT_EQ(box->cursorLine, 1) << "left crosses to the end of the line above";
    Keys({{SDL_SCANCODE_DOWN, kShift}, {SDL_SCANCODE_X, kCtrl}});
    EXPECT_EQ(Clipboard(), "\n ");
    EXPECT_EQ(box->lines[1].text, "Bline");
    Keys({{SDL_SCANCODE_A, kCtrl}, {SDL_SCANCODE_DELETE, 0}});
    EXPECT_EQ(box->lines.size(), 1u);
    EXPECT_EQ(box->lines[0].text, "");
}

TEST_F(TextBoxes, ReadOnlyRichTextBoxNavigatesAndCopiesButNeverChanges) {
    RichTextBox* box = AddBox(new RichTextBox("log"));
    box->readOnly = true;
    box->SetText("one\ntwo");
    ASSERT_EQ(SDL_SetClipboardText("pasted"), 0);
    g_inputSystem->textInput = "typed";
    Keys({{SDL_SCANCODE_END, kShift}, {SDL_SCANCODE_RETURN, 0}, {SDL_SCANCODE_BACKSPACE, 0}, {SDL_SCANCODE_DELETE, 0},
          {SDL_SCANCODE_V, kCtrl}, {SDL_SCANCODE_X, kCtrl}});
    EXPECT_EQ(box->lines[0].text, "one");
    EXPECT_EQ(box->lines.size(), 2u);
    EXPECT_EQ(g_inputSystem->textInput, "") << "typed text is taken and dropped";
    EXPECT_EQ(Clipboard(), "pasted") << "nothing was cut";
    Keys({{SDL_SCANCODE_HOME, kShift}, {SDL_SCANCODE_DOWN, kShift}, {SDL_SCANCODE_C, kCtrl}});
    EXPECT_EQ(Clipboard(), "one\n");
}

TEST_F(TextBoxes, RichTextBoxWheelZoomsScrollsAndDrawsOnlyVisibleLines) {
    RichTextBox* box = AddBox(new RichTextBox("rich"));
    box->SetProperty("size", "200 100");
    box->SetText("0123456789\nline1\nline2\nline3\nline4\nline5\nline6\nline7");
    const struct { int wheel, held, lineHeight, firstLine, firstColumn; } cases[] = {
        {2, 0, 20, 1, 0}, {2, kShift, 20, 1, 1}, {1, kShift, 20, 1, 0}, {2, kCtrl, 19, 1, 0}, {1, kCtrl, 20, 1, 0},
        {1, 0, 20, 0, 0}};
    for (const auto& c : cases) {
        g_inputSystem->mouseWheel = c.wheel;
        Hold({c.held});
        EXPECT_EQ(box->lineHeight, c.lineHeight) << c.wheel << " " << c.held;
        EXPECT_EQ(box->firstVisibleLine, c.firstLine) << c.wheel << " " << c.held;
        EXPECT_EQ(box->firstVisibleColumn, c.firstColumn) << c.wheel << " " << c.held;
    }
    for (int limit : {50, 5}) {
        box->SetFont(kRichTextFontName, kRichTextFontPath, limit, kTextColor, kTextBackColor);
        g_inputSystem->mouseWheel = limit == 50 ? 1 : 2;
        Hold({kCtrl});
        EXPECT_EQ(box->lineHeight, limit) << "zoom stops at " << limit;
    }
    box->SetFont(kRichTextFontName, kRichTextFontPath, 20, kTextColor, kTextBackColor);
    box->firstVisibleColumn = 2;
    box->selectionAnchor = TextPosition{4, 0};
    box->selectionEnd = TextPosition{0, 1};
    renderer_.Reset();
    box->Draw();
    const int cell = g_fontSystem->GetFont(static_cast<int>(box->fontId))->cellWidth;
    EXPECT_EQ(renderer_.Matching("text ").size(), 5u) << "lines 0 to (100 - 4) / 20";
    EXPECT_NE(renderer_.IndexOf("text " + std::to_string(box->fontId) + " 23456789 14 24"), -1);
    EXPECT_NE(renderer_.IndexOf("fill " + std::to_string(14 + 2 * cell) + " 24 " + std::to_string(6 * cell) +
                                " 20 80 80 255 255"), -1);
}

}  // namespace
