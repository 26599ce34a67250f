#include "input/input_system.h"

#include <SDL.h>

#include <cmath>
#include <cstring>

#include "console/cvars.h"
#include "engine/engine.h"
#include "engine/registry.h"
#include "render/renderer.h"
#include "render/renderer_backend.h"

static const uint8_t kGraveAccent = 0x60;
// SDL's scancode range; a hand-made event outside it is dropped rather than written past the arrays.
static const int kKeyCount = static_cast<int>(sizeof(InputSystem::keysHeld));

int InputSystem::EnableRelativeMouse() {
    return SDL_SetRelativeMouseMode(SDL_TRUE);
}

int InputSystem::DisableRelativeMouse() {
    return SDL_SetRelativeMouseMode(SDL_FALSE);
}

int InputSystem::SetRelativeMouse(bool enable) {
    const SDL_bool current = SDL_GetRelativeMouseMode();
    if ((current != SDL_FALSE) == enable) {
        return current;
    }
    return SDL_SetRelativeMouseMode(enable ? SDL_TRUE : SDL_FALSE);
}

bool InputSystem::IsRelativeMouse() {
    return SDL_GetRelativeMouseMode() != SDL_FALSE;
}

void InputSystem::Init() {
    if (cv_enable_screen_keyboard.intValue == 0) {
        SDL_SetHint("SDL_ENABLE_SCREEN_KEYBOARD", "0");
    }
    // SDL starts with text input on; nothing wants text until a widget asks for it.
    SDL_StopTextInput();
}

// Typed text reaches the UI as plain bytes: anything outside ASCII becomes one '?' per byte.
static void AppendTypedText(std::string& out, const char* text, size_t capacity) {
    for (size_t i = 0; i < capacity && text[i] != '\0'; ++i) {
        const unsigned char c = static_cast<unsigned char>(text[i]);
        out.push_back(c > 0x7F ? '?' : static_cast<char>(c));
    }
}

void InputSystem::Update() {
    const bool textActive = SDL_IsTextInputActive() != SDL_FALSE;
    if (wantTextInput && !textActive) {
        SDL_StartTextInput();
    } else if (!wantTextInput && textActive) {
        SDL_StopTextInput();
    }

    int windowX = 0;
    int windowY = 0;
    mouseButtons = SDL_GetMouseState(&windowX, &windowY);
    mouseX = PixelsToUiUnits(windowX);
    mouseY = PixelsToUiUnits(windowY);

    mouseDeltaX = 0;
    mouseDeltaY = 0;
    std::memset(keysPressed, 0, sizeof(keysPressed));
    std::memset(keysPressedNoRepeat, 0, sizeof(keysPressedNoRepeat));
    mouseWheel = 0;

    SDL_Event event;
    while (SDL_PollEvent(&event)) {
        switch (event.type) {
        case SDL_QUIT:
            g_quit = true;
            break;
        case SDL_WINDOWEVENT:
            if (event.window.event == SDL_WINDOWEVENT_RESIZED && g_renderer) {
                g_renderer->UpdateViewportScale();
            }
            break;
        case SDL_KEYDOWN: {
            const int s = static_cast<int>(event.key.keysym.scancode);
            if (s < 0 || s >= kKeyCount) {
                break;
            }
            keysPressed[s] = 1;
            keysHeld[s] = 1;
            keysPressedNoRepeat[s] = event.key.repeat == 0 ? 1 : 0;
            break;
        }
        case SDL_KEYUP: {
            const int s = static_cast<int>(event.key.keysym.scancode);
            if (s >= 0 && s < kKeyCount) {
                keysHeld[s] = 0;
            }
            break;
        }
        case SDL_TEXTINPUT:
            // The console key must not type itself into the box it just opened.
            if (wantTextInput && static_cast<uint8_t>(event.text.text[0]) != kGraveAccent) {
                AppendTypedText(textInput, event.text.text, sizeof(event.text.text));
            }
            break;
        case SDL_MOUSEMOTION:
            mouseDeltaX = event.motion.xrel;
            mouseDeltaY = event.motion.yrel;
            break;
        case SDL_MOUSEWHEEL:
            if (event.wheel.y > 0) {
                mouseWheel = 1;
            } else if (event.wheel.y < 0) {
                mouseWheel = 2;
            }
            break;
        default:
            break;
        }
    }
}

void InputSystem::Shutdown() {}

static InputSystem s_inputSystem;
InputSystem* g_inputSystem = &s_inputSystem;
EXPOSE_INTERFACE(s_inputSystem, "InputSystemV1");
