#include "windows/WaylandWindow.h"

#include <dlfcn.h>

namespace kelvokit::desktop {

namespace {

struct WaylandEgl {
    void* (*create)(void*, int, int) = nullptr;
    void (*resize)(void*, int, int, int, int) = nullptr;
    void (*destroy)(void*) = nullptr;

    bool IsWhole() const { return create && resize && destroy; }
};

template <class Function>
void Find(void* library, char const* name, Function& function) {
    function = reinterpret_cast<Function>(dlsym(library, name));
}

WaylandEgl Load() {
    WaylandEgl functions;
    if (void* const library = dlopen("libwayland-egl.so.1", RTLD_NOW | RTLD_LOCAL)) {
        Find(library, "wl_egl_window_create", functions.create);
        Find(library, "wl_egl_window_resize", functions.resize);
        Find(library, "wl_egl_window_destroy", functions.destroy);
    }
    return functions;
}

WaylandEgl const& Get() {
    static WaylandEgl const s_functions = Load();
    return s_functions;
}

} // namespace

void* CreateWaylandWindow(void* surface, int width, int height) {
    return Get().IsWhole() && surface && width > 0 && height > 0 ? Get().create(surface, width, height)
                                                                 : nullptr;
}

void ResizeWaylandWindow(void* window, int width, int height) {
    if (Get().IsWhole()) { // as it is where there is a window
        Get().resize(window, width, height, 0, 0);
    }
}

void DestroyWaylandWindow(void* window) {
    if (window && Get().IsWhole()) {
        Get().destroy(window);
    }
}

} // namespace kelvokit::desktop
