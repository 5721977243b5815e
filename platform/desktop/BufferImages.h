#pragma once

#include "LayerContext.h"

#include <GLES2/gl2.h>
#include <system/window.h>
#include <utils/Errors.h>

#include <memory>
#include <mutex>
#include <vector>

namespace kelvokit::desktop {

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
    /** eglTerminate: with the display go its images. None of the layer's own work on it is under way then. */
    EGLBoolean TerminateDisplay(EGLDisplay display);
    /** What eglQueryString answers for EGL_EXTENSIONS where the driver answers `extensions`. */
    char const* Extensions(EGLDisplay display, char const* extensions);

    /** Whether GL on the display can draw into a surface of this size; true where it cannot be asked. */
    bool CanDraw(EGLDisplay display, EGLint width, EGLint height);

    /**
     * Unlocks a buffer and brings its pixels into its images. INVALID_OPERATION unless it is locked;
     * UNKNOWN_ERROR when the driver cannot, and the buffer is unlocked then, too.
     */
    android::status_t Unlock(ANativeWindowBuffer const& buffer);

    /**
     * No image changes while the result lives, and no thread has the layer's context in the place of its own:
     * for a frame that is being finished, which is to show images whole, and for what destroys contexts and
     * surfaces, which live on only where they are current. `pAny` tells whether there are images.
     */
    std::unique_lock<std::mutex> HoldStill(bool* pAny = nullptr);

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
    EGLBoolean DestroyImage(LayerContext& context, Image const& image);
    bool Upload(ANativeWindowBuffer const& buffer);

    std::mutex m_mutex;
    // A handful of entries each: a linear search beats a map.
    std::vector<ANativeWindowBuffer*> m_buffers;
    std::vector<Image> m_images;
    std::vector<std::unique_ptr<LayerContext>> m_contexts;
};

} // namespace kelvokit::desktop
