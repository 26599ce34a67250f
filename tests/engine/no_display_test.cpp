// Started where no one can see its window, the host says so instead of running on in silence.
#include <gtest/gtest.h>

#include <string>

#include "support/desktop.h"
#include "support/engine_fixture.h"

TEST(HostWithoutDisplay, SaysOnceThatItsWindowCannotBeSeenUnlessTheDriverWasAskedFor) {
    TempWorkDir dir;
    const std::string line = "vormi: no display: SDL picked its \"offscreen\" video driver";
    VormiProcess fallback("", dir.path(), {"--frames", "3"});
    EXPECT_EQ(fallback.Wait(60), 0);
    const std::string out = fallback.output();
    EXPECT_NE(out.find(line), std::string::npos) << out;
    EXPECT_EQ(out.find(line), out.rfind(line)) << out;

    VormiProcess asked("", dir.path(), {"--frames", "3"}, {"SDL_VIDEODRIVER=offscreen"});
    EXPECT_EQ(asked.Wait(60), 0);
    EXPECT_EQ(asked.output().find("no display"), std::string::npos) << asked.output();
}
