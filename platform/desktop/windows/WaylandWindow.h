#pragma once

namespace kelvokit::desktop {

// Windows of libwayland-egl (wl_egl_window), which is loaded when the first one is made: few programs need
// it.

/** A window over a wl_surface; null without the library, or when it makes none. */
void* CreateWaylandWindow(void* surface, int width, int height);
void ResizeWaylandWindow(void* window, int width, int height);
/** Nothing for null. */
void DestroyWaylandWindow(void* window);

} // namespace kelvokit::desktop
