#pragma once

#include "LayerContext.h"

#include <GLES2/gl2.h>
#include <system/window.h>
#include <utils/Errors.h>

#include <memory>
#include <mutex>
#include <vector>

namespace kelvo::desktop {

/**
 * The graphic buffers of this process, and the images made of them: each is a texture of the layer's own
 * context, shared by the driver, that gets a buffer's pixels whenever the buffer is unlocked. Any thread.
 */
class BufferImages {
public:
    static BufferImages& Get();

    /** Makes a buffer known, so that images can be made of it; false without memory. */
    bool AddBuffer(ANativeWindowBuffer* buffer) noexcept;
    /** Forgets a buffer; its images stay as they are. */
    void RemoveBuffer(ANativeWindowBuffer* buffer);

    /**
     * eglCreateImage of a pointer that may be anything. `fAttributes`: the attribute list is one that such
     * images have. Throws std::bad_alloc.
     */
    EGLImage Create(EGLDisplay display, EGLContext context, EGLClientBuffer buffer, bool fAttributes);
    /** eglDestroyImage of an image of these; false for all others, which are the driver's business. */
    bool Destroy(EGLDisplay display, EGLImage image, EGLBoolean& fDestroyed);
    /** The display was terminated, and all of its images with it. */
    void RemoveDisplay(EGLDisplay display);
    /** What eglQueryString answers for EGL_EXTENSIONS where the driver answers `extensions`. */
    char const* Extensions(EGLDisplay display, char const* extensions);

    /**
     * Brings the pixels of a buffer, which the calling thread has locked, into its images. UNKNOWN_ERROR when
     * the driver cannot.
     */
    android::status_t Upload(ANativeWindowBuffer const& buffer);

    /**
     * No image changes while the result lives: for a frame that is being finished, which is to show them
     * whole. `fAny` tells whether there are any.
     */
    std::unique_lock<std::mutex> HoldStill(bool& fAny);

private:
    struct Image {
        EGLDisplay display;
        EGLImage image;
        GLuint texture;
        ANativeWindowBuffer const* buffer; ///< null once it is gone
    };

    LayerContext& ContextOf(EGLDisplay display);
    bool IsKnown(ANativeWindowBuffer const* buffer) const;
    EGLint CreateImage(LayerContext& context, ANativeWindowBuffer const& buffer, Image& image);

    std::mutex m_mutex;
    // A handful of entries each: a linear search beats a map.
    std::vector<ANativeWindowBuffer*> m_buffers;
    std::vector<Image> m_images;
    std::vector<std::unique_ptr<LayerContext>> m_contexts;
};

} // namespace kelvo::desktop
