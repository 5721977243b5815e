#pragma once

#include "egl/EglDriver.h"

#include <utility>

namespace kelvokit::desktop {

/** Something of a display that the driver destroys by its function `Destroyer` when this ends. */
template <auto Destroyer>
class OwnedHandle {
public:
    OwnedHandle() = default;
    /** `handle` may be null, for nothing. */
    OwnedHandle(EGLDisplay display, void* handle) : m_display(display), m_handle(handle) {}
    OwnedHandle(OwnedHandle&& other) noexcept
        : m_display(other.m_display), m_handle(std::exchange(other.m_handle, nullptr)) {}
    OwnedHandle& operator=(OwnedHandle&& other) noexcept {
        Destroy();
        m_display = other.m_display;
        m_handle = std::exchange(other.m_handle, nullptr);
        return *this;
    }
    ~OwnedHandle() { Destroy(); }

    explicit operator bool() const { return m_handle != nullptr; }
    void* Get() const { return m_handle; }
    void Destroy() {
        if (m_handle) {
            (Driver().*Destroyer)(m_display, std::exchange(m_handle, nullptr));
        }
    }
    /** The driver has destroyed it already, with its display. */
    void Forget() { m_handle = nullptr; }

private:
    EGLDisplay m_display = EGL_NO_DISPLAY;
    void* m_handle = nullptr;
};

using OwnedContext = OwnedHandle<&EglDriver::eglDestroyContext>;
using OwnedSurface = OwnedHandle<&EglDriver::eglDestroySurface>;

} // namespace kelvokit::desktop
