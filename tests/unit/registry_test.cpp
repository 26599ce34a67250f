#include <SDL.h>
#include <gtest/gtest.h>

#include <cstddef>

#include "console/command_system.h"
#include "console/cvar.h"
#include "engine/engine_common.h"
#include "input/input_system.h"
#include "render/draw_types.h"
#include "resources/file_system.h"
#include "resources/font_system.h"
#include "resources/model_mgr.h"
#include "resources/texture_mgr.h"

// Offsets of classes with virtuals or std::string members are what the compiler actually lays out,
// which is what a host compiled against these headers relies on.
#pragma GCC diagnostic ignored "-Winvalid-offsetof"

// What hosts read across the library boundary must not move.
static_assert(sizeof(Color) == 4 && offsetof(Color, r) == 0 && offsetof(Color, a) == 3, "Color layout");
static_assert(sizeof(Rect) == sizeof(SDL_Rect) && offsetof(Rect, x) == offsetof(SDL_Rect, x) &&
                  offsetof(Rect, y) == offsetof(SDL_Rect, y) && offsetof(Rect, w) == offsetof(SDL_Rect, w) &&
                  offsetof(Rect, h) == offsetof(SDL_Rect, h),
              "Rect matches SDL_Rect");
static_assert(sizeof(Point) == sizeof(SDL_Point) && offsetof(Point, y) == offsetof(SDL_Point, y),
              "Point matches SDL_Point");
static_assert(sizeof(Vertex) == sizeof(SDL_Vertex) && offsetof(Vertex, u) == offsetof(SDL_Vertex, tex_coord),
              "Vertex matches SDL_Vertex");
static_assert(sizeof(EngineHooks) == 3 * sizeof(void*), "EngineHooks holds three hooks");
static_assert(sizeof(TextSize) == 8, "TextSize is two int32");
static_assert(sizeof(ModelVertex) == 32 && sizeof(ModelSection) == 12, "model file records");

// CVar: master, name, value, floatValue, intValue, save, onChange, next.
static_assert(offsetof(CVar, master) == 0, "CVar has no virtuals: master comes first");
static_assert(offsetof(CVar, name) == offsetof(CVar, master) + sizeof(void*), "CVar::name follows master");
static_assert(offsetof(CVar, value) == offsetof(CVar, name) + sizeof(std::string), "CVar::value");
static_assert(offsetof(CVar, floatValue) == offsetof(CVar, value) + sizeof(std::string), "CVar::floatValue");
static_assert(offsetof(CVar, intValue) == offsetof(CVar, floatValue) + 4, "CVar::intValue");
static_assert(offsetof(CVar, save) == offsetof(CVar, intValue) + 4, "CVar::save");
static_assert(offsetof(CVar, onChange) == offsetof(CVar, save) + sizeof(void*), "CVar::onChange");
static_assert(offsetof(CVar, next) == offsetof(CVar, onChange) + sizeof(void*), "CVar::next");

// EngineCommon: vtable, root panel, start, frame, extra hook.
static_assert(offsetof(EngineCommon, rootPanel) == sizeof(void*), "EngineCommon::rootPanel first");
static_assert(offsetof(EngineCommon, extraHook) == 4 * sizeof(void*), "EngineCommon hooks in order");

TEST(Registry, FindsEveryStaticSubsystemByItsVersionName) {
    IEngineCommon* common = GetEngineCommonInterface();
    ASSERT_NE(common, nullptr);
    EXPECT_EQ(common->Find("CommandSystemV1"), static_cast<void*>(static_cast<ICommandSystem*>(g_commandSystem)));
    EXPECT_EQ(common->Find("CVarV1"), static_cast<void*>(static_cast<ICVarInterface*>(g_cvars)));
    EXPECT_EQ(common->Find("FilesystemV1"), static_cast<void*>(g_fileSystem));
    EXPECT_EQ(common->Find("FontSystemV1"), static_cast<void*>(g_fontSystem));
    EXPECT_EQ(common->Find("InputSystemV1"), static_cast<void*>(static_cast<IInputSystem*>(g_inputSystem)));
    EXPECT_EQ(common->Find("ModelMgrV1"), static_cast<void*>(g_modelMgr));
    EXPECT_EQ(common->Find("TextureMgrV1"), static_cast<void*>(g_textureMgr));
}

TEST(Registry, UnknownNamesAndCaseVariantsFindNothing) {
    IEngineCommon* common = GetEngineCommonInterface();
    EXPECT_EQ(common->Find("CVarV2"), nullptr);
    EXPECT_EQ(common->Find("cvarV1"), nullptr);
    EXPECT_EQ(common->Find("CVARV1"), nullptr);
    EXPECT_EQ(common->Find("CVar"), nullptr);
    EXPECT_EQ(common->Find("CVarV1 "), nullptr);
    EXPECT_EQ(common->Find(""), nullptr);
    EXPECT_EQ(common->Find(nullptr), nullptr);
    // The renderer joins only when the window has been made.
    EXPECT_EQ(common->Find("RendererV1"), nullptr);
}

static int s_hookCalls[3];
static IEngineCommon* s_hookArg;
static void StartHook(IEngineCommon* c) { ++s_hookCalls[0]; s_hookArg = c; }
static void FrameHook(IEngineCommon* c) { ++s_hookCalls[1]; s_hookArg = c; }
static void ExtraHook(IEngineCommon* c) { ++s_hookCalls[2]; s_hookArg = c; }

TEST(Registry, HooksAreCalledWithTheCommonObjectAndUnsetHooksAreSkipped) {
    IEngineCommon* common = GetEngineCommonInterface();
    const EngineHooks onlyFrame = {nullptr, FrameHook, nullptr};
    common->SetHooks(&onlyFrame);
    common->CallStartHook();
    common->CallFrameHook();
    common->CallExtraHook();
    EXPECT_EQ(s_hookCalls[0], 0);
    EXPECT_EQ(s_hookCalls[1], 1);
    EXPECT_EQ(s_hookArg, common);

    const EngineHooks all = {StartHook, FrameHook, ExtraHook};
    common->SetHooks(&all);
    common->CallStartHook();
    common->CallExtraHook();
    EXPECT_EQ(s_hookCalls[0], 1);
    EXPECT_EQ(s_hookCalls[2], 1);
    common->SetHooks(nullptr);  // ignored: the hooks stay
    common->CallStartHook();
    EXPECT_EQ(s_hookCalls[0], 2);
    const EngineHooks none = {nullptr, nullptr, nullptr};
    common->SetHooks(&none);
}

TEST(FileSystem, PathsAreBuiltUnderTheFixedAssetRoot) {
    EXPECT_EQ(g_fileSystem->GetShaderPath("model.vert"), "./test/shaders/model.vert");
    EXPECT_EQ(g_fileSystem->GetTexturePath("missing"), "./test/tex/missing");
    EXPECT_EQ(g_fileSystem->GetMaterialPath("m"), "./test/mat/m");
    EXPECT_EQ(g_fileSystem->GetModelPath(""), "./test/models/");
    // Names pass through untouched, however long or odd.
    const std::string longName = "a/very/long/name/../with\\back\\slashes//and.bmp";
    EXPECT_EQ(g_fileSystem->GetTexturePath(longName), "./test/tex/" + longName);
}
