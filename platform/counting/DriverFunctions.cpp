#include "DriverFunctions.h"

#include <dlfcn.h>

#include <cstdio>
#include <cstdlib>

namespace kelvokit::counting {

namespace {

/** The next function of that name, in the order in which libraries were linked. */
template <class Pointer>
void Find(Pointer& pFunction, char const* pName) {
    pFunction = reinterpret_cast<Pointer>(dlsym(RTLD_NEXT, pName));
}

template <class Pointer>
void Require(Pointer& pFunction, char const* pName) {
    Find(pFunction, pName);
    if (!pFunction) {
        std::fprintf(stderr, "counting: the driver has no %s\n", pName);
        std::abort();
    }
}

DriverFunctions LoadFunctions() {
    DriverFunctions functions;
#define ENTRY(result, name, ...) Require(functions.name, #name);
#define ENTRY0(result, name) Require(functions.name, #name);
#define EXTENSION(result, name, ...)
#include "EntryPoints.def"
#undef ENTRY
#undef ENTRY0
#undef EXTENSION
    Find(functions.eglGetProcAddress, "eglGetProcAddress");
    return functions;
}

} // namespace

DriverFunctions const& Gl() {
    static DriverFunctions const s_functions = LoadFunctions();
    return s_functions;
}

} // namespace kelvokit::counting
