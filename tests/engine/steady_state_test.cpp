#include <gtest/gtest.h>

#include <cstddef>
#include <cstdlib>
#include <new>
#include <string>

#include "console/command_system.h"
#include "engine/engine.h"
#include "support/engine_fixture.h"
#include "ui/rich_text_box.h"
#include "ui/root_panel.h"
#include "ui/text_box.h"

// Counts every allocation made through operator new while counting is on. Every form of new and
// delete is replaced, so that memory the system libraries allocate one way and free another still
// pairs up.
static bool s_counting = false;
static long s_allocations = 0;

static void* Allocate(std::size_t size, std::size_t alignment = 0) {
    if (s_counting) {
        ++s_allocations;
    }
    if (size == 0) {
        size = 1;
    }
    if (alignment > alignof(std::max_align_t)) {
        size = (size + alignment - 1) / alignment * alignment;
        return std::aligned_alloc(alignment, size);
    }
    return std::malloc(size);
}

static void* AllocateOrThrow(std::size_t size, std::size_t alignment = 0) {
    if (void* p = Allocate(size, alignment)) {
        return p;
    }
    throw std::bad_alloc();
}

void* operator new(std::size_t size) { return AllocateOrThrow(size); }
void* operator new[](std::size_t size) { return AllocateOrThrow(size); }
void* operator new(std::size_t size, const std::nothrow_t&) noexcept { return Allocate(size); }
void* operator new[](std::size_t size, const std::nothrow_t&) noexcept { return Allocate(size); }
void* operator new(std::size_t size, std::align_val_t a) { return AllocateOrThrow(size, static_cast<std::size_t>(a)); }
void* operator new[](std::size_t size, std::align_val_t a) { return AllocateOrThrow(size, static_cast<std::size_t>(a)); }
void operator delete(void* p) noexcept { std::free(p); }
void operator delete[](void* p) noexcept { std::free(p); }
void operator delete(void* p, std::size_t) noexcept { std::free(p); }
void operator delete[](void* p, std::size_t) noexcept { std::free(p); }
void operator delete(void* p, const std::nothrow_t&) noexcept { std::free(p); }
void operator delete[](void* p, const std::nothrow_t&) noexcept { std::free(p); }
void operator delete(void* p, std::align_val_t) noexcept { std::free(p); }
void operator delete[](void* p, std::align_val_t) noexcept { std::free(p); }
void operator delete(void* p, std::size_t, std::align_val_t) noexcept { std::free(p); }
void operator delete[](void* p, std::size_t, std::align_val_t) noexcept { std::free(p); }

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
