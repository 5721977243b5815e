#include "display/LayerContext.h"

#include "egl/GlFunctions.h"

#include <system_error>
#include <thread>
#include <utility>

namespace kelvokit::desktop {

namespace {

/** What is current on the calling thread, while OpenGL ES is its API. */
class Current {
public:
    Current() : m_api(Egl().eglQueryAPI()) {
        // A thread has one current context, of OpenGL or of OpenGL ES; some drivers name it only while its
        // API is bound.
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
    Outcome ComeBack(EGLDisplay from) const {
        if (m_contextApi != EGL_OPENGL_ES_API) {
            Egl().eglBindAPI(m_contextApi);
        }
        if (Egl().eglMakeCurrent(IsNothing() ? from : m_display, m_draw, m_read, m_context)) {
            return Outcome::Done();
        }
        Outcome const failed = Outcome::DriverFailed();
        // Otherwise the layer's context would stay current, which the program does not know.
        Egl().eglMakeCurrent(from, EGL_NO_SURFACE, EGL_NO_SURFACE, EGL_NO_CONTEXT);
        return failed;
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

/** Takes the calling thread back to what was current, at the latest when it ends. */
class WayBack {
public:
    WayBack(Current const& current, EGLDisplay from) : m_current(current), m_from(from) {}
    WayBack(WayBack const&) = delete;
    ~WayBack() {
        if (!m_fGone) {
            static_cast<void>(Go());
        }
    }

    Outcome Go() {
        m_fGone = true;
        return m_current.ComeBack(m_from);
    }

private:
    Current const& m_current;
    EGLDisplay m_from;
    bool m_fGone = false;
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

Outcome LayerContext::Make() {
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
        return Outcome::DriverFailed();
    }
    if (nConfigs < 1) {
        return Outcome::Failed(EGL_BAD_PARAMETER);
    }
    OwnedContext context(m_display,
                         egl.eglCreateContext(m_display, config, EGL_NO_CONTEXT, contextAttributes));
    if (!context) {
        return Outcome::DriverFailed();
    }
    OwnedSurface surface(m_display, fSurfaceless
                                        ? EGL_NO_SURFACE
                                        : egl.eglCreatePbufferSurface(m_display, config, surfaceAttributes));
    if (!surface && !fSurfaceless) {
        return Outcome::DriverFailed();
    }
    m_context = std::move(context);
    m_surface = std::move(surface);
    return Outcome::Done();
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

Outcome LayerContext::Start() {
    if (m_context) {
        return Outcome::Done();
    }
    if (Outcome const made = Make(); !made) {
        return made;
    }
    Outcome const examined = Run([this] { Examine(); });
    if (!examined) {
        m_context.Destroy();
        m_surface.Destroy();
    }
    return examined;
}

void LayerContext::Forget() {
    m_context.Forget();
    m_surface.Forget();
}

Outcome LayerContext::RunErased(Erased run, void* pJob) const {
    Current const current;
    if (!current.IsNothing()) {
        Gl().glFinish();
    }
    if (!current.CanComeBack()) {
        return RunElsewhere(run, pJob);
    }
    // After a failure too: a driver may have changed what is current.
    WayBack wayBack(current, m_display);
    Outcome const ran = RunBound(run, pJob);
    Outcome const back = wayBack.Go();
    return ran ? back : ran;
}

Outcome LayerContext::RunBound(Erased run, void* pJob) const {
    if (!Driver().eglMakeCurrent(m_display, m_surface.Get(), m_surface.Get(), m_context.Get())) {
        return Outcome::DriverFailed();
    }
    run(pJob);
    return Outcome::Done();
}

/** Leaves the calling thread alone. */
Outcome LayerContext::RunElsewhere(Erased run, void* pJob) const {
    Outcome ran = Outcome::Failed(EGL_BAD_ALLOC);
    try {
        std::thread([&] {
            ran = RunBound(run, pJob);
            Driver().eglReleaseThread();
        }).join();
    } catch (std::system_error const&) {
        return Outcome::Failed(EGL_BAD_ALLOC);
    }
    return ran;
}

EGLImage LayerContext::CreateImage(unsigned int texture) const {
    EGLint const attributes[] = {EGL_GL_TEXTURE_LEVEL_KHR, 0, EGL_IMAGE_PRESERVED_KHR, EGL_TRUE, EGL_NONE};
    return m_pfnCreateImage(m_display, m_context.Get(), EGL_GL_TEXTURE_2D_KHR,
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
