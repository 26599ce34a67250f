#include "engine/console_output.h"

#include <SDL.h>

#include <cstdarg>
#include <cstdio>

std::string g_consoleText;

static const size_t kConsoleLineBufferSize = 4096;

static void PrintFormatted(char (&buffer)[kConsoleLineBufferSize], const char* format, va_list args) {
    if (!format) {
        format = "";
    }
    std::vsnprintf(buffer, sizeof(buffer), format, args);
    g_consoleText.append(buffer);
    // "%s" so that a '%' in the finished text is never interpreted a second time.
    SDL_Log("%s", buffer);
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
