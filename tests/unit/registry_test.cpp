#include <gtest/gtest.h>

#include <string>

#include "console/command_system.h"
#include "console/cvar.h"
#include "engine/console_output.h"
#include "engine/engine_common.h"
#include "input/input_system.h"
#include "resources/file_system.h"
#include "resources/font_system.h"
#include "resources/model_mgr.h"
#include "resources/texture_mgr.h"
#include "support/engine_fixture.h"

TEST(Registry, FindsEveryStaticSubsystemByItsExactVersionNameAndNothingElse) {
    IEngineCommon* common = GetEngineCommonInterface();
    ASSERT_NE(common, nullptr);
    const std::pair<const char*, void*> names[] = {
        {"CommandSystemV1", static_cast<ICommandSystem*>(g_commandSystem)},
        {"CVarV1", static_cast<ICVarInterface*>(g_cvars)},
        {"FilesystemV1", g_fileSystem},
        {"FontSystemV1", g_fontSystem},
        {"InputSystemV1", static_cast<IInputSystem*>(g_inputSystem)},
        {"ModelMgrV1", g_modelMgr},
        {"TextureMgrV1", g_textureMgr}};
    for (const auto& n : names) {
        EXPECT_EQ(common->Find(n.first), n.second) << n.first;
    }
    for (const char* name : {"CVarV2", "cvarV1", "CVARV1", "CVar", "CVarV1 ", "", "RendererV1"}) {
        EXPECT_EQ(common->Find(name), nullptr) << name;
    }
    EXPECT_EQ(common->Find(nullptr), nullptr);
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
    common->SetHooks(nullptr);  // ignored: the hooks stay
    common->CallStartHook();
    common->CallExtraHook();
    EXPECT_EQ(s_hookCalls[0], 1);
    EXPECT_EQ(s_hookCalls[2], 1);
    const EngineHooks none = {nullptr, nullptr, nullptr};
    common->SetHooks(&none);
}

TEST(ConsoleOutput, TextIsKeptAsGivenUpTo4095BytesInLogAndConsoleText) {
    LogCapture log;
    g_consoleText.clear();
    ConMsg("%s", std::string(5000, 'x').c_str());
    EXPECT_EQ(g_consoleText, std::string(4095, 'x'));
    EXPECT_EQ(log.text(), std::string(4095, 'x') + "\n");

    log.Clear();
    g_consoleText.clear();
    ConMsg("%s", "100%d %s %n done\n");
    ConMsg("second %d", 2);
    EXPECT_EQ(log.text(), "100%d %s %n done\nsecond 2\n");
    EXPECT_EQ(g_consoleText, "100%d %s %n done\nsecond 2") << "no newline added";
}
