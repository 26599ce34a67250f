#include <gtest/gtest.h>

#include <filesystem>
#include <string>

#include "engine/console_output.h"
#include "resources/texture_mgr.h"
#include "support/offscreen.h"

namespace {

class TextureMgrTest : public OffscreenTest {
protected:
    void SetUp() override {
        OffscreenTest::SetUp();
        ASSERT_TRUE(g_textureMgr->Init());
    }
    void Write(const std::string& name, const std::string& bytes = TestDataFile("rgb24.bmp")) {
        dir_.WriteFile("test/tex/" + name, bytes);
    }
};

TEST_F(TextureMgrTest, NormalisedNamesHitOneEntryReadOnce) {
    Write("a/b.bmp");
    const int handle = g_textureMgr->LoadTexture("a/b.bmp");
    ASSERT_GE(handle, 1) << g_consoleText;
    std::filesystem::remove("test/tex/a/b.bmp");
    for (const char* name : {"a\\b.bmp", "./a/b.bmp", "a//b.bmp"}) {
        EXPECT_EQ(g_textureMgr->LoadTexture(name), handle) << name;
    }
    EXPECT_EQ(g_consoleText, "");
    EXPECT_EQ(g_textureMgr->FindTexture("a/b.bmp"), handle);
    EXPECT_EQ(g_textureMgr->FindTexture("./a/b.bmp"), 0) << "FindTexture compares as given";
    EXPECT_EQ(g_textureMgr->GetTexture(0)->name, "missing");
}

TEST_F(TextureMgrTest, UnreadableFilesWarnWithPathAndGiveFallback) {
    const std::string rgb = TestDataFile("rgb24.bmp");
    Write("truncated.bmp", rgb.substr(0, rgb.size() - 10));
    Write("renamed.bmp", TestDataFile("png_renamed.bmp"));
    Write("header_only.bmp", rgb.substr(0, 20));
    // Headers that promise far more pixels than the file holds are refused before SDL allocates.
    std::string huge = rgb, wide = rgb;
    huge[18] = huge[19] = huge[20] = 0x7F;
    wide[19] = 0x20;
    Write("huge.bmp", huge);
    Write("wide.bmp", wide);
    for (const char* name : {"nope.bmp", "truncated.bmp", "renamed.bmp", "header_only.bmp", "huge.bmp", "wide.bmp"}) {
        g_consoleText.clear();
        EXPECT_EQ(g_textureMgr->LoadTexture(name), 0) << name;
        EXPECT_EQ(g_consoleText, std::string("Warning: Failed to load texture: ./test/tex/") + name + "\n");
    }
    Write("nope.bmp");
    EXPECT_GE(g_textureMgr->LoadTexture("nope.bmp"), 1) << "failures are not remembered";
}

TEST_F(TextureMgrTest, DecodesCommonBmpVariantsAndFiltersUnlessNamedNoFilter) {
    const char* files[] = {"rgb24.bmp", "rgba32.bmp", "pal8.bmp", "rle8.bmp", "smooth.bmp"};
    const Rect rects[] = {{0, 0, 24, 16}, {32, 0, 16, 16}, {0, 32, 20, 8}, {0, 48, 20, 8}, {0, 56, 60, 8}};
    int h[5];
    for (int i = 0; i < 5; ++i) {
        const std::string name = i < 4 ? std::string("!f_") + files[i] : files[i];
        Write(name, TestDataFile(i < 4 ? files[i] : files[0]));
        h[i] = g_textureMgr->LoadTexture(name);
        ASSERT_GE(h[i], 1) << name << ": " << g_consoleText;
    }
    EXPECT_EQ(g_textureMgr->GetTexture(h[0])->width, 3);
    EXPECT_EQ(g_textureMgr->GetTexture(h[0])->height, 2);
    const Frame frame = Render(kWhite, [&] {
        for (int i = 0; i < 5; ++i) {
            g_renderer->DrawTextureById(&rects[i], kWhite, h[i]);
        }
    });
    ExpectProbes(frame, {{4, 4, kRed, "24-bit red"}, {12, 4, kGreen, "24-bit green"},
                         {20, 12, {255, 255, 0, 255}, "yellow"}, {36, 4, kRed, "32-bit opaque"},
                         {36, 12, kWhite, "32-bit clear"}, {0, 36, kRed, "palette first"},
                         {19, 36, kBlue, "palette last"}, {19, 52, kBlue, "run-length last"},
                         {7, 4, kRed, "unfiltered edge"}, {8, 4, kGreen, "unfiltered edge"}});
    EXPECT_TRUE(SameColor(frame.At(44, 4), {127, 127, 255, 255}, 2)) << "32-bit half alpha over white";
    EXPECT_LT(frame.At(19, 60).r, 250) << "filtered seam blends red into green";
    EXPECT_GT(frame.At(19, 60).g, 5) << "filtered seam blends red into green";
}

}  // namespace
