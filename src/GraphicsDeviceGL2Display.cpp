#include "GraphicsDeviceGL2.h"

#include "trevik/Assert.h"
#include "trevik/Debug.h"
#include "trevik/ScopeCounter.h"
#include "trevik/kelvo/Window.h"

#include <system/window.h>

namespace trevik::kelvo {

PFNEGLCREATEIMAGEKHRPROC GraphicsDeviceGL2::ms_pfnCreateImageKHR = nullptr;
PFNEGLDESTROYIMAGEKHRPROC GraphicsDeviceGL2::ms_pfnDestroyImageKHR = nullptr;

namespace {

/** The native window in the host's window object. The conversion may move the pointer; null stays null. */
EGLNativeWindowType GetNativeWindow(void* pWindow) {
    ANativeWindow* const pNative = static_cast<ANativeWindow*>(static_cast<WindowT<ANativeWindow>*>(pWindow));
    return reinterpret_cast<EGLNativeWindowType>(pNative);
}

enum : int { Red, Green, Blue, Alpha, Depth, Stencil, SizeCount };

constexpr EGLint SizeAttributes[SizeCount] = {EGL_RED_SIZE,   EGL_GREEN_SIZE, EGL_BLUE_SIZE,
                                              EGL_ALPHA_SIZE, EGL_DEPTH_SIZE, EGL_STENCIL_SIZE};

struct ConfigSizes {
    EGLint sizes[SizeCount];
};

// Four bits of stencil, for 15 levels of masks: intended (stencil-four-bits).
constexpr ConfigSizes FormatSizes[] = {
    {{5, 6, 5, 0, 16, 4}}, // RGB565
    {{8, 8, 8, 0, 16, 4}}, // RGB888
    {{8, 8, 8, 0, 16, 4}}, // RGBX8888, as the one before: intended (rgbx8888-as-rgb888)
    {{8, 8, 8, 8, 16, 4}}, // RGBA8888
};

ConfigSizes const& GetFormatSizes(DeviceFormat::Enum format) {
    unsigned int const nFormat = static_cast<unsigned int>(format);
    if (nFormat < sizeof(FormatSizes) / sizeof(FormatSizes[0])) {
        return FormatSizes[nFormat];
    }
    Debug::TraceFormat(TraceLevel::Error, u"Invalid surface format, fallback to RGB565!");
    return FormatSizes[DeviceFormat::RGB565];
}

/** Looks up one function of EGL's extensions; null, traced, when it is missing. */
template <class Function>
Function FindFunction(char const* pName) {
    Function const pfnFunction = reinterpret_cast<Function>(eglGetProcAddress(pName));
    if (!pfnFunction) {
        Debug::TraceFormat(TraceLevel::Error, u"Couldn't find %hs", pName);
    }
    return pfnFunction;
}

} // namespace

bool GraphicsDeviceGL2::OpenDisplay(DeviceFormat::Enum format) {
    ScopeCounter const counter(ScopeCounter::DeviceInitialization, true);
    if (m_eglDisplay == EGL_NO_DISPLAY) {
        m_eglDisplay = eglGetDisplay(EGL_DEFAULT_DISPLAY);
        if (m_eglDisplay == EGL_NO_DISPLAY) {
            Debug::TraceFormat(TraceLevel::Error, u"[kelvo] eglGetDisplay failed: eglGetError Returned: %d\n",
                               eglGetError());
            return false;
        }
    }
    EGLint nMajor = 0;
    EGLint nMinor = 0;
    EGLBoolean const fInitialized = eglInitialize(m_eglDisplay, &nMajor, &nMinor);
    if (!fInitialized) {
        Debug::TraceFormat(TraceLevel::Error,
                           u"[kelvo] eglInitialize failed: %d - eglGetError Returned: %d\n",
                           static_cast<int>(fInitialized), eglGetError());
        return false;
    }
    // Without a config for RGB565 itself there is nothing to fall back to, and EGL is left to judge what the
    // config holds: intended (rgb565-no-fallback).
    if (!ChooseEGLConfig(format) && format != DeviceFormat::RGB565 &&
        !ChooseEGLConfig(DeviceFormat::RGB565)) {
        return false;
    }
    return CreateSurfaceAndContext();
}

bool GraphicsDeviceGL2::CreateSurfaceAndContext() {
    m_eglSurface = eglCreateWindowSurface(m_eglDisplay, m_eglConfig, GetNativeWindow(m_pWindow), nullptr);
    if (m_eglSurface == EGL_NO_SURFACE) {
        Debug::TraceFormat(TraceLevel::Error,
                           u"[kelvo] eglCreateWindowSurface failed - eglGetError Returned: %d\n",
                           eglGetError());
        return false;
    }
    EGLint const attributes[] = {EGL_CONTEXT_CLIENT_VERSION, 2, EGL_NONE};
    m_eglContext = eglCreateContext(m_eglDisplay, m_eglConfig, EGL_NO_CONTEXT, attributes);
    if (m_eglContext == EGL_NO_CONTEXT) {
        Debug::TraceFormat(TraceLevel::Error, u"[kelvo] eglCreateContext failed - eglGetError Returned: %d\n",
                           eglGetError());
        return false;
    }
    EGLBoolean const fCurrent = eglMakeCurrent(m_eglDisplay, m_eglSurface, m_eglSurface, m_eglContext);
    if (!fCurrent) {
        Debug::TraceFormat(TraceLevel::Error,
                           u"[kelvo] eglMakeCurrent failed: %d - eglGetError Returned: %d\n",
                           static_cast<int>(fCurrent), eglGetError());
        return false;
    }
    ++ms_nContext;
    return true;
}

// The surface before is left to EGL, and the messages have no prefix: both intended (reset-keeps-surface,
// reset-no-prefix).
bool GraphicsDeviceGL2::Reset(void* pWindow) {
    m_pWindow = pWindow;
    m_eglSurface = eglCreateWindowSurface(m_eglDisplay, m_eglConfig, GetNativeWindow(m_pWindow), nullptr);
    if (m_eglSurface == EGL_NO_SURFACE) {
        Debug::TraceFormat(TraceLevel::Error, u"eglCreateWindowSurface failed - eglGetError Returned: %d\n",
                           eglGetError());
        return false;
    }
    EGLBoolean const fCurrent = eglMakeCurrent(m_eglDisplay, m_eglSurface, m_eglSurface, m_eglContext);
    if (!fCurrent) {
        Debug::TraceFormat(TraceLevel::Error, u"eglMakeCurrent failed: %d - eglGetError Returned: %d\n",
                           static_cast<int>(fCurrent), eglGetError());
        return false;
    }
    return true;
}

bool GraphicsDeviceGL2::ChooseEGLConfig(DeviceFormat::Enum format) {
    EGLint const* const pSizes = GetFormatSizes(format).sizes;
    EGLint const attributes[] = {EGL_RENDERABLE_TYPE,
                                 EGL_OPENGL_ES2_BIT,
                                 EGL_BUFFER_SIZE,
                                 pSizes[Red] + pSizes[Green] + pSizes[Blue] + pSizes[Alpha],
                                 EGL_RED_SIZE,
                                 pSizes[Red],
                                 EGL_GREEN_SIZE,
                                 pSizes[Green],
                                 EGL_BLUE_SIZE,
                                 pSizes[Blue],
                                 EGL_ALPHA_SIZE,
                                 pSizes[Alpha],
                                 EGL_DEPTH_SIZE,
                                 pSizes[Depth],
                                 EGL_STENCIL_SIZE,
                                 pSizes[Stencil],
                                 EGL_NONE};
    constexpr EGLint MaximumConfigs = 64;
    EGLConfig configs[MaximumConfigs];
    EGLint nCount = 0;
    if (!eglChooseConfig(m_eglDisplay, attributes, configs, MaximumConfigs, &nCount)) {
        Debug::TraceFormat(TraceLevel::Error, u"[kelvo] eglChooseConfig failed: eglGetError Returned: %d",
                           eglGetError());
        return false;
    }
    if (nCount == 0) {
        Debug::TraceFormat(TraceLevel::Error, u"No matching EGL configs found!");
        return false;
    }
    for (EGLint i = 0; i < nCount; ++i) {
        bool fExact = false;
        if (!IsExactConfig(configs[i], pSizes, fExact)) {
            return true; // the config stays what it was: intended (config-unreadable-kept)
        }
        if (fExact) {
            m_eglConfig = configs[i];
            return true;
        }
    }
    m_eglConfig = configs[0]; // of the most colour: intended (rgb565-first-config)
    return true;
}

/**
 * Traces a config's sizes and compares them with those asked for. False, traced, when EGL does not tell them.
 */
bool GraphicsDeviceGL2::IsExactConfig(EGLConfig config, int const* pSizes, bool& fExact) const {
    TREVIK_ASSERT_AT(m_eglDisplay != EGL_NO_DISPLAY, "src/GraphicsDeviceGL2", __LINE__,
                     "m_eglDisplay != ((EGLDisplay)0)");
    EGLint found[SizeCount] = {};
    bool fKnown = true;
    fExact = true;
    for (int i = 0; i < SizeCount; ++i) {
        fKnown = eglGetConfigAttrib(m_eglDisplay, config, SizeAttributes[i], &found[i]) && fKnown;
        fExact = fExact && found[i] == pSizes[i];
    }
    if (!fKnown) {
        Debug::TraceFormat(TraceLevel::Error, u"eglGetConfigAttrib failed!");
        return false;
    }
    Debug::TraceFormat(TraceLevel::Error, u"RGB=%d%d%d alpha=%d depth=%d stencil=%d", found[Red],
                       found[Green], found[Blue], found[Alpha], found[Depth], found[Stencil]);
    return true;
}

void GraphicsDeviceGL2::InitializeExtensions() {
    if (ms_pfnCreateImageKHR) {
        return;
    }
    ms_pfnCreateImageKHR = FindFunction<PFNEGLCREATEIMAGEKHRPROC>("eglCreateImageKHR");
    ms_pfnDestroyImageKHR = FindFunction<PFNEGLDESTROYIMAGEKHRPROC>("eglDestroyImageKHR");
}

EGLImageKHR GraphicsDeviceGL2::eglCreateImageKHR(EGLDisplay display, EGLContext context, EGLenum target,
                                                 EGLClientBuffer buffer, EGLint const* pAttributes) {
    return ms_pfnCreateImageKHR ? ms_pfnCreateImageKHR(display, context, target, buffer, pAttributes)
                                : EGL_NO_IMAGE_KHR;
}

EGLBoolean GraphicsDeviceGL2::eglDestroyImageKHR(EGLDisplay display, EGLImageKHR image) {
    return ms_pfnDestroyImageKHR ? ms_pfnDestroyImageKHR(display, image) : EGL_FALSE;
}

void GraphicsDeviceGL2::CloseDisplay() {
    // Most EGLs release the context only when a display is given, some without one, too.
    if (!eglMakeCurrent(EGL_NO_DISPLAY, EGL_NO_SURFACE, EGL_NO_SURFACE, EGL_NO_CONTEXT)) {
        eglMakeCurrent(m_eglDisplay, EGL_NO_SURFACE, EGL_NO_SURFACE, EGL_NO_CONTEXT);
    }
    if (m_eglSurface != EGL_NO_SURFACE) {
        eglDestroySurface(m_eglDisplay, m_eglSurface);
    }
    if (m_eglContext != EGL_NO_CONTEXT) {
        eglDestroyContext(m_eglDisplay, m_eglContext);
    }
    eglTerminate(m_eglDisplay);
    ++ms_nContext;
}

} // namespace trevik::kelvo
