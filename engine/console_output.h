// Console output: the engine's only output channel. Both functions format printf-style into a
// 4096-byte buffer (longer texts are cut at 4095 characters), append the text to g_consoleText and
// log it through SDL. SysErrorMsgBox also shows a modal "System Error" box and blocks until it closes.
#pragma once

#include <string>

#include "engine/api.h"

extern "C" {
VORMI_API void ConMsg(const char* format, ...) VORMI_PRINTF(1, 2);
VORMI_API void SysErrorMsgBox(const char* format, ...) VORMI_PRINTF(1, 2);
}

// Everything printed since the console panel last drained it.
extern VORMI_API std::string g_consoleText;

// Called with each text as printed (a text may hold several lines or part of one).
typedef void (*ConsoleListenerFn)(const char* text);
const int kMaxConsoleListeners = 8;
// False when the listener is null, already added, or kMaxConsoleListeners are in use.
VORMI_API bool AddConsoleOutputListener(ConsoleListenerFn listener);
// False when it was not added.
VORMI_API bool RemoveConsoleOutputListener(ConsoleListenerFn listener);
