#pragma once

#include <EGL/egl.h>
#include <EGL/eglext.h>

namespace kelvokit::desktop {

// Every entry point of EGL 1.5: the layer stands in front of all of them.
#define KELVO_EGL_FUNCTIONS(F)                                                                               \
    F(eglBindAPI)                                                                                            \
    F(eglBindTexImage)                                                                                       \
    F(eglChooseConfig)                                                                                       \
    F(eglClientWaitSync)                                                                                     \
    F(eglCopyBuffers)                                                                                        \
    F(eglCreateContext)                                                                                      \
    F(eglCreateImage)                                                                                        \
    F(eglCreatePbufferFromClientBuffer)                                                                      \
    F(eglCreatePbufferSurface)                                                                               \
    F(eglCreatePixmapSurface)                                                                                \
    F(eglCreatePlatformPixmapSurface)                                                                        \
    F(eglCreatePlatformWindowSurface)                                                                        \
    F(eglCreateSync)                                                                                         \
    F(eglCreateWindowSurface)                                                                                \
    F(eglDestroyContext)                                                                                     \
    F(eglDestroyImage)                                                                                       \
    F(eglDestroySurface)                                                                                     \
    F(eglDestroySync)                                                                                        \
    F(eglGetConfigAttrib)                                                                                    \
    F(eglGetConfigs)                                                                                         \
    F(eglGetCurrentContext)                                                                                  \
    F(eglGetCurrentDisplay)                                                                                  \
    F(eglGetCurrentSurface)                                                                                  \
    F(eglGetDisplay)                                                                                         \
    F(eglGetError)                                                                                           \
    F(eglGetPlatformDisplay)                                                                                 \
    F(eglGetProcAddress)                                                                                     \
    F(eglGetSyncAttrib)                                                                                      \
    F(eglInitialize)                                                                                         \
    F(eglMakeCurrent)                                                                                        \
    F(eglQueryAPI)                                                                                           \
    F(eglQueryContext)                                                                                       \
    F(eglQueryString)                                                                                        \
    F(eglQuerySurface)                                                                                       \
    F(eglReleaseTexImage)                                                                                    \
    F(eglReleaseThread)                                                                                      \
    F(eglSurfaceAttrib)                                                                                      \
    F(eglSwapBuffers)                                                                                        \
    F(eglSwapInterval)                                                                                       \
    F(eglTerminate)                                                                                          \
    F(eglWaitClient)                                                                                         \
    F(eglWaitGL)                                                                                             \
    F(eglWaitNative)                                                                                         \
    F(eglWaitSync)

/**
 * The system's own EGL. A member is null where the library lacks the function, all are where there is no
 * library.
 */
struct EglDriver {
// A declared name takes no parentheses. NOLINTNEXTLINE(bugprone-macro-parentheses)
#define KELVO_MEMBER(name) decltype(&::name) name = nullptr;
    KELVO_EGL_FUNCTIONS(KELVO_MEMBER)
#undef KELVO_MEMBER
    /** Why there is no library, in the dynamic linker's words; null when there is one. */
    char const* failure = nullptr;
};

/** The system's EGL, loaded by the first call. Any thread. */
EglDriver const& Driver();

/** Looks an extension or GL function up with the driver's eglGetProcAddress; null when there is none. */
template <class Function>
Function DriverFunction(char const* name) {
    return Driver().eglGetProcAddress ? reinterpret_cast<Function>(Driver().eglGetProcAddress(name))
                                      : nullptr;
}

/** Whether the space-separated `list`, which may be null, has `name` as a whole word. */
bool HasExtension(char const* list, char const* name);

} // namespace kelvokit::desktop
