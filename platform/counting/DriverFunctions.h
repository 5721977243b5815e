#pragma once

#include "EntryPointMacros.h"

#include <EGL/egl.h>
#include <EGL/eglext.h>
#include <GLES2/gl2.h>
#include <GLES2/gl2ext.h>

#define KELVO_GL_ALONE // of the list of entry points

namespace kelvokit::counting {

/** The GL functions that come behind this library's own. */
struct DriverFunctions {
#define ENTRY(result, name, ...) result (*name)(KELVO_TYPES(__VA_ARGS__)) = nullptr;
// A declared name takes no parentheses of its own. NOLINTNEXTLINE(bugprone-macro-parentheses)
#define ENTRY0(result, name) result (*name)() = nullptr;
#define EXTENSION(result, name, ...)
#include "EntryPoints.def"
#undef ENTRY
#undef ENTRY0
#undef EXTENSION
    decltype(&::eglGetProcAddress) eglGetProcAddress = nullptr; ///< null where the program links no EGL
};

/** Looked up by the first call, which ends the program when a function is missing. */
DriverFunctions const& Gl();

/** The number of each function. */
enum class Function : unsigned int {
#define ENTRY(result, name, ...) name,
#define ENTRY0(result, name) name,
#define EXTENSION(result, name, ...)
#include "EntryPoints.def"
#undef ENTRY
#undef ENTRY0
#undef EXTENSION
    ImageTarget ///< glEGLImageTargetTexture2DOES, which only eglGetProcAddress gives
};

} // namespace kelvokit::counting
