#pragma once

#include "display/LayerDisplay.h"

namespace kelvokit::desktop {

/**
 * The entry of a window surface, whose window, if there is one still, other threads cannot remove while this
 * lives. It waits for them, too, so that one thread at a time has a window. Throws std::bad_alloc.
 */
class PinnedSurface {
public:
    PinnedSurface(EGLDisplay display, EGLSurface surface);
    PinnedSurface(PinnedSurface const&) = delete;
    ~PinnedSurface();

    /** Whether it is a window surface of this layer. */
    explicit operator bool() const { return m_fFound; }
    WindowSurface const& operator*() const { return m_surface; }
    WindowSurface const* operator->() const { return &m_surface; }

private:
    WindowSurface m_surface = {};
    bool m_fFound = false;
};

/**
 * A window that is taken, and kept from being removed by other threads, for a surface about to be made; given
 * free again at the end of this, unless a surface was made.
 */
class ClaimedWindow {
public:
    /**
     * Takes `window`, which may be any pointer, for a surface of `display`, one that the layer gave out.
     * Throws std::bad_alloc.
     */
    ClaimedWindow(EGLDisplay display, ANativeWindow* window);
    ClaimedWindow(ClaimedWindow const&) = delete;
    ~ClaimedWindow();

    /**
     * Whether it was taken. Fails with EGL_BAD_NATIVE_WINDOW when it is not known or no longer the prepared
     * window that was added; with EGL_BAD_ALLOC when it has a surface already, since EGL allows one at a
     * time.
     */
    Outcome Claim() const { return m_claim; }
    /** Enters the surface that was made; EGL_NO_SURFACE if none was. */
    void Settle(EGLSurface surface) { m_surface = surface; }

private:
    Outcome Take(EGLDisplay display);

    LayerDisplay* m_pDisplay = nullptr;
    ANativeWindow* m_pWindow;
    EGLSurface m_surface = EGL_NO_SURFACE;
    Outcome m_claim;
};

} // namespace kelvokit::desktop
