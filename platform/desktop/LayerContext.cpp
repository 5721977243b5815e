#include "LayerContext.h"

#include "EglDriver.h"
#include "GlFunctions.h"

#include <system_error>
#include <thread>

namespace kelvo::desktop {

namespace {

/** What is current on the calling thread, while OpenGL ES is its API. */
class Current {
public:
    Current() : m_api(Egl().eglQueryAPI()) {
        if (m_api != EGL_OPENGL_ES_API)
            Egl().eglBindAPI(EGL_OPENGL_ES_API);
        m_context = Egl().eglGetCurrentContext();
        if (m_context != EGL_NO_CONTEXT) {
            m_display = Egl().eglGetCurrentDisplay();
            m_draw = Egl().eglGetCurrentSurface(EGL_DRAW);
            m_read = Egl().eglGetCurrentSurface(EGL_READ);
        }
    }
    Current(Current const&) = delete;
    ~Current() {
        if (m_api != EGL_OPENGL_ES_API)
            Egl().eglBindAPI(m_api);
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

    void ComeBack(EGLDisplay from) const {
        Egl().eglMakeCurrent(IsNothing() ? from : m_display, m_draw, m_read, m_context);
    }

private:
    static EglDriver const& Egl() { return Driver(); }

    bool IsAlive(EGLSurface surface) const {
        EGLint nIgnored = 0;
        return surface == EGL_NO_SURFACE ||
               Egl().eglQuerySurface(m_display, surface, EGL_CONFIG_ID, &nIgnored);
    }

    EGLenum m_api;
    EGLDisplay m_display = EGL_NO_DISPLAY;
    EGLContext m_context = EGL_NO_CONTEXT;
    EGLSurface m_draw = EGL_NO_SURFACE;
    EGLSurface m_read = EGL_NO_SURFACE;
};

/** The driver's error of a call that failed. */
EGLint DriverError() {
    EGLint const nError = Driver().eglGetError();
    return nError == EGL_SUCCESS ? EGL_BAD_ALLOC : nError;
}

} // namespace

bool LayerContext::FindImageFunctions() {
    char const* const extensions = Driver().eglQueryString(m_display, EGL_EXTENSIONS);
    if (!HasExtension(extensions, "EGL_KHR_image_base") ||
        !HasExtension(extensions, "EGL_KHR_gl_texture_2D_image"))
        return false;
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
    if (!egl.eglChooseConfig(m_display, configAttributes, &config, 1, &nConfigs))
        return DriverError();
    if (nConfigs < 1)
        return EGL_BAD_PARAMETER;
    EGLContext const context = egl.eglCreateContext(m_display, config, EGL_NO_CONTEXT, contextAttributes);
    if (context == EGL_NO_CONTEXT)
        return DriverError();
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

EGLint LayerContext::Start() {
    if (m_context == EGL_NO_CONTEXT) {
        if (!FindImageFunctions())
            return EGL_BAD_PARAMETER;
        EGLint const nError = Make();
        if (nError != EGL_SUCCESS)
            return nError;
        Run([this] {
            auto const* extensions = reinterpret_cast<char const*>(Gl().glGetString(GL_EXTENSIONS));
            m_fGlImages = EsVersion() != 0 && HasExtension(extensions, "GL_OES_EGL_image");
            m_fRowLength = EsVersion() >= 3 || HasExtension(extensions, "GL_EXT_unpack_subimage");
        });
    }
    return m_fGlImages ? EGL_SUCCESS : EGL_BAD_PARAMETER;
}

void LayerContext::Forget() {
    m_context = EGL_NO_CONTEXT;
    m_surface = EGL_NO_SURFACE;
}

bool LayerContext::RunErased(Erased run, void* pJob) const {
    Current const current;
    if (!current.IsNothing())
        Gl().glFinish();
    if (!current.CanComeBack())
        return RunElsewhere(run, pJob);
    bool const fRun = RunBound(run, pJob);
    if (fRun)
        current.ComeBack(m_display);
    return fRun;
}

bool LayerContext::RunBound(Erased run, void* pJob) const {
    if (!Driver().eglMakeCurrent(m_display, m_surface, m_surface, m_context))
        return false;
    run(pJob);
    return true;
}

/** Leaves the calling thread alone. */
bool LayerContext::RunElsewhere(Erased run, void* pJob) const {
    bool fRun = false;
    try {
        std::thread([&] {
            fRun = RunBound(run, pJob);
            Driver().eglReleaseThread();
        }).join();
    } catch (std::system_error const&) {
        return false;
    }
    return fRun;
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

} // namespace kelvo::desktop
