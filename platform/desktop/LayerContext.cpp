#include "LayerContext.h"

#include "EglDriver.h"
#include "GlFunctions.h"

#include <system_error>
#include <thread>

namespace kelvokit::desktop {

namespace {

/** What is current on the calling thread, while OpenGL ES is its API. */
class Current {
public:
    Current() : m_api(Egl().eglQueryAPI()) {
        // A thread has one context of the two GLs, which some drivers tell of while its own API is bound
        // only.
        if (m_api == EGL_OPENGL_API) {
            Look(m_api);
        }
        if (m_api != EGL_OPENGL_ES_API) {
            Egl().eglBindAPI(EGL_OPENGL_ES_API);
        }
        if (IsNothing()) {
            Look(EGL_OPENGL_ES_API);
        }
    }
    Current(Current const&) = delete;
    ~Current() {
        if (m_api != EGL_OPENGL_ES_API) {
            Egl().eglBindAPI(m_api);
        }
    }

    bool IsNothing() const { return m_context == EGL_NO_CONTEXT; }

    /**
     * Whether it could be made current once more: what has been destroyed lives on for as long as it is
     * current, and no longer.
     */
    bool CanComeBack() const {
        EGLint nIgnored = 0;
        return IsNothing() ||
               (Egl().eglQueryContext(m_display, m_context, EGL_CONTEXT_CLIENT_TYPE, &nIgnored) &&
                IsAlive(m_draw) && (m_read == m_draw || IsAlive(m_read)));
    }

    /** Makes it current instead of a context of `from`; with nothing current where that fails. */
    EGLint ComeBack(EGLDisplay from) const {
        if (m_contextApi != EGL_OPENGL_ES_API) {
            Egl().eglBindAPI(m_contextApi);
        }
        if (Egl().eglMakeCurrent(IsNothing() ? from : m_display, m_draw, m_read, m_context)) {
            return EGL_SUCCESS;
        }
        EGLint const nError = DriverError();
        // Rather nothing than a context that the program knows nothing of.
        Egl().eglMakeCurrent(from, EGL_NO_SURFACE, EGL_NO_SURFACE, EGL_NO_CONTEXT);
        return nError;
    }

private:
    static EglDriver const& Egl() { return Driver(); }

    void Look(EGLenum api) {
        m_context = Egl().eglGetCurrentContext();
        if (IsNothing()) {
            return;
        }
        m_contextApi = api;
        m_display = Egl().eglGetCurrentDisplay();
        m_draw = Egl().eglGetCurrentSurface(EGL_DRAW);
        m_read = Egl().eglGetCurrentSurface(EGL_READ);
    }

    bool IsAlive(EGLSurface surface) const {
        EGLint nIgnored = 0;
        return surface == EGL_NO_SURFACE ||
               Egl().eglQuerySurface(m_display, surface, EGL_CONFIG_ID, &nIgnored);
    }

    EGLenum m_api;
    EGLenum m_contextApi = EGL_OPENGL_ES_API;
    EGLDisplay m_display = EGL_NO_DISPLAY;
    EGLContext m_context = EGL_NO_CONTEXT;
    EGLSurface m_draw = EGL_NO_SURFACE;
    EGLSurface m_read = EGL_NO_SURFACE;
};

} // namespace

bool LayerContext::FindImageFunctions() {
    char const* const extensions = Driver().eglQueryString(m_display, EGL_EXTENSIONS);
    if (!HasExtension(extensions, "EGL_KHR_image_base") ||
        !HasExtension(extensions, "EGL_KHR_gl_texture_2D_image")) {
        return false;
    }
    m_pfnCreateImage = DriverFunction<PFNEGLCREATEIMAGEKHRPROC>("eglCreateImageKHR");
    m_pfnDestroyImage = DriverFunction<PFNEGLDESTROYIMAGEKHRPROC>("eglDestroyImageKHR");
    return m_pfnCreateImage && m_pfnDestroyImage;
}

EGLint LayerContext::Make() {
    EglDriver const& egl = Driver();
    Current const current; // contexts are made for the thread's API
    bool const fSurfaceless =
        HasExtension(egl.eglQueryString(m_display, EGL_EXTENSIONS), "EGL_KHR_surfaceless_context");
    EGLint const configAttributes[] = {EGL_RENDERABLE_TYPE, EGL_OPENGL_ES2_BIT, EGL_SURFACE_TYPE,
                                       fSurfaceless ? 0 : EGL_PBUFFER_BIT, EGL_NONE};
    EGLint const contextAttributes[] = {EGL_CONTEXT_CLIENT_VERSION, 2, EGL_NONE};
    EGLint const surfaceAttributes[] = {EGL_WIDTH, 1, EGL_HEIGHT, 1, EGL_NONE};
    EGLConfig config = nullptr;
    EGLint nConfigs = 0;
    if (!egl.eglChooseConfig(m_display, configAttributes, &config, 1, &nConfigs)) {
        return DriverError();
    }
    if (nConfigs < 1) {
        return EGL_BAD_PARAMETER;
    }
    EGLContext const context = egl.eglCreateContext(m_display, config, EGL_NO_CONTEXT, contextAttributes);
    if (context == EGL_NO_CONTEXT) {
        return DriverError();
    }
    if (!fSurfaceless) {
        m_surface = egl.eglCreatePbufferSurface(m_display, config, surfaceAttributes);
        if (m_surface == EGL_NO_SURFACE) {
            EGLint const nError = DriverError();
            egl.eglDestroyContext(m_display, context);
            return nError;
        }
    }
    m_context = context;
    return EGL_SUCCESS;
}

void LayerContext::Examine() {
    int const nVersion = EsVersion();
    if (nVersion == 0) {
        return;
    }
    auto const* extensions = reinterpret_cast<char const*>(Gl().glGetString(GL_EXTENSIONS));
    m_fImages = HasExtension(extensions, "GL_OES_EGL_image") && FindImageFunctions();
    m_fRowLength = nVersion >= 3 || HasExtension(extensions, "GL_EXT_unpack_subimage");
    Gl().glGetIntegerv(GL_MAX_TEXTURE_SIZE, &m_nMaxTextureSide);
    Gl().glGetIntegerv(GL_MAX_VIEWPORT_DIMS, m_maxDrawn);
}

EGLint LayerContext::Start() {
    if (m_context != EGL_NO_CONTEXT) {
        return EGL_SUCCESS;
    }
    EGLint nError = Make();
    if (nError != EGL_SUCCESS) {
        return nError;
    }
    nError = Run([this] { Examine(); });
    if (nError != EGL_SUCCESS) {
        Drop();
    }
    return nError;
}

void LayerContext::Drop() {
    Driver().eglDestroyContext(m_display, m_context);
    if (m_surface != EGL_NO_SURFACE) {
        Driver().eglDestroySurface(m_display, m_surface);
    }
    Forget();
}

void LayerContext::Forget() {
    m_context = EGL_NO_CONTEXT;
    m_surface = EGL_NO_SURFACE;
}

EGLint LayerContext::RunErased(Erased run, void* pJob) const {
    Current const current;
    if (!current.IsNothing()) {
        Gl().glFinish();
    }
    if (!current.CanComeBack()) {
        return RunElsewhere(run, pJob);
    }
    EGLint const nRun = RunBound(run, pJob);
    // After a failure too: what is bound then is up to the driver.
    EGLint const nBack = current.ComeBack(m_display);
    return nRun != EGL_SUCCESS ? nRun : nBack;
}

EGLint LayerContext::RunBound(Erased run, void* pJob) const {
    if (!Driver().eglMakeCurrent(m_display, m_surface, m_surface, m_context)) {
        return DriverError();
    }
    run(pJob);
    return EGL_SUCCESS;
}

/** Leaves the calling thread alone. */
EGLint LayerContext::RunElsewhere(Erased run, void* pJob) const {
    EGLint nError = EGL_BAD_ALLOC;
    try {
        std::thread([&] {
            nError = RunBound(run, pJob);
            Driver().eglReleaseThread();
        }).join();
    } catch (std::system_error const&) {
        return EGL_BAD_ALLOC;
    }
    return nError;
}

EGLImage LayerContext::CreateImage(unsigned int texture) const {
    EGLint const attributes[] = {EGL_GL_TEXTURE_LEVEL_KHR, 0, EGL_IMAGE_PRESERVED_KHR, EGL_TRUE, EGL_NONE};
    return m_pfnCreateImage(m_display, m_context, EGL_GL_TEXTURE_2D_KHR,
                            reinterpret_cast<EGLClientBuffer>(static_cast<std::uintptr_t>(texture)),
                            attributes);
}

EGLBoolean LayerContext::DestroyImage(EGLImage image) const {
    return m_pfnDestroyImage(m_display, image);
}

char const* LayerContext::AddExtension(char const* extensions) {
    if (m_sExtensions.empty() || m_sDriverExtensions != extensions) {
        m_sDriverExtensions = extensions;
        m_sExtensions = m_sDriverExtensions + " EGL_ANDROID_image_native_buffer";
    }
    return m_sExtensions.c_str();
}

} // namespace kelvokit::desktop
