#pragma once

#include <EGL/egl.h>
#include <system/window.h>

#include <condition_variable>
#include <mutex>
#include <thread>
#include <vector>

namespace kelvokit::desktop {

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
    /**
     * Forgets `window`, once no other thread is in a swap of it or makes a surface for it; its surfaces stay,
     * without a window.
     */
    void RemoveWindow(ANativeWindow* window);
    /**
     * Takes `window` for a surface of `display` that is about to be made, and which keeps it until
     * SettleClaim. Answers EGL_SUCCESS; EGL_BAD_NATIVE_WINDOW when `window` is not known or no longer the
     * prepared window that was added; EGL_BAD_ALLOC when it has a surface already, since EGL allows one at a
     * time. Throws std::bad_alloc.
     */
    EGLint ClaimWindow(EGLDisplay display, ANativeWindow* window);
    /** Ends a claim: enters the surface that was made, or gives the window free when it is EGL_NO_SURFACE. */
    void SettleClaim(ANativeWindow const* window, EGLSurface surface);
    /** Whether `surface` is a window surface of `display`. */
    bool IsWindowSurface(EGLDisplay display, EGLSurface surface) const;
    /**
     * Copies the entry of `surface` to `found`, and keeps its window, if there is one still, from being
     * removed by other threads until Unpin: it waits for them, too, so that one thread at a time has a
     * window. False, with nothing to unpin, when it is no window surface of `display`. Throws std::bad_alloc.
     */
    bool Pin(EGLDisplay display, EGLSurface surface, WindowSurface& found);
    void Unpin(ANativeWindow const* window);
    void RemoveSurface(EGLDisplay display, EGLSurface surface);
    /** Removes every surface of `display`. */
    void RemoveDisplay(EGLDisplay display);

private:
    struct Pinned {
        ANativeWindow const* window;
        std::thread::id thread;
    };

    template <class Predicate>
    void RemoveSurfaces(Predicate isGone);
    WindowSurface const* Find(EGLDisplay display, EGLSurface surface) const;
    bool IsPinnedElsewhere(ANativeWindow const* window) const;
    void UnpinLocked(ANativeWindow const* window);

    mutable std::mutex m_mutex;
    std::condition_variable m_unpinned;
    // A handful of entries: a linear search beats a map.
    std::vector<ANativeWindow*> m_windows;
    std::vector<WindowSurface> m_surfaces;
    std::vector<Pinned> m_pinned;
};

/** Pins a window for as long as it lives. */
class PinnedSurface {
public:
    PinnedSurface(EGLDisplay display, EGLSurface surface)
        : m_fFound(WindowTable::Get().Pin(display, surface, m_surface)) {}
    PinnedSurface(PinnedSurface const&) = delete;
    ~PinnedSurface() {
        if (m_fFound) {
            WindowTable::Get().Unpin(m_surface.window);
        }
    }

    /** Whether it is a window surface of this layer. */
    explicit operator bool() const { return m_fFound; }
    WindowSurface const& operator*() const { return m_surface; }
    WindowSurface const* operator->() const { return &m_surface; }

private:
    WindowSurface m_surface = {};
    bool m_fFound;
};

} // namespace kelvokit::desktop
