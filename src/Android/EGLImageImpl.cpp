#include "Android/EGLImageImpl.h"

#include "Android/JavaBitmap.h"
#include "GlState.h"
#include "GraphicsDeviceGL2.h"
#include "JObject.h"
#include "RenderThread.h"
#include "trevik/Assert.h"
#include "trevik/Debug.h"
#include "trevik/Immortal.h"
#include "trevik/kelvo/TextureFormat.h"

#include <GLES2/gl2.h>
#include <GLES2/gl2ext.h>
#include <hardware/gralloc.h>
#include <pixelflinger/pixelflinger.h>

#include <new>

// Assertions print these places, which are fixed: they are not the lines of this file.
#define SURFACE_ASSERT(condition, line, text)                                                                \
    TREVIK_ASSERT_AT(condition, "src/Android/EGLImageImpl", line, text)

namespace trevik::kelvo {

namespace {

constexpr unsigned int LineDestroyThread = 35;
constexpr unsigned int LineDestroyReferences = 46;
constexpr unsigned int LineDestroy = 51;
constexpr unsigned int LineCreate = 76;
constexpr unsigned int LineLock = 246;
constexpr unsigned int LineUnlock = 257;

constexpr std::uint32_t BufferUsage = GRALLOC_USAGE_HW_TEXTURE | GRALLOC_USAGE_SW_WRITE_OFTEN;

/** Looked up, since desktop libraries do not export it; null where the driver has none. */
PFNGLEGLIMAGETARGETTEXTURE2DOESPROC FindTargetFunction() {
    return reinterpret_cast<PFNGLEGLIMAGETARGETTEXTURE2DOESPROC>(
        eglGetProcAddress("glEGLImageTargetTexture2DOES"));
}

/** Traces a literal: there is no memory for any other text. */
void TraceLeak() {
    static char16_t const s_message[] = u"[kelvo] A surface's GL texture and EGL image leak: out of memory";
    Debug::Trace(TraceLevel::Error, StringEncoded<UTF16Encoding>::FromLiteral(s_message));
}

Immortal<Mutex> g_bufferMutex; // for all surfaces: intended (one-surface-mutex)

} // namespace

Mutex& EGLImageImpl::s_bufferMutex = g_bufferMutex.Get();

Ref<EGLImageHelper> CreateEGLImageHelper() {
    return Ref<EGLImageHelper>(new (std::nothrow) EGLImageImpl);
}

EGLImageImpl::EGLImageImpl() = default;

EGLImageImpl::~EGLImageImpl() {
    EGLImageImpl::Destroy();
}

int EGLImageImpl::PixelFormat2TextureFormat(int nPixelFormat) {
    switch (nPixelFormat) {
    case ::android::PIXEL_FORMAT_RGBA_8888:
    case ::android::PIXEL_FORMAT_RGBX_8888:
    case ::android::PIXEL_FORMAT_BGRA_8888:
        return TextureFormat::RGBA8888;
    case ::android::PIXEL_FORMAT_RGB_888:
        return TextureFormat::RGB888;
    case ::android::PIXEL_FORMAT_RGB_565:
        return TextureFormat::RGB565;
    case ::android::PIXEL_FORMAT_RGBA_5551:
        return TextureFormat::RGBA5551;
    case ::android::PIXEL_FORMAT_RGBA_4444:
        return TextureFormat::RGBA4444;
    default:
        return -1;
    }
}

int EGLImageImpl::TextureFormat2PixelFormat(int nTextureFormat) {
    switch (nTextureFormat) {
    case 0:
        return ::android::PIXEL_FORMAT_RGB_565;
    case 1:
        return ::android::PIXEL_FORMAT_RGBA_5551;
    case 2:
    case 3:
        return ::android::PIXEL_FORMAT_RGBA_4444;
    case 4:
        return ::android::PIXEL_FORMAT_RGB_888;
    case 5:
        return ::android::PIXEL_FORMAT_RGBX_8888;
    case 6:
    case 7:
        return ::android::PIXEL_FORMAT_RGBA_8888;
    default:
        return ::android::PIXEL_FORMAT_NONE;
    }
}

int EGLImageImpl::CreateTexture(int nTarget) {
    GLenum const target = static_cast<GLenum>(nTarget);
    GLuint nName = 0;
    glGenTextures(1, &nName);
    GlState::BindTexture(target, nName);
    GlState::SetTextureFilter(target, GL_LINEAR);
    return static_cast<int>(nName);
}

bool EGLImageImpl::Create(unsigned int nWidth, unsigned int nHeight, unsigned int nFormat) {
    SURFACE_ASSERT(GraphicsDeviceGL2::InRenderThread(), LineCreate, "GraphicsDeviceGL2::InRenderThread()");
    ScopedLock const lock(s_bufferMutex);
    Destroy();
    m_pGraphicBuffer = new (std::nothrow)::android::GraphicBuffer(
        nWidth, nHeight, TextureFormat2PixelFormat(static_cast<int>(nFormat)), BufferUsage);
    EGLint const attributes[] = {EGL_IMAGE_PRESERVED_KHR, EGL_TRUE, EGL_NONE, EGL_NONE};
    m_display = eglGetCurrentDisplay();
    m_nContext = GraphicsDeviceGL2::GetContextNumber();
    // Without memory for the buffer, EGL gets null and refuses.
    void* const pBuffer = m_pGraphicBuffer.get() ? m_pGraphicBuffer->getNativeBuffer() : nullptr;
    m_eglImage = GraphicsDeviceGL2::eglCreateImageKHR(m_display, EGL_NO_CONTEXT, EGL_NATIVE_BUFFER_ANDROID,
                                                      pBuffer, attributes);
    if (m_eglImage == EGL_NO_IMAGE_KHR) {
        Debug::TraceFormat(TraceLevel::Error, u"eglCreateImageKHR() failed, err=0x%4x.", eglGetError());
    } else if (BindToNewTexture()) {
        return true;
    }
    Destroy();
    return false;
}

bool EGLImageImpl::BindToNewTexture() {
    PFNGLEGLIMAGETARGETTEXTURE2DOESPROC const pfnTarget = FindTargetFunction();
    static_cast<void>(glGetError()); // drops the error of an earlier call
    m_nTexture = CreateTexture(GL_TEXTURE_2D);
    GlState::BindTexture(GL_TEXTURE_2D, static_cast<GLuint>(m_nTexture));
    GLenum error = GL_INVALID_OPERATION;
    if (pfnTarget) {
        pfnTarget(GL_TEXTURE_2D, m_eglImage);
        error = glGetError();
    }
    if (error != GL_NO_ERROR) {
        Debug::TraceFormat(TraceLevel::Error, u"glEGLImageTargetTexture2DOES failed 0x%08x", error);
        return false;
    }
    GlState::BindTexture(GL_TEXTURE_2D, 0);
    return true;
}

void EGLImageImpl::Destroy() {
    SURFACE_ASSERT(!m_fLocked, LineDestroy, "!IsLocked()");
    ScopedLock const lock(s_bufferMutex);
    if (!m_pGraphicBuffer.get() && !m_eglImage && m_nTexture == -1) {
        return;
    }
    auto const destroy = [pBuffer = m_pGraphicBuffer, eglImage = m_eglImage, nTexture = m_nTexture,
                          display = m_display] {
        // Waits until the thread that queued this has dropped its own pointers to the buffer.
        ScopedLock const guard(s_bufferMutex);
        Destroy_RenderThread(pBuffer, eglImage, nTexture, display);
    };
    m_pGraphicBuffer.clear();
    if (!DoInContext(m_nContext, destroy)) {
        TraceLeak();
    }
    m_eglImage = EGL_NO_IMAGE_KHR;
    m_nTexture = -1;
}

/** Deletes texture and image. The caller's pointer has to be the last one to the buffer, which goes last. */
void EGLImageImpl::Destroy_RenderThread(::android::sp<::android::GraphicBuffer> const& pGraphicBuffer,
                                        void* eglImage, int nTexture, void* display) {
    SURFACE_ASSERT(GraphicsDeviceGL2::InRenderThread(), LineDestroyThread,
                   "GraphicsDeviceGL2::InRenderThread()");
    if (nTexture != -1) {
        GLuint const nName = static_cast<GLuint>(nTexture);
        glDeleteTextures(1, &nName);
    }
    if (eglImage) {
        GraphicsDeviceGL2::eglDestroyImageKHR(display, eglImage);
    }
    SURFACE_ASSERT(pGraphicBuffer.get() == nullptr || pGraphicBuffer->getStrongCount() == 1,
                   LineDestroyReferences,
                   "graphicBuffer.get() == __null || graphicBuffer->getStrongCount() == 1");
}

void* EGLImageImpl::Lock() {
    SURFACE_ASSERT(!IsLocked(), LineLock, "!IsLocked()");
    ScopedLock const lock(s_bufferMutex);
    GGLSurface surface = {};
    // A buffer that refuses gives null and the surface counts as locked all the same: intended
    // (failed-lock-counts).
    static_cast<void>(m_pGraphicBuffer->lock(&surface, GRALLOC_USAGE_SW_WRITE_OFTEN));
    m_fLocked = true;
    return surface.data;
}

void EGLImageImpl::Unlock() {
    SURFACE_ASSERT(IsLocked(), LineUnlock, "IsLocked()");
    ScopedLock const lock(s_bufferMutex);
    m_pGraphicBuffer->unlock();
    m_fLocked = false;
}

int EGLImageImpl::GetStride() {
    std::size_t const nBytes = ::android::bytesPerPixel(m_pGraphicBuffer->getPixelFormat());
    return static_cast<int>(m_pGraphicBuffer->getStride() * nBytes);
}

int EGLImageImpl::GetPixelFormat() {
    return PixelFormat2TextureFormat(m_pGraphicBuffer->getPixelFormat());
}

jni::Object<jni::android::graphics::Bitmap> EGLImageImpl::CreateJavaBitmapFromTexture() {
    ScopedLock const lock(s_bufferMutex);
    return IsCreated() ? CreateJavaBitmap(*this, m_pGraphicBuffer->getPixelFormat())
                       : jni::Object<jni::android::graphics::Bitmap>();
}

} // namespace trevik::kelvo
