#pragma once

#include <EGL/egl.h>
#include <system/window.h>

#include <mutex>
#include <vector>

namespace kelvo::desktop {

/** A window surface that the layer made and did not yet take back. */
struct WindowSurface {
    EGLDisplay display;
    /** EGL_NO_SURFACE while it is being made. */
    EGLSurface surface;
    /** Null once the window was destroyed. */
    ANativeWindow* window;
};

/**
 * The windows of this process and the surfaces made for them. That a window is known here, and not what its
 * memory says, decides whether a pointer given as EGLNativeWindowType is a window: it may be anything, an X11
 * id included. Any thread.
 */
class WindowTable {
public:
    static WindowTable& Get();

    /** Makes `window` known; a no-op for a known one. Throws std::bad_alloc. */
    void AddWindow(ANativeWindow* window);
    /** Forgets `window`; its surfaces stay, without a window. */
    void RemoveWindow(ANativeWindow* window);
    /**
     * Takes `window` for a surface of `display` that is about to be made. Answers EGL_SUCCESS;
     * EGL_BAD_NATIVE_WINDOW when `window` is not known or no longer the prepared window that was added;
     * EGL_BAD_ALLOC when it has a surface already, since EGL allows one at a time. Throws std::bad_alloc.
     */
    EGLint ClaimWindow(EGLDisplay display, ANativeWindow* window);
    /** Ends a claim: enters the surface that was made, or gives the window free when it is EGL_NO_SURFACE. */
    void SettleClaim(ANativeWindow const* window, EGLSurface surface);
    /** Copies the entry of `surface` to `found`; false when it is no window surface of `display`. */
    bool FindSurface(EGLDisplay display, EGLSurface surface, WindowSurface& found) const;
    void RemoveSurface(EGLDisplay display, EGLSurface surface);
    /** Removes every surface of `display`. */
    void RemoveDisplay(EGLDisplay display);

private:
    template <class Predicate>
    void RemoveSurfaces(Predicate isGone);

    mutable std::mutex m_mutex;
    // A handful of entries: a linear search beats a map.
    std::vector<ANativeWindow*> m_windows;
    std::vector<WindowSurface> m_surfaces;
};

} // namespace kelvo::desktop
