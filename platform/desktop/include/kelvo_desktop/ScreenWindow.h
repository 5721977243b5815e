#pragma once

#include <kelvo_desktop/Export.h>
#include <kelvo_desktop/OffscreenWindow.h>
#include <system/window.h>

#include <memory>

namespace kelvokit::desktop {

/** A window on the screen and the connection to its X server. */
struct Screen;

/**
 * Opens a window of the X server named by DISPLAY, under Wayland that of XWayland, and prepares `window` to
 * stand for it, as SelectPlatform("x11") and InitialiseX11 do. Null, with both as they were, where there is
 * no such server, or libX11 is not installed. The thread that then asks IsOpen; throws std::bad_alloc.
 */
KELVO_DESKTOP_API Screen* OpenScreen(ANativeWindow& window, char const* title, int width, int height);

/** False as soon as the person has closed the window, which stays until CloseScreen. */
KELVO_DESKTOP_API bool IsOpen(Screen& screen);

/** Takes the window from the screen, once nothing draws into it any more; null is ignored. */
KELVO_DESKTOP_API void CloseScreen(Screen* screen);

/**
 * A window that opens itself on the screen, or, where there is none, prepares itself to draw off screen.
 * `Base` as for OffscreenWindowT. It has to outlive the device that draws into it. One thread.
 */
template <class Base = ANativeWindow>
class ScreenWindowT : public Base {
public:
    /** Opens it, with the title in UTF-8, so many pixels across and up. */
    ScreenWindowT(char const* title, int across, int up) : m_screen(OpenScreen(*this, title, across, up)) {
        if (!m_screen) {
            InitialiseOffscreen(*this, across, up);
        }
    }

    /** What a device is initialised with: of all pointers to this object the right one. */
    Base* GetBase() { return this; }
    /** Whether there is a window to be seen. */
    bool IsOnScreen() const { return m_screen != nullptr; }
    /** Until the person closes it; off screen always. */
    bool IsOpen() { return !m_screen || desktop::IsOpen(*m_screen); }

private:
    struct Closer {
        void operator()(Screen* screen) const { CloseScreen(screen); }
    };
    std::unique_ptr<Screen, Closer> const m_screen; // null off screen
};

} // namespace kelvokit::desktop
