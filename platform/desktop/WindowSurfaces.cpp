#include "WindowSurfaces.h"

#include "BufferImages.h"
#include "EglConfigs.h"
#include "EglDriver.h"
#include "FrameReader.h"
#include "WindowTable.h"
#include "kelvo_desktop/OffscreenWindow.h"

#include <vector>

namespace kelvo::desktop {

namespace {

// More than some drivers can draw into, which yet make the surface and then draw nothing.
constexpr std::int32_t MaxWindowSize = 16384;

/** Attributes that pixel buffers have and windows do not. */
bool IsPbufferAttribute(EGLint name) {
    switch (name) {
    case EGL_HEIGHT:
    case EGL_LARGEST_PBUFFER:
    case EGL_MIPMAP_TEXTURE:
    case EGL_TEXTURE_FORMAT:
    case EGL_TEXTURE_TARGET:
    case EGL_WIDTH:
        return true;
    default:
        return false;
    }
}

/** Turns a window's attribute list into one for a pixel buffer of the window's size; false for a list that no
   window can have. */
bool PbufferAttributes(ANativeWindow const& window, EGLint const* attributes, std::vector<EGLint>& result) {
    result = {EGL_WIDTH, window.width, EGL_HEIGHT, window.height};
    for (; attributes && attributes[0] != EGL_NONE; attributes += 2) {
        EGLint const nName = attributes[0];
        EGLint const nValue = attributes[1];
        if (IsPbufferAttribute(nName))
            return false;
        if (nName == EGL_RENDER_BUFFER) {
            // A wish that EGL lets every display disregard, as this one does: its windows are
            // double-buffered.
            if (nValue != EGL_BACK_BUFFER && nValue != EGL_SINGLE_BUFFER)
                return false;
            continue;
        }
        result.insert(result.end(), {nName, nValue});
    }
    result.push_back(EGL_NONE);
    return true;
}

EGLSurface CreatePbuffer(EGLDisplay display, EGLConfig config, ANativeWindow const& window,
                         EGLint const* attributes) {
    std::vector<EGLint> driverAttributes;
    if (window.width < 1 || window.height < 1)
        return Fail<EGLSurface>(EGL_BAD_NATIVE_WINDOW);
    if (window.width > MaxWindowSize || window.height > MaxWindowSize)
        return Fail<EGLSurface>(EGL_BAD_ALLOC);
    if (!PbufferAttributes(window, attributes, driverAttributes))
        return Fail<EGLSurface>(EGL_BAD_ATTRIBUTE);
    return Forward(Driver().eglCreatePbufferSurface, display, config, driverAttributes.data());
}

EGLSurface CreateX11Surface(EGLDisplay display, EGLConfig config, ANativeWindow const& window,
                            EGLint const* attributes) {
    if (KindOf(display) != DisplayKind::X11)
        return Fail<EGLSurface>(EGL_BAD_NATIVE_WINDOW);
    auto const nId = static_cast<std::uintptr_t>(window.x11Window);
    if (nId != window.x11Window)
        return Fail<EGLSurface>(EGL_BAD_NATIVE_WINDOW);
    // By way of a pointer, which goes both where EGL's type is one and where it is X's number.
    auto const native = reinterpret_cast<EGLNativeWindowType>(reinterpret_cast<void*>(nId));
    return Forward(Driver().eglCreateWindowSurface, display, config, native, attributes);
}

/** The part of a swap before the driver's: everything that needs the frame still in the back buffer. */
EGLint FinishDrawing(WindowSurface const& target) {
    EglDriver const& egl = Driver();
    if (egl.eglGetCurrentDisplay() != target.display || egl.eglGetCurrentSurface(EGL_DRAW) != target.surface)
        return EGL_BAD_SURFACE;
    if (!target.window)
        return EGL_BAD_NATIVE_WINDOW;
    // Software draws when it has to, and that is here: no image of a buffer changes underneath it.
    bool fImages = false;
    auto const still = BufferImages::Get().HoldStill(fImages);
    if (!target.window->capture && fImages) {
        FinishCurrentContext();
        return EGL_SUCCESS;
    }
    if (!target.window->capture) {
        // Drivers need not do it for a pixel buffer, where a swap of their own has no effect.
        FlushCurrentContext();
        return EGL_SUCCESS;
    }
    EGLint nWidth = 0;
    EGLint nHeight = 0;
    if (!egl.eglQuerySurface(target.display, target.surface, EGL_WIDTH, &nWidth) ||
        !egl.eglQuerySurface(target.display, target.surface, EGL_HEIGHT, &nHeight))
        return egl.eglGetError();
    return ReadFrame(target.display, target.surface, nWidth, nHeight, *target.window->frame);
}

} // namespace

EGLSurface CreateWindowSurface(EGLDisplay display, EGLConfig config, void* window, EGLint const* attributes) {
    // A query that every configuration answers: the driver judges display and configuration.
    EGLint nId = 0;
    if (!Forward(Driver().eglGetConfigAttrib, display, config, EGL_CONFIG_ID, &nId))
        return EGL_NO_SURFACE;
    if (!IsOffered(display, KindOf(display), config))
        return Fail<EGLSurface>(EGL_BAD_MATCH);
    auto* const pWindow = static_cast<ANativeWindow*>(window);
    EGLint const nError = WindowTable::Get().ClaimWindow(display, pWindow);
    if (nError != EGL_SUCCESS)
        return Fail<EGLSurface>(nError);
    EGLSurface surface = EGL_NO_SURFACE;
    try {
        surface = pWindow->x11Window ? CreateX11Surface(display, config, *pWindow, attributes)
                                     : CreatePbuffer(display, config, *pWindow, attributes);
    } catch (std::bad_alloc const&) {
        SetError(EGL_BAD_ALLOC);
    }
    WindowTable::Get().SettleClaim(pWindow, surface);
    return surface;
}

EGLSurface CreatePlatformWindowSurface(EGLDisplay display, EGLConfig config, void* window,
                                       EGLAttrib const* attributes) {
    std::vector<EGLint> narrow;
    for (; attributes && attributes[0] != EGL_NONE; attributes += 2) {
        for (EGLAttrib const nWide : {attributes[0], attributes[1]}) {
            auto const nNarrow = static_cast<EGLint>(nWide);
            if (nNarrow != nWide)
                return Fail<EGLSurface>(EGL_BAD_ATTRIBUTE);
            narrow.push_back(nNarrow);
        }
    }
    narrow.push_back(EGL_NONE);
    return CreateWindowSurface(display, config, window, narrow.data());
}

EGLBoolean SwapBuffers(EGLDisplay display, EGLSurface surface) {
    WindowSurface target;
    if (!WindowTable::Get().FindSurface(display, surface, target))
        return Forward(Driver().eglSwapBuffers, display, surface);
    EGLint const nError = FinishDrawing(target);
    if (nError != EGL_SUCCESS)
        return Fail<EGLBoolean>(nError);
    if (!Forward(Driver().eglSwapBuffers, display, surface))
        return EGL_FALSE;
    ANativeWindow& window = *target.window;
    ++window.frameCount;
    if (window.capture) {
        window.frame->serial = window.frameCount;
        if (window.frameFinished)
            window.frameFinished(&window, *window.frame);
    }
    // Whatever EGL calls the handler made, this call succeeded.
    return Succeed();
}

EGLBoolean QuerySurface(EGLDisplay display, EGLSurface surface, EGLint attribute, EGLint* value) {
    WindowSurface target;
    // EGL leaves the value alone when a window is asked for what only pixel buffers have.
    bool const fPbufferOnly =
        attribute != EGL_WIDTH && attribute != EGL_HEIGHT && IsPbufferAttribute(attribute);
    EGLint nIgnored = 0;
    if (value && fPbufferOnly && WindowTable::Get().FindSurface(display, surface, target))
        value = &nIgnored;
    return Forward(Driver().eglQuerySurface, display, surface, attribute, value);
}

EGLBoolean DestroySurface(EGLDisplay display, EGLSurface surface) {
    // First, for the driver may give the handle to another thread's surface at once.
    WindowTable::Get().RemoveSurface(display, surface);
    return Forward(Driver().eglDestroySurface, display, surface);
}

} // namespace kelvo::desktop
