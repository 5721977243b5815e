#include "EglDriver.h"

#include <dlfcn.h>

#include <cstring>
#include <string>

namespace kelvokit::desktop {

namespace {

// 0 is no EGL error code: it stands for "ask the driver".
constexpr EGLint AskDriver = 0;
thread_local EGLint t_nError = AskDriver;

EglDriver LoadDriver() {
    EglDriver driver;
    // Local, so that the library's own egl* names never reach the programs that are to find this layer's.
    void* library = dlopen("libEGL.so.1", RTLD_NOW | RTLD_LOCAL);
    if (!library) {
        static std::string const s_sFailure = dlerror();
        driver.failure = s_sFailure.c_str();
        return driver;
    }
#define KELVO_LOAD(name) driver.name = reinterpret_cast<decltype(driver.name)>(dlsym(library, #name));
    KELVO_EGL_FUNCTIONS(KELVO_LOAD)
#undef KELVO_LOAD
    return driver;
}

} // namespace

EglDriver const& Driver() {
    // Never unloaded: drivers leave threads and thread-local destructors behind.
    static EglDriver const s_driver = LoadDriver();
    return s_driver;
}

bool HasExtension(char const* list, char const* name) {
    std::size_t const nLength = std::strlen(name);
    char const* const begin = list;
    for (; list && (list = std::strstr(list, name)); list += nLength) {
        if ((list == begin || list[-1] == ' ') && (list[nLength] == ' ' || list[nLength] == '\0')) {
            return true;
        }
    }
    return false;
}

void SetError(EGLint error) {
    // The driver's is taken away: one that is there later is of a call that went to the driver directly.
    TakeError();
    t_nError = error;
}

void UseDriverError() {
    t_nError = AskDriver;
}

namespace {

EGLint AskForError() {
    return Driver().eglGetError ? Driver().eglGetError() : EGL_SUCCESS;
}

} // namespace

EGLint TakeError() {
    EGLint const nDriverError = AskForError();
    EGLint const nError = t_nError == AskDriver || nDriverError != EGL_SUCCESS ? nDriverError : t_nError;
    t_nError = AskDriver;
    return nError;
}

EGLint DriverError() {
    EGLint const nError = AskForError();
    return nError == EGL_SUCCESS ? EGL_BAD_ALLOC : nError;
}

} // namespace kelvokit::desktop
