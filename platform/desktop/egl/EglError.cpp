#include "egl/EglError.h"

namespace kelvokit::desktop {

namespace {

// 0 is no EGL error code: it stands for "ask the driver".
constexpr EGLint AskDriver = 0;
thread_local EGLint t_nError = AskDriver;

EGLint AskForError() {
    return Driver().eglGetError ? Driver().eglGetError() : EGL_SUCCESS;
}

} // namespace

void SetError(EGLint error) {
    // The driver's error is read, which clears it: one that the driver has later is of a call that went to it
    // directly.
    TakeError();
    t_nError = error;
}

void UseDriverError() {
    t_nError = AskDriver;
}

EGLint TakeError() {
    EGLint const nDriverError = AskForError();
    EGLint const nError = t_nError == AskDriver || nDriverError != EGL_SUCCESS ? nDriverError : t_nError;
    t_nError = AskDriver;
    return nError;
}

Outcome Outcome::DriverFailed() {
    EGLint const nError = AskForError();
    return Failed(nError == EGL_SUCCESS ? EGL_BAD_ALLOC : nError);
}

} // namespace kelvokit::desktop
