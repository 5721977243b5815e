// A tracer as they are: preloaded, it stands before everybody's EGL with functions of the same names, hands
// itself out where a program loads EGL by name, and calls what comes next behind itself.

#include <EGL/egl.h>
#include <dlfcn.h>

#include <cstdio>
#include <cstring>

#define TRACER_EXPORT extern "C" __attribute__((visibility("default")))

namespace {

unsigned int g_nInitialized = 0;
unsigned int g_nSwapped = 0;

template <class Function>
Function* FindNext(char const* pName) {
    return reinterpret_cast<Function*>(dlsym(RTLD_NEXT, pName));
}

struct Report {
    ~Report() { std::fprintf(stderr, "tracer: %u initialised, %u swapped\n", g_nInitialized, g_nSwapped); }
} g_report;

} // namespace

TRACER_EXPORT void* dlopen(char const* pFile, int nMode) {
    auto* const pNext = FindNext<void*(char const*, int)>("dlopen");
    Dl_info own = {};
    if (pFile && std::strstr(pFile, "libEGL.so") && dladdr(&g_report, &own)) {
        return pNext(own.dli_fname, nMode);
    }
    return pNext(pFile, nMode);
}

TRACER_EXPORT EGLBoolean eglInitialize(EGLDisplay display, EGLint* pMajor, EGLint* pMinor) {
    ++g_nInitialized;
    return FindNext<decltype(eglInitialize)>("eglInitialize")(display, pMajor, pMinor);
}

TRACER_EXPORT EGLBoolean eglSwapBuffers(EGLDisplay display, EGLSurface surface) {
    ++g_nSwapped;
    // Some ask the next EGL by name, which must not answer with what stands in front.
    auto* const pNext = reinterpret_cast<decltype(eglSwapBuffers)*>(
        FindNext<decltype(eglGetProcAddress)>("eglGetProcAddress")("eglSwapBuffers"));
    return pNext(display, surface);
}
