// Files made to hurt: a font glyph inflated to thousands of pixels, settings files that cannot be
// read or are links, FIFOs and directories where files belong, a sparse model asking for everything.
#include <SDL_ttf.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstring>
#include <filesystem>
#include <fstream>

#include "console/cvar.h"
#include "engine/console_output.h"
#include "render/shader_program.h"
#include "resources/font_system.h"
#include "resources/model_mgr.h"
#include "resources/texture_mgr.h"
#include "support/offscreen.h"
#include "ui/panel.h"

namespace fs = std::filesystem;

namespace {

// Big-endian fields of a TrueType file.
uint32_t Be(const std::string& f, size_t at, int bytes) {
    uint32_t v = 0;
    for (int i = 0; i < bytes; ++i) {
        v = (v << 8) | static_cast<uint8_t>(f[at + i]);
    }
    return v;
}
void PutBe16(std::string& f, size_t at, uint32_t v) {
    f[at] = static_cast<char>(v >> 8);
    f[at + 1] = static_cast<char>(v);
}

// The shipped OpenSans with the outline of 'm' replaced by one contour of 40 points, each 32767
// units beyond the one before: a glyph box of about 5000 by 5000 pixels at size 12.
std::string InflatedFont() {
    std::ifstream in(std::string(VORMI_SOURCE_DIR) + "/test/fonts/OpenSans-Regular.ttf", std::ios::binary);
    std::string f((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
    auto table = [&](const char* tag) -> size_t {
        for (uint32_t i = 0, n = Be(f, 4, 2); i < n; ++i) {
            if (f.compare(12 + 16 * i, 4, tag) == 0) {
                return Be(f, 12 + 16 * i + 8, 4);
            }
        }
        return 0;
    };
    // Glyph index of 'm' from the Windows Unicode cmap (format 4, a segment with no range offset).
    const size_t cmap = table("cmap");
    size_t sub = 0;
    for (uint32_t i = 0; i < Be(f, cmap + 2, 2); ++i) {
        if (Be(f, cmap + 4 + 8 * i, 2) == 3 && Be(f, cmap + 6 + 8 * i, 2) == 1) {
            sub = cmap + Be(f, cmap + 8 + 8 * i, 4);
        }
    }
    uint32_t seg = 0;
    while (Be(f, sub + 14 + 2 * seg, 2) < 'm') {
        ++seg;
    }
    const uint32_t glyph = ('m' + Be(f, sub + 16 + 2 * Be(f, sub + 6, 2) + 2 * seg, 2)) & 0xFFFF;
    const bool longLoca = Be(f, table("head") + 50, 2) == 1;
    const size_t loca = table("loca");
    const size_t at = table("glyf") + (longLoca ? Be(f, loca + 4 * glyph, 4) : 2 * Be(f, loca + 2 * glyph, 2));
    const int points = 40;
    PutBe16(f, at, 1);                      // one contour; the stored box is not what FreeType uses
    PutBe16(f, at + 10, points - 1);        // its last point
    PutBe16(f, at + 12, 0);                 // no instructions
    PutBe16(f, at + 14, 0x0900 | (points - 1));  // on-curve, 16-bit deltas, repeated for every point
    for (int i = 0; i < 2 * points; ++i) {  // x deltas, then y deltas
        PutBe16(f, at + 16 + 2 * i, 32767);
    }
    return f;
}

long PeakRssKb() {
    std::ifstream status("/proc/self/status");
    std::string line;
    while (std::getline(status, line)) {
        if (line.rfind("VmHWM:", 0) == 0) {
            return std::atol(line.c_str() + 6);
        }
    }
    return 0;
}

class HostileFiles : public OffscreenTest {};

}  // namespace

TEST_F(HostileFiles, InflatedGlyphIsLeftOutBeforeAnythingIsAllocatedForIt) {
    dir_.WriteFile("test/fonts/inflated.ttf", InflatedFont());
    TTF_Font* probe = TTF_OpenFont("test/fonts/inflated.ttf", 8);
    ASSERT_NE(probe, nullptr);
    int w = 0, h = 0;
    TTF_SizeText(probe, "m", &w, &h);
    TTF_CloseFont(probe);
    ASSERT_GT(int64_t(w) * h * 4, int64_t(64) << 20) << "the made font must ask for a huge glyph surface";

    std::ofstream("/proc/self/clear_refs") << "5";  // restart the peak count from here
    const long before = PeakRssKb();
    const int handle = g_fontSystem->LoadFont("inflated", "test/fonts/inflated.ttf", 12, kWhite, kBlack);
    EXPECT_LT(PeakRssKb() - before, 64 * 1024);
    const FontRecord* font = g_fontSystem->GetFont(handle);
    ASSERT_NE(font, nullptr);
    EXPECT_EQ(font->glyphs['m'].w, 0);
    EXPECT_GT(font->glyphs['n'].w, 0);
    EXPECT_NE(g_consoleText.find("test/fonts/inflated.ttf at size 12: left out 1 glyph(s) far larger than a cell"), std::string::npos)
        << g_consoleText;
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
    for (const std::string& d : {dir.path(), dir.path() + "/test"}) {
        chmod(d.c_str(), 0755);
    }
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
    g_cvars->LoadFile(path);
    g_cvars->Save();
    EXPECT_TRUE(fs::is_directory(path));
    ExpectInOrder(g_consoleText, {"Error: Could not open file '" + path + "'\n",
                                  "Error: Could not open file '" + path + "'\n"});

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
