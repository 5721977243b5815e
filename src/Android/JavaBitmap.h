#pragma once

#include "Android/EGLImageHelper.h"
#include "JObject.h"
#include "trevik/Ref.h"

#include <SkBitmap.h>
#include <SkPixelRef.h>

namespace trevik::kelvo {

/**
 * The pixels of a bitmap over a surface. Locking the bitmap locks the surface, which must not be locked
 * already.
 */
class EGLImageSkPixelRef : public SkPixelRef {
public:
    explicit EGLImageSkPixelRef(EGLImageHelper* pSurface);
    ~EGLImageSkPixelRef() override;

    /** Null: the pixels cannot be saved and loaded. */
    Factory getFactory() override;

protected:
    void* onLockPixels(SkColorTable** ppColorTable) override;
    void onUnlockPixels() override;

private:
    Ref<EGLImageHelper> m_pSurface;
};

/** Gives bitmaps the pixels of a surface. */
class EGLImageSkPixelsAllocator : public SkBitmap::Allocator {
public:
    explicit EGLImageSkPixelsAllocator(EGLImageHelper* pSurface);
    ~EGLImageSkPixelsAllocator() override;

    /** False without a bitmap or a created surface. The colour table is ignored. */
    bool allocPixelRef(SkBitmap* pBitmap, SkColorTable* pColorTable) override;

private:
    Ref<EGLImageHelper> m_pSurface;
};

/** The configuration of bitmaps over a surface of an Android pixel format; kNo_Config for most. */
SkBitmap::Config GetBitmapConfig(int nPixelFormat);

/**
 * A Java bitmap over a surface of this Android pixel format; an empty object when it cannot be made. On a
 * thread attached to the Java virtual machine.
 */
jni::Object<jni::android::graphics::Bitmap> CreateJavaBitmap(EGLImageHelper& surface, int nPixelFormat);

} // namespace trevik::kelvo
