#pragma once

#include <EGL/egl.h>

namespace kelvo::desktop {

/**
 * eglCreateWindowSurface on a display of this layer, for the kinds of attribute list that EGL has
 * (`Attribute` is EGLint or EGLAttrib). `window` may be any pointer. Throws std::bad_alloc.
 */
template <class Attribute>
EGLSurface CreateWindowSurface(EGLDisplay display, EGLConfig config, void* window,
                               Attribute const* attributes);

extern template EGLSurface CreateWindowSurface(EGLDisplay, EGLConfig, void*, EGLint const*);
extern template EGLSurface CreateWindowSurface(EGLDisplay, EGLConfig, void*, EGLAttrib const*);

/** eglSwapBuffers; passes surfaces that are no window surfaces of this layer on. Throws std::bad_alloc. */
EGLBoolean SwapBuffers(EGLDisplay display, EGLSurface surface);

/** eglQuerySurface; window surfaces of this layer answer as such. */
EGLBoolean QuerySurface(EGLDisplay display, EGLSurface surface, EGLint attribute, EGLint* value);

/** eglDestroySurface; a window can have a new surface afterwards. */
EGLBoolean DestroySurface(EGLDisplay display, EGLSurface surface);

} // namespace kelvo::desktop
