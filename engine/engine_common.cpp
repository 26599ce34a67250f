#include "engine/engine_common.h"

#include "engine/console_output.h"
#include "engine/registry.h"

void EngineCommon::SetHooks(const EngineHooks* hooks) {
    if (!hooks) {
        return;
    }
    startHook = hooks->start;
    frameHook = hooks->frame;
    extraHook = hooks->extra;
}

void* EngineCommon::Find(const char* versionName) {
    return FindInterface(versionName);
}

void EngineCommon::CallStartHook() {
    if (startHook) {
        startHook(this);
    }
}

void EngineCommon::CallFrameHook() {
    if (frameHook) {
        frameHook(this);
    }
}

void EngineCommon::CallExtraHook() {
    if (extraHook) {
        extraHook(this);
    }
}

RootPanel* EngineCommon::GetRootPanel() {
    return rootPanel;
}

bool EngineCommon::AddConsoleListener(ConsoleListenerFn listener) {
    return AddConsoleOutputListener(listener);
}

bool EngineCommon::RemoveConsoleListener(ConsoleListenerFn listener) {
    return RemoveConsoleOutputListener(listener);
}

static EngineCommon s_engineCommon;
EngineCommon* g_engineCommon = &s_engineCommon;

extern "C" VORMI_API IEngineCommon* GetEngineCommonInterface(void) {
    return &s_engineCommon;
}
