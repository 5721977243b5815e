#include "egl/EglDriver.h"

#include <dlfcn.h>

#include <cstring>
#include <string>

namespace kelvokit::desktop {

namespace {

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

} // namespace kelvokit::desktop
