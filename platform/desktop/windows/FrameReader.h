#pragma once

#include "egl/EglError.h"

#include <EGL/egl.h>

namespace kelvokit::desktop {

struct FinishedFrame;

/**
 * Reads what the current context has drawn on `surface`, its current draw surface of `width` by `height`
 * pixels, into the size and pixels of `frame`, upright. The context's state is afterwards what it was, its
 * error flags included: no GL error is raised, none is taken away. Fails with EGL_BAD_CONTEXT when the
 * current context is not OpenGL ES 2.0 or later, and as the driver does with a read surface that it no longer
 * binds. Allocates only when the size grows; throws std::bad_alloc.
 */
Outcome ReadFrame(EGLDisplay display, EGLSurface surface, int width, int height, FinishedFrame& frame);

/** glFlush and glFinish of the current context, whatever its kind. */
void FlushCurrentContext();
void FinishCurrentContext();

} // namespace kelvokit::desktop
