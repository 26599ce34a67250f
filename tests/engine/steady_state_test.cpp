#include <gtest/gtest.h>

#include <cstdlib>
#include <new>

#include "console/command_system.h"
#include "support/engine_fixture.h"

// Counts every allocation made through operator new while counting is on.
static bool s_counting = false;
static long s_allocations = 0;

void* operator new(std::size_t size) {
    if (s_counting) {
        ++s_allocations;
    }
    if (void* p = std::malloc(size ? size : 1)) {
        return p;
    }
    throw std::bad_alloc();
}
void operator delete(void* p) noexcept { std::free(p); }
void operator delete(void* p, std::size_t) noexcept { std::free(p); }

TEST(SteadyState, FramesAllocateNothingOnceTheSceneIsBuilt) {
    TempWorkDir dir;
    dir.WriteFile("test/scripts/cvars.txt", "debug_drawoutline 1\nframe_delay 0\n");
    long allocations = -1;
    RunEngine([&](int frame) {
        if (frame == 0) {
            CommandGlobal("test_create_form 5");
            CommandGlobal("test_create_panel 5");
        }
        // Let textures, fonts and the deferred child lists settle, then watch 30 whole frames.
        if (frame == 20) {
            s_allocations = 0;
            s_counting = true;
        }
        if (frame == 50) {
            s_counting = false;
            allocations = s_allocations;
            CommandGlobal("quit");
        }
    });
    EXPECT_EQ(allocations, 0);
}
