#include <gtest/gtest.h>

#include <cstddef>
#include <cstdlib>
#include <new>
#include <string>

#include "console/command_system.h"
#include "support/engine_fixture.h"
#include "ui/rich_text_box.h"
#include "ui/root_panel.h"
#include "ui/text_box.h"

// Counts every allocation made through operator new while counting is on. The plain and array forms
// are replaced together with their deletes; the library's nothrow forms call them.
static bool s_counting = false;
static long s_allocations = 0;

static void* CountedAllocate(std::size_t size) {
    s_allocations += s_counting ? 1 : 0;
    if (void* p = std::malloc(size == 0 ? 1 : size)) {
        return p;
    }
    throw std::bad_alloc();
}

void* operator new(std::size_t size) { return CountedAllocate(size); }
void* operator new[](std::size_t size) { return CountedAllocate(size); }
void operator delete(void* p) noexcept { std::free(p); }
void operator delete[](void* p) noexcept { std::free(p); }
void operator delete(void* p, std::size_t) noexcept { std::free(p); }
void operator delete[](void* p, std::size_t) noexcept { std::free(p); }

static long SteadyFrameAllocations(const std::string& cvars) {
    TempWorkDir dir;
    dir.WriteFile("test/scripts/cvars.txt", cvars);
    long allocations = -1;
    RunEngine([&](int frame) {
        if (frame == 0) {
            CommandGlobal("test_create_form 5");
            CommandGlobal("test_create_panel 5");
            TextBox* box = new TextBox("txb_steady");
            box->SetText("steady frames allocate nothing at all");
            g_rootPanel->layerTools->AddChild(box);
            box->Focus();
            RichTextBox* log = new RichTextBox("log_steady");
            log->SetProperty("size", "300 200");
            log->AppendText("first line\nsecond line\n\nfourth line that is long enough to be cut at the edge\n");
            log->selectionEnd = TextPosition{3, 3};
            log->y = 40;
            g_rootPanel->layerTools->AddChild(log);
        }
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
    return allocations;
}

TEST(SteadyState, FramesAllocateNothingOnceTheSceneIsBuilt) {
    EXPECT_EQ(SteadyFrameAllocations("debug_drawoutline 1\nframe_delay 0\n"), 0);
}

TEST(SteadyState, GLFramesAllocateNothingOnceTheSceneIsBuilt) {
    EXPECT_EQ(SteadyFrameAllocations("debug_drawoutline 1\nframe_delay 0\nrenderer_type GLRenderer\n"), 0);
}
