#include "WindowTable.h"

#include <algorithm>

namespace kelvokit::desktop {

WindowTable& WindowTable::Get() {
    // Not destroyed at exit: windows with static storage may be destroyed later than this would be.
    static WindowTable* const s_pTable = new WindowTable;
    return *s_pTable;
}

void WindowTable::AddWindow(ANativeWindow* window) {
    std::lock_guard<std::mutex> lock(m_mutex);
    if (std::find(m_windows.begin(), m_windows.end(), window) == m_windows.end()) {
        m_windows.push_back(window);
    }
}

void WindowTable::RemoveWindow(ANativeWindow* window) {
    std::unique_lock<std::mutex> lock(m_mutex);
    auto const forget = [&](bool fWhileMade) {
        for (WindowSurface& surface : m_surfaces) {
            if (surface.window == window && (fWhileMade || surface.surface != EGL_NO_SURFACE)) {
                surface.window = nullptr;
            }
        }
    };
    // First, so that no thread takes it any more; one that makes a surface for it ends that by its address.
    m_windows.erase(std::remove(m_windows.begin(), m_windows.end(), window), m_windows.end());
    forget(false);
    m_unpinned.wait(lock, [&] { return !IsPinnedElsewhere(window); });
    forget(true);
}

EGLint WindowTable::ClaimWindow(EGLDisplay display, ANativeWindow* window) {
    std::lock_guard<std::mutex> lock(m_mutex);
    // The magic tells a window whose storage was taken over without a destructor call.
    if (std::find(m_windows.begin(), m_windows.end(), window) == m_windows.end() ||
        window->magic != ANativeWindow::PreparedMagic) {
        return EGL_BAD_NATIVE_WINDOW;
    }
    for (WindowSurface const& surface : m_surfaces) {
        if (surface.window == window) {
            return EGL_BAD_ALLOC;
        }
    }
    m_pinned.reserve(m_pinned.size() + 1);
    m_surfaces.push_back({display, EGL_NO_SURFACE, window});
    m_pinned.push_back({window, std::this_thread::get_id()});
    return EGL_SUCCESS;
}

void WindowTable::SettleClaim(ANativeWindow const* window, EGLSurface surface) {
    if (surface == EGL_NO_SURFACE) {
        RemoveSurfaces([window](WindowSurface const& candidate) { return candidate.window == window; });
    }
    std::lock_guard<std::mutex> lock(m_mutex);
    for (WindowSurface& candidate : m_surfaces) {
        if (candidate.window == window) {
            candidate.surface = surface;
        }
    }
    UnpinLocked(window);
}

WindowSurface const* WindowTable::Find(EGLDisplay display, EGLSurface surface) const {
    auto const found =
        std::find_if(m_surfaces.begin(), m_surfaces.end(), [&](WindowSurface const& candidate) {
            return candidate.display == display && candidate.surface == surface;
        });
    return surface != EGL_NO_SURFACE && found != m_surfaces.end() ? &*found : nullptr;
}

bool WindowTable::IsWindowSurface(EGLDisplay display, EGLSurface surface) const {
    std::lock_guard<std::mutex> lock(m_mutex);
    return Find(display, surface) != nullptr;
}

bool WindowTable::IsPinnedElsewhere(ANativeWindow const* window) const {
    return std::any_of(m_pinned.begin(), m_pinned.end(), [&](Pinned const& pinned) {
        return pinned.window == window && pinned.thread != std::this_thread::get_id();
    });
}

bool WindowTable::Pin(EGLDisplay display, EGLSurface surface, WindowSurface& found) {
    std::unique_lock<std::mutex> lock(m_mutex);
    WindowSurface const* pSurface = nullptr;
    // Anew after each wait: the surface may have gone, or its window.
    while ((pSurface = Find(display, surface)) && pSurface->window && IsPinnedElsewhere(pSurface->window)) {
        m_unpinned.wait(lock);
    }
    if (!pSurface) {
        return false;
    }
    if (pSurface->window) {
        m_pinned.push_back({pSurface->window, std::this_thread::get_id()});
    }
    found = *pSurface;
    return true;
}

void WindowTable::Unpin(ANativeWindow const* window) {
    std::lock_guard<std::mutex> lock(m_mutex);
    UnpinLocked(window);
}

void WindowTable::UnpinLocked(ANativeWindow const* window) {
    auto const pinned = std::find_if(m_pinned.begin(), m_pinned.end(), [&](Pinned const& candidate) {
        return candidate.window == window && candidate.thread == std::this_thread::get_id();
    });
    if (pinned == m_pinned.end()) {
        return;
    }
    m_pinned.erase(pinned);
    m_unpinned.notify_all();
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

} // namespace kelvokit::desktop
