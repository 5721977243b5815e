#pragma once

#include "egl/EglError.h"
#include "egl/OwnedHandle.h"

#include <EGL/egl.h>
#include <EGL/eglext.h>
#include <GLES2/gl2.h>

#include <string>
#include <type_traits>

namespace kelvokit::desktop {

/**
 * An OpenGL ES context of the layer's own on one display, for work that no program asked for by a GL call.
 * Its user sees to it that one thread at a time calls it.
 */
class LayerContext {
public:
    explicit LayerContext(EGLDisplay display) : m_display(display) {}

    EGLDisplay Display() const { return m_display; }
    /**
     * Makes the context unless there is one, and what follows known. Fails as the driver does when there can
     * be no context; the next call tries anew then. The display is initialised.
     */
    Outcome Start();
    /** The display was terminated, and the context with it. */
    void Forget();

    /** Whether display and GL share textures as images. */
    bool HasImages() const { return m_fImages; }
    /** Whether GL_UNPACK_ROW_LENGTH is understood. */
    bool HasRowLength() const { return m_fRowLength; }
    /** The longest side that a texture can have. */
    GLint MaxTextureSide() const { return m_nMaxTextureSide; }
    /** The largest width and height that can be drawn into. */
    GLint MaxDrawnWidth() const { return m_maxDrawn[0]; }
    GLint MaxDrawnHeight() const { return m_maxDrawn[1]; }

    /**
     * Runs `job` with the context current and takes the calling thread back to what was current before. What
     * the thread had given its own context to do is finished first. Fails as the driver does when the context
     * cannot be bound, and `job` was not run then; or when the thread's own cannot be bound again, and
     * nothing is current then.
     */
    template <class Job>
    Outcome Run(Job&& job) {
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

    Outcome Make();
    bool FindImageFunctions();
    /** Asks the context, which is current, what it can do. */
    void Examine();
    Outcome RunErased(Erased run, void* pJob) const;
    Outcome RunBound(Erased run, void* pJob) const;
    Outcome RunElsewhere(Erased run, void* pJob) const;

    EGLDisplay m_display;
    OwnedSurface m_surface; // null where contexts need none
    OwnedContext m_context; // last, so that it goes first
    bool m_fRowLength = false;
    bool m_fImages = false;
    GLint m_nMaxTextureSide = 0;
    GLint m_maxDrawn[2] = {};
    PFNEGLCREATEIMAGEKHRPROC m_pfnCreateImage = nullptr;
    PFNEGLDESTROYIMAGEKHRPROC m_pfnDestroyImage = nullptr;
    std::string m_sDriverExtensions;
    std::string m_sExtensions;
};

} // namespace kelvokit::desktop
