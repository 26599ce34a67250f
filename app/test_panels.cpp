#include "app/test_panels.h"

#include <algorithm>
#include <cstdlib>
#include <string>

#include "console/command_system.h"
#include "render/renderer.h"
#include "ui/form.h"
#include "ui/panel.h"
#include "ui/root_panel.h"

std::deque<Panel*> g_testPanels;

// One command makes at most this many: the test commands fill the screen for stress runs, and far
// beyond that they would only exhaust memory and stall the frame that sorts them in.
static const int32_t kMaxTestPanels = 20000;

namespace {

// The test panels leave g_testPanels when the tree frees them, so that "test_destroy_panel" never
// touches a panel the user closed meanwhile.
void ForgetTestPanel(Panel* panel) {
    std::deque<Panel*>::iterator slot = std::find(g_testPanels.begin(), g_testPanels.end(), panel);
    if (slot != g_testPanels.end()) {
        g_testPanels.erase(slot);
    }
}

class TestPanel : public Panel {
public:
    TestPanel() : Panel("test_panel") {}
    ~TestPanel() override { ForgetTestPanel(this); }
};

class TestForm : public Form {
public:
    TestForm() : Form("test_form") {}
    ~TestForm() override { ForgetTestPanel(this); }
};

// The count argument: no number reads as 0, which makes one; negative makes none.
int32_t ReadCount(const std::string& args) {
    int32_t count = 0;
    ReadInts(args, &count, 1);
    if (count == 0) {
        return 1;
    }
    return std::min(count, kMaxTestPanels);
}

// Places each new panel at a random point of the window, coloured by where it landed.
template <typename T>
void CreateTestPanels(const CommandLine& line) {
    const int32_t count = ReadCount(line.args);
    if (count < 0 || !g_rootPanel) {
        return;
    }
    const int spanX = std::max(g_windowWidth, 0) + 1;
    const int spanY = std::max(g_windowHeight, 0) + 1;
    for (int32_t i = 0; i < count; ++i) {
        Panel* panel = new T();
        g_rootPanel->AddChild(panel);
        const int x = std::rand() % spanX;
        const int y = std::rand() % spanY;
        panel->x = x;
        panel->y = y;
        panel->backgroundColor = Color{static_cast<uint8_t>(x % 256), static_cast<uint8_t>(y % 256),
                                       static_cast<uint8_t>((x + y) % 256), 255};
        g_testPanels.push_back(panel);
    }
}

}  // namespace

static void Cmd_TestCreatePanel(const CommandLine& line) {
    CreateTestPanels<TestPanel>(line);
}

static void Cmd_TestCreateForm(const CommandLine& line) {
    CreateTestPanels<TestForm>(line);
}

static void Cmd_TestDestroyPanel(const CommandLine&) {
    // Marked only: each panel's parent frees it at its next update, when the list is already empty.
    for (Panel* panel : g_testPanels) {
        panel->closeRequested = true;
    }
    g_testPanels.clear();
}

static CommandReg s_testCreatePanel("test_create_panel", Cmd_TestCreatePanel);
static CommandReg s_testCreateForm("test_create_form", Cmd_TestCreateForm);
static CommandReg s_testDestroyPanel("test_destroy_panel", Cmd_TestDestroyPanel);
