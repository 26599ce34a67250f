#include <SDL.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <vector>

#include "engine/console_output.h"
#include "engine/engine.h"
#include "render/renderer.h"
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
    static Texture* Entry(int handle) { return g_textureMgr->GetTexture(handle); }
};

TEST(AssetNames, NormalisationFoldsSeparatorsAndOneLeadingDot) {
    const char* const cases[][2] = {{"sub\\\\dir//a.bmp", "sub/dir/a.bmp"}, {".\\x.bmp", "x.bmp"},
                                    {".//x.bmp", "x.bmp"}, {"../x.bmp", "../x.bmp"},
                                    {"././x.bmp", "./x.bmp"}, {"//", "/"}};
    for (const auto& c : cases) {
        EXPECT_EQ(NormalizeAssetName(c[0]), c[1]) << c[0];
    }
}

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
    const char* files[] = {"rgb24.bmp", "rgba32.bmp", "pal8.bmp", "rle8.bmp"};
    int h[4];
    for (int i = 0; i < 4; ++i) {
        Write(std::string("!f_") + files[i], TestDataFile(files[i]));
        h[i] = g_textureMgr->LoadTexture(std::string("!f_") + files[i]);
        ASSERT_GE(h[i], 1) << files[i] << ": " << g_consoleText;
    }
    EXPECT_TRUE(Entry(h[0])->width == 3 && Entry(h[0])->height == 2 && Entry(h[2])->width == 20);

    const Rect rects[] = {{0, 0, 24, 16}, {32, 0, 16, 16}, {0, 32, 20, 8}, {0, 48, 20, 8}};
    const Frame frame = Render(kWhite, [&] {
        for (int i = 0; i < 4; ++i) {
            g_renderer->DrawTextureById(&rects[i], kWhite, h[i]);
        }
    });
    const struct {
        int x, y;
        Color want;
        const char* what;
    } checks[] = {
        {4, 4, kRed, "24-bit red"},         {12, 4, kGreen, "24-bit green"},   {20, 12, {255, 255, 0, 255}, "yellow"},
        {36, 4, kRed, "32-bit opaque"},     {36, 12, kWhite, "32-bit clear"},  {0, 36, kRed, "palette first"},
        {19, 36, kBlue, "palette last"},    {19, 52, kBlue, "run-length last"},
    };
    for (const auto& c : checks) {
        EXPECT_TRUE(SameColor(frame.At(c.x, c.y), c.want)) << c.what;
    }
    EXPECT_TRUE(SameColor(frame.At(44, 4), {127, 127, 255, 255}, 2)) << "32-bit half alpha over white";

    Write("smooth.bmp");
    const Rect smooth = {0, 0, 60, 20}, sharp = {0, 40, 60, 20};
    const int smoothHandle = g_textureMgr->LoadTexture("smooth.bmp");
    const Frame seams = Render(kWhite, [&] {
        g_renderer->DrawTextureById(&smooth, kWhite, smoothHandle);
        g_renderer->DrawTextureById(&sharp, kWhite, h[0]);
    });
    const Color blended = seams.At(19, 5);
    EXPECT_TRUE(blended.r < 250 && blended.g > 5) << "filtered seam " << ToString(blended);
    EXPECT_TRUE(SameColor(seams.At(19, 45), kRed));
    EXPECT_TRUE(SameColor(seams.At(20, 45), kGreen));
}

TEST_F(TextureMgrTest, HoldersCountReferencesAndReleaseAfterGracePeriod) {
    for (const char* name : {"a.bmp", "b.bmp", "c.bmp"}) {
        Write(name);
    }
    int first = 0, second = 0, again = 0;
    g_textureMgr->SetTexture("a.bmp", first);
    ASSERT_GE(first, 1);
    SDL_Texture* gpu = Entry(first)->sdlTexture;
    g_textureMgr->SetTexture("./a.bmp", first);
    EXPECT_EQ(Entry(first)->refCount, 1) << "the holder already had it";
    g_textureMgr->SetTexture("a.bmp", second);
    EXPECT_EQ(Entry(first)->refCount, 2);

    g_textureMgr->ReleaseTexture(first);
    EXPECT_EQ(Entry(first)->releaseTime, 0u);
    g_textureMgr->ReleaseTexture(second);
    EXPECT_TRUE(Entry(first)->refCount == 0 && Entry(first)->releaseTime == 31000u);

    now_ = 20000;
    g_textureMgr->SetTexture("a.bmp", again);
    EXPECT_TRUE(again == first && Entry(first)->sdlTexture == gpu && Entry(first)->releaseTime == 0u);
    g_textureMgr->SetTexture("b.bmp", again);
    EXPECT_NE(again, first);
    EXPECT_EQ(Entry(first)->releaseTime, 50000u);
    now_ = 21000;
    g_textureMgr->ReleaseTexture(first);
    EXPECT_TRUE(Entry(first)->refCount == 0 && Entry(first)->releaseTime == 51000u);

    now_ = 50999;
    for (int i = 0; i < 4; ++i) {
        g_textureMgr->Collect();
    }
    EXPECT_EQ(Entry(first)->width, 3) << "collected before its deadline";
    now_ = 51000;
    g_textureMgr->Collect();
    g_textureMgr->Collect();
    EXPECT_TRUE(Entry(first)->width == 0 && Entry(first)->name.empty() && Entry(first)->sdlTexture == nullptr);
    EXPECT_EQ(Entry(again)->width, 3) << "a held texture was collected";
    EXPECT_EQ(g_textureMgr->LoadTexture("c.bmp"), first) << "the next load takes the freed index";
}

TEST_F(TextureMgrTest, CollectorFreesOneEntryPerFrameAndSkipsKeptTextures) {
    for (const char* name : {"p.bmp", "plain.bmp", "x.bmp", "y.bmp"}) {
        Write(name);
    }
    const int persistent = g_textureMgr->LoadPersistentTexture("p.bmp");
    const int plain = g_textureMgr->LoadTexture("plain.bmp");
    int x = 0, y = 0;
    g_textureMgr->SetTexture("x.bmp", x);
    g_textureMgr->SetTexture("y.bmp", y);
    ASSERT_EQ(y, 4);
    g_textureMgr->ReleaseTexture(persistent);  // scheduled, yet never collected
    g_textureMgr->ReleaseTexture(x);
    g_textureMgr->ReleaseTexture(y);

    now_ += 60000;
    for (int i = 0; i < 3; ++i) {
        g_textureMgr->Collect();
    }
    EXPECT_EQ(Entry(x)->width, 0);
    EXPECT_EQ(Entry(y)->width, 3) << "more than one entry freed in one frame";
    for (int i = 0; i < 8; ++i) {
        g_textureMgr->Collect();
    }
    EXPECT_EQ(Entry(y)->width, 0);
    EXPECT_TRUE(Entry(persistent)->width == 3 && Entry(plain)->width == 3) << "kept textures stay";
}

TEST_F(TextureMgrTest, BadHandlesAreTolerated) {
    SDL_Texture* fallback = g_textureMgr->GetSDLTexture(0);
    ASSERT_NE(fallback, nullptr);
    EXPECT_TRUE(Entry(0)->name == "missing" && Entry(-1) == nullptr && Entry(1) == nullptr);
    EXPECT_TRUE(g_textureMgr->GetSDLTexture(-1) == fallback && g_textureMgr->GetSDLTexture(7) == fallback);
    for (int handle : {0, -3, 12}) {
        g_textureMgr->UnloadTexture(handle);
        g_textureMgr->ReleaseTexture(handle);
    }
    g_textureMgr->Collect();
    int holder = 0;
    g_textureMgr->SetTexture("absent.bmp", holder);
    EXPECT_EQ(holder, 0);
    EXPECT_TRUE(g_textureMgr->GetSDLTexture(0) == fallback && Entry(0)->refCount == 0 && Entry(0)->releaseTime == 0u);
    g_textureMgr->Shutdown();
    EXPECT_EQ(g_textureMgr->GetSDLTexture(0), nullptr) << "nothing left after shutdown";
    g_textureMgr->Collect();
}

}  // namespace
