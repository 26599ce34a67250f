// vormi-close WINDOW_ID: asks an X window to close the way a window manager's close button does
// (WM_PROTOCOLS / WM_DELETE_WINDOW), so the engine shuts down in order. Used by the run script and the
// desktop tests, which run under Xvfb without a window manager.

#include <X11/Xlib.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>

int main(int argc, char** argv) {
    if (argc != 2) {
        std::fprintf(stderr, "Usage: vormi-close WINDOW_ID\n");
        return 2;
    }
    char* end = nullptr;
    const unsigned long window = std::strtoul(argv[1], &end, 0);
    if (!end || *end != '\0' || window == 0) {
        std::fprintf(stderr, "vormi-close: not a window id: %s\n", argv[1]);
        return 2;
    }
    Display* display = XOpenDisplay(nullptr);
    if (!display) {
        std::fprintf(stderr, "vormi-close: cannot open the display\n");
        return 1;
    }
    XEvent event;
    std::memset(&event, 0, sizeof(event));
    event.xclient.type = ClientMessage;
    event.xclient.window = window;
    event.xclient.message_type = XInternAtom(display, "WM_PROTOCOLS", False);
    event.xclient.format = 32;
    event.xclient.data.l[0] = static_cast<long>(XInternAtom(display, "WM_DELETE_WINDOW", False));
    event.xclient.data.l[1] = CurrentTime;
    const Status sent = XSendEvent(display, window, False, NoEventMask, &event);
    XSync(display, False);
    XCloseDisplay(display);
    return sent ? 0 : 1;
}
