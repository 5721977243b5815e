#include "WindowTable.h"

#include <algorithm>

namespace kelvo::desktop {

WindowTable& WindowTable::Get() {
    // Not destroyed at exit: windows with static storage may be destroyed later than this would be.
    static WindowTable* const s_pTable = new WindowTable;
    return *s_pTable;
}

void WindowTable::AddWindow(ANativeWindow* window) {
    std::lock_guard<std::mutex> lock(m_mutex);
    if (std::find(m_windows.begin(), m_windows.end(), window) == m_windows.end())
        m_windows.push_back(window);
}

void WindowTable::RemoveWindow(ANativeWindow* window) {
    std::lock_guard<std::mutex> lock(m_mutex);
    m_windows.erase(std::remove(m_windows.begin(), m_windows.end(), window), m_windows.end());
    for (WindowSurface& surface : m_surfaces) {
        if (surface.window == window)
            surface.window = nullptr;
    }
}

EGLint WindowTable::ClaimWindow(EGLDisplay display, ANativeWindow* window) {
    std::lock_guard<std::mutex> lock(m_mutex);
    // The magic tells a window whose storage was taken over without a destructor call.
    if (std::find(m_windows.begin(), m_windows.end(), window) == m_windows.end() ||
        window->magic != ANativeWindow::PreparedMagic)
        return EGL_BAD_NATIVE_WINDOW;
    for (WindowSurface const& surface : m_surfaces) {
        if (surface.window == window)
            return EGL_BAD_ALLOC;
    }
    m_surfaces.push_back({display, EGL_NO_SURFACE, window});
    return EGL_SUCCESS;
}

void WindowTable::SettleClaim(ANativeWindow const* window, EGLSurface surface) {
    if (surface == EGL_NO_SURFACE) {
        RemoveSurfaces([window](WindowSurface const& candidate) { return candidate.window == window; });
        return;
    }
    std::lock_guard<std::mutex> lock(m_mutex);
    for (WindowSurface& candidate : m_surfaces) {
        if (candidate.window == window)
            candidate.surface = surface;
    }
}

bool WindowTable::FindSurface(EGLDisplay display, EGLSurface surface, WindowSurface& found) const {
    if (surface == EGL_NO_SURFACE)
        return false;
    std::lock_guard<std::mutex> lock(m_mutex);
    for (WindowSurface const& candidate : m_surfaces) {
        if (candidate.display == display && candidate.surface == surface) {
            found = candidate;
            return true;
        }
    }
    return false;
}

void WindowTable::RemoveSurface(EGLDisplay display, EGLSurface surface) {
    RemoveSurfaces([display, surface](WindowSurface const& candidate) {
        return candidate.display == display && candidate.surface == surface;
    });
}

void WindowTable::RemoveDisplay(EGLDisplay display) {
    RemoveSurfaces([display](WindowSurface const& candidate) { return candidate.display == display; });
}

template <class Predicate>
void WindowTable::RemoveSurfaces(Predicate isGone) {
    std::lock_guard<std::mutex> lock(m_mutex);
    m_surfaces.erase(std::remove_if(m_surfaces.begin(), m_surfaces.end(), isGone), m_surfaces.end());
}

} // namespace kelvo::desktop
