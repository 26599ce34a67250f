#include <gtest/gtest.h>

#include <string>

#include "engine/console_output.h"
#include "support/engine_fixture.h"

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
