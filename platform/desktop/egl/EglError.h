#pragma once

#include "egl/EglDriver.h"

#include <exception>

namespace kelvokit::desktop {

// EGL keeps one error per thread. What the layer refuses by itself the driver never hears of, so the layer
// keeps an error beside the driver's: each entry point says which of the two the next eglGetError reports.
// The driver's extension functions, which programs call directly, say nothing: their errors come first.

/** The layer itself decided the outcome of this call; the last thing that it says about it. */
void SetError(EGLint error);
/** The driver decided it. */
void UseDriverError();
/** What eglGetError returns, and from then on EGL_SUCCESS. */
EGLint TakeError();

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
 * How every step inside of the layer says whether it was done, and otherwise the EGL error it failed with. A
 * step leaves the thread's error alone; the entry point sets it (Fail, Answer).
 */
class [[nodiscard]] Outcome {
public:
    static Outcome Done() { return Outcome(EGL_SUCCESS); }
    /** `error` is not EGL_SUCCESS. */
    static Outcome Failed(EGLint error) { return Outcome(error); }
    /**
     * A call to the driver failed: with the driver's error, which it forgets; with EGL_BAD_ALLOC where the
     * driver says that there is none.
     */
    static Outcome DriverFailed();

    /** Whether the step was done. */
    explicit operator bool() const { return m_nError == EGL_SUCCESS; }
    EGLint Error() const { return m_nError; }

private:
    explicit Outcome(EGLint error) : m_nError(error) {}

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

/** The same for a step that failed. */
template <class Result>
Result Fail(Outcome failed) {
    return Fail<Result>(failed.Error());
}

/** The layer's own success, whatever its calls to the driver on the way said. */
inline EGLBoolean Succeed() {
    SetError(EGL_SUCCESS);
    return EGL_TRUE;
}

/** What an entry point answers after its last step. */
inline EGLBoolean Answer(Outcome outcome) {
    return outcome ? Succeed() : Fail<EGLBoolean>(outcome);
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
