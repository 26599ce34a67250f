#include "engine/console_output.h"

#include <SDL.h>

#include <cstdarg>
#include <cstdio>

std::string g_consoleText;

static const size_t kConsoleLineBufferSize = 4096;
static ConsoleListenerFn s_listeners[kMaxConsoleListeners];

bool AddConsoleOutputListener(ConsoleListenerFn listener) {
    ConsoleListenerFn* free = nullptr;
    for (ConsoleListenerFn& slot : s_listeners) {
        if (listener && slot == listener) {
            return false;
        }
        if (!slot && !free) {
            free = &slot;
        }
    }
    if (!listener || !free) {
        return false;
    }
    *free = listener;
    return true;
}

bool RemoveConsoleOutputListener(ConsoleListenerFn listener) {
    for (ConsoleListenerFn& slot : s_listeners) {
        if (listener && slot == listener) {
            slot = nullptr;
            return true;
        }
    }
    return false;
}

static void NotifyListeners(const char* text) {
    // A listener that prints would otherwise call itself without end.
    static bool s_notifying = false;
    if (s_notifying) {
        return;
    }
    s_notifying = true;
    for (ConsoleListenerFn listener : s_listeners) {
        if (listener) {
            listener(text);
        }
    }
    s_notifying = false;
}

static void PrintFormatted(char (&buffer)[kConsoleLineBufferSize], const char* format, va_list args) {
    if (!format) {
        format = "";
    }
    std::vsnprintf(buffer, sizeof(buffer), format, args);
    g_consoleText.append(buffer);
    // "%s" so that a '%' in the finished text is never interpreted a second time.
    SDL_Log("%s", buffer);
    NotifyListeners(buffer);
}

extern "C" VORMI_API void ConMsg(const char* format, ...) {
    char buffer[kConsoleLineBufferSize];
    va_list args;
    va_start(args, format);
    PrintFormatted(buffer, format, args);
    va_end(args);
}

extern "C" VORMI_API void SysErrorMsgBox(const char* format, ...) {
    char buffer[kConsoleLineBufferSize];
    va_list args;
    va_start(args, format);
    PrintFormatted(buffer, format, args);
    va_end(args);
    // Without a display the box fails at once; the failure changes nothing for the caller.
    SDL_ShowSimpleMessageBox(SDL_MESSAGEBOX_ERROR, "System Error", buffer, nullptr);
}
