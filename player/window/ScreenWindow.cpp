#include "window/ScreenWindow.h"

#include "window/WaylandSeat.h"

#include <EGL/egl.h>
#include <SDL.h>
#include <SDL_syswm.h>
#include <kelvo_desktop/Display.h>
#include <kelvo_desktop/OffscreenWindow.h>

#include <cstdlib>
#include <cstring>

namespace kelvokit::player {

using trevik::Ref;
using trevik::SizeT;
using trevik::kelvo::Fault;

namespace {

bool Fail(Fault& fault, std::string const& why) {
    fault = Fault(std::string(), "no window can be opened", why);
    return false;
}

/** Empty for a variable that is not set, too. */
std::string GetVariable(char const* pVariable) {
    char const* const pValue = std::getenv(pVariable);
    return pValue ? pValue : "";
}

bool IsSet(char const* pVariable) {
    return !GetVariable(pVariable).empty();
}

/** Has SDL leave out what it would crash with. False with one line in `fault` when nothing is left. */
bool ChooseDriver(Fault& fault) {
#if defined(KELVO_HAS_WAYLAND_CLIENT)
    SDL_version version;
    SDL_GetVersion(&version);
    bool const fNeedsSeat =
        SDL_VERSIONNUM(version.major, version.minor, version.patch) < SDL_VERSIONNUM(2, 30, 0);
    std::string const wanted = GetVariable(SDL_HINT_VIDEODRIVER);
    if (!fNeedsSeat || wanted == "x11" || !IsSeatMissing()) {
        return true;
    }
    if (!wanted.empty() || !IsSet("DISPLAY")) {
        return Fail(fault,
                    "the Wayland compositor has no seat, that is no keyboard and no mouse, as SDL before "
                    "2.30 needs; SDL_VIDEODRIVER=x11 and an X server, such as Xvfb, will do");
    }
    SDL_SetHint(SDL_HINT_VIDEODRIVER, "x11");
#else
    static_cast<void>(fault);
#endif
    return true;
}

} // namespace

ScreenWindow::~ScreenWindow() {
    m_pNative = nullptr;
    if (m_pWindow) {
        SDL_DestroyWindow(m_pWindow);
    }
    if (m_fStarted) {
        SDL_Quit();
    }
}

/** Starts SDL with a window system that is known; false with one line in `fault` where there is none. */
bool ScreenWindow::Start(Fault& fault) {
    SDL_SetHint(SDL_HINT_NO_SIGNAL_HANDLERS, "1"); // the player has its own
    SDL_SetHint(SDL_HINT_VIDEO_ALLOW_SCREENSAVER, "1");
    SDL_SetHint(SDL_HINT_MOUSE_FOCUS_CLICKTHROUGH, "1"); // who comes from an editor need not click twice
    if (!ChooseDriver(fault)) {
        return false;
    }
    m_fStarted = SDL_Init(SDL_INIT_VIDEO) == 0;
    char const* const pDriver = m_fStarted ? SDL_GetCurrentVideoDriver() : "";
    bool const fKnown = std::strcmp(pDriver, "x11") == 0 || std::strcmp(pDriver, "wayland") == 0;
    if (!fKnown && !IsSet("DISPLAY") && !IsSet("WAYLAND_DISPLAY")) {
        return Fail(fault, "there is no X11 or Wayland display (DISPLAY, WAYLAND_DISPLAY)");
    }
    if (!fKnown && IsSet(SDL_HINT_VIDEODRIVER)) {
        return Fail(fault, "SDL_VIDEODRIVER is \"" + GetVariable(SDL_HINT_VIDEODRIVER) +
                               "\", and no x11 or wayland that can be reached");
    }
    if (!fKnown) {
        return Fail(fault, "the display (DISPLAY, WAYLAND_DISPLAY) cannot be reached");
    }
    return true;
}

bool ScreenWindow::Open(std::string const& title, SizeT<int> const& size, Fault& fault) {
    if (!Start(fault)) {
        return false;
    }
    m_pWindow = SDL_CreateWindow(title.c_str(), SDL_WINDOWPOS_CENTERED, SDL_WINDOWPOS_CENTERED, size.width,
                                 size.height, SDL_WINDOW_RESIZABLE);
    if (!m_pWindow) {
        return Fail(fault, SDL_GetError());
    }
    SDL_GetWindowSize(m_pWindow, &m_size.width, &m_size.height);
    return Adopt(fault);
}

/** Makes of the window what the desktop's EGL takes. */
bool ScreenWindow::Adopt(Fault& fault) {
    SDL_SysWMinfo info;
    SDL_VERSION(&info.version)
    if (!SDL_GetWindowWMInfo(m_pWindow, &info)) {
        return Fail(fault, SDL_GetError());
    }
    eglBindAPI(EGL_OPENGL_ES_API); // SDL may have bound another one
    m_pNative = Ref(new NativeWindow);
    switch (info.subsystem) {
#if defined(SDL_VIDEO_DRIVER_X11)
    case SDL_SYSWM_X11:
        desktop::SelectPlatform("x11");
        desktop::InitialiseX11(*m_pNative, info.info.x11.window, m_size.width, m_size.height);
        return true;
#endif
#if defined(SDL_VIDEO_DRIVER_WAYLAND)
    case SDL_SYSWM_WAYLAND:
        desktop::SelectWayland(info.info.wl.display);
        return desktop::InitialiseWayland(*m_pNative, info.info.wl.surface, m_size.width, m_size.height) ||
               Fail(fault, "libwayland-egl is not installed");
#endif
    default:
        return Fail(fault, std::string("the window system \"") + SDL_GetCurrentVideoDriver() +
                               "\" is not supported");
    }
}

bool ScreenWindow::TakeSize() {
    SizeT<int> const before = m_size;
    SDL_GetWindowSize(m_pWindow, &m_size.width, &m_size.height);
    if (m_size.width == before.width && m_size.height == before.height) {
        return false;
    }
    desktop::ResizeWindow(*m_pNative, m_size.width, m_size.height);
    return true;
}

void ScreenWindow::SetSize(SizeT<int> const& size) {
    SDL_SetWindowSize(m_pWindow, size.width, size.height);
}

void ScreenWindow::SetTitle(std::string const& title) {
    SDL_SetWindowTitle(m_pWindow, title.c_str());
}

void ScreenWindow::Hide() {
    SDL_HideWindow(m_pWindow);
}

void ScreenWindow::ToggleFullScreen() {
    bool const fFull = (SDL_GetWindowFlags(m_pWindow) & SDL_WINDOW_FULLSCREEN_DESKTOP) != 0;
    SDL_SetWindowFullscreen(m_pWindow, fFull ? 0 : SDL_WINDOW_FULLSCREEN_DESKTOP);
}

} // namespace kelvokit::player
