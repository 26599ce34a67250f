// Files made to hurt: a font glyph inflated to thousands of pixels, settings files that cannot be
// read or are links, FIFOs and directories where files belong, a sparse model asking for everything.
#include <sys/stat.h>
#include <sys/wait.h>

#include <algorithm>
#include <cstring>

#include "console/cvar.h"
#include "render/shader_program.h"
#include "resources/font_system.h"
#include "support/offscreen.h"
#include "ui/panel.h"

namespace fs = std::filesystem;

namespace {

long PeakRssKb() {
    std::ostringstream status;
    status << std::ifstream("/proc/self/status").rdbuf();
    const std::string text = status.str();
    const size_t at = text.find("VmHWM:");
    return at == std::string::npos ? 0 : std::atol(text.c_str() + at + 6);
}

class HostileFiles : public OffscreenTest {};

}  // namespace

// A fuzzer-made font (from Inconsolata) with one glyph box of about 6500 by 9200 pixels at size 12.
TEST_F(HostileFiles, InflatedGlyphIsLeftOutBeforeAnythingIsAllocatedForIt) {
    dir_.WriteFile("test/fonts/inflated.ttf", TestDataFile("inflated-glyph.ttf"));
    std::ofstream("/proc/self/clear_refs") << "5";  // restart the peak count from here
    const long before = PeakRssKb();
    const int handle = g_fontSystem->LoadFont("inflated", "test/fonts/inflated.ttf", 12, kWhite, kBlack);
    EXPECT_LT(PeakRssKb() - before, 64 * 1024);
    const FontRecord* font = g_fontSystem->GetFont(handle);
    ASSERT_NE(font, nullptr);
    EXPECT_GT(std::count_if(font->glyphs + 33, font->glyphs + 127, [](const Rect& g) { return g.w > 0; }), 0)
        << "the sane glyphs stay";
    EXPECT_NE(g_consoleText.find("test/fonts/inflated.ttf at size 12: left out 1 glyph(s) far larger than a cell"),
              std::string::npos) << g_consoleText;
}

TEST_F(HostileFiles, FifoAndDirectoryAreRefusedWithoutBlocking) {
    alarm(60);  // a loader that opens a FIFO blocks for ever; fail instead
    const std::string names[] = {"test/scripts/cvars.txt", "test/scripts/panel.txt", "test/tex/t.bmp",
                                 "test/models/m.vmdl", "test/fonts/f.ttf", "test/shaders/s.vert"};
    for (bool fifo : {true, false}) {
        for (const std::string& name : names) {
            fs::remove_all(name);
            ASSERT_EQ(fifo ? mkfifo(name.c_str(), 0644) : mkdir(name.c_str(), 0755), 0) << name;
        }
        g_consoleText.clear();
        g_cvars->LoadFile(names[0]);
        Panel panel("p");
        panel.LoadFromFile(names[1]);
        EXPECT_EQ(g_textureMgr->LoadTexture("t.bmp"), 0);
        EXPECT_EQ(g_modelMgr->LoadModel("m.vmdl"), 0);
        EXPECT_EQ(g_fontSystem->LoadFont("f", names[4], 12, kWhite, kBlack), -1);
        EXPECT_EQ(LoadShaderFile("s.vert"), "");
        ExpectInOrder(g_consoleText, {"Error: Could not open file '" + names[0] + "'\n",
                                      "Error: Could not open file '" + names[1] + "'\n",
                                      "Warning: Failed to load texture: ./test/tex/t.bmp\n",
                                      "Error: Could not open model file: ./test/models/m.vmdl\n",
                                      "Failed to open shader file: ./test/shaders/s.vert\n"});
    }
    alarm(0);
}

TEST_F(HostileFiles, SparseModelAskingForEverythingGetsNoMoreThanItsSize) {
    std::string header(76 + 60, '\0');
    std::memcpy(&header[0], "VEMM", 4);
    const uint32_t fields[][2] = {{44, 76}, {56, 0x7FFFFFFF}, {76 + 36, 0x7FFFFFFF}, {76 + 44, 0x7FFFFFFF},
                                  {76 + 52, 0x7FFFFFFF}};
    for (const auto& field : fields) {
        std::memcpy(&header[field[0]], &field[1], 4);  // little-endian, as the machine
    }
    dir_.WriteFile("test/models/sparse.vmdl", header);
    const uint64_t size = 16u << 20;
    fs::resize_file("test/models/sparse.vmdl", size);
    const ModelRecord* model = g_modelMgr->GetModel(g_modelMgr->LoadModel("sparse.vmdl"));
    ASSERT_NE(model, nullptr);
    EXPECT_LE(model->vertices.size() * sizeof(ModelVertex) + model->indices.size() * 4 +
                  model->sections.size() * sizeof(ModelSection),
              size);
}

TEST(SettingsFile, UnreadableOrLinkedFileKeepsItsSettings) {
    TempWorkDir dir;
    g_cvars->RegisterAll(CVarDeclarationHead());
    const std::string path = kCVarFilePath;
    const std::string mine = "frame_delay \"7\"\n";

    // Unreadable: a file the engine's user may not read (root first becomes nobody), and a directory.
    dir.WriteFile("test/scripts/cvars.txt", mine);
    chmod(path.c_str(), 0);
    chmod("test/scripts", 0777);
    for (const std::string& d : {dir.path(), dir.path() + "/test"}) chmod(d.c_str(), 0755);
    const pid_t child = fork();
    if (child == 0) {
        const bool ok = (getuid() != 0 || setuid(65534) == 0);
        g_cvars->LoadFile(path);
        _exit(ok && !g_cvars->SaveTo(path) ? 0 : 1);
    }
    int status = -1;
    waitpid(child, &status, 0);
    EXPECT_EQ(status, 0);
    EXPECT_EQ(dir.ReadFile("test/scripts/cvars.txt"), mine);

    fs::remove(path);
    fs::create_directory(path);
    g_consoleText.clear();
    g_cvars->Save();
    EXPECT_TRUE(fs::is_directory(path));
    EXPECT_EQ(g_consoleText, "Error: Could not open file '" + path + "'\n");

    // A link is written through: the target gets the new settings, the link stays a link.
    fs::remove(path);
    dir.WriteFile("test/settings.txt", mine);
    fs::create_symlink("../settings.txt", path);
    g_cvars->LoadFile(path);
    g_cvars->Find("window_width")->SetInt(800);
    g_cvars->Save();
    EXPECT_TRUE(fs::is_symlink(path));
    const std::string saved = dir.ReadFile("test/settings.txt");
    EXPECT_NE(saved.find("frame_delay \"7\"\n"), std::string::npos) << saved;
    EXPECT_NE(saved.find("window_width \"800\"\n"), std::string::npos) << saved;
}
