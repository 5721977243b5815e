#include "egl/EglDriver.h"

#include <dlfcn.h>

#include <cstring>
#include <string>

namespace kelvokit::desktop {

namespace {

constexpr char const* LibraryName = "libEGL.so.1";
// Local, so that the library's own egl* names never reach the programs that are to find this layer's.
constexpr int LibraryMode = RTLD_NOW | RTLD_LOCAL;

/**
 * Whether the functions of `library` are those that programs find in place of the layer's. A tracer that is
 * preloaded puts its own before the layer's and, by a dlopen of its own, in the driver's place, too. What the
 * layer called there would come back to it for ever.
 */
bool StandsInFront(void* library) {
    void* const front = dlsym(RTLD_DEFAULT, "eglInitialize");
    return front != reinterpret_cast<void*>(&eglInitialize) && front == dlsym(library, "eglInitialize");
}

void* LoadLibrary() {
    void* library = dlopen(LibraryName, LibraryMode);
#ifdef LM_ID_BASE
    if (library && StandsInFront(library)) {
        // To the dynamic linker the same call, which tracers leave alone.
        library = dlmopen(LM_ID_BASE, LibraryName, LibraryMode);
    }
#endif
    return library;
}

EglDriver LoadDriver() {
    EglDriver driver;
    void* const library = LoadLibrary();
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

} // namespace kelvokit::desktop
