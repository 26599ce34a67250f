#include <SDL.h>
#include <gtest/gtest.h>

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <memory>
#include <sstream>
#include <string>
#include <vector>

#include "console/cvars.h"
#include "engine/console_output.h"
#include "engine/engine.h"
#include "render/renderer.h"
#include "resources/texture_mgr.h"
#include "support/engine_fixture.h"

namespace {

const int kSize = 64;
const Color kWhite = {255, 255, 255, 255};

uint64_t s_now = 0;
uint64_t FakeTicks() {
    return s_now;
}

std::string Fixture(const std::string& name) {
    std::ifstream in(std::string(VORMI_SOURCE_DIR) + "/tests/data/" + name, std::ios::binary);
    std::ostringstream bytes;
    bytes << in.rdbuf();
    return bytes.str();
}

struct Pixel {
    uint8_t r, g, b, a;
};

::testing::AssertionResult Near(Pixel got, Pixel want, int tolerance = 0) {
    const int diffs[] = {got.r - want.r, got.g - want.g, got.b - want.b, got.a - want.a};
    for (int d : diffs) {
        if (d > tolerance || d < -tolerance) {
            char text[96];
            std::snprintf(text, sizeof(text), "expected (%d, %d, %d, %d), got (%d, %d, %d, %d)", want.r, want.g,
                          want.b, want.a, got.r, got.g, got.b, got.a);
            return ::testing::AssertionFailure() << text;
        }
    }
    return ::testing::AssertionSuccess();
}

// A real SDLRenderer on the software driver in an offscreen window, the texture manager initialised in
// a temporary working directory, and a clock the test moves by hand.
class TextureMgrTest : public ::testing::Test {
protected:
    void SetUp() override {
        SDL_SetHint(SDL_HINT_RENDER_DRIVER, "software");
        // Keeps the window surface in plain memory: no GL library is loaded and unloaded per test.
        SDL_SetHint(SDL_HINT_FRAMEBUFFER_ACCELERATION, "0");
        ASSERT_EQ(SDL_Init(SDL_INIT_VIDEO), 0) << SDL_GetError();
        g_window = SDL_CreateWindow("textures", 0, 0, kSize, kSize, SDL_WINDOW_HIDDEN);
        ASSERT_NE(g_window, nullptr) << SDL_GetError();
        g_renderer = NewSDLRenderer();
        ASSERT_TRUE(g_renderer && g_renderer->Init());
        g_renderer->SetBlendMode(SDL_BLENDMODE_BLEND);
        dir.reset(new TempWorkDir());
        s_now = 1000;
        g_resourceTicks = FakeTicks;
        cv_filter_textures.SetInt(1);
        ASSERT_TRUE(g_textureMgr->Init());
        g_consoleText.clear();
    }

    void TearDown() override {
        g_textureMgr->Shutdown();
        g_resourceTicks = SDL_GetTicks64;
        dir.reset();
        delete g_renderer;
        g_renderer = nullptr;
        SDL_DestroyWindow(g_window);
        g_window = nullptr;
        SDL_Quit();
    }

    void WriteTexture(const std::string& name, const std::string& bytes) { dir->WriteFile("test/tex/" + name, bytes); }

    // Draws each (handle, rect) on white and reads the frame back before presenting.
    std::vector<Pixel> Render(const std::vector<std::pair<int, Rect>>& draws) {
        g_renderer->SetDrawColor(255, 255, 255, 255);
        g_renderer->Clear();
        for (const auto& draw : draws) {
            g_renderer->DrawTextureById(&draw.second, kWhite, draw.first);
        }
        std::vector<Pixel> pixels(kSize * kSize);
        SDL_Renderer* sdl = SDL_GetRenderer(g_window);
        EXPECT_EQ(SDL_RenderReadPixels(sdl, nullptr, SDL_PIXELFORMAT_RGBA32, pixels.data(), kSize * 4), 0);
        g_renderer->Present();
        return pixels;
    }

    std::unique_ptr<TempWorkDir> dir;
};

TEST(AssetNames, NormalisationFoldsSeparatorsAndOneLeadingDot) {
    EXPECT_EQ(NormalizeAssetName("sub\\\\dir//a.bmp"), "sub/dir/a.bmp");
    EXPECT_EQ(NormalizeAssetName(".\\x.bmp"), "x.bmp");
    EXPECT_EQ(NormalizeAssetName(".//x.bmp"), "x.bmp");
    EXPECT_EQ(NormalizeAssetName("../x.bmp"), "../x.bmp");
    EXPECT_EQ(NormalizeAssetName("././x.bmp"), "./x.bmp");
    EXPECT_EQ(NormalizeAssetName("//"), "/");
}

TEST_F(TextureMgrTest, NormalisedNamesHitOneEntry) {
    WriteTexture("a/b.bmp", Fixture("rgb24.bmp"));
    const int handle = g_textureMgr->LoadTexture("a/b.bmp");
    ASSERT_GE(handle, 1) << g_consoleText;
    // With the file gone, only the cache can answer.
    std::filesystem::remove("test/tex/a/b.bmp");
    EXPECT_EQ(g_textureMgr->LoadTexture("a\\b.bmp"), handle);
    EXPECT_EQ(g_textureMgr->LoadTexture("./a/b.bmp"), handle);
    EXPECT_EQ(g_textureMgr->LoadTexture("a//b.bmp"), handle);
    EXPECT_EQ(g_consoleText, "");
    // FindTexture compares the stored key as given.
    EXPECT_EQ(g_textureMgr->FindTexture("a/b.bmp"), handle);
    EXPECT_EQ(g_textureMgr->FindTexture("./a/b.bmp"), 0);
}

TEST_F(TextureMgrTest, UnreadableFilesWarnWithPathAndGiveFallback) {
    const std::string rgb = Fixture("rgb24.bmp");
    WriteTexture("truncated.bmp", rgb.substr(0, rgb.size() - 10));
    WriteTexture("renamed.bmp", Fixture("png_renamed.bmp"));
    WriteTexture("header_only.bmp", rgb.substr(0, 20));
    // Headers that promise far more pixels than the file holds are refused before SDL allocates.
    std::string huge = rgb;
    huge[18] = huge[19] = huge[20] = 0x7F;
    WriteTexture("huge.bmp", huge);
    std::string wide = rgb;
    wide[19] = 0x20;
    WriteTexture("wide.bmp", wide);

    for (const char* name :
         {"nope.bmp", "truncated.bmp", "renamed.bmp", "header_only.bmp", "huge.bmp", "wide.bmp"}) {
        g_consoleText.clear();
        EXPECT_EQ(g_textureMgr->LoadTexture(name), 0) << name;
        EXPECT_EQ(g_consoleText, std::string("Warning: Failed to load texture: ./test/tex/") + name + "\n");
    }
    // Failures are not remembered.
    WriteTexture("nope.bmp", rgb);
    EXPECT_GE(g_textureMgr->LoadTexture("nope.bmp"), 1);
}

TEST_F(TextureMgrTest, DecodesCommonBmpVariants) {
    int handles[4];
    const char* files[] = {"rgb24.bmp", "rgba32.bmp", "pal8.bmp", "rle8.bmp"};
    for (int i = 0; i < 4; ++i) {
        WriteTexture(std::string("!f_") + files[i], Fixture(files[i]));
        handles[i] = g_textureMgr->LoadTexture(std::string("!f_") + files[i]);
        ASSERT_GE(handles[i], 1) << files[i] << ": " << g_consoleText;
    }
    EXPECT_EQ(g_textureMgr->GetTexture(handles[0])->width, 3);
    EXPECT_EQ(g_textureMgr->GetTexture(handles[0])->height, 2);
    EXPECT_EQ(g_textureMgr->GetTexture(handles[2])->width, 20);

    // 24-bit and 32-bit pixels become 8x8 blocks; the 20x1 palette images 1x8 strips.
    const std::vector<Pixel> frame = Render({{handles[0], {0, 0, 24, 16}},
                                             {handles[1], {32, 0, 16, 16}},
                                             {handles[2], {0, 32, 20, 8}},
                                             {handles[3], {0, 48, 20, 8}}});
    const struct {
        int x, y;
        Pixel want;
        const char* what;
    } checks[] = {
        {4, 4, {255, 0, 0, 255}, "24-bit red"},       {12, 4, {0, 255, 0, 255}, "24-bit green"},
        {20, 12, {255, 255, 0, 255}, "24-bit yellow"}, {36, 4, {255, 0, 0, 255}, "32-bit opaque"},
        {36, 12, {255, 255, 255, 255}, "32-bit clear"}, {0, 36, {255, 0, 0, 255}, "palette first"},
        {19, 36, {0, 0, 255, 255}, "palette last"},    {19, 52, {0, 0, 255, 255}, "run-length last"},
    };
    for (const auto& check : checks) {
        EXPECT_TRUE(Near(frame[check.y * kSize + check.x], check.want)) << check.what;
    }
    EXPECT_TRUE(Near(frame[4 * kSize + 44], {127, 127, 255, 255}, 2)) << "32-bit half alpha over white";
}

TEST_F(TextureMgrTest, FallbackAndNoFilterNamesStaySharpWhenStretched) {
    WriteTexture("smooth.bmp", Fixture("rgb24.bmp"));
    WriteTexture("!f_sharp.bmp", Fixture("rgb24.bmp"));
    const int smooth = g_textureMgr->LoadTexture("smooth.bmp");
    const int sharp = g_textureMgr->LoadTexture("!f_sharp.bmp");

    // The checker, drawn through a handle that names nothing, even with filtering switched on.
    const std::vector<Pixel> checker = Render({{999, {0, 0, kSize, kSize}}});
    const Pixel magenta = {255, 0, 255, 255};
    const Pixel black = {0, 0, 0, 255};
    EXPECT_TRUE(Near(checker[0], magenta)) << "top-left";
    EXPECT_TRUE(Near(checker[31 * kSize + 31], magenta)) << "last pixel of the top-left cell";
    EXPECT_TRUE(Near(checker[31 * kSize + 32], black)) << "first pixel of the top-right cell";
    EXPECT_TRUE(Near(checker[32 * kSize + 31], black)) << "first pixel of the bottom-left cell";
    EXPECT_TRUE(Near(checker[kSize * kSize - 1], magenta)) << "bottom-right";

    // Red then green, 20 times wider: filtering blends at the seam, "!f_" keeps it hard.
    const std::vector<Pixel> seams = Render({{smooth, {0, 0, 60, 20}}, {sharp, {0, 40, 60, 20}}});
    const Pixel blended = seams[5 * kSize + 19];
    EXPECT_TRUE(blended.r < 250 && blended.g > 5) << "filtered seam " << int(blended.r) << "," << int(blended.g);
    EXPECT_TRUE(Near(seams[45 * kSize + 19], {255, 0, 0, 255})) << "unfiltered seam, red side";
    EXPECT_TRUE(Near(seams[45 * kSize + 20], {0, 255, 0, 255})) << "unfiltered seam, green side";
}

TEST_F(TextureMgrTest, HoldersCountReferencesAndReleaseAfterGracePeriod) {
    for (const char* name : {"a.bmp", "b.bmp", "c.bmp"}) {
        WriteTexture(name, Fixture("rgb24.bmp"));
    }
    int first = 0;
    int second = 0;
    g_textureMgr->SetTexture("a.bmp", first);
    ASSERT_GE(first, 1);
    // Loads may grow the table, so the entry is looked up afresh each time.
    auto a = [&] { return g_textureMgr->GetTexture(first); };
    SDL_Texture* gpu = a()->sdlTexture;
    g_textureMgr->SetTexture("./a.bmp", first);
    EXPECT_EQ(a()->refCount, 1) << "the holder already had it";
    g_textureMgr->SetTexture("a.bmp", second);
    EXPECT_EQ(a()->refCount, 2);

    g_textureMgr->ReleaseTexture(first);
    EXPECT_EQ(a()->releaseTime, 0u);
    g_textureMgr->ReleaseTexture(second);
    EXPECT_EQ(a()->refCount, 0);
    EXPECT_EQ(a()->releaseTime, 31000u);

    // Acquired again inside the grace period: same entry and GPU texture, release cancelled.
    s_now = 20000;
    int again = 0;
    g_textureMgr->SetTexture("a.bmp", again);
    EXPECT_EQ(again, first);
    EXPECT_EQ(a()->sdlTexture, gpu);
    EXPECT_EQ(a()->releaseTime, 0u);

    // Switching a holder to another name gives the old one back.
    g_textureMgr->SetTexture("b.bmp", again);
    EXPECT_NE(again, first);
    EXPECT_EQ(a()->releaseTime, 50000u);
    // Releasing at zero clamps and pushes the deadline out.
    s_now = 21000;
    g_textureMgr->ReleaseTexture(first);
    EXPECT_EQ(a()->refCount, 0);
    EXPECT_EQ(a()->releaseTime, 51000u);

    s_now = 50999;
    for (int i = 0; i < 4; ++i) {
        g_textureMgr->Collect();
    }
    EXPECT_EQ(a()->width, 3) << "collected before its deadline";
    s_now = 51000;
    for (int i = 0; i < 2; ++i) {
        g_textureMgr->Collect();
    }
    EXPECT_EQ(a()->width, 0);
    EXPECT_EQ(a()->name, "");
    EXPECT_EQ(a()->sdlTexture, nullptr);
    EXPECT_EQ(g_textureMgr->GetTexture(again)->width, 3) << "a held texture was collected";
    // The next load of another file takes the freed index.
    EXPECT_EQ(g_textureMgr->LoadTexture("c.bmp"), first);
}

TEST_F(TextureMgrTest, CollectorFreesOneEntryPerFrameAndSkipsKeptTextures) {
    for (const char* name : {"p.bmp", "plain.bmp", "x.bmp", "y.bmp"}) {
        WriteTexture(name, Fixture("rgb24.bmp"));
    }
    const int persistent = g_textureMgr->LoadPersistentTexture("p.bmp");
    const int plain = g_textureMgr->LoadTexture("plain.bmp");
    int x = 0;
    int y = 0;
    g_textureMgr->SetTexture("x.bmp", x);
    g_textureMgr->SetTexture("y.bmp", y);
    ASSERT_EQ(y, 4);
    // Scheduled, yet never collected.
    g_textureMgr->ReleaseTexture(persistent);
    g_textureMgr->ReleaseTexture(x);
    g_textureMgr->ReleaseTexture(y);

    s_now += 60000;
    // The cursor visits entries 1 and 2 (kept) and then 3.
    for (int i = 0; i < 3; ++i) {
        g_textureMgr->Collect();
    }
    EXPECT_EQ(g_textureMgr->GetTexture(x)->width, 0);
    EXPECT_EQ(g_textureMgr->GetTexture(y)->width, 3) << "more than one entry freed in one frame";
    for (int i = 0; i < 8; ++i) {
        g_textureMgr->Collect();
    }
    EXPECT_EQ(g_textureMgr->GetTexture(y)->width, 0);
    EXPECT_EQ(g_textureMgr->GetTexture(persistent)->width, 3);
    EXPECT_EQ(g_textureMgr->GetTexture(plain)->width, 3);
}

TEST_F(TextureMgrTest, BadHandlesAreTolerated) {
    SDL_Texture* fallback = g_textureMgr->GetSDLTexture(0);
    ASSERT_NE(fallback, nullptr);
    EXPECT_EQ(g_textureMgr->GetTexture(0)->name, "missing");
    EXPECT_EQ(g_textureMgr->GetTexture(-1), nullptr);
    EXPECT_EQ(g_textureMgr->GetTexture(1), nullptr);
    EXPECT_EQ(g_textureMgr->GetSDLTexture(-1), fallback);
    EXPECT_EQ(g_textureMgr->GetSDLTexture(7), fallback);

    for (int handle : {0, -3, 12}) {
        g_textureMgr->UnloadTexture(handle);
        g_textureMgr->ReleaseTexture(handle);
    }
    // The fallback is never counted, and a failed load leaves the holder on it.
    int holder = 0;
    g_textureMgr->SetTexture("absent.bmp", holder);
    EXPECT_EQ(holder, 0);
    EXPECT_EQ(g_textureMgr->GetSDLTexture(0), fallback);
    EXPECT_EQ(g_textureMgr->GetTexture(0)->refCount, 0);
    EXPECT_EQ(g_textureMgr->GetTexture(0)->releaseTime, 0u);

    // A record held outside the table loses only its GPU objects.
    SDL_Surface* surface = SDL_CreateRGBSurfaceWithFormat(0, 4, 4, 32, SDL_PIXELFORMAT_RGBA32);
    Texture outside = g_renderer->CreateTexture(surface, "label", true);
    SDL_FreeSurface(surface);
    ASSERT_NE(outside.sdlTexture, nullptr);
    g_textureMgr->FreeTextureRecord(&outside);
    g_textureMgr->FreeTextureRecord(nullptr);
    EXPECT_EQ(outside.sdlTexture, nullptr);
    EXPECT_EQ(outside.width, 4);

    g_textureMgr->Shutdown();
    EXPECT_EQ(g_textureMgr->GetSDLTexture(0), nullptr);
    g_textureMgr->Collect();
}

}  // namespace
