#include "SkBitmap.h"

#include <climits>

namespace {

/** Bytes from row to row when nothing lies between the rows; 0 when they are too many, and for no pixels. */
int TightRowBytes(SkBitmap::Config config, int width) {
    if (config == SkBitmap::kA1_Config) {
        return width / 8 + (width % 8 != 0);
    }
    int const nBytes = SkBitmap::ComputeBytesPerPixel(config);
    return nBytes != 0 && width <= INT_MAX / nBytes ? width * nBytes : 0;
}

} // namespace

SkBitmap::~SkBitmap() {
    setPixelRef(nullptr);
}

int SkBitmap::ComputeBytesPerPixel(Config config) {
    switch (config) {
    case kA8_Config:
    case kIndex8_Config:
        return 1;
    case kRGB_565_Config:
    case kARGB_4444_Config:
        return 2;
    case kARGB_8888_Config:
        return 4;
    default:
        return 0;
    }
}

int SkBitmap::bytesPerPixel() const {
    return ComputeBytesPerPixel(fConfig);
}

void SkBitmap::setConfig(Config config, int width, int height, int rowBytes) {
    setPixelRef(nullptr);
    int const nTight = width < 0 || height < 0 ? 0 : TightRowBytes(config, width);
    bool const fSize = width >= 0 && height >= 0 && rowBytes >= 0;
    bool const fRows = config == kNo_Config || width == 0 || nTight != 0;
    if (!fSize || !fRows || (rowBytes != 0 && rowBytes < nTight)) {
        setConfig(kNo_Config, 0, 0);
        return;
    }
    fConfig = config;
    fWidth = width;
    fHeight = height;
    fRowBytes = rowBytes != 0 ? rowBytes : nTight;
}

SkPixelRef* SkBitmap::setPixelRef(SkPixelRef* pixelRef, std::size_t offset) {
    if (pixelRef) {
        pixelRef->ref();
    }
    if (fPixelRef) {
        fPixelRef->unref();
    }
    fPixelRef = pixelRef;
    fPixelRefOffset = pixelRef ? offset : 0;
    return pixelRef;
}

void SkBitmap::lockPixels() const {
    if (fPixelRef) {
        fPixelRef->lockPixels();
    }
}

void SkBitmap::unlockPixels() const {
    if (fPixelRef) {
        fPixelRef->unlockPixels();
    }
}

void* SkBitmap::getPixels() const {
    void* const pPixels = fPixelRef ? fPixelRef->pixels() : nullptr;
    return pPixels ? static_cast<char*>(pPixels) + fPixelRefOffset : nullptr;
}
