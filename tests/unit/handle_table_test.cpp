#include <SDL.h>
#include <gtest/gtest.h>

#include <string>

#include "resources/handle_table.h"

namespace {

// A plain record whose "loaded" stands for what a real one holds, on a clock the test moves; frees are counted.
struct Plain {
    std::string name;
    uint64_t releaseTime = 0;
    int32_t refCount = 0;
    bool persistent = false, loaded = true;
};
int s_frees = 0;
uint64_t s_now = 1000;
struct PlainEntries {
    static constexpr bool kLookupMatchesFree = false;
    static bool IsFree(const Plain& p) { return !p.loaded; }
    static void Free(Plain& p) {
        s_frees += p.loaded ? 1 : 0;
        p = Plain{std::string(), 0, 0, p.persistent, false};
    }
};

class HandleTableTest : public ::testing::Test {
protected:
    void SetUp() override {
        g_resourceTicks = [] { return s_now; };
        table.entries.push_back(Plain{"fallback", 0, 0, true, true});
    }
    void TearDown() override { g_resourceTicks = SDL_GetTicks64; }
    // "absent" cannot be loaded.
    int Load(const std::string& name) {
        const int cached = table.Find(NormalizeAssetName(name));
        return cached ? cached : name == "absent" ? 0 : table.Place(Plain{NormalizeAssetName(name)});
    }
    void Set(const std::string& name, int& handle) {
        table.Set(name, handle, [this](const std::string& n) { return Load(n); });
    }
    void Collect(int frames) { while (frames-- > 0) table.Collect(); }
    Plain& At(int handle) { return table.entries[handle]; }
    HandleTable<Plain, PlainEntries> table;
};

TEST(AssetNames, NormalisationFoldsSeparatorsAndOneLeadingDot) {
    const char* const cases[][2] = {
        {"sub\\\\dir//a.bmp", "sub/dir/a.bmp"}, {".\\x.bmp", "x.bmp"}, {".//x.bmp", "x.bmp"}, {"../x.bmp", "../x.bmp"},
        {"././x.bmp", "./x.bmp"}, {"//", "/"}};
    for (const auto& c : cases) EXPECT_EQ(NormalizeAssetName(c[0]), c[1]) << c[0];
}

TEST_F(HandleTableTest, HoldersCountReferencesAndTheCollectorFreesOneExpiredEntryPerFrame) {
    int a = 0, second = 0, moved = 0, y = 0;
    Set("a", a);
    Set("./a", a);
    EXPECT_EQ(At(a).refCount, 1) << "the holder already had it";
    Set("a", second);
    EXPECT_EQ(second, a);
    EXPECT_EQ(At(a).refCount, 2);
    table.Release(a);
    EXPECT_EQ(At(a).releaseTime, 0u) << "still held";
    table.Release(second);
    EXPECT_EQ(At(a).releaseTime, 31000u);
    s_now = 5000;
    table.Release(a);
    EXPECT_EQ(At(a).refCount, 0) << "clamped at zero";
    EXPECT_EQ(At(a).releaseTime, 35000u) << "and rescheduled";
    Set("a", moved);
    EXPECT_EQ(At(a).releaseTime, 0u) << "acquiring again cancels the release";
    s_now = 10000;
    Set("b", moved);
    EXPECT_EQ(At(a).releaseTime, 40000u) << "moving a holder releases what it had";
    Set("y", y);
    const int kept = Load("kept"), plain = Load("plain");
    At(kept).persistent = true;
    table.Release(y);
    table.Release(kept);
    s_now = 39999;
    Collect(10);
    EXPECT_EQ(s_frees, 0) << "collected before the deadline";
    s_now = 40000;
    Collect(1);
    EXPECT_EQ(s_frees, 1) << "one entry per frame";
    Collect(10);
    EXPECT_EQ(s_frees, 2);
    EXPECT_FALSE(At(y).loaded);
    for (int handle : {moved, kept, plain}) {
        EXPECT_TRUE(At(handle).loaded) << "held, persistent, or loaded and never held: " << At(handle).name;
    }
    EXPECT_EQ(Load("z"), a) << "the next load takes the first freed index";
}

TEST_F(HandleTableTest, BadHandlesAndTheFallbackAreNeverCountedOrFreed) {
    int holder = 0;
    Set("absent", holder);
    EXPECT_EQ(holder, 0);
    for (int handle : {0, -1, 7}) {
        table.Release(handle);
        table.Unload(handle);
    }
    EXPECT_EQ(At(0).refCount, 0);
    EXPECT_EQ(At(0).releaseTime, 0u);
    EXPECT_EQ(s_frees, 0);
    EXPECT_EQ(table.Get(-1), nullptr);
    EXPECT_EQ(table.Get(1), nullptr);
    EXPECT_EQ(table.GetOrFallback(9), &At(0));
    table.Clear();
    EXPECT_EQ(table.GetOrFallback(0), nullptr) << "nothing left after clearing";
    Collect(1);
}

}  // namespace
