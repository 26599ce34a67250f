#include <gtest/gtest.h>

#include "engine/console_output.h"
#include "support/engine_fixture.h"
#include "ui/panel.h"

namespace {

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
    while (huge.size() < 10u << 20) {
        huge += "size 1 2\n";
    }
    Load(huge);
    longLine[5u << 20] = '{';
    Load("Panel\n" + longLine + "\nname \"after\"\n}\n");
    EXPECT_TRUE(Has("after"));
}

}  // namespace
