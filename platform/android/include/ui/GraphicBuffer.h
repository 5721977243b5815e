#pragma once

#include <cutils/compiler.h>
#include <system/window.h>
#include <ui/PixelFormat.h>
#include <utils/Errors.h>
#include <utils/RefBase.h>

struct GGLSurface;

namespace android {

/**
 * Pixels that the CPU writes and GL samples, as an EGL image over getNativeBuffer(). They begin as zeros.
 *
 * What was written between lock and unlock, on any thread, is what draws sample from the end of unlock on; it
 * stays out of sight until then. One thread at a time has the buffer locked. (A driver may keep copies of
 * texels within a frame, as Mesa's softpipe does: there, what another thread unlocks while a frame is drawn
 * with the buffer is seen from the next eglSwapBuffers on.)
 */
class ANDROID_API GraphicBuffer : public ANativeWindowBuffer, public LightRefBase<GraphicBuffer> {
public:
    /**
     * `format` is a PixelFormat, `usage` of GRALLOC_USAGE_*. The stride is the allocator's: it may exceed the
     * width. initCheck tells whether there is memory.
     */
    GraphicBuffer(std::uint32_t width, std::uint32_t height, PixelFormat format,
                  std::uint32_t usage) noexcept;
    GraphicBuffer(GraphicBuffer const&) = delete;
    GraphicBuffer& operator=(GraphicBuffer const&) = delete;

    /** NO_ERROR; BAD_VALUE for a size or format that there is not; NO_MEMORY. */
    status_t initCheck() const;

    std::uint32_t getWidth() const { return static_cast<std::uint32_t>(width); }   ///< pixels
    std::uint32_t getHeight() const { return static_cast<std::uint32_t>(height); } ///< pixels
    std::uint32_t getStride() const {
        return static_cast<std::uint32_t>(stride);
    } ///< from row to row, pixels
    std::uint32_t getUsage() const { return static_cast<std::uint32_t>(usage); }
    PixelFormat getPixelFormat() const { return format; }

    /**
     * The address of the pixels in `surface->data`, null when this fails: NO_INIT without memory,
     * INVALID_OPERATION while the buffer is locked. `usage` is the buffer's own or less.
     */
    status_t lock(GGLSurface* surface, std::uint32_t usage);
    /**
     * Makes what was written visible to GL, in all images of the buffer. Waits until GL is done with it, and
     * with what the calling thread's context was given before; what is current stays so. NO_INIT without
     * memory; INVALID_OPERATION unless the buffer is locked; UNKNOWN_ERROR when GL cannot, and the buffer is
     * unlocked then, too.
     */
    status_t unlock();

    /**
     * What eglCreateImageKHR takes for EGL_NATIVE_BUFFER_ANDROID. Textures are made of such images with the
     * first row of pixels at t = 0. An image keeps no reference to its buffer, and shows the last pixels when
     * the buffer is gone; a texture shows the last pixels when the image is gone.
     */
    ANativeWindowBuffer* getNativeBuffer() const;

private:
    friend class LightRefBase<GraphicBuffer>;

    ~GraphicBuffer();
};

} // namespace android
