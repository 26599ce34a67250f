#include <dlfcn.h>

#include <algorithm>

#include "support/desktop.h"

namespace fs = std::filesystem;

// Runs the host without X in the directory (on the offscreen driver unless env names another); returns
// the exit status.
static int RunHost(const TempWorkDir& dir, const std::vector<std::string>& args, std::string* out,
                   const std::vector<std::string>& env = {"SDL_VIDEODRIVER=offscreen"}) {
    VormiProcess run("", dir.path(), args, env);
    const int status = run.Wait(60);
    *out = run.output();
    return status;
}

TEST(Host, OptionsHelpVersionUsageFramesStatsExecAndSet) {
    TempWorkDir dir;
    std::string out;
    EXPECT_EQ(RunHost(dir, {"--help"}, &out), 0);
    EXPECT_NE(out.find("--frames N"), std::string::npos);
    EXPECT_EQ(RunHost(dir, {"--version"}, &out), 0);
    EXPECT_EQ(out.rfind("vormi ", 0), 0u);
    const std::vector<std::string> usages[] = {{"--bogus", "x"}, {"--frames", "zero"}, {"--frames"}};
    for (const std::vector<std::string>& bad : usages) {
        EXPECT_EQ(RunHost(dir, bad, &out), 2) << bad[0];
        EXPECT_NE(out.find("Usage: vormi"), std::string::npos) << out;
    }
    ASSERT_EQ(RunHost(dir, {"-C", dir.path() + "/test/..", "--frames", "5", "--stats", "--exec", "testcmd", "--exec",
                            "fps", "--set", "frame_delay 7", "--set", "no_such_setting 1"}, &out), 0) << out;
    for (const char* expected : {"Entering main loop", "Test command Global", "FPS: ", "stats: frames=6 ", "median_ms=",
                                 "vormi: --set: unknown console variable 'no_such_setting'"}) {
        EXPECT_NE(out.find(expected), std::string::npos) << expected << " in:\n" << out;
    }
    EXPECT_NE(dir.ReadFile("test/scripts/cvars.txt").find("frame_delay \"7\"\n"), std::string::npos)
        << "an orderly quit saves the settings";
    EXPECT_EQ(RunHost(dir, {}, &out, {"SDL_VIDEODRIVER=nonexistent"}), 1) << "a failing start-up exits promptly";
    EXPECT_NE(out.find("SDL_Init Error: "), std::string::npos) << out;
}

TEST(Host, MissingOrForeignLibraryExitsTwoWithOneLine) {
    TempWorkDir dir;
    const fs::path lonely = fs::path(dir.path()) / "lonely";
    fs::create_directories(lonely);
    fs::copy_file(VORMI_HOST_PATH, lonely / "vormi");
    const std::string command = "cd '" + dir.path() + "' && '" + (lonely / "vormi").string() + "' 2>&1";
    int status = 0;
    std::string out = Shell(command, &status);
    EXPECT_EQ(status, 2);
    EXPECT_NE(out.find("vormi: cannot load " + (lonely / "libVormiEngine.so").string()), std::string::npos) << out;
    EXPECT_EQ(std::count(out.begin(), out.end(), '\n'), 1) << out;

    // A library that loads but is not the engine: SDL's own.
    Dl_info sdl = {};
    ASSERT_NE(dladdr(reinterpret_cast<void*>(&SDL_Init), &sdl), 0);
    fs::copy_file(sdl.dli_fname, lonely / "libVormiEngine.so");
    out = Shell(command, &status);
    EXPECT_EQ(status, 2);
    EXPECT_NE(out.find("does not export EngineMain"), std::string::npos) << out;
    EXPECT_EQ(std::count(out.begin(), out.end(), '\n'), 1) << out;
}

// Started where no one can see its window, the host says so instead of running on in silence.
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

TEST(Host, ViewsAModelFromAnywhereWithItsTexturesBesideIt) {
    TempWorkDir dir;
    const auto view = [&](const std::string& file, std::string* out) {
        const std::vector<std::string> env = {"SDL_VIDEODRIVER=offscreen", "TMPDIR=" + dir.path() + "/tmp"};
        return RunHost(dir, {"--view", file, "--frames", "5"}, out, env);
    };
    fs::create_directories("tmp");
    fs::create_directories("elsewhere");
    dir.WriteFile("test/scripts/cvars.txt", "renderer_type \"GLRenderer\"\n");
    dir.WriteFile("elsewhere/tri.obj", "mtllib tri.mtl\nv 0 0 0\nv 1 0 0\nv 0 1 0\nusemtl red\nf 1 2 3\n");
    dir.WriteFile("elsewhere/tri.mtl", "newmtl red\nKd 1 0 0\n");
    std::string out;
    ASSERT_EQ(view(dir.path() + "/elsewhere/tri.obj", &out), 0) << out;
    EXPECT_NE(out.find("tri.vmdl: 3 vertices, 1 triangles, 1 materials"), std::string::npos) << out;
    EXPECT_EQ(out.find("Warning"), std::string::npos) << "the texture beside the model is found:\n" << out;
    EXPECT_EQ(out.find("Error"), std::string::npos) << out;
    EXPECT_TRUE(fs::is_empty("tmp")) << "the converted copy is removed at exit";

    dir.WriteFile("elsewhere/broken.obj", "nothing here\n");
    EXPECT_EQ(view(dir.path() + "/elsewhere/broken.obj", &out), 1);
    EXPECT_NE(out.find("vormi-convert: "), std::string::npos) << out;
    EXPECT_EQ(view(dir.path() + "/elsewhere", &out), 1) << "a folder is refused, not read";
    EXPECT_NE(out.find("cannot be read"), std::string::npos) << out;
    EXPECT_EQ(view("no/such.obj", &out), 1);
    EXPECT_NE(out.find("vormi: --view no/such.obj: No such file or directory"), std::string::npos) << out;
}
