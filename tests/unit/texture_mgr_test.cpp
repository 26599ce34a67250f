#include <SDL.h>
#include <gtest/gtest.h>

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <memory>
#include <sstream>
#include <string>

#include "console/cvars.h"
#include "engine/console_output.h"
#include "engine/engine.h"
#include "render/renderer.h"
#include "resources/texture_mgr.h"
#include "support/engine_fixture.h"

namespace fs = std::filesystem;

namespace {

const int kWidth = 64;
const int kHeight = 64;

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

std::string Describe(Pixel p) {
    char text[48];
    std::snprintf(text, sizeof(text), "(%d, %d, %d, %d)", p.r, p.g, p.b, p.a);
    return text;
}

// Each channel within tolerance of the expected value.
::testing::AssertionResult Near(Pixel got, Pixel want, int tolerance = 0) {
    const int diffs[] = {got.r - want.r, got.g - want.g, got.b - want.b, got.a - want.a};
    for (int d : diffs) {
        if (d > tolerance || d < -tolerance) {
            return ::testing::AssertionFailure() << "expected " << Describe(want) << ", got " << Describe(got);
        }
    }
    return ::testing::AssertionSuccess();
}

// An offscreen window with a real SDLRenderer on the software driver, the texture manager initialised
// in a temporary working directory, and a clock the test moves by hand.
class TextureMgrTest : public ::testing::Test {
protected:
    void SetUp() override {
        SDL_SetHint(SDL_HINT_RENDER_DRIVER, "software");
        // Keeps the window surface in plain memory: no GL library is loaded and unloaded per test.
        SDL_SetHint(SDL_HINT_FRAMEBUFFER_ACCELERATION, "0");
        ASSERT_EQ(SDL_Init(SDL_INIT_VIDEO), 0) << SDL_GetError();
        g_window = SDL_CreateWindow("textures", 0, 0, kWidth, kHeight, SDL_WINDOW_HIDDEN);
        ASSERT_NE(g_window, nullptr) << SDL_GetError();
        g_renderer = NewSDLRenderer();
        ASSERT_TRUE(g_renderer && g_renderer->Init());
        g_renderer->SetBlendMode(SDL_BLENDMODE_BLEND);
        dir.reset(new TempWorkDir());
        fs::create_directories("test/tex");
        s_now = 1000;
        g_resourceTicks = FakeTicks;
        cv_filter_textures.SetInt(1);
        g_consoleText.clear();
        ASSERT_TRUE(g_textureMgr->Init());
    }

    void TearDown() override {
        g_textureMgr->Shutdown();
        g_resourceTicks = SDL_GetTicks64;
        dir.reset();
        delete g_renderer;
        g_renderer = nullptr;
        if (g_window) {
            SDL_DestroyWindow(g_window);
        }
        g_window = nullptr;
        SDL_Quit();
    }

    void WriteTexture(const std::string& name, const std::string& bytes) {
        dir->WriteFile("test/tex/" + name, bytes);
    }

    // Clears to the colour, draws, and reads the frame back before presenting.
    template <typename DrawFn>
    std::vector<Pixel> Render(Color background, DrawFn draw) {
        g_renderer->SetDrawColor(background.r, background.g, background.b, background.a);
        g_renderer->Clear();
        draw();
        std::vector<Pixel> pixels(kWidth * kHeight);
        SDL_Renderer* sdl = SDL_GetRenderer(g_window);
        EXPECT_EQ(SDL_RenderReadPixels(sdl, nullptr, SDL_PIXELFORMAT_RGBA32, pixels.data(), kWidth * 4), 0);
        g_renderer->Present();
        return pixels;
    }

    static Pixel At(const std::vector<Pixel>& pixels, int x, int y) { return pixels[y * kWidth + x]; }

    std::unique_ptr<TempWorkDir> dir;
};

const Color kWhite = {255, 255, 255, 255};
const Pixel kMagenta = {255, 0, 255, 255};
const Pixel kBlack = {0, 0, 0, 255};

TEST(AssetNames, NormalisationFoldsSeparatorsAndOneLeadingDot) {
    EXPECT_EQ(NormalizeAssetName("sub\\\\dir//a.bmp"), "sub/dir/a.bmp");
    EXPECT_EQ(NormalizeAssetName("./x.bmp"), "x.bmp");
    EXPECT_EQ(NormalizeAssetName(".\\x.bmp"), "x.bmp");
    EXPECT_EQ(NormalizeAssetName(".//x.bmp"), "x.bmp");
    EXPECT_EQ(NormalizeAssetName("../x.bmp"), "../x.bmp");
    EXPECT_EQ(NormalizeAssetName("././x.bmp"), "./x.bmp");
    EXPECT_EQ(NormalizeAssetName("a/"), "a/");
    EXPECT_EQ(NormalizeAssetName("//"), "/");
    EXPECT_EQ(NormalizeAssetName(""), "");
}

TEST_F(TextureMgrTest, NormalisedNamesHitOneEntry) {
    WriteTexture("a/b.bmp", Fixture("rgb24.bmp"));
    const int handle = g_textureMgr->LoadTexture("a/b.bmp");
    ASSERT_GE(handle, 1) << g_consoleText;
    // With the file gone, only the cache can answer.
    fs::remove("test/tex/a/b.bmp");
    EXPECT_EQ(g_textureMgr->LoadTexture("a\\b.bmp"), handle);
    EXPECT_EQ(g_textureMgr->LoadTexture("./a/b.bmp"), handle);
    EXPECT_EQ(g_textureMgr->LoadTexture("a//b.bmp"), handle);
    EXPECT_EQ(g_consoleText, "");
    EXPECT_EQ(g_textureMgr->GetTexture(handle)->name, "a/b.bmp");

    // FindTexture compares the stored key as given.
    EXPECT_EQ(g_textureMgr->FindTexture("a/b.bmp"), handle);
    EXPECT_EQ(g_textureMgr->FindTexture("./a/b.bmp"), 0);
    EXPECT_EQ(g_textureMgr->FindTexture("missing"), 0);
}

TEST_F(TextureMgrTest, UnreadableFilesWarnWithPathAndGiveFallback) {
    const std::string rgb = Fixture("rgb24.bmp");
    WriteTexture("truncated.bmp", rgb.substr(0, rgb.size() - 10));
    WriteTexture("renamed.bmp", Fixture("png_renamed.bmp"));
    WriteTexture("stub.bmp", rgb.substr(0, 20));
    // Headers that promise far more pixels than the file holds are refused before SDL allocates.
    std::string huge = rgb;
    huge[18] = huge[19] = huge[20] = 0x7F;  // width 8355711
    WriteTexture("huge.bmp", huge);
    std::string wide = rgb;
    wide[18] = 0x00;
    wide[19] = 0x20;  // 8192 x 2
    WriteTexture("wide.bmp", wide);

    const char* names[] = {"nope.bmp", "truncated.bmp", "renamed.bmp", "stub.bmp", "huge.bmp", "wide.bmp"};
    for (const char* name : names) {
        g_consoleText.clear();
        EXPECT_EQ(g_textureMgr->LoadTexture(name), 0) << name;
        EXPECT_EQ(g_consoleText, std::string("Warning: Failed to load texture: ./test/tex/") + name + "\n");
    }

    // Failures are not remembered: once the file is good the same name loads.
    WriteTexture("nope.bmp", rgb);
    g_consoleText.clear();
    EXPECT_GE(g_textureMgr->LoadTexture("nope.bmp"), 1);
    EXPECT_EQ(g_consoleText, "");
}

TEST_F(TextureMgrTest, DecodesCommonBmpVariants) {
    const char* files[] = {"rgb24.bmp", "rgba32.bmp", "pal8.bmp", "rle8.bmp"};
    for (const char* file : files) {
        WriteTexture(std::string("!f_") + file, Fixture(file));
    }
    const int rgb = g_textureMgr->LoadTexture("!f_rgb24.bmp");
    const int rgba = g_textureMgr->LoadTexture("!f_rgba32.bmp");
    const int pal = g_textureMgr->LoadTexture("!f_pal8.bmp");
    const int rle = g_textureMgr->LoadTexture("!f_rle8.bmp");
    ASSERT_GE(rgb, 1) << g_consoleText;
    ASSERT_GE(rgba, 1) << g_consoleText;
    ASSERT_GE(pal, 1) << g_consoleText;
    ASSERT_GE(rle, 1) << g_consoleText;
    EXPECT_EQ(g_textureMgr->GetTexture(rgb)->width, 3);
    EXPECT_EQ(g_textureMgr->GetTexture(rgb)->height, 2);
    EXPECT_EQ(g_textureMgr->GetTexture(pal)->width, 20);
    EXPECT_EQ(g_textureMgr->GetTexture(rle)->height, 1);

    // Each source pixel becomes an 8x8 block; sample block centres.
    const std::vector<Pixel> frame = Render(kWhite, [&] {
        const Rect rgbRect = {0, 0, 24, 16};
        const Rect rgbaRect = {32, 0, 16, 16};
        const Rect palRect = {0, 32, 20, 8};
        const Rect rleRect = {0, 48, 20, 8};
        g_renderer->DrawTextureById(&rgbRect, kWhite, rgb);
        g_renderer->DrawTextureById(&rgbaRect, kWhite, rgba);
        g_renderer->DrawTextureById(&palRect, kWhite, pal);
        g_renderer->DrawTextureById(&rleRect, kWhite, rle);
    });
    EXPECT_TRUE(Near(At(frame, 4, 4), {255, 0, 0, 255})) << "24-bit top-left";
    EXPECT_TRUE(Near(At(frame, 12, 4), {0, 255, 0, 255})) << "24-bit top-middle";
    EXPECT_TRUE(Near(At(frame, 20, 4), {0, 0, 255, 255})) << "24-bit top-right";
    EXPECT_TRUE(Near(At(frame, 20, 12), {255, 255, 0, 255})) << "24-bit bottom-right";
    EXPECT_TRUE(Near(At(frame, 36, 4), {255, 0, 0, 255})) << "32-bit opaque";
    EXPECT_TRUE(Near(At(frame, 44, 4), {127, 127, 255, 255}, 2)) << "32-bit half-transparent over white";
    EXPECT_TRUE(Near(At(frame, 36, 12), {255, 255, 255, 255})) << "32-bit fully transparent";
    EXPECT_TRUE(Near(At(frame, 0, 36), {255, 0, 0, 255})) << "palette first entry";
    EXPECT_TRUE(Near(At(frame, 19, 36), {0, 0, 255, 255})) << "palette last entry";
    EXPECT_TRUE(Near(At(frame, 0, 52), {255, 0, 0, 255})) << "run-length first entry";
    EXPECT_TRUE(Near(At(frame, 19, 52), {0, 0, 255, 255})) << "run-length last entry";
}

TEST_F(TextureMgrTest, FallbackAndNoFilterNamesStaySharpWhenStretched) {
    const std::string rgb = Fixture("rgb24.bmp");
    WriteTexture("smooth.bmp", rgb);
    WriteTexture("!f_sharp.bmp", rgb);
    const int smooth = g_textureMgr->LoadTexture("smooth.bmp");
    const int sharp = g_textureMgr->LoadTexture("!f_sharp.bmp");
    ASSERT_GE(smooth, 1);
    ASSERT_GE(sharp, 1);

    const std::vector<Pixel> checker = Render(kWhite, [&] {
        const Rect full = {0, 0, kWidth, kHeight};
        g_renderer->DrawTextureById(&full, kWhite, 0);
    });
    EXPECT_TRUE(Near(At(checker, 0, 0), kMagenta)) << "top-left";
    EXPECT_TRUE(Near(At(checker, 31, 31), kMagenta)) << "last pixel of the top-left cell";
    EXPECT_TRUE(Near(At(checker, 32, 31), kBlack)) << "first pixel of the top-right cell";
    EXPECT_TRUE(Near(At(checker, 31, 32), kBlack)) << "first pixel of the bottom-left cell";
    EXPECT_TRUE(Near(At(checker, 63, 63), kMagenta)) << "bottom-right";

    // A handle that names nothing draws the checker too.
    const std::vector<Pixel> unknown = Render(kWhite, [&] {
        const Rect full = {0, 0, kWidth, kHeight};
        g_renderer->DrawTextureById(&full, kWhite, 999);
    });
    EXPECT_TRUE(Near(At(unknown, 48, 16), kBlack));
    EXPECT_TRUE(Near(At(unknown, 48, 48), kMagenta));

    // Red and green stretched 20 times: filtering blends at the seam, "!f_" keeps it hard.
    const std::vector<Pixel> stretched = Render(kWhite, [&] {
        const Rect top = {0, 0, 60, 40};
        const Rect bottom = {0, 40, 60, 40};
        g_renderer->DrawTextureById(&top, kWhite, smooth);
        g_renderer->DrawTextureById(&bottom, kWhite, sharp);
    });
    const Pixel blended = At(stretched, 19, 5);
    EXPECT_TRUE(blended.r < 250 && blended.g > 5) << "filtered seam: " << Describe(blended);
    EXPECT_TRUE(Near(At(stretched, 19, 45), {255, 0, 0, 255})) << "unfiltered seam, red side";
    EXPECT_TRUE(Near(At(stretched, 20, 45), {0, 255, 0, 255})) << "unfiltered seam, green side";
}

TEST_F(TextureMgrTest, HoldersCountReferencesAndReleaseAfterGracePeriod) {
    WriteTexture("a.bmp", Fixture("rgb24.bmp"));
    WriteTexture("b.bmp", Fixture("rgb24.bmp"));
    int first = 0;
    int second = 0;
    g_textureMgr->SetTexture("a.bmp", first);
    ASSERT_GE(first, 1);
    // Loads may grow the table, so the entry is looked up afresh each time.
    auto a = [&] { return g_textureMgr->GetTexture(first); };
    SDL_Texture* gpu = a()->sdlTexture;
    EXPECT_EQ(a()->refCount, 1);
    // The holder already has it: no second reference.
    g_textureMgr->SetTexture("./a.bmp", first);
    EXPECT_EQ(a()->refCount, 1);
    g_textureMgr->SetTexture("a.bmp", second);
    EXPECT_EQ(second, first);
    EXPECT_EQ(a()->refCount, 2);

    g_textureMgr->ReleaseTexture(first);
    EXPECT_EQ(a()->refCount, 1);
    EXPECT_EQ(a()->releaseTime, 0u);
    g_textureMgr->ReleaseTexture(second);
    EXPECT_EQ(a()->refCount, 0);
    EXPECT_EQ(a()->releaseTime, 31000u);

    // Acquired again inside the grace period: same entry, same GPU texture, release cancelled.
    s_now = 20000;
    int again = 0;
    g_textureMgr->SetTexture("a.bmp", again);
    EXPECT_EQ(again, first);
    EXPECT_EQ(a()->sdlTexture, gpu);
    EXPECT_EQ(a()->releaseTime, 0u);
    EXPECT_EQ(a()->refCount, 1);

    // Switching a holder to another name gives the old one back.
    g_textureMgr->SetTexture("b.bmp", again);
    ASSERT_GE(again, 1);
    EXPECT_NE(again, first);
    EXPECT_EQ(a()->refCount, 0);
    EXPECT_EQ(a()->releaseTime, 50000u);

    // Releasing at zero clamps and pushes the deadline out.
    s_now = 21000;
    g_textureMgr->ReleaseTexture(first);
    EXPECT_EQ(a()->refCount, 0);
    EXPECT_EQ(a()->releaseTime, 51000u);

    s_now = 50999;
    for (int i = 0; i < 10; ++i) {
        g_textureMgr->Collect();
    }
    EXPECT_EQ(a()->width, 3) << "collected before its deadline";

    s_now = 51000;
    for (int i = 0; i < 3; ++i) {
        g_textureMgr->Collect();
    }
    EXPECT_EQ(a()->width, 0);
    EXPECT_EQ(a()->name, "");
    EXPECT_EQ(a()->sdlTexture, nullptr);
    EXPECT_EQ(g_textureMgr->GetTexture(again)->width, 3) << "a held texture was collected";

    // The next load of another file takes the freed index.
    WriteTexture("c.bmp", Fixture("rgb24.bmp"));
    EXPECT_EQ(g_textureMgr->LoadTexture("c.bmp"), first);
    EXPECT_EQ(g_textureMgr->GetTexture(first)->name, "c.bmp");
}

TEST_F(TextureMgrTest, CollectorFreesOneEntryPerFrameAndSkipsKeptTextures) {
    const char* names[] = {"p.bmp", "plain.bmp", "x.bmp", "y.bmp"};
    for (const char* name : names) {
        WriteTexture(name, Fixture("rgb24.bmp"));
    }
    const int persistent = g_textureMgr->LoadPersistentTexture("p.bmp");
    const int plain = g_textureMgr->LoadTexture("plain.bmp");
    int x = 0;
    int y = 0;
    g_textureMgr->SetTexture("x.bmp", x);
    g_textureMgr->SetTexture("y.bmp", y);
    ASSERT_EQ(persistent, 1);
    ASSERT_EQ(plain, 2);
    ASSERT_EQ(x, 3);
    ASSERT_EQ(y, 4);
    EXPECT_TRUE(g_textureMgr->GetTexture(persistent)->persistent);
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
    g_textureMgr->Collect();
    EXPECT_EQ(g_textureMgr->GetTexture(y)->width, 0);
    for (int i = 0; i < 8; ++i) {
        g_textureMgr->Collect();
    }
    EXPECT_EQ(g_textureMgr->GetTexture(persistent)->width, 3);
    EXPECT_EQ(g_textureMgr->GetTexture(plain)->width, 3);
}

TEST_F(TextureMgrTest, BadHandlesAreTolerated) {
    SDL_Texture* fallback = g_textureMgr->GetSDLTexture(0);
    ASSERT_NE(fallback, nullptr);
    const Texture* entry0 = g_textureMgr->GetTexture(0);
    ASSERT_NE(entry0, nullptr);
    EXPECT_EQ(entry0->name, "missing");
    EXPECT_TRUE(entry0->persistent);
    EXPECT_EQ(entry0->width, 2);

    EXPECT_EQ(g_textureMgr->GetTexture(-1), nullptr);
    EXPECT_EQ(g_textureMgr->GetTexture(1), nullptr);
    EXPECT_EQ(g_textureMgr->GetSDLTexture(-1), fallback);
    EXPECT_EQ(g_textureMgr->GetSDLTexture(7), fallback);
    EXPECT_EQ(g_textureMgr->GetGLTexture(-1), 0u);

    g_textureMgr->UnloadTexture(0);
    g_textureMgr->UnloadTexture(-3);
    g_textureMgr->UnloadTexture(12);
    g_textureMgr->ReleaseTexture(0);
    g_textureMgr->ReleaseTexture(-1);
    g_textureMgr->ReleaseTexture(5);
    EXPECT_EQ(g_textureMgr->GetSDLTexture(0), fallback);
    EXPECT_EQ(entry0->refCount, 0);
    EXPECT_EQ(entry0->releaseTime, 0u);

    // The fallback is never counted, and a failed load leaves the holder on it.
    int holder = 0;
    g_textureMgr->SetTexture("absent.bmp", holder);
    EXPECT_EQ(holder, 0);
    EXPECT_EQ(entry0->refCount, 0);

    // A record held outside the table loses only its GPU objects.
    SDL_Surface* surface = SDL_CreateRGBSurfaceWithFormat(0, 4, 4, 32, SDL_PIXELFORMAT_RGBA32);
    ASSERT_NE(surface, nullptr);
    Texture outside = g_renderer->CreateTexture(surface, "label", true);
    SDL_FreeSurface(surface);
    ASSERT_NE(outside.sdlTexture, nullptr);
    g_textureMgr->FreeTextureRecord(&outside);
    g_textureMgr->FreeTextureRecord(nullptr);
    EXPECT_EQ(outside.sdlTexture, nullptr);
    EXPECT_EQ(outside.name, "label");
    EXPECT_EQ(outside.width, 4);

    g_textureMgr->Shutdown();
    EXPECT_EQ(g_textureMgr->GetTexture(0), nullptr);
    EXPECT_EQ(g_textureMgr->GetSDLTexture(0), nullptr);
    g_textureMgr->Collect();
}

}  // namespace
