#pragma once

#include "display/LayerDisplay.h"

#include <vector>

namespace kelvokit::desktop {

/**
 * Whether a configuration of a display of `kind` is one that a display with windows would offer: 5-6-5, 8-8-8
 * or 8-8-8-8, and fit for window surfaces the way this layer makes them.
 */
bool IsOffered(EGLDisplay display, DisplayKind kind, EGLConfig config);

/**
 * All offered configurations in the driver's order; empty on an uninitialised display. Throws std::bad_alloc.
 */
std::vector<EGLConfig> OfferedConfigs(EGLDisplay display, DisplayKind kind);

/** eglChooseConfig on a display of this layer. Throws std::bad_alloc. */
EGLBoolean ChooseConfigs(EGLDisplay display, DisplayKind kind, EGLint const* attributes, EGLConfig* configs,
                         EGLint size, EGLint* count);

/** eglGetConfigs on a display of this layer. Throws std::bad_alloc. */
EGLBoolean GetConfigs(EGLDisplay display, DisplayKind kind, EGLConfig* configs, EGLint size, EGLint* count);

/** eglGetConfigAttrib on a display of this layer. */
EGLBoolean GetConfigAttribute(EGLDisplay display, DisplayKind kind, EGLConfig config, EGLint attribute,
                              EGLint* value);

} // namespace kelvokit::desktop
