#pragma once

#include <EGL/egl.h>
#include <EGL/eglext.h>

#include <string>
#include <type_traits>

namespace kelvo::desktop {

/**
 * An OpenGL ES context of the layer's own on one display, for work that no program asked for by a GL call.
 * Its user sees to it that one thread at a time calls it.
 */
class LayerContext {
public:
    explicit LayerContext(EGLDisplay display) : m_display(display) {}

    EGLDisplay Display() const { return m_display; }
    /**
     * Makes the context unless there is one. EGL_SUCCESS; EGL_BAD_PARAMETER when display or GL cannot share
     * textures as images; what the driver says when there can be no context. The display is initialised.
     */
    EGLint Start();
    /** The display was terminated, and the context with it. */
    void Forget();

    /** EGL_NO_CONTEXT before Start. */
    EGLContext Get() const { return m_context; }
    /** Whether GL_UNPACK_ROW_LENGTH is understood. */
    bool HasRowLength() const { return m_fRowLength; }

    /**
     * Runs `job` with the context current and takes the calling thread back to what was current before. What
     * the thread had given its own context to do is finished first. False, without a run, when the context
     * cannot be bound.
     */
    template <class Job>
    bool Run(Job&& job) {
        using Function = std::remove_reference_t<Job>;
        return RunErased([](void* pJob) { (*static_cast<Function*>(pJob))(); }, &job);
    }

    /** A shared image of the context's texture, and its end. In Run. */
    EGLImage CreateImage(unsigned int texture) const;
    EGLBoolean DestroyImage(EGLImage image) const;

    /** `extensions` of the driver with the one that the layer adds; valid until the next call. */
    char const* AddExtension(char const* extensions);

private:
    using Erased = void (*)(void* pJob);

    EGLint Make();
    bool FindImageFunctions();
    bool RunErased(Erased run, void* pJob) const;
    bool RunBound(Erased run, void* pJob) const;
    bool RunElsewhere(Erased run, void* pJob) const;

    EGLDisplay m_display;
    EGLContext m_context = EGL_NO_CONTEXT;
    EGLSurface m_surface = EGL_NO_SURFACE;
    bool m_fRowLength = false;
    bool m_fGlImages = false;
    PFNEGLCREATEIMAGEKHRPROC m_pfnCreateImage = nullptr;
    PFNEGLDESTROYIMAGEKHRPROC m_pfnDestroyImage = nullptr;
    std::string m_sDriverExtensions;
    std::string m_sExtensions;
};

} // namespace kelvo::desktop
