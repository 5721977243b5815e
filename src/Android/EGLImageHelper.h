#pragma once

#include "Export.h"
#include "trevik/Ref.h"
#include "trevik/Referenced.h"

namespace trevik::jni {
template <class T>
class Object;
namespace android::graphics {
class Bitmap;
}
} // namespace trevik::jni

namespace trevik::kelvo {

/** A surface that the CPU writes and GL samples without an upload. */
class KELVO_EXPORT EGLImageHelper : public Referenced {
public:
    /** Allocates the surface: pixels, a TextureFormat::Enum. Render thread. */
    virtual bool Create(unsigned int nWidth, unsigned int nHeight, unsigned int nFormat) = 0;
    virtual bool IsCreated() = 0;
    virtual bool IsLocked() = 0;
    /** The address of the pixels, rows GetStride() bytes apart; null on failure. Any thread. */
    virtual void* Lock() = 0;
    virtual void Unlock() = 0;
    virtual void Destroy() = 0;
    /** The GL texture that samples the surface; -1 when there is none. */
    virtual int GetTexture() = 0;
    virtual void* GetEGLImage() = 0;
    virtual int GetWidth() = 0;  ///< pixels
    virtual int GetHeight() = 0; ///< pixels
    virtual int GetStride() = 0; ///< bytes per row
    /** A TextureFormat::Enum, -1 when the surface's format has none. */
    virtual int GetPixelFormat() = 0;
    /** A Java bitmap over the surface; an empty object on failure. */
    virtual jni::Object<jni::android::graphics::Bitmap> CreateJavaBitmapFromTexture() = 0;
};

/** A new, empty surface; null without memory. */
Ref<EGLImageHelper> CreateEGLImageHelper();

} // namespace trevik::kelvo
