#include "kelvo_desktop/OffscreenWindow.h"

#include "display/Layer.h"
#include "windows/WaylandWindow.h"

namespace kelvokit::desktop {

namespace {

void Release(ANativeWindow* window) {
    Layer::Get().RemoveWindow(window);
    window->magic = 0;
    window->release = nullptr;
    delete window->frame;
    window->frame = nullptr;
    DestroyWaylandWindow(window->waylandWindow);
    window->waylandWindow = nullptr;
}

void Initialise(ANativeWindow& window, std::uint64_t x11Window, int width, int height) {
    if (window.release) {
        window.release(&window);
    }
    window.frame = new FinishedFrame;
    window.release = Release;
    Layer::Get().AddWindow(&window);
    window.width = width;
    window.height = height;
    window.x11Window = x11Window;
    window.capture = false;
    window.frameFinished = nullptr;
    window.frameCount = 0;
    window.magic = ANativeWindow::PreparedMagic;
}

} // namespace

void InitialiseOffscreen(ANativeWindow& window, int width, int height) {
    Initialise(window, 0, width, height);
}

void InitialiseX11(ANativeWindow& window, std::uint64_t x11Window, int width, int height) {
    Initialise(window, x11Window, width, height);
}

bool InitialiseWayland(ANativeWindow& window, void* surface, int width, int height) {
    void* const pWayland = CreateWaylandWindow(surface, width, height);
    if (!pWayland) {
        return false;
    }
    Initialise(window, 0, width, height);
    window.waylandWindow = pWayland;
    return true;
}

void ResizeWindow(ANativeWindow& window, int width, int height) {
    window.width = width;
    window.height = height;
    if (window.waylandWindow) {
        ResizeWaylandWindow(window.waylandWindow, width, height);
    }
}

void SetCapture(ANativeWindow& window, bool capture) {
    window.capture = capture;
}

FinishedFrame const& LastFrame(ANativeWindow const& window) {
    static FinishedFrame const s_none;
    return window.frame ? *window.frame : s_none;
}

} // namespace kelvokit::desktop
