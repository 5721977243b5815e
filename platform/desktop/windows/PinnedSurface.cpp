#include "windows/PinnedSurface.h"

#include "display/Layer.h"

namespace kelvokit::desktop {

PinnedSurface::PinnedSurface(EGLDisplay display, EGLSurface surface) {
    Layer& layer = Layer::Get();
    std::unique_lock<std::mutex> tables(layer.m_tables);
    LayerDisplay const* const pDisplay = layer.Find(display);
    WindowSurface const* pSurface = nullptr;
    // Looked up again after each wait: meanwhile the surface may have gone, or its window.
    while (pDisplay && (pSurface = pDisplay->FindSurface(surface)) && pSurface->window &&
           layer.IsPinnedElsewhere(pSurface->window)) {
        layer.m_unpinned.wait(tables);
    }
    if (!pSurface) {
        return;
    }
    if (pSurface->window) {
        layer.Pin(pSurface->window);
    }
    m_surface = *pSurface;
    m_fFound = true;
}

PinnedSurface::~PinnedSurface() {
    if (m_fFound) {
        Layer& layer = Layer::Get();
        std::lock_guard<std::mutex> const tables(layer.m_tables);
        layer.Unpin(m_surface.window);
    }
}

ClaimedWindow::ClaimedWindow(EGLDisplay display, ANativeWindow* window)
    : m_pWindow(window), m_claim(Take(display)) {}

Outcome ClaimedWindow::Take(EGLDisplay display) {
    Layer& layer = Layer::Get();
    std::lock_guard<std::mutex> const tables(layer.m_tables);
    // The magic tells a window whose storage was taken over without a destructor call.
    if (!layer.IsKnown(m_pWindow) || m_pWindow->magic != ANativeWindow::PreparedMagic) {
        return Outcome::Failed(EGL_BAD_NATIVE_WINDOW);
    }
    for (auto const& pDisplay : layer.m_displays) {
        if (pDisplay->HasSurfaceOf(m_pWindow)) {
            return Outcome::Failed(EGL_BAD_ALLOC);
        }
    }
    layer.m_pinned.reserve(layer.m_pinned.size() + 1);
    m_pDisplay = layer.Find(display);
    m_pDisplay->BeginSurface(m_pWindow);
    layer.Pin(m_pWindow);
    return Outcome::Done();
}

ClaimedWindow::~ClaimedWindow() {
    if (m_claim) {
        Layer& layer = Layer::Get();
        std::lock_guard<std::mutex> const tables(layer.m_tables);
        m_pDisplay->EndSurface(m_pWindow, m_surface);
        layer.Unpin(m_pWindow);
    }
}

} // namespace kelvokit::desktop
