// A stream of UI input driving the whole interface as the engine builds it (console, text boxes,
// menus, forms): keys and typed text go through SDL's event queue and the real pump, the mouse is
// written into the input system as a frame would see it, and each frame runs as the main loop does.
#include <SDL.h>

#include <algorithm>
#include <cstring>

#include "app/interface.h"
#include "console/command_system.h"
#include "engine/engine.h"
#include "fuzz_support.h"
#include "input/input_system.h"
#include "render/renderer.h"
#include "ui/root_panel.h"

// Keys the interface reacts to, so that most key bytes hit one; other bytes are raw scancodes.
static const SDL_Scancode kKeys[] = {
    SDL_SCANCODE_GRAVE, SDL_SCANCODE_ESCAPE, SDL_SCANCODE_RETURN, SDL_SCANCODE_BACKSPACE, SDL_SCANCODE_DELETE,
    SDL_SCANCODE_LEFT,  SDL_SCANCODE_RIGHT,  SDL_SCANCODE_UP,     SDL_SCANCODE_DOWN,      SDL_SCANCODE_HOME,
    SDL_SCANCODE_END,   SDL_SCANCODE_TAB,    SDL_SCANCODE_LCTRL,  SDL_SCANCODE_LALT,      SDL_SCANCODE_V};
static const int kMaxFrames = 48;

static void PushKey(Uint32 type, uint8_t code, bool repeat) {
    SDL_Event event = {};
    event.type = type;
    const size_t count = sizeof(kKeys) / sizeof(kKeys[0]);
    event.key.keysym.scancode = code < count * 8 ? kKeys[code % count] : static_cast<SDL_Scancode>(code);
    event.key.repeat = repeat ? 1 : 0;
    event.key.state = type == SDL_KEYDOWN ? SDL_PRESSED : SDL_RELEASED;
    SDL_PushEvent(&event);
}

static void PushText(const uint8_t* bytes, size_t length) {
    SDL_Event event = {};
    event.type = SDL_TEXTINPUT;
    std::memcpy(event.text.text, bytes, std::min(length, sizeof(event.text.text) - 1));
    SDL_PushEvent(&event);
}

struct Mouse {
    int32_t x = 0, y = 0, wheel = 0, buttons = 0;
};

static void RunFrame(const Mouse& mouse) {
    g_inputSystem->Update();
    for (unsigned char c : g_inputSystem->textInput) {
        FUZZ_CHECK(c < 0x80, "byte %u reached the typed text", c);
    }
    g_inputSystem->mouseX = mouse.x;
    g_inputSystem->mouseY = mouse.y;
    g_inputSystem->mouseButtons = static_cast<uint32_t>(mouse.buttons);
    g_inputSystem->mouseWheel = mouse.wheel;
    g_rootPanel->Update();
    g_renderer->Begin2D();
    g_rootPanel->Draw();
    g_rootPanel->DrawDebugOutline();
    g_renderer->Present();
    // Every command may run but the one that ends the process on the spot.
    g_commandQueue.erase(std::remove_if(g_commandQueue.begin(), g_commandQueue.end(),
                                        [](const std::string& line) { return SplitCommandLine(line).name == "force_exit"; }),
                         g_commandQueue.end());
    g_commandSystem->ExecuteQueue();
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    StartEngine("SDLRenderer");
    CreateRootPanel();
    BuildInterface(g_rootPanel);
    Mouse mouse;
    int frames = 0;
    for (size_t i = 0; i + 2 < size && frames < kMaxFrames; i += 3) {
        const uint8_t op = data[i] % 8;
        const uint8_t a = data[i + 1];
        const uint8_t b = data[i + 2];
        switch (op) {
        case 0: PushKey(SDL_KEYDOWN, a, b & 1); break;
        case 1: PushKey(SDL_KEYUP, a, false); break;
        case 2: PushText(data + i + 1, std::min<size_t>(a % 8 + 1, size - i - 1)); i += a % 8; break;
        case 3: mouse.x = a * 2; mouse.y = b * 2; break;
        case 4: mouse.buttons = a & 7; break;
        case 5: mouse.wheel = a % 3; break;
        case 6: SDL_SetWindowSize(g_window, 200 + a * 2, 150 + b * 2); break;
        default: RunFrame(mouse); mouse.wheel = 0; ++frames; break;
        }
    }
    RunFrame(mouse);
    DestroyRootPanel();
    g_quit = false;
    SDL_FlushEvents(SDL_FIRSTEVENT, SDL_LASTEVENT);
    *g_inputSystem = InputSystem();
    ForgetOutput();
    return 0;
}
