// The back end, but the program is asked to end while it is loaded, as a signal may come at any time.

#include "trevik/kelvo/Plugin.h"

#include <dlfcn.h>

#include <csignal>

#define BACKEND_EXPORT extern "C" __attribute__((visibility("default")))

using trevik::kelvo::Plugin;

namespace {

template <class Function>
Function Find(char const* pName) {
    static void* const s_pLibrary = dlopen(KELVO_BACKEND, RTLD_NOW | RTLD_LOCAL);
    return reinterpret_cast<Function>(dlsym(s_pLibrary, pName));
}

} // namespace

BACKEND_EXPORT bool Initialize(trevik::ClassRegistry* pRegistry) {
    return std::raise(SIGTERM) == 0 && Find<Plugin::InitializeFunction>("Initialize")(pRegistry);
}

BACKEND_EXPORT trevik::kelvo::GraphicsDevice* CreateDevice() {
    return Find<Plugin::CreateDeviceFunction>("CreateDevice")();
}

BACKEND_EXPORT void Shutdown() {
    Find<Plugin::ShutdownFunction>("Shutdown")();
}
