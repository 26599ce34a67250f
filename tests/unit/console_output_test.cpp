#include <gtest/gtest.h>

#include <string>

#include "engine/console_output.h"
#include "support/engine_fixture.h"

TEST(ConsoleOutput, LongMessageIsCutAt4095InLogAndConsoleText) {
    LogCapture log;
    g_consoleText.clear();
    const std::string longText(5000, 'x');
    ConMsg("%s", longText.c_str());
    EXPECT_EQ(g_consoleText, std::string(4095, 'x'));
    EXPECT_EQ(log.text(), std::string(4095, 'x') + "\n");
}

TEST(ConsoleOutput, PercentInTextIsPrintedNotInterpreted) {
    LogCapture log;
    g_consoleText.clear();
    ConMsg("%s", "100%d %s %n done\n");
    EXPECT_EQ(log.text(), "100%d %s %n done\n");
    EXPECT_EQ(g_consoleText, "100%d %s %n done\n");
}

TEST(ConsoleOutput, TextsAppendAsGivenWithoutAddedNewlines) {
    g_consoleText.clear();
    ConMsg("first ");
    ConMsg("second %d\n", 2);
    ConMsg("third");
    EXPECT_EQ(g_consoleText, "first second 2\nthird");
}

TEST(ConsoleOutput, SysErrorMsgBoxPrintsLikeConMsgWithoutADisplay) {
    // No video is initialised here, so the box fails at once and must not block or abort.
    LogCapture log;
    g_consoleText.clear();
    SysErrorMsgBox("Failed to init window\n");
    EXPECT_EQ(log.text(), "Failed to init window\n");
    EXPECT_EQ(g_consoleText, "Failed to init window\n");
}
