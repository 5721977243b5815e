#pragma once

#include <EGL/egl.h>

#include <mutex>

namespace kelvokit::desktop {

/** How windows reach the display. */
enum class DisplayKind {
    /** None of this layer's: the program got it from the driver by its own means. */
    Foreign,
    /** No window system: a window surface is a pixel buffer. */
    Offscreen,
    /** An X server: X11 windows are windows, all others pixel buffers. */
    X11,
};

/** The display for EGL_DEFAULT_DISPLAY, by the rules of SelectPlatform; EGL_NO_DISPLAY when there is none. It
   is left as uninitialised as it was. */
EGLDisplay ChooseDefaultDisplay();

/** Of which kind a display is; Foreign for everything that ChooseDefaultDisplay did not give out. */
DisplayKind KindOf(EGLDisplay display);

/**
 * No display is being tried while the result lives, nor initialised or terminated by the program: its
 * eglInitialize and eglTerminate hold it.
 */
std::unique_lock<std::mutex> HoldDisplays();

} // namespace kelvokit::desktop
