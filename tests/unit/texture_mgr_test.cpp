#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <utility>

#include "engine/console_output.h"
#include "resources/texture_mgr.h"
#include "support/offscreen.h"

namespace {

void Write(const TempWorkDir& dir, const std::string& name, const std::string& bytes = TestDataFile("rgb24.bmp")) {
    dir.WriteFile("test/tex/" + name, bytes);
}

using TextureMgrTest = OffscreenTest;

TEST_F(TextureMgrTest, LoadsOnceByNormalisedNameAndUnreadableFilesWarnWithPathEveryTime) {
    ASSERT_TRUE(g_textureMgr->Init());
    Write(dir_, "a/b.bmp");
    const int handle = g_textureMgr->LoadTexture("a\\b.bmp");
    ASSERT_GE(handle, 1) << g_consoleText;
    std::filesystem::remove("test/tex/a/b.bmp");
    EXPECT_EQ(g_textureMgr->LoadTexture("./a//b.bmp"), handle) << "read once";
    EXPECT_EQ(g_textureMgr->GetTexture(0)->name, "missing");

    // Headers that promise far more pixels than the file holds are refused before SDL allocates.
    const std::string rgb = TestDataFile("rgb24.bmp");
    std::string huge = rgb, wide = rgb;
    huge[18] = huge[19] = huge[20] = 0x7F;
    wide[19] = 0x20;
    const std::pair<const char*, std::string> files[] = {
        {"nope.bmp", ""}, {"truncated.bmp", rgb.substr(0, rgb.size() - 10)}, {"header_only.bmp", rgb.substr(0, 20)},
        {"renamed.bmp", TestDataFile("png_renamed.bmp")}, {"huge.bmp", huge}, {"wide.bmp", wide}};
    for (const auto& f : files) {
        if (!f.second.empty()) {
            Write(dir_, f.first, f.second);
        }
        g_consoleText.clear();
        EXPECT_EQ(g_textureMgr->LoadTexture(f.first), 0) << f.first;
        EXPECT_EQ(g_consoleText, std::string("Warning: Failed to load texture: ./test/tex/") + f.first + "\n");
    }
    Write(dir_, "nope.bmp");
    EXPECT_GE(g_textureMgr->LoadTexture("nope.bmp"), 1) << "failures are not remembered";
}

}  // namespace
