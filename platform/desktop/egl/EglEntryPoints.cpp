// The EGL that programs and plug-ins link: every entry point of EGL 1.5 under its own name. Those that know
// of this layer's displays, configurations and windows come first; the others go to the driver as they are.

#include "display/DisplayChooser.h"
#include "display/Layer.h"
#include "egl/EglConfigs.h"
#include "egl/EglError.h"
#include "kelvo_desktop/Export.h"
#include "windows/WindowSurfaces.h"

#include <cstring>

#ifndef EGL_NATIVE_BUFFER_ANDROID
#define EGL_NATIVE_BUFFER_ANDROID 0x3140
#endif

namespace kelvokit::desktop {

namespace {

bool IsOurs(EGLDisplay display) {
    return Layer::Get().KindOf(display) != DisplayKind::Foreign;
}

/** Whether an attribute list is one for images of graphic buffers: these are preserved whatever it says. */
template <class Attribute>
bool AreBufferAttributes(Attribute const* attributes) {
    for (; attributes && attributes[0] != EGL_NONE; attributes += 2) {
        if (attributes[0] != EGL_IMAGE_PRESERVED ||
            (attributes[1] != EGL_TRUE && attributes[1] != EGL_FALSE)) {
            return false;
        }
    }
    return true;
}

/** eglCreateImage and eglCreateImageKHR, which differ in the type of their attributes only. */
template <class CreateImage, class Attribute>
EGLImage CreateImageFor(CreateImage createImage, EGLDisplay display, EGLContext context, EGLenum target,
                        EGLClientBuffer buffer, Attribute const* attributes) {
    // Not left to the driver: some know the target and would take the pointer for a buffer of their own.
    if (target == EGL_NATIVE_BUFFER_ANDROID) {
        return Guarded([&] {
            return Layer::Get().CreateImage(display, context, buffer, AreBufferAttributes(attributes));
        });
    }
    return Forward(createImage, display, context, target, buffer, attributes);
}

EGLImage EGLAPIENTRY CreateImageKHR(EGLDisplay display, EGLContext context, EGLenum target,
                                    EGLClientBuffer buffer, EGLint const* attributes) {
    static auto const s_createImage = DriverFunction<PFNEGLCREATEIMAGEKHRPROC>("eglCreateImageKHR");
    return CreateImageFor(s_createImage, display, context, target, buffer, attributes);
}

template <class Destroy>
EGLBoolean DestroyImageWith(Destroy destroyImage, EGLDisplay display, EGLImage image) {
    EGLBoolean fDestroyed = EGL_FALSE;
    if (Layer::Get().DestroyImage(display, image, fDestroyed)) {
        return fDestroyed;
    }
    return Forward(destroyImage, display, image);
}

EGLBoolean EGLAPIENTRY DestroyImageKHR(EGLDisplay display, EGLImage image) {
    static auto const s_destroyImage = DriverFunction<PFNEGLDESTROYIMAGEKHRPROC>("eglDestroyImageKHR");
    return DestroyImageWith(s_destroyImage, display, image);
}

EGLSurface EGLAPIENTRY CreatePlatformWindowSurfaceEXT(EGLDisplay display, EGLConfig config, void* window,
                                                      EGLint const* attributes) {
    static auto const s_createSurface =
        DriverFunction<PFNEGLCREATEPLATFORMWINDOWSURFACEEXTPROC>("eglCreatePlatformWindowSurfaceEXT");
    if (!IsOurs(display)) {
        return Forward(s_createSurface, display, config, window, attributes);
    }
    return Guarded([&] { return CreateWindowSurface(display, config, window, attributes); });
}

using DamageSwap = PFNEGLSWAPBUFFERSWITHDAMAGEKHRPROC; // both extensions have this one type

EGLBoolean EGLAPIENTRY SwapBuffersWithDamageKHR(EGLDisplay display, EGLSurface surface,
                                                EGLint const* rectangles, EGLint count) {
    static auto const s_swap = DriverFunction<DamageSwap>("eglSwapBuffersWithDamageKHR");
    return Guarded([&] { return SwapBuffersWithDamage(s_swap, display, surface, rectangles, count); });
}

EGLBoolean EGLAPIENTRY SwapBuffersWithDamageEXT(EGLDisplay display, EGLSurface surface,
                                                EGLint const* rectangles, EGLint count) {
    static auto const s_swap = DriverFunction<DamageSwap>("eglSwapBuffersWithDamageEXT");
    return Guarded([&] { return SwapBuffersWithDamage(s_swap, display, surface, rectangles, count); });
}

struct NamedFunction {
    char const* name;
    __eglMustCastToProperFunctionPointerType function;
};

template <class Function>
NamedFunction Named(char const* name, Function function) {
    return {name, reinterpret_cast<__eglMustCastToProperFunctionPointerType>(function)};
}

/** The layer's function of that name; null when the driver's is the one to use. */
__eglMustCastToProperFunctionPointerType FindOwn(char const* name) {
#define KELVO_NAMED(function) Named(#function, &::function),
    static NamedFunction const s_core[] = {KELVO_EGL_FUNCTIONS(KELVO_NAMED)};
#undef KELVO_NAMED
    static NamedFunction const s_extensions[] = {
        Named("eglCreateImageKHR", &CreateImageKHR),
        Named("eglDestroyImageKHR", &DestroyImageKHR),
        Named("eglCreatePlatformWindowSurfaceEXT", &CreatePlatformWindowSurfaceEXT),
        Named("eglSwapBuffersWithDamageKHR", &SwapBuffersWithDamageKHR),
        Named("eglSwapBuffersWithDamageEXT", &SwapBuffersWithDamageEXT),
    };
    for (NamedFunction const& own : s_core) {
        if (std::strcmp(own.name, name) == 0) {
            return own.function;
        }
    }
    for (NamedFunction const& own : s_extensions) {
        if (std::strcmp(own.name, name) == 0 && Driver().eglGetProcAddress(name)) {
            return own.function;
        }
    }
    return nullptr;
}

} // namespace

} // namespace kelvokit::desktop

using namespace kelvokit::desktop;

#define KELVO_EGL(Result) extern "C" KELVO_DESKTOP_API Result EGLAPIENTRY

KELVO_EGL(EGLint) eglGetError() {
    return TakeError();
}

KELVO_EGL(EGLDisplay) eglGetDisplay(EGLNativeDisplayType native) {
    if (native != EGL_DEFAULT_DISPLAY) {
        return Forward(Driver().eglGetDisplay, native);
    }
    return Guarded([] {
        EGLDisplay const display = ChooseDefaultDisplay();
        // EGL has no error for a missing display: the caller sees it by the result.
        SetError(EGL_SUCCESS);
        return display;
    });
}

KELVO_EGL(EGLBoolean) eglInitialize(EGLDisplay display, EGLint* major, EGLint* minor) {
    auto const held = HoldDisplays();
    return Forward(Driver().eglInitialize, display, major, minor);
}

KELVO_EGL(EGLBoolean) eglTerminate(EGLDisplay display) {
    // Otherwise another thread could initialise the display again and make surfaces on it before the old ones
    // are forgotten.
    auto const held = HoldDisplays();
    return Layer::Get().Terminate(display);
}

KELVO_EGL(EGLBoolean)
eglChooseConfig(EGLDisplay display, EGLint const* attributes, EGLConfig* configs, EGLint size,
                EGLint* count) {
    DisplayKind const kind = Layer::Get().KindOf(display);
    if (kind == DisplayKind::Foreign) {
        return Forward(Driver().eglChooseConfig, display, attributes, configs, size, count);
    }
    return Guarded([&] { return ChooseConfigs(display, kind, attributes, configs, size, count); });
}

KELVO_EGL(EGLBoolean) eglGetConfigs(EGLDisplay display, EGLConfig* configs, EGLint size, EGLint* count) {
    DisplayKind const kind = Layer::Get().KindOf(display);
    if (kind == DisplayKind::Foreign) {
        return Forward(Driver().eglGetConfigs, display, configs, size, count);
    }
    return Guarded([&] { return GetConfigs(display, kind, configs, size, count); });
}

KELVO_EGL(EGLBoolean)
eglGetConfigAttrib(EGLDisplay display, EGLConfig config, EGLint attribute, EGLint* value) {
    DisplayKind const kind = Layer::Get().KindOf(display);
    if (kind == DisplayKind::Foreign) {
        return Forward(Driver().eglGetConfigAttrib, display, config, attribute, value);
    }
    return GetConfigAttribute(display, kind, config, attribute, value);
}

KELVO_EGL(EGLSurface)
eglCreateWindowSurface(EGLDisplay display, EGLConfig config, EGLNativeWindowType window,
                       EGLint const* attributes) {
    if (!IsOurs(display)) {
        return Forward(Driver().eglCreateWindowSurface, display, config, window, attributes);
    }
    return Guarded(
        [&] { return CreateWindowSurface(display, config, reinterpret_cast<void*>(window), attributes); });
}

KELVO_EGL(EGLSurface)
eglCreatePlatformWindowSurface(EGLDisplay display, EGLConfig config, void* window,
                               EGLAttrib const* attributes) {
    if (!IsOurs(display)) {
        return Forward(Driver().eglCreatePlatformWindowSurface, display, config, window, attributes);
    }
    return Guarded([&] { return CreatePlatformWindowSurface(display, config, window, attributes); });
}

KELVO_EGL(EGLBoolean)
eglQuerySurface(EGLDisplay display, EGLSurface surface, EGLint attribute, EGLint* value) {
    return QuerySurface(display, surface, attribute, value);
}

KELVO_EGL(EGLBoolean) eglSwapBuffers(EGLDisplay display, EGLSurface surface) {
    return Guarded([&] { return SwapBuffers(display, surface); });
}

KELVO_EGL(EGLBoolean) eglDestroySurface(EGLDisplay display, EGLSurface surface) {
    return DestroySurface(display, surface);
}

KELVO_EGL(EGLImage)
eglCreateImage(EGLDisplay display, EGLContext context, EGLenum target, EGLClientBuffer buffer,
               EGLAttrib const* attributes) {
    return CreateImageFor(Driver().eglCreateImage, display, context, target, buffer, attributes);
}

KELVO_EGL(EGLBoolean) eglDestroyImage(EGLDisplay display, EGLImage image) {
    return DestroyImageWith(Driver().eglDestroyImage, display, image);
}

KELVO_EGL(char const*) eglQueryString(EGLDisplay display, EGLint name) {
    char const* const text = Forward(Driver().eglQueryString, display, name);
    if (!text || display == EGL_NO_DISPLAY || name != EGL_EXTENSIONS) {
        return text;
    }
    return Guarded([&] { return Layer::Get().Extensions(display, text); });
}

KELVO_EGL(__eglMustCastToProperFunctionPointerType) eglGetProcAddress(char const* name) {
    if (!Driver().eglGetProcAddress) {
        return Fail<__eglMustCastToProperFunctionPointerType>(EGL_NOT_INITIALIZED);
    }
    auto const own = name ? FindOwn(name) : nullptr;
    UseDriverError();
    return own ? own : Driver().eglGetProcAddress(name);
}

KELVO_EGL(EGLContext)
eglCreateContext(EGLDisplay display, EGLConfig config, EGLContext share, EGLint const* attributes) {
    return Layer::Get().CreateContext(display, config, share, attributes);
}

KELVO_EGL(EGLBoolean) eglDestroyContext(EGLDisplay display, EGLContext context) {
    return Layer::Get().DestroyContext(display, context);
}

KELVO_EGL(EGLBoolean)
eglMakeCurrent(EGLDisplay display, EGLSurface draw, EGLSurface read, EGLContext context) {
    return Layer::Get().MakeCurrent(display, draw, read, context);
}

KELVO_EGL(EGLBoolean) eglReleaseThread() {
    return Layer::Get().ReleaseThread();
}

// From here on, functions that only call the driver's.

KELVO_EGL(EGLBoolean) eglBindAPI(EGLenum api) {
    return Forward(Driver().eglBindAPI, api);
}

KELVO_EGL(EGLBoolean) eglBindTexImage(EGLDisplay display, EGLSurface surface, EGLint buffer) {
    return Forward(Driver().eglBindTexImage, display, surface, buffer);
}

KELVO_EGL(EGLint) eglClientWaitSync(EGLDisplay display, EGLSync sync, EGLint flags, EGLTime timeout) {
    return Forward(Driver().eglClientWaitSync, display, sync, flags, timeout);
}

KELVO_EGL(EGLBoolean) eglCopyBuffers(EGLDisplay display, EGLSurface surface, EGLNativePixmapType target) {
    return Forward(Driver().eglCopyBuffers, display, surface, target);
}

KELVO_EGL(EGLSurface)
eglCreatePbufferFromClientBuffer(EGLDisplay display, EGLenum type, EGLClientBuffer buffer, EGLConfig config,
                                 EGLint const* attributes) {
    return Forward(Driver().eglCreatePbufferFromClientBuffer, display, type, buffer, config, attributes);
}

KELVO_EGL(EGLSurface)
eglCreatePbufferSurface(EGLDisplay display, EGLConfig config, EGLint const* attributes) {
    return Forward(Driver().eglCreatePbufferSurface, display, config, attributes);
}

KELVO_EGL(EGLSurface)
eglCreatePixmapSurface(EGLDisplay display, EGLConfig config, EGLNativePixmapType pixmap,
                       EGLint const* attributes) {
    return Forward(Driver().eglCreatePixmapSurface, display, config, pixmap, attributes);
}

KELVO_EGL(EGLSurface)
eglCreatePlatformPixmapSurface(EGLDisplay display, EGLConfig config, void* pixmap,
                               EGLAttrib const* attributes) {
    return Forward(Driver().eglCreatePlatformPixmapSurface, display, config, pixmap, attributes);
}

KELVO_EGL(EGLSync) eglCreateSync(EGLDisplay display, EGLenum type, EGLAttrib const* attributes) {
    return Forward(Driver().eglCreateSync, display, type, attributes);
}

KELVO_EGL(EGLBoolean) eglDestroySync(EGLDisplay display, EGLSync sync) {
    return Forward(Driver().eglDestroySync, display, sync);
}

KELVO_EGL(EGLContext) eglGetCurrentContext() {
    return Forward(Driver().eglGetCurrentContext);
}

KELVO_EGL(EGLDisplay) eglGetCurrentDisplay() {
    return Forward(Driver().eglGetCurrentDisplay);
}

KELVO_EGL(EGLSurface) eglGetCurrentSurface(EGLint which) {
    return Forward(Driver().eglGetCurrentSurface, which);
}

KELVO_EGL(EGLDisplay) eglGetPlatformDisplay(EGLenum platform, void* native, EGLAttrib const* attributes) {
    return Forward(Driver().eglGetPlatformDisplay, platform, native, attributes);
}

KELVO_EGL(EGLBoolean) eglGetSyncAttrib(EGLDisplay display, EGLSync sync, EGLint attribute, EGLAttrib* value) {
    return Forward(Driver().eglGetSyncAttrib, display, sync, attribute, value);
}

KELVO_EGL(EGLenum) eglQueryAPI() {
    return Forward(Driver().eglQueryAPI);
}

KELVO_EGL(EGLBoolean)
eglQueryContext(EGLDisplay display, EGLContext context, EGLint attribute, EGLint* value) {
    return Forward(Driver().eglQueryContext, display, context, attribute, value);
}

KELVO_EGL(EGLBoolean) eglReleaseTexImage(EGLDisplay display, EGLSurface surface, EGLint buffer) {
    return Forward(Driver().eglReleaseTexImage, display, surface, buffer);
}

KELVO_EGL(EGLBoolean)
eglSurfaceAttrib(EGLDisplay display, EGLSurface surface, EGLint attribute, EGLint value) {
    return Forward(Driver().eglSurfaceAttrib, display, surface, attribute, value);
}

KELVO_EGL(EGLBoolean) eglSwapInterval(EGLDisplay display, EGLint interval) {
    return Forward(Driver().eglSwapInterval, display, interval);
}

KELVO_EGL(EGLBoolean) eglWaitClient() {
    return Forward(Driver().eglWaitClient);
}

KELVO_EGL(EGLBoolean) eglWaitGL() {
    return Forward(Driver().eglWaitGL);
}

KELVO_EGL(EGLBoolean) eglWaitNative(EGLint engine) {
    return Forward(Driver().eglWaitNative, engine);
}

KELVO_EGL(EGLBoolean) eglWaitSync(EGLDisplay display, EGLSync sync, EGLint flags) {
    return Forward(Driver().eglWaitSync, display, sync, flags);
}
