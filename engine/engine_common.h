// The engine's registry of subsystems and the host's hooks.
//
// A host fetches the single IEngineCommon with GetEngineCommonInterface(), installs its hooks with
// SetHooks() before calling EngineMain(), and finds any subsystem by its version name with Find()
// ("CommandSystemV1", "CVarV1", "FilesystemV1", "FontSystemV1", "InputSystemV1", "ModelMgrV1",
// "TextureMgrV1", and "RendererV1" once the window exists).
#pragma once

#include "engine/api.h"
#include "engine/console_output.h"

class IEngineCommon;
class RootPanel;

typedef void (*EngineHookFn)(IEngineCommon* common);

struct EngineHooks {
    void (*start)(IEngineCommon*);  // once, after the UI exists and before the first frame
    void (*frame)(IEngineCommon*);  // once per frame, after the command queue ran
    void (*extra)(IEngineCommon*);  // never called by the engine; the host may call it
};

class VORMI_API IEngineCommon {
public:
    virtual ~IEngineCommon() {}
    // Copies the three hook pointers; a null record is ignored.
    virtual void SetHooks(const EngineHooks* hooks) = 0;
    // The interface published under that exact, case-sensitive name, or null.
    virtual void* Find(const char* versionName) = 0;
    // Each calls its hook with this object, or does nothing when the hook is unset.
    virtual void CallStartHook() = 0;
    virtual void CallFrameHook() = 0;
    virtual void CallExtraHook() = 0;
    // The root of the interface tree, from just before the start hook runs until shutdown; null
    // outside that time.
    virtual RootPanel* GetRootPanel() = 0;
    // Adds a listener for the console's output (up to 8 at once); false when null, already added or full.
    virtual bool AddConsoleListener(ConsoleListenerFn listener) = 0;
    // False when the listener was not added.
    virtual bool RemoveConsoleListener(ConsoleListenerFn listener) = 0;
};

class VORMI_API EngineCommon : public IEngineCommon {
public:
    void SetHooks(const EngineHooks* hooks) override;
    void* Find(const char* versionName) override;
    void CallStartHook() override;
    void CallFrameHook() override;
    void CallExtraHook() override;
    RootPanel* GetRootPanel() override;
    bool AddConsoleListener(ConsoleListenerFn listener) override;
    bool RemoveConsoleListener(ConsoleListenerFn listener) override;

    RootPanel* rootPanel = nullptr;  // stored by EngineMain just before the start hook runs
    EngineHookFn startHook = nullptr;
    EngineHookFn frameHook = nullptr;
    EngineHookFn extraHook = nullptr;
};

extern "C" {
// The address of the engine's single EngineCommon.
VORMI_API IEngineCommon* GetEngineCommonInterface(void);
// Runs the engine until a quit is requested. 0 after a normal quit, 1 when start-up failed. Call it
// once per process: the subsystems are static objects that a second run would find in their end state,
// and the "RendererV1" entry keeps the first run's renderer.
VORMI_API int EngineMain(void);
}
