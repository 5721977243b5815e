#pragma once

#include <EGL/egl.h>

namespace kelvo::desktop {

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
 * eglInitialize and eglTerminate, which have to pass here: trying a display must not shut down one in use.
 */
EGLBoolean InitializeDisplay(EGLDisplay display, EGLint* major, EGLint* minor);
EGLBoolean TerminateDisplay(EGLDisplay display);

} // namespace kelvo::desktop
