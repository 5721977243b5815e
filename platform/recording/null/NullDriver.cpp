#include "EntryPointMacros.h"

#include <EGL/egl.h>
#include <EGL/eglext.h>
#include <GLES2/gl2.h>
#include <GLES2/gl2ext.h>

// Every EGL and OpenGL ES 2.0 function, doing nothing and answering zero, in as few instructions as a call
// can have. The definitions are weak: the few functions that must answer something are defined in
// NullAnswers.cpp.
#define ENTRY(result, name, ...)                                                                             \
    extern "C" __attribute__((weak)) result name(KELVO_TYPES(__VA_ARGS__)) {                                 \
        return static_cast<result>(0);                                                                       \
    }
#define ENTRY0(result, name)                                                                                 \
    extern "C" __attribute__((weak)) result name() {                                                         \
        return static_cast<result>(0);                                                                       \
    }
#define EXTENSION(result, name, ...)
#include "EntryPoints.def"
