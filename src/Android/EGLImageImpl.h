#pragma once

#include "Android/EGLImageHelper.h"
#include "trevik/Mutex.h"

#include <EGL/egl.h>
#include <EGL/eglext.h>
#include <ui/GraphicBuffer.h>

#include <atomic>

namespace trevik::kelvo {

/**
 * A surface over an Android graphic buffer, which GL samples through an EGL image. GL and EGL objects are
 * made and deleted on the render thread; everything else may be called on any thread, one surface at a time.
 */
class EGLImageImpl : public EGLImageHelper {
public:
    /** An empty surface. */
    EGLImageImpl();
    /** Calls what Destroy calls. Any thread. */
    ~EGLImageImpl() override;
    EGLImageImpl(EGLImageImpl const&) = delete;
    EGLImageImpl& operator=(EGLImageImpl const&) = delete;

    /**
     * Makes buffer, EGL image and texture, in place of those before: pixels, a TextureFormat::Enum. Calls
     * what Destroy calls, eglGetCurrentDisplay, eglCreateImageKHR, eglGetProcAddress, glGetError, what
     * CreateTexture calls, glBindTexture, glEGLImageTargetTexture2DOES, and eglGetError where there is no
     * image. Render thread. False, traced, with the surface empty, when the image or the texture cannot be
     * had.
     */
    bool Create(unsigned int nWidth, unsigned int nHeight, unsigned int nFormat) override;
    bool IsCreated() override { return m_eglImage != EGL_NO_IMAGE_KHR; }
    bool IsLocked() override { return m_fLocked; }
    /** Not while the surface is locked already: asserted. */
    void* Lock() override;
    void Unlock() override;
    /**
     * Empties the surface, which must not be locked. Calls glDeleteTextures and eglDestroyImageKHR. Any
     * thread: off the render thread, texture and image go at the next GraphicsDevice::Process; the buffer
     * lives as long as they do. Without memory for that they stay, traced. Once their context is gone nothing
     * is called: they went with it.
     */
    void Destroy() override;
    int GetTexture() override { return m_nTexture; }
    void* GetEGLImage() override { return m_eglImage; }
    // These need a buffer.
    int GetWidth() override { return static_cast<int>(m_pGraphicBuffer->getWidth()); }
    int GetHeight() override { return static_cast<int>(m_pGraphicBuffer->getHeight()); }
    int GetStride() override;
    int GetPixelFormat() override;
    jni::Object<jni::android::graphics::Bitmap> CreateJavaBitmapFromTexture() override;

    /**
     * The TextureFormat::Enum of an Android pixel format, -1 when it has none. Not the inverse of the next
     * one: intended (surface-formats).
     */
    static int PixelFormat2TextureFormat(int nPixelFormat);
    /** The Android pixel format that keeps a TextureFormat::Enum, 0 when there is none. */
    static int TextureFormat2PixelFormat(int nTextureFormat);
    /**
     * A new GL texture, linear and clamped, which stays bound to the target. Calls glGenTextures,
     * glBindTexture and glTexParameteri. Render thread.
     */
    static int CreateTexture(int nTarget);

private:
    bool BindToNewTexture();
    static void Destroy_RenderThread(::android::sp<::android::GraphicBuffer> const& pGraphicBuffer,
                                     void* eglImage, int nTexture, void* display);

    EGLImageKHR m_eglImage = EGL_NO_IMAGE_KHR;
    int m_nTexture = -1; ///< -1: none; 0 counts as a name
    ::android::sp<::android::GraphicBuffer> m_pGraphicBuffer;
    EGLDisplay m_display = EGL_NO_DISPLAY; ///< current when the image was made
    unsigned int m_nContext = 0;           ///< the number of the context then
    std::atomic<bool> m_fLocked{false};

    /**
     * Serialises creation, destruction, locking and unlocking of all surfaces, to the very end: Java may
     * collect bitmaps while the process exits.
     */
    static Mutex& s_bufferMutex;
};

} // namespace trevik::kelvo
