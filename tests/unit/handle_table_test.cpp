#include <SDL.h>
#include <gtest/gtest.h>

#include <string>

#include "resources/handle_table.h"

namespace {

// A plain record; "loaded" stands for whatever a real record holds. Frees are counted.
struct Plain {
    std::string name;
    uint64_t releaseTime = 0;
    int32_t refCount = 0;
    bool persistent = false;
    bool loaded = true;
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
    int Load(const std::string& name) {
        const int cached = table.Find(NormalizeAssetName(name));
        loads += cached ? 0 : 1;
        return cached ? cached : name == "absent" ? 0 : table.Place(Plain{NormalizeAssetName(name)});
    }
    void Set(const std::string& name, int& handle) {
        table.Set(name, handle, [this](const std::string& n) { return Load(n); });
    }
    void Collect(int frames) {
        for (int i = 0; i < frames; ++i) {
            table.Collect();
        }
    }
    Plain& At(int handle) { return table.entries[handle]; }
    HandleTable<Plain, PlainEntries> table;
    int loads = 0;
};

TEST(AssetNames, NormalisationFoldsSeparatorsAndOneLeadingDot) {
    const char* const cases[][2] = {{"sub\\\\dir//a.bmp", "sub/dir/a.bmp"}, {".\\x.bmp", "x.bmp"}, {".//x.bmp", "x.bmp"},
                                    {"../x.bmp", "../x.bmp"}, {"././x.bmp", "./x.bmp"}, {"//", "/"}};
    for (const auto& c : cases) {
        EXPECT_EQ(NormalizeAssetName(c[0]), c[1]) << c[0];
    }
}

TEST_F(HandleTableTest, HoldersCountReferencesAndTheLastReleaseSchedulesThirtySecondsOut) {
    int first = 0, second = 0, again = 0;
    Set("a", first);
    Set("./a", first);
    EXPECT_EQ(At(first).refCount, 1) << "the holder already had it";
    Set("a", second);
    EXPECT_EQ(second, first);
    EXPECT_EQ(At(first).refCount, 2);
    EXPECT_EQ(loads, 1);
    table.Release(first);
    EXPECT_EQ(At(first).releaseTime, 0u);
    table.Release(second);
    EXPECT_EQ(At(first).releaseTime, 31000u);
    s_now = 5000;
    table.Release(first);
    EXPECT_EQ(At(first).refCount, 0) << "clamped at zero";
    EXPECT_EQ(At(first).releaseTime, 35000u) << "and rescheduled";
    s_now = 20000;
    Set("a", again);
    EXPECT_EQ(At(first).releaseTime, 0u) << "acquiring again cancels the release";
    Set("b", again);
    EXPECT_EQ(At(first).releaseTime, 50000u) << "moving a holder releases what it had";
}

TEST_F(HandleTableTest, CollectorFreesOneExpiredEntryPerFrameAndKeepsTheRest) {
    int x = 0, y = 0, held = 0;
    Set("x", x);
    Set("y", y);
    Set("held", held);
    const int kept = Load("kept"), plain = Load("plain");
    At(kept).persistent = true;
    for (int handle : {kept, x, y}) {
        table.Release(handle);
    }
    s_now = 30999;
    Collect(10);
    EXPECT_EQ(s_frees, 0) << "collected before the deadline";
    s_now = 31000;
    Collect(1);
    EXPECT_EQ(s_frees, 1) << "one entry per frame";
    Collect(10);
    EXPECT_EQ(s_frees, 2);
    EXPECT_FALSE(At(y).loaded);
    for (int handle : {held, kept, plain}) {
        EXPECT_TRUE(At(handle).loaded) << "held, persistent, or loaded and never held: " << At(handle).name;
    }
    EXPECT_EQ(Load("z"), x) << "the next load takes the first freed index";
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
    EXPECT_EQ(table.GetOrFallback(-1), &At(0));
    EXPECT_EQ(table.GetOrFallback(9), &At(0));
    table.Clear();
    EXPECT_EQ(table.GetOrFallback(0), nullptr) << "nothing left after clearing";
    Collect(1);
}

}  // namespace
