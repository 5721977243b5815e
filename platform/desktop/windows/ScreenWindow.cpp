#include "kelvo_desktop/ScreenWindow.h"

#include "kelvo_desktop/Display.h"

#include <dlfcn.h>

namespace kelvokit::desktop {

namespace {

// What of Xlib is used, by the types that it has in memory. Its headers are not asked for: it is loaded where
// it is installed, so that nobody else needs it.

/** Of its events, messages of the window manager; the others are not looked into. */
struct Message {
    int type;
    unsigned long serial;
    int sentByRequest;
    void* display;
    unsigned long window;
    unsigned long kind;
    int format;
    long data[5];
};
union XlibEvent {
    Message message;
    long room[24];
};
constexpr int ClientMessage = 33;

struct Xlib {
    void* (*openDisplay)(char const*) = nullptr;
    int (*closeDisplay)(void*) = nullptr;
    unsigned long (*defaultRootWindow)(void*) = nullptr;
    unsigned long (*createSimpleWindow)(void*, unsigned long, int, int, unsigned, unsigned, unsigned,
                                        unsigned long, unsigned long) = nullptr;
    int (*destroyWindow)(void*, unsigned long) = nullptr;
    int (*storeName)(void*, unsigned long, char const*) = nullptr;
    unsigned long (*internAtom)(void*, char const*, int) = nullptr;
    int (*setProtocols)(void*, unsigned long, unsigned long*, int) = nullptr;
    int (*mapWindow)(void*, unsigned long) = nullptr;
    int (*sync)(void*, int) = nullptr;
    int (*pending)(void*) = nullptr;
    int (*nextEvent)(void*, XlibEvent*) = nullptr;
};

template <class Function>
bool Find(void* library, char const* name, Function& function) {
    function = reinterpret_cast<Function>(dlsym(library, name));
    return function != nullptr;
}

/** False when it is not there, or not all of it. */
bool Load(Xlib& xlib) {
    void* const library = dlopen("libX11.so.6", RTLD_NOW | RTLD_LOCAL);
    return library && Find(library, "XOpenDisplay", xlib.openDisplay) &&
           Find(library, "XCloseDisplay", xlib.closeDisplay) &&
           Find(library, "XDefaultRootWindow", xlib.defaultRootWindow) &&
           Find(library, "XCreateSimpleWindow", xlib.createSimpleWindow) &&
           Find(library, "XDestroyWindow", xlib.destroyWindow) &&
           Find(library, "XStoreName", xlib.storeName) && Find(library, "XInternAtom", xlib.internAtom) &&
           Find(library, "XSetWMProtocols", xlib.setProtocols) &&
           Find(library, "XMapWindow", xlib.mapWindow) && Find(library, "XSync", xlib.sync) &&
           Find(library, "XPending", xlib.pending) && Find(library, "XNextEvent", xlib.nextEvent);
}

Xlib const* GetXlib() {
    static Xlib s_xlib;
    static bool const s_loaded = Load(s_xlib);
    return s_loaded ? &s_xlib : nullptr;
}

} // namespace

struct Screen {
    Xlib const& xlib;
    void* display;
    unsigned long window;
    unsigned long closing; ///< the message that asks for it
    bool open = true;
};

Screen* OpenScreen(ANativeWindow& window, char const* title, int width, int height) {
    Xlib const* const xlib = width > 0 && height > 0 ? GetXlib() : nullptr;
    void* const display = xlib ? xlib->openDisplay(nullptr) : nullptr;
    if (!display) {
        return nullptr;
    }
    unsigned long const x11 =
        xlib->createSimpleWindow(display, xlib->defaultRootWindow(display), 0, 0,
                                 static_cast<unsigned>(width), static_cast<unsigned>(height), 0, 0, 0);
    unsigned long closing = xlib->internAtom(display, "WM_DELETE_WINDOW", 0);
    xlib->setProtocols(display, x11, &closing, 1);
    xlib->storeName(display, x11, title);
    xlib->mapWindow(display, x11);
    xlib->sync(display, 0); // EGL has a connection of its own, which is to see the window
    SelectPlatform("x11");
    InitialiseX11(window, x11, width, height);
    return new Screen{*xlib, display, x11, closing};
}

bool IsOpen(Screen& screen) {
    while (screen.open && screen.xlib.pending(screen.display) > 0) {
        XlibEvent event;
        screen.xlib.nextEvent(screen.display, &event);
        screen.open = event.message.type != ClientMessage ||
                      static_cast<unsigned long>(event.message.data[0]) != screen.closing;
    }
    return screen.open;
}

void CloseScreen(Screen* screen) {
    if (screen) {
        screen->xlib.destroyWindow(screen->display, screen->window);
        screen->xlib.closeDisplay(screen->display);
        delete screen;
    }
}

} // namespace kelvokit::desktop
