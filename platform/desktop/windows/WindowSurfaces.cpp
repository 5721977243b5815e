#include "windows/WindowSurfaces.h"

#include "display/Layer.h"
#include "egl/EglConfigs.h"
#include "kelvo_desktop/OffscreenWindow.h"
#include "windows/FrameReader.h"
#include "windows/PinnedSurface.h"

#include <new>
#include <vector>

namespace kelvokit::desktop {

namespace {

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
        if (IsPbufferAttribute(nName)) {
            return false;
        }
        if (nName == EGL_RENDER_BUFFER) {
            // EGL allows a display to ignore this attribute, as this one does: its windows are
            // double-buffered.
            if (nValue != EGL_BACK_BUFFER && nValue != EGL_SINGLE_BUFFER) {
                return false;
            }
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
    if (window.width < 1 || window.height < 1) {
        return Fail<EGLSurface>(EGL_BAD_NATIVE_WINDOW);
    }
    // Some drivers make such a surface and then draw nothing.
    if (!Layer::Get().CanDraw(display, window.width, window.height)) {
        return Fail<EGLSurface>(EGL_BAD_ALLOC);
    }
    if (!PbufferAttributes(window, attributes, driverAttributes)) {
        return Fail<EGLSurface>(EGL_BAD_ATTRIBUTE);
    }
    return Forward(Driver().eglCreatePbufferSurface, display, config, driverAttributes.data());
}

EGLSurface CreateX11Surface(EGLDisplay display, EGLConfig config, ANativeWindow const& window,
                            EGLint const* attributes) {
    if (Layer::Get().KindOf(display) != DisplayKind::X11) {
        return Fail<EGLSurface>(EGL_BAD_NATIVE_WINDOW);
    }
    auto const nId = static_cast<std::uintptr_t>(window.x11Window);
    if (nId != window.x11Window) {
        return Fail<EGLSurface>(EGL_BAD_NATIVE_WINDOW);
    }
    // EGL's type is a pointer on some systems and a number on others: a pointer can be cast to both.
    auto const native = reinterpret_cast<EGLNativeWindowType>(reinterpret_cast<void*>(nId));
    return Forward(Driver().eglCreateWindowSurface, display, config, native, attributes);
}

EGLSurface CreateWaylandSurface(EGLDisplay display, EGLConfig config, ANativeWindow const& window,
                                EGLint const* attributes) {
    if (Layer::Get().KindOf(display) != DisplayKind::Wayland) {
        return Fail<EGLSurface>(EGL_BAD_NATIVE_WINDOW);
    }
    auto const native = reinterpret_cast<EGLNativeWindowType>(window.waylandWindow);
    return Forward(Driver().eglCreateWindowSurface, display, config, native, attributes);
}

EGLSurface CreateSurface(EGLDisplay display, EGLConfig config, ANativeWindow const& window,
                         EGLint const* attributes) {
    return window.x11Window       ? CreateX11Surface(display, config, window, attributes)
           : window.waylandWindow ? CreateWaylandSurface(display, config, window, attributes)
                                  : CreatePbuffer(display, config, window, attributes);
}

/** The part of a swap before the driver's: everything that needs the frame still in the back buffer. */
Outcome FinishDrawing(EGLDisplay display, WindowSurface const& target) {
    EglDriver const& egl = Driver();
    if (egl.eglGetCurrentDisplay() != display || egl.eglGetCurrentSurface(EGL_DRAW) != target.surface) {
        return Outcome::Failed(EGL_BAD_SURFACE);
    }
    if (!target.window) {
        return Outcome::Failed(EGL_BAD_NATIVE_WINDOW);
    }
    // A software driver draws only now, and must not meet an image of a buffer that changes meanwhile.
    bool fImages = false;
    auto const still = Layer::Get().HoldStill(&fImages);
    Layer::Get().CleanContext(display);
    Outcome finished = Outcome::Done();
    if (target.window->capture) {
        EGLint nWidth = 0;
        EGLint nHeight = 0;
        if (!egl.eglQuerySurface(display, target.surface, EGL_WIDTH, &nWidth) ||
            !egl.eglQuerySurface(display, target.surface, EGL_HEIGHT, &nHeight)) {
            return Outcome::DriverFailed();
        }
        finished = ReadFrame(display, target.surface, nWidth, nHeight, *target.window->frame);
    }
    if (fImages && !target.window->capture) {
        FinishCurrentContext();
    } else {
        // A driver's swap of a pixel buffer has no effect, and need not flush. The flush also helps after a
        // frame that was read, and is complete: until then Mesa's softpipe has copies of textures' texels,
        // and would draw them again after another thread's unlock.
        FlushCurrentContext();
    }
    return finished;
}

/** Tells the window's handler of its frame. Exceptions end here: the program may be one in C. */
Outcome HandFrameOver(ANativeWindow& window) {
    try {
        window.frameFinished(&window, *window.frame);
    } catch (std::bad_alloc const&) {
        return Outcome::Failed(EGL_BAD_ALLOC);
    } catch (...) {
        return Outcome::Failed(EGL_BAD_NATIVE_WINDOW);
    }
    return Outcome::Done();
}

/** A swap; `driverSwap(target)` has the driver's part, and gets null for surfaces that are none of these. */
template <class DriverSwap>
EGLBoolean SwapWith(EGLDisplay display, EGLSurface surface, DriverSwap driverSwap) {
    PinnedSurface const target(display, surface);
    if (!target) {
        return driverSwap(nullptr);
    }
    if (Outcome const finished = FinishDrawing(display, *target); !finished) {
        return Fail<EGLBoolean>(finished);
    }
    if (!driverSwap(&*target)) {
        return EGL_FALSE;
    }
    ANativeWindow& window = *target->window;
    ++window.frameCount;
    Outcome handled = Outcome::Done();
    if (window.capture) {
        window.frame->serial = window.frameCount;
        if (window.frameFinished) {
            handled = HandFrameOver(window); // and the window may be gone
        }
    }
    // Errors of EGL calls that the handler made do not count.
    return Answer(handled);
}

} // namespace

EGLSurface CreateWindowSurface(EGLDisplay display, EGLConfig config, void* window, EGLint const* attributes) {
    // Every configuration answers this query: so the driver tells whether display and configuration are
    // valid.
    EGLint nId = 0;
    if (!Forward(Driver().eglGetConfigAttrib, display, config, EGL_CONFIG_ID, &nId)) {
        return EGL_NO_SURFACE;
    }
    if (!IsOffered(display, Layer::Get().KindOf(display), config)) {
        return Fail<EGLSurface>(EGL_BAD_MATCH);
    }
    auto* const pWindow = static_cast<ANativeWindow*>(window);
    ClaimedWindow claimed(display, pWindow);
    if (!claimed.Claim()) {
        return Fail<EGLSurface>(claimed.Claim());
    }
    EGLSurface const surface = CreateSurface(display, config, *pWindow, attributes);
    claimed.Settle(surface);
    return surface;
}

EGLSurface CreatePlatformWindowSurface(EGLDisplay display, EGLConfig config, void* window,
                                       EGLAttrib const* attributes) {
    std::vector<EGLint> narrow;
    for (; attributes && attributes[0] != EGL_NONE; attributes += 2) {
        for (EGLAttrib const nWide : {attributes[0], attributes[1]}) {
            auto const nNarrow = static_cast<EGLint>(nWide);
            if (nNarrow != nWide) {
                return Fail<EGLSurface>(EGL_BAD_ATTRIBUTE);
            }
            narrow.push_back(nNarrow);
        }
    }
    narrow.push_back(EGL_NONE);
    return CreateWindowSurface(display, config, window, narrow.data());
}

EGLBoolean SwapBuffers(EGLDisplay display, EGLSurface surface) {
    return SwapWith(display, surface,
                    [=](WindowSurface const*) { return Forward(Driver().eglSwapBuffers, display, surface); });
}

EGLBoolean SwapBuffersWithDamage(PFNEGLSWAPBUFFERSWITHDAMAGEKHRPROC driverSwap, EGLDisplay display,
                                 EGLSurface surface, EGLint const* rectangles, EGLint count) {
    return SwapWith(display, surface, [=](WindowSurface const* pTarget) {
        if (!pTarget || (driverSwap && (pTarget->window->x11Window || pTarget->window->waylandWindow))) {
            return Forward(driverSwap, display, surface, rectangles, count);
        }
        if (count < 0 || (count > 0 && !rectangles)) {
            return Fail<EGLBoolean>(EGL_BAD_PARAMETER);
        }
        return Forward(Driver().eglSwapBuffers, display, surface);
    });
}

EGLBoolean QuerySurface(EGLDisplay display, EGLSurface surface, EGLint attribute, EGLint* value) {
    // EGL leaves the value alone when a window is asked for what only pixel buffers have.
    bool const fPbufferOnly =
        attribute != EGL_WIDTH && attribute != EGL_HEIGHT && IsPbufferAttribute(attribute);
    EGLint nIgnored = 0;
    if (value && fPbufferOnly && Layer::Get().IsWindowSurface(display, surface)) {
        value = &nIgnored;
    }
    return Forward(Driver().eglQuerySurface, display, surface, attribute, value);
}

EGLBoolean DestroySurface(EGLDisplay display, EGLSurface surface) {
    // What is current on a thread lives until it is released. So no thread may have the layer's context
    // current in its place now.
    auto const still = Layer::Get().HoldStill();
    // First: once the surface is destroyed, the driver may give its handle to another thread's.
    Layer::Get().RemoveSurface(display, surface);
    return Forward(Driver().eglDestroySurface, display, surface);
}

} // namespace kelvokit::desktop
