#include "kelvo_test/XServer.h"

#include <dlfcn.h>

#include <cstdlib>

namespace kelvokit::test {

namespace {

/** Becomes whatever function pointer it initialises. */
struct Symbol {
    void* address;
    template <class Function>
    operator Function*() const {
        return reinterpret_cast<Function*>(address);
    }
};

Symbol Find(void* pLibrary, char const* name) {
    return {pLibrary ? dlsym(pLibrary, name) : nullptr};
}

using Id = unsigned long;

/** The few functions that are needed. */
struct Xlib {
    void* m_pX11 = dlopen("libX11.so.6", RTLD_NOW | RTLD_LOCAL);
    void* m_pTest = dlopen("libXtst.so.6", RTLD_NOW | RTLD_LOCAL);
    void* (*XOpenDisplay)(char const*) = Find(m_pX11, "XOpenDisplay");
    int (*XCloseDisplay)(void*) = Find(m_pX11, "XCloseDisplay");
    int (*(*XSetErrorHandler)(int (*)(void*, void*)))(void*, void*) = Find(m_pX11, "XSetErrorHandler");
    Id (*XDefaultRootWindow)(void*) = Find(m_pX11, "XDefaultRootWindow");
    Id (*XCreateSimpleWindow)(void*, Id, int, int, unsigned, unsigned, unsigned, Id,
                              Id) = Find(m_pX11, "XCreateSimpleWindow");
    int (*XMapWindow)(void*, Id) = Find(m_pX11, "XMapWindow");
    int (*XSync)(void*, int) = Find(m_pX11, "XSync");
    int (*XQueryTree)(void*, Id, Id*, Id*, Id**, unsigned*) = Find(m_pX11, "XQueryTree");
    int (*XFetchName)(void*, Id, char**) = Find(m_pX11, "XFetchName");
    int (*XFree)(void*) = Find(m_pX11, "XFree");
    void* (*XGetImage)(void*, Id, int, int, unsigned, unsigned, Id, int) = Find(m_pX11, "XGetImage");
    Id (*XGetPixel)(void*, int, int) = Find(m_pX11, "XGetPixel");
    int (*XDestroyImage)(void*) = Find(m_pX11, "XDestroyImage");
    Id (*XInternAtom)(void*, char const*, int) = Find(m_pX11, "XInternAtom");
    int (*XSendEvent)(void*, Id, int, long, void*) = Find(m_pX11, "XSendEvent");
    int (*XResizeWindow)(void*, Id, unsigned, unsigned) = Find(m_pX11, "XResizeWindow");
    int (*XSetInputFocus)(void*, Id, int, Id) = Find(m_pX11, "XSetInputFocus");
    int (*XTranslateCoordinates)(void*, Id, Id, int, int, int*, int*, Id*) = Find(m_pX11,
                                                                                  "XTranslateCoordinates");
    Id (*XStringToKeysym)(char const*) = Find(m_pX11, "XStringToKeysym");
    unsigned char (*XKeysymToKeycode)(void*, Id) = Find(m_pX11, "XKeysymToKeycode");
    int (*XTestFakeKeyEvent)(void*, unsigned, int, Id) = Find(m_pTest, "XTestFakeKeyEvent");
    int (*XTestFakeButtonEvent)(void*, unsigned, int, Id) = Find(m_pTest, "XTestFakeButtonEvent");
    int (*XTestFakeMotionEvent)(void*, int, int, int, Id) = Find(m_pTest, "XTestFakeMotionEvent");
};

Xlib const& X() {
    static Xlib const s_x;
    return s_x;
}

} // namespace

XServer::XServer()
    : m_pDisplay(std::getenv("DISPLAY") && X().XOpenDisplay ? X().XOpenDisplay(nullptr) : nullptr) {
    if (m_pDisplay) {
        // Other programs' windows may go at any time.
        X().XSetErrorHandler([](void*, void*) { return 0; });
    }
}

XServer::~XServer() {
    if (m_pDisplay) {
        X().XCloseDisplay(m_pDisplay);
    }
}

bool XServer::HasInput() const {
    return m_pDisplay && X().XTestFakeKeyEvent;
}

void XServer::Sync() const {
    X().XSync(m_pDisplay, 0);
}

unsigned long XServer::MakeWindow(unsigned width, unsigned height) const {
    Id const id =
        X().XCreateSimpleWindow(m_pDisplay, X().XDefaultRootWindow(m_pDisplay), 0, 0, width, height, 0, 0, 0);
    X().XMapWindow(m_pDisplay, id);
    Sync();
    return id;
}

std::vector<unsigned long> XServer::GetWindows() const {
    Id root = 0;
    Id parent = 0;
    Id* pChildren = nullptr;
    unsigned nChildren = 0;
    X().XQueryTree(m_pDisplay, X().XDefaultRootWindow(m_pDisplay), &root, &parent, &pChildren, &nChildren);
    std::vector<unsigned long> windows(pChildren, pChildren + nChildren);
    if (pChildren) {
        X().XFree(pChildren);
    }
    return windows;
}

std::string XServer::GetTitle(unsigned long id) const {
    char* pTitle = nullptr;
    X().XFetchName(m_pDisplay, id, &pTitle);
    std::string const title = pTitle ? pTitle : "";
    if (pTitle) {
        X().XFree(pTitle);
    }
    return title;
}

Image XServer::GetShown(unsigned long id, unsigned width, unsigned height) const {
    constexpr int ZPixmap = 2;
    void* const pPicture = X().XGetImage(m_pDisplay, id, 0, 0, width, height, ~0ul, ZPixmap);
    if (!pPicture) {
        return Image(int(width), int(height));
    }
    Image const shown = MakeImage(int(width), int(height), [&](int x, int y) {
        unsigned long const colour = X().XGetPixel(pPicture, x, y);
        return Pixel{std::uint8_t(colour >> 16), std::uint8_t(colour >> 8), std::uint8_t(colour)};
    });
    X().XDestroyImage(pPicture);
    return shown;
}

void XServer::AskToClose(unsigned long id) const {
    constexpr int ClientMessage = 33;
    struct {
        int nType = ClientMessage;
        unsigned long nSerial = 0;
        int nSent = 1;
        void* pDisplay = nullptr;
        Id window, kind;
        int nBits = 32;
        long data[24] = {};
    } message;
    message.window = id;
    message.kind = X().XInternAtom(m_pDisplay, "WM_PROTOCOLS", 0);
    message.data[0] = static_cast<long>(X().XInternAtom(m_pDisplay, "WM_DELETE_WINDOW", 0));
    X().XSendEvent(m_pDisplay, id, 0, 0, &message);
    Sync();
}

void XServer::Resize(unsigned long id, unsigned width, unsigned height, bool fAtOnce) const {
    X().XResizeWindow(m_pDisplay, id, width, height);
    if (fAtOnce) {
        Sync();
    }
}

void XServer::PressKey(unsigned long id, char const* name) const {
    constexpr int RevertToParent = 2;
    X().XSetInputFocus(m_pDisplay, id, RevertToParent, 0);
    unsigned const nKey = X().XKeysymToKeycode(m_pDisplay, X().XStringToKeysym(name));
    X().XTestFakeKeyEvent(m_pDisplay, nKey, 1, 0);
    X().XTestFakeKeyEvent(m_pDisplay, nKey, 0, 0);
    Sync();
}

void XServer::MovePointer(int x, int y) const {
    X().XTestFakeMotionEvent(m_pDisplay, -1, x, y, 0);
    Sync();
}

void XServer::Click(unsigned long id, int x, int y) const {
    Id child = 0;
    X().XTranslateCoordinates(m_pDisplay, id, X().XDefaultRootWindow(m_pDisplay), x, y, &x, &y, &child);
    MovePointer(x, y);
    X().XTestFakeButtonEvent(m_pDisplay, 1, 1, 0);
    X().XTestFakeButtonEvent(m_pDisplay, 1, 0, 0);
    Sync();
}

} // namespace kelvokit::test
