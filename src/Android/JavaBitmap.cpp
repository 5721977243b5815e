#include "Android/JavaBitmap.h"

#include "trevik/jni/VM.h"

#include <GraphicsJNI.h>
#include <ui/PixelFormat.h>

#include <new>

namespace trevik::kelvo {

namespace {

constexpr int PixelFormatA8 = 8; // has no name in most of Android's headers

} // namespace

EGLImageSkPixelRef::EGLImageSkPixelRef(EGLImageHelper* pSurface)
    : SkPixelRef(nullptr), m_pSurface(pSurface) {}

EGLImageSkPixelRef::~EGLImageSkPixelRef() = default;

SkFlattenable::Factory EGLImageSkPixelRef::getFactory() {
    return nullptr;
}

void* EGLImageSkPixelRef::onLockPixels(SkColorTable** ppColorTable) {
    *ppColorTable = nullptr;
    return m_pSurface && m_pSurface->IsCreated() ? m_pSurface->Lock() : nullptr;
}

void EGLImageSkPixelRef::onUnlockPixels() {
    if (m_pSurface && m_pSurface->IsCreated()) {
        m_pSurface->Unlock();
    }
}

EGLImageSkPixelsAllocator::EGLImageSkPixelsAllocator(EGLImageHelper* pSurface) : m_pSurface(pSurface) {}

EGLImageSkPixelsAllocator::~EGLImageSkPixelsAllocator() = default;

bool EGLImageSkPixelsAllocator::allocPixelRef(SkBitmap* pBitmap, SkColorTable*) {
    if (!pBitmap) {
        return false;
    }
    SkPixelRef* const pPixelRef = new (std::nothrow) EGLImageSkPixelRef(m_pSurface.Get());
    if (!pPixelRef) {
        return false;
    }
    bool const fCreated = m_pSurface && m_pSurface->IsCreated();
    if (fCreated) {
        pBitmap->setPixelRef(pPixelRef, 0);
    }
    pPixelRef->unref(); // the bitmap keeps a reference of its own
    return fCreated;
}

SkBitmap::Config GetBitmapConfig(int nPixelFormat) {
    switch (nPixelFormat) {
    case ::android::PIXEL_FORMAT_RGBA_8888:
        return SkBitmap::kARGB_8888_Config;
    case ::android::PIXEL_FORMAT_RGB_565:
        return SkBitmap::kRGB_565_Config;
    case ::android::PIXEL_FORMAT_RGBA_4444:
        return SkBitmap::kARGB_4444_Config;
    case PixelFormatA8:
        return SkBitmap::kA8_Config;
    default:
        return SkBitmap::kNo_Config; // RGBX among them: intended (java-bitmap-formats)
    }
}

jni::Object<jni::android::graphics::Bitmap> CreateJavaBitmap(EGLImageHelper& surface, int nPixelFormat) {
    SkBitmap* const pBitmap = new (std::nothrow) SkBitmap;
    if (!pBitmap) {
        return jni::Object<jni::android::graphics::Bitmap>();
    }
    pBitmap->setConfig(GetBitmapConfig(nPixelFormat), surface.GetWidth(), surface.GetHeight(),
                       surface.GetStride());
    EGLImageSkPixelsAllocator allocator(&surface);
    if (!allocator.allocPixelRef(pBitmap, nullptr)) {
        delete pBitmap;
        return jni::Object<jni::android::graphics::Bitmap>();
    }
    // The Java object owns the bitmap from here on. Its local reference goes with the caller's native frame:
    // intended (java-local-reference).
    return jni::Object<jni::android::graphics::Bitmap>(
        GraphicsJNI::createBitmap(jni::VM::GetEnv(), pBitmap, true, nullptr, -1));
}

} // namespace trevik::kelvo
