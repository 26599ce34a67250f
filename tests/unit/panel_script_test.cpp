#include <gtest/gtest.h>

#include <cstdio>
#include <random>
#include <string>

#include "engine/console_output.h"
#include "input/input_system.h"
#include "ui/panel.h"

namespace {

// A loading panel that counts its resizes, to check when "size" calls OnResized.
class LoadingPanel : public Panel {
public:
    LoadingPanel() : Panel("loader") {}
    void OnResized() override {
        ++resized;
        widthAtResize = width;
    }
    int resized = 0;
    int widthAtResize = 0;
};

class PanelScriptTest : public ::testing::Test {
protected:
    void SetUp() override {
        g_consoleText.clear();
        *g_inputSystem = InputSystem();
        path_ = ::testing::TempDir() + "panel_script_test_" +
                ::testing::UnitTest::GetInstance()->current_test_info()->name() + ".txt";
        panel_ = new LoadingPanel();
    }
    void TearDown() override {
        panel_->Destroy();
        std::remove(path_.c_str());
    }
    void Load(const std::string& contents) {
        FILE* file = std::fopen(path_.c_str(), "wb");
        ASSERT_NE(nullptr, file);
        ASSERT_EQ(contents.size(), std::fwrite(contents.data(), 1, contents.size(), file));
        std::fclose(file);
        panel_->LoadFromFile(path_);
        // Children attached by the load go live at the next update.
        panel_->Update();
    }
    size_t LiveChildren() const {
        size_t n = 0;
        for (Panel* child : panel_->children) {
            n += child != nullptr;
        }
        return n;
    }

    std::string path_;
    LoadingPanel* panel_ = nullptr;
};

TEST_F(PanelScriptTest, ValuesFollowTheQuotingRules) {
    Load("Panel\n{\nname \"two words\"\n}\n"
         "Panel\n{\nname  con_input\n}\n"
         "Panel\n{\nname \"lone\n}\n"
         "Panel\n{\nname pre \"a\" mid \"b\" post\n}\n"
         "This\n{\nname\t\"self\"  \n}\n");
    EXPECT_NE(nullptr, panel_->FindChild("two words"));
    EXPECT_NE(nullptr, panel_->FindChild("  con_input")) << "an unquoted value keeps its leading blanks";
    EXPECT_EQ(nullptr, panel_->FindChild("con_input"));
    EXPECT_NE(nullptr, panel_->FindChild("")) << "a lone quote empties the value";
    EXPECT_NE(nullptr, panel_->FindChild("a\" mid \"b"));
    EXPECT_EQ("self", panel_->name);
    EXPECT_EQ(4u, LiveChildren());
}

TEST_F(PanelScriptTest, TypeWordComesOnlyFromALineOfItsOwn) {
    Load("Panel {\nname \"same_line\"\n}\n");
    EXPECT_EQ(0u, LiveChildren()) << "a line with a brace sets no type word";

    Load("Panel extra words\n\n{\nname \"first\"\n}\n\n{\nname \"second\"\n}\n");
    EXPECT_NE(nullptr, panel_->FindChild("first"));
    EXPECT_NE(nullptr, panel_->FindChild("second")) << "the type word stays until another line sets it";

    Load("Nonsense\n{\nname \"unknown_type\"\n}\nPanel\n{\nname \"known\"\n}\n");
    EXPECT_EQ(nullptr, panel_->FindChild("unknown_type"));
    EXPECT_NE(nullptr, panel_->FindChild("known"));
    EXPECT_EQ(3u, LiveChildren());
}

TEST_F(PanelScriptTest, NamedBlocksUpdateChildrenInPlace) {
    const std::string script =
        "Panel\n{\nname \"box\"\nposition 5 6\n}\n"
        "Panel\n{\nsize 7 8\n}\n";
    Load(script);
    Panel* box = panel_->FindChild("box");
    ASSERT_NE(nullptr, box);
    EXPECT_EQ(2u, LiveChildren());
    Load(script);
    EXPECT_EQ(box, panel_->FindChild("box"));
    EXPECT_EQ(3u, LiveChildren()) << "unnamed blocks always add";

    // The type word is not checked against the existing child.
    Load("Bogus\n{\nposition 9 10\nname \"box\"\n}\n");
    EXPECT_EQ(box, panel_->FindChild("box"));
    EXPECT_EQ(9, box->x);
    EXPECT_EQ(10, box->y);
    EXPECT_EQ(3u, LiveChildren());
}

TEST_F(PanelScriptTest, MissingNumbersTakeTheirPositionsDefault) {
    panel_->width = 300;
    panel_->height = 300;
    Load("This\n{\nposition 40\nsize 100\nbackground_color 0 0 0\nzpos 5\n}\n");
    EXPECT_EQ(40, panel_->x);
    EXPECT_EQ(0, panel_->y);
    EXPECT_EQ(100, panel_->width);
    EXPECT_EQ(25, panel_->height) << "the default, not the previous height";
    EXPECT_EQ(1, panel_->resized);
    EXPECT_EQ(100, panel_->widthAtResize);
    EXPECT_EQ(0, panel_->backgroundColor.r);
    EXPECT_EQ(0, panel_->backgroundColor.g);
    EXPECT_EQ(0, panel_->backgroundColor.b);
    EXPECT_EQ(255, panel_->backgroundColor.a);
    EXPECT_TRUE(panel_->drawBackground);
    EXPECT_EQ(5, panel_->zpos);

    Load("This\n{\nsize abc 3\nbackground_color 1 2 3 0\nzpos\nposition 7 x\n}\n");
    EXPECT_EQ(25, panel_->width) << "a malformed number and the ones after it take their defaults";
    EXPECT_EQ(25, panel_->height);
    EXPECT_FALSE(panel_->drawBackground) << "alpha 0 turns the background off";
    EXPECT_EQ(0, panel_->zpos);
    EXPECT_EQ(7, panel_->x);
    EXPECT_EQ(0, panel_->y);

    Load("This\n{\nsize 99999999999 5\n}\n");
    EXPECT_EQ(25, panel_->width) << "an out-of-range number is malformed";
    EXPECT_EQ(25, panel_->height);
}

TEST_F(PanelScriptTest, UnknownKeysIgnoredAndUnfinishedBlocksDropped) {
    Load("Panel\n{\nname \"kept\"\nno_such_key 1 2 3\n}\n"
         "Panel\n{\nname \"abandoned\"\n{\nname \"restarted\"\n}\n"
         "stray line } closes nothing\n"
         "Panel\n{\nname \"unterminated\"\n");
    EXPECT_NE(nullptr, panel_->FindChild("kept"));
    EXPECT_EQ(nullptr, panel_->FindChild("abandoned")) << "a second opening discards the first";
    EXPECT_NE(nullptr, panel_->FindChild("restarted"));
    EXPECT_EQ(nullptr, panel_->FindChild("unterminated"));
    EXPECT_EQ(2u, LiveChildren());
    EXPECT_EQ("", g_consoleText) << "nothing here is reported";
}

TEST_F(PanelScriptTest, MissingFileIsReportedAndChangesNothing) {
    panel_->LoadFromFile("./no/such/panel.txt");
    EXPECT_EQ("Error: Could not open file './no/such/panel.txt'\n", g_consoleText);
    EXPECT_EQ("loader", panel_->name);
    EXPECT_TRUE(panel_->children.empty());
}

TEST_F(PanelScriptTest, ArbitraryBytesAndHugeFilesLoadSafely) {
    std::mt19937 rng(1234);
    // Random bytes with plenty of braces, quotes and line feeds among them.
    const char alphabet[] = "{}\"\n \tPanel This name size position zpos background_color 0123456789-\r\x80\xff";
    for (int round = 0; round < 20; ++round) {
        std::string bytes(20000, '\0');
        for (char& c : bytes) {
            c = (rng() % 4 == 0) ? static_cast<char>(rng() % 256) : alphabet[rng() % (sizeof(alphabet) - 1)];
        }
        Load(bytes);
    }

    // Ten megabytes: one unterminated block of short lines, then one line with no line feed at all.
    std::string huge = "Panel\n{\n";
    while (huge.size() < 10u * 1024 * 1024) {
        huge += "size 1 2\n";
    }
    Load(huge);
    std::string oneLine(10u * 1024 * 1024, 'x');
    oneLine[5 * 1024 * 1024] = '{';
    Load("Panel\n" + oneLine + "\nname \"after_long_line\"\n}\n");
    EXPECT_NE(nullptr, panel_->FindChild("after_long_line")) << "a brace far into a long line still counts";
}

}  // namespace
