// The input system drains SDL's event queue once per frame into plain public state that the UI polls:
// held and pressed keys by scancode, the mouse in UI units, the wheel, and typed text. It also owns
// SDL's text-input switch and relative mouse mode. Published as "InputSystemV1".
#pragma once

#include <cstdint>
#include <string>

#include "engine/api.h"

class VORMI_API IInputSystem {
public:
    virtual ~IInputSystem() {}
    virtual int EnableRelativeMouse() = 0;   // SDL's result
    virtual int DisableRelativeMouse() = 0;
    // Changes the mode only when it differs; returns SDL's result or the unchanged mode.
    virtual int SetRelativeMouse(bool enable) = 0;
    virtual bool IsRelativeMouse() = 0;
    virtual void Init() = 0;
    // The per-frame pump.
    virtual void Update() = 0;
    virtual void Shutdown() = 0;
};

class VORMI_API InputSystem : public IInputSystem {
public:
    int EnableRelativeMouse() override;
    int DisableRelativeMouse() override;
    int SetRelativeMouse(bool enable) override;
    bool IsRelativeMouse() override;
    void Init() override;
    void Update() override;
    void Shutdown() override;

    bool wantTextInput = false;
    bool textInputCancel = false;
    uint8_t keysHeld[512] = {};
    uint8_t keysPressed[512] = {};
    uint8_t keysPressedNoRepeat[512] = {};
    uint32_t mouseButtons = 0;
    int32_t mouseX = 0;
    int32_t mouseY = 0;
    int32_t mouseDeltaX = 0;
    int32_t mouseDeltaY = 0;
    int32_t mouseWheel = 0;
    std::string textInput;
};

extern VORMI_API InputSystem* g_inputSystem;
