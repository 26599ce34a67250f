#include <SDL.h>
#include <gtest/gtest.h>

#include <string>

#include "resources/handle_table.h"

namespace {

// A plain record: "loaded" stands for whatever a real record holds; frees are counted.
struct Plain {
    std::string name;
    uint64_t releaseTime = 0;
    int32_t refCount = 0;
    bool persistent = false;
    bool loaded = true;
};
int s_frees = 0;
struct PlainEntries {
    static constexpr bool kLookupMatchesFree = false;
    static bool IsFree(const Plain& p) { return !p.loaded; }
    static void Free(Plain& p) {
        s_frees += p.loaded ? 1 : 0;
        p = Plain{std::string(), 0, 0, p.persistent, false};
    }
};
uint64_t s_now = 0;

class HandleTableTest : public ::testing::Test {
protected:
    void SetUp() override {
        s_now = 1000;
        s_frees = 0;
        g_resourceTicks = [] { return s_now; };
        table.entries.push_back(Plain{"fallback", 0, 0, true, true});
    }
    void TearDown() override { g_resourceTicks = SDL_GetTicks64; }
    int Load(const std::string& name) {
        const std::string key = NormalizeAssetName(name);
        if (const int cached = table.Find(key)) {
            return cached;
        }
        ++loads;
        return name == "absent" ? 0 : table.Place(Plain{key});
    }
    void Set(const std::string& name, int& handle) {
        table.Set(name, handle, [this](const std::string& n) { return Load(n); });
    }
    void CollectFrames(int frames) {
        for (int i = 0; i < frames; ++i) {
            table.Collect();
        }
    }
    HandleTable<Plain, PlainEntries> table;
    int loads = 0;
};

TEST(AssetNames, NormalisationFoldsSeparatorsAndOneLeadingDot) {
    const char* const cases[][2] = {{"sub\\\\dir//a.bmp", "sub/dir/a.bmp"}, {".\\x.bmp", "x.bmp"},
                                    {".//x.bmp", "x.bmp"}, {"../x.bmp", "../x.bmp"},
                                    {"././x.bmp", "./x.bmp"}, {"//", "/"}};
    for (const auto& c : cases) {
        EXPECT_EQ(NormalizeAssetName(c[0]), c[1]) << c[0];
    }
}

TEST_F(HandleTableTest, HoldersCountReferencesAndTheLastReleaseSchedulesThirtySecondsOut) {
    int first = 0, second = 0;
    Set("a", first);
    Set("./a", first);
    EXPECT_EQ(table.entries[first].refCount, 1) << "the holder already had it";
    Set("a", second);
    EXPECT_EQ(second, first);
    EXPECT_EQ(table.entries[first].refCount, 2);
    EXPECT_EQ(loads, 1);
    table.Release(first);
    EXPECT_EQ(table.entries[first].releaseTime, 0u);
    table.Release(second);
    EXPECT_EQ(table.entries[first].releaseTime, 31000u);
    s_now = 5000;
    table.Release(first);
    EXPECT_EQ(table.entries[first].refCount, 0) << "clamped at zero";
    EXPECT_EQ(table.entries[first].releaseTime, 35000u) << "and rescheduled";

    s_now = 20000;
    int again = 0;
    Set("a", again);
    EXPECT_EQ(again, first);
    EXPECT_EQ(table.entries[first].releaseTime, 0u) << "acquiring again cancels the release";
    Set("b", again);
    EXPECT_EQ(table.entries[first].releaseTime, 50000u) << "moving a holder releases what it had";
}

TEST_F(HandleTableTest, CollectorFreesOneExpiredEntryPerFrameAndKeepsTheRest) {
    int x = 0, y = 0, held = 0;
    Set("x", x);
    Set("y", y);
    Set("held", held);
    const int kept = Load("kept");
    table.entries[kept].persistent = true;
    const int plain = Load("plain");
    table.Release(kept);
    table.Release(x);
    table.Release(y);

    s_now = 30999;
    CollectFrames(10);
    EXPECT_EQ(s_frees, 0) << "collected before the deadline";
    s_now = 31000;
    CollectFrames(1);
    EXPECT_EQ(s_frees, 1) << "one entry per frame";
    CollectFrames(10);
    EXPECT_EQ(s_frees, 2);
    EXPECT_FALSE(table.entries[x].loaded);
    EXPECT_FALSE(table.entries[y].loaded);
    EXPECT_TRUE(table.entries[held].loaded);
    EXPECT_TRUE(table.entries[kept].loaded);
    EXPECT_TRUE(table.entries[plain].loaded) << "loaded but never held: never scheduled";
    EXPECT_EQ(Load("z"), x) << "the next load takes the first freed index";
}

TEST_F(HandleTableTest, BadHandlesAndTheFallbackAreNeverCountedOrFreed) {
    for (int handle : {0, -1, 7}) {
        table.Release(handle);
        table.Unload(handle);
    }
    EXPECT_EQ(table.entries[0].refCount, 0);
    EXPECT_EQ(table.entries[0].releaseTime, 0u);
    EXPECT_EQ(s_frees, 0);
    int holder = 0;
    Set("absent", holder);
    EXPECT_EQ(holder, 0);
    EXPECT_EQ(table.entries[0].refCount, 0) << "a failed load is not counted on the fallback";
    EXPECT_EQ(table.Get(-1), nullptr);
    EXPECT_EQ(table.Get(1), nullptr);
    EXPECT_EQ(table.GetOrFallback(-1), &table.entries[0]);
    EXPECT_EQ(table.GetOrFallback(9), &table.entries[0]);
    CollectFrames(3);
    table.Clear();
    EXPECT_EQ(table.GetOrFallback(0), nullptr) << "nothing left after clearing";
    CollectFrames(1);
}

}  // namespace
