#pragma once

#include <kelvo_desktop/Export.h>
#include <system/window.h>

#include <cstdint>
#include <vector>

namespace kelvokit::desktop {

/** A frame as a person would see it. */
struct FinishedFrame {
    int width = 0;  ///< pixels
    int height = 0; ///< pixels
    /**
     * RGBA, 8 bits each, top row first, rows `width * 4` bytes apart. Alpha is 255 where the surface has
     * none.
     */
    std::vector<std::uint8_t> pixels;
    /** Which of the window's frames this is, counted from 1; 0 while none has been captured. */
    unsigned long serial = 0;
};

/**
 * Prepares `window` for off-screen drawing, `width` by `height` pixels, without capture and without a
 * handler. A window that was prepared before starts afresh. When a surface is asked for, a size below 1 is
 * refused with EGL_BAD_NATIVE_WINDOW and one beyond what the driver's GL can draw into with EGL_BAD_ALLOC.
 * Any thread; throws std::bad_alloc.
 */
KELVO_DESKTOP_API void InitialiseOffscreen(ANativeWindow& window, int width, int height);

/**
 * Prepares `window` to stand for the X11 window `x11Window` (not 0), which must exist on the server and
 * outlive the surface. Only a display of the platform "x11" (kelvo_desktop/Display.h) makes surfaces for it;
 * any other answers EGL_BAD_NATIVE_WINDOW. Any thread; throws std::bad_alloc.
 */
KELVO_DESKTOP_API void InitialiseX11(ANativeWindow& window, std::uint64_t x11Window, int width, int height);

/**
 * Prepares `window` to stand for `surface`, a wl_surface that has its role already and outlives the EGL
 * surface. Only the display of SelectWayland (kelvo_desktop/Display.h) makes surfaces for it; any other
 * answers EGL_BAD_NATIVE_WINDOW. False, with the window as it was, when libwayland-egl is not installed or
 * cannot. Any thread; throws std::bad_alloc.
 */
KELVO_DESKTOP_API bool InitialiseWayland(ANativeWindow& window, void* surface, int width, int height);

/**
 * Has the frames of a Wayland window be of another size from the next one on. Other windows alone keep it for
 * their next surface: of an X11 window's size the X server decides. The thread that swaps.
 */
KELVO_DESKTOP_API void ResizeWindow(ANativeWindow& window, int width, int height);

/** Whether the frames of `window` are read back from its next eglSwapBuffers on; initially they are not. */
KELVO_DESKTOP_API void SetCapture(ANativeWindow& window, bool capture);

/**
 * The last captured frame of `window`; its `serial` is 0 and its size 0 by 0 before the first one, and for a
 * window that was not prepared. The reference stays valid as long as the window, and its contents until the
 * window's next captured swap: on another thread than the swapping one, take a copy in the frame handler
 * instead.
 */
KELVO_DESKTOP_API FinishedFrame const& LastFrame(ANativeWindow const& window);

/**
 * A window that prepares itself. `Base` is ANativeWindow or derives from it. A graphics device takes the
 * host's window object: an OffscreenWindowT<trevik::kelvo::WindowT<ANativeWindow>>, passed as a pointer to
 * that base.
 */
template <class Base = ANativeWindow>
class OffscreenWindowT : public Base {
public:
    /** A window of this size, prepared by InitialiseOffscreen. */
    OffscreenWindowT(int width, int height) { InitialiseOffscreen(*this, width, height); }

    /** As kelvokit::desktop::SetCapture. */
    void SetCapture(bool capture) { desktop::SetCapture(*this, capture); }
    /** As kelvokit::desktop::LastFrame. */
    FinishedFrame const& LastFrame() const { return desktop::LastFrame(*this); }
};

using OffscreenWindow = OffscreenWindowT<>;

} // namespace kelvokit::desktop
