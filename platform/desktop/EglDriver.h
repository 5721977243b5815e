#pragma once

#include <EGL/egl.h>
#include <EGL/eglext.h>

#include <exception>

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

// EGL keeps one error per thread. What the layer refuses by itself the driver never hears of, so the layer
// keeps an error beside the driver's: each entry point says which of the two the next eglGetError reports.
// The driver's extension functions, which programs call directly, say nothing: their errors come first.

/** The layer itself decided the outcome of this call; the last thing that it says about it. */
void SetError(EGLint error);
/** The driver decided it. */
void UseDriverError();
/** What eglGetError returns, and from then on EGL_SUCCESS. */
EGLint TakeError();

/** The driver's error of a call of the layer's own that failed; never EGL_SUCCESS, whatever the driver says.
 */
EGLint DriverError();

/**
 * Keeps the calling thread's error as it is, whatever calls to the driver are made while one lives: for what
 * the layer does on its own account, outside of EGL calls.
 */
class KeptError {
public:
    KeptError() : m_nError(TakeError()) {}
    KeptError(KeptError const&) = delete;
    ~KeptError() { SetError(m_nError); }

private:
    EGLint m_nError;
};

/**
 * Sets `error` and returns the result that stands for failure, for the many `return Fail<EGLBoolean>(...)`.
 */
template <class Result>
Result Fail(EGLint error) {
    SetError(error);
    return Result();
}

/** The layer's own success, whatever its calls to the driver on the way said. */
inline EGLBoolean Succeed() {
    SetError(EGL_SUCCESS);
    return EGL_TRUE;
}

/** Passes a call on to the driver; a function that the driver lacks fails with EGL_NOT_INITIALIZED. */
template <class Result, class... Parameters, class... Arguments>
Result Forward(Result (*function)(Parameters...), Arguments... arguments) {
    if (!function) {
        return Fail<Result>(EGL_NOT_INITIALIZED);
    }
    UseDriverError();
    return function(arguments...);
}

/** Runs the body of an entry point: C callers get EGL_BAD_ALLOC instead of an exception. */
template <class Body>
auto Guarded(Body&& body) noexcept -> decltype(body()) {
    try {
        return body();
    } catch (std::exception const&) { // of memory, or of what the system makes of its own: threads, locks
        return Fail<decltype(body())>(EGL_BAD_ALLOC);
    }
}

} // namespace kelvokit::desktop
