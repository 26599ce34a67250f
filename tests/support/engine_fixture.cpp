#include "support/engine_fixture.h"

static struct {
    std::function<void(int)> onFrame;
    std::function<void()> onStart;
    int frame, maxFrames;
} s_run;

EngineRunResult RunEngine(const std::function<void(int)>& onFrame, const std::function<void()>& onStart,
                          int maxFrames) {
    s_run = {onFrame, onStart, 0, maxFrames};
    const EngineHooks hooks = {[](IEngineCommon*) { if (s_run.onStart) s_run.onStart(); },
                               [](IEngineCommon*) {
                                   if (s_run.onFrame) s_run.onFrame(s_run.frame);
                                   if (++s_run.frame == s_run.maxFrames) CommandGlobal("quit");
                               },
                               nullptr};
    GetEngineCommonInterface()->SetHooks(&hooks);
    const EngineRunResult result = {EngineMain(), s_run.frame};
    const EngineHooks none = {nullptr, nullptr, nullptr};
    GetEngineCommonInterface()->SetHooks(&none);
    s_run = {};
    return result;
}
