// A host that links the engine library: it declares a console variable of its own, answers a
// command, derives a panel, builds a screen from its own script file and draws a texture in it.
// Run it from a folder that holds the engine's asset tree test/.
#include <cstdio>
#include <cstdlib>
#include <string>
#include <utility>

#include "console/command_system.h"
#include "console/cvar.h"
#include "engine/console_output.h"
#include "engine/engine_common.h"
#include "render/renderer.h"
#include "resources/texture_mgr.h"
#include "ui/panel.h"
#include "ui/root_panel.h"

#ifndef HOST_SCREEN_SCRIPT
#define HOST_SCREEN_SCRIPT "host_screen.txt"
#endif

// Not saved: the engine's settings file keeps only the variables a user changed on purpose.
static CVar host_greeting("host_greeting", "hello", false);

static IRenderer* s_renderer = nullptr;
static ITextureMgr* s_textures = nullptr;
static int s_frames = 0;
static int s_frameLimit = 0;

// A panel that draws a texture over its background. Panels draw themselves; the frame hook runs
// after the frame was shown, so drawing from there would never be seen.
class TexturePanel : public Panel {
public:
    explicit TexturePanel(std::string name) : Panel(std::move(name)) {}
    // The tree deletes its panels at shutdown, before the texture manager goes.
    ~TexturePanel() override { s_textures->ReleaseTexture(texture); }

    void Draw() override {
        Panel::Draw();  // background, border and children; clipping is off afterwards
        if (!s_renderer || !IsDrawable() || texture == 0) {
            return;
        }
        const Rect where = {screenX + 10, screenY + 48, 96, 96};
        s_renderer->SetClipRect(&clipRect);
        s_renderer->DrawTextureById(&where, MakeColor(255, 255, 255, 255), texture);
        s_renderer->SetClipRect(nullptr);
    }

    int texture = 0;  // held with the texture manager while the panel lives
};

static TexturePanel* s_screen = nullptr;

// Lines that name no built-in command come here whole; answer ours, report the rest as the engine would.
static void OnCommand(const char* line) {
    const CommandLine command = SplitCommandLine(line);
    if (command.name != "hello_host") {
        ConMsg("Unknown command: %s\n", command.name.c_str());
        return;
    }
    ConMsg("linked_host: hello_host ran (%s), host_greeting is \"%s\"\n", command.args.c_str(),
           host_greeting.value.c_str());
}

static void OnStart(IEngineCommon* common) {
    auto* commands = static_cast<ICommandSystem*>(common->Find("CommandSystemV1"));
    auto* cvars = static_cast<ICVarInterface*>(common->Find("CVarV1"));
    s_textures = static_cast<ITextureMgr*>(common->Find("TextureMgrV1"));
    s_renderer = static_cast<IRenderer*>(common->Find("RendererV1"));
    RootPanel* root = common->GetRootPanel();
    if (!commands || !cvars || !s_textures || !s_renderer || !root) {
        ConMsg("linked_host: the engine lacks an interface this host needs\n");
        CommandGlobal("quit");
        return;
    }
    commands->SetFallbackHandler(OnCommand);

    // Our variable is registered with the engine's; reading and setting go through the same store.
    CVar* delay = cvars->Find("frame_delay");
    ConMsg("linked_host: frame_delay is %d\n", delay ? delay->intValue : -1);
    cvars->ParseLine("host_greeting \"hello from the host\"");

    s_screen = new TexturePanel("host_screen");
    s_screen->LoadFromFile(HOST_SCREEN_SCRIPT);
    s_textures->SetTexture("plane.bmp", s_screen->texture);
    ConMsg("linked_host: texture plane.bmp has handle %d\n", s_screen->texture);
    s_screen->SetParent(root->GetLayer(kLayerGameUI));
    ShowPanel(s_screen);
    root->HideLayer(kLayerMenus);  // the engine opens on its main menu; Escape brings it back

    CommandGlobal("hello_host at start");
}

static void OnFrame(IEngineCommon* common) {
    ++s_frames;
    if (s_frames == 2) {
        RootPanel* root = common->GetRootPanel();
        Panel* found = root->GetLayer(kLayerGameUI)->FindChild("host_screen");
        ConMsg("linked_host: host_screen %s in the tree\n", found == s_screen ? "is" : "is not");
    }
    if (s_frameLimit > 0 && s_frames == s_frameLimit) {
        CommandGlobal("quit");
    }
}

int main(int argc, char** argv) {
    s_frameLimit = argc > 1 ? std::atoi(argv[1]) : 0;  // 0: run until the user quits
    EngineHooks hooks = {OnStart, OnFrame, nullptr};
    GetEngineCommonInterface()->SetHooks(&hooks);
    return EngineMain();
}
