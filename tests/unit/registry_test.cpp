#include <gtest/gtest.h>

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
        {"CommandSystemV1", static_cast<ICommandSystem*>(g_commandSystem)}, {"FilesystemV1", g_fileSystem},
        {"CVarV1", static_cast<ICVarInterface*>(g_cvars)}, {"FontSystemV1", g_fontSystem}, {"ModelMgrV1", g_modelMgr},
        {"InputSystemV1", static_cast<IInputSystem*>(g_inputSystem)}, {"TextureMgrV1", g_textureMgr},
        {"CVarV2", nullptr}, {"cvarV1", nullptr}, {"CVARV1", nullptr}, {"CVar", nullptr}, {"CVarV1 ", nullptr},
        {"", nullptr}, {"RendererV1", nullptr}, {nullptr, nullptr}};
    for (const auto& n : names) {
        EXPECT_EQ(common->Find(n.first), n.second) << (n.first ? n.first : "(null)");
    }
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
