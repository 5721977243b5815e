#pragma once

#include <EGL/egl.h>
#include <EGL/eglext.h>

namespace kelvokit::desktop {

/** eglCreateWindowSurface on a display of this layer. `window` may be any pointer. Throws std::bad_alloc. */
EGLSurface CreateWindowSurface(EGLDisplay display, EGLConfig config, void* window, EGLint const* attributes);

/** The same for the list that eglCreatePlatformWindowSurface takes, whose numbers may be wider. */
EGLSurface CreatePlatformWindowSurface(EGLDisplay display, EGLConfig config, void* window,
                                       EGLAttrib const* attributes);

/** eglSwapBuffers; passes surfaces that are no window surfaces of this layer on. Throws std::bad_alloc. */
EGLBoolean SwapBuffers(EGLDisplay display, EGLSurface surface);

/**
 * eglSwapBuffersWithDamage of either extension; `driverSwap` is the driver's, or null. Where a window is
 * off-screen the damage, a hint, is of no use.
 */
EGLBoolean SwapBuffersWithDamage(PFNEGLSWAPBUFFERSWITHDAMAGEKHRPROC driverSwap, EGLDisplay display,
                                 EGLSurface surface, EGLint const* rectangles, EGLint count);

/** eglQuerySurface; window surfaces of this layer answer as such. */
EGLBoolean QuerySurface(EGLDisplay display, EGLSurface surface, EGLint attribute, EGLint* value);

/** eglDestroySurface; a window can have a new surface afterwards. */
EGLBoolean DestroySurface(EGLDisplay display, EGLSurface surface);

} // namespace kelvokit::desktop
