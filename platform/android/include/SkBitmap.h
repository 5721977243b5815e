#pragma once

#include "SkPixelRef.h"

#include <cutils/compiler.h>

#include <cstddef>

/** A picture: its size, the kind of its pixels, and where they are. */
class ANDROID_API SkBitmap {
public:
    enum Config {
        kNo_Config,        ///< has no pixels that could be drawn
        kA1_Config,        ///< 1 bit, opacity
        kA8_Config,        ///< 8 bits, opacity
        kIndex8_Config,    ///< 8 bits, through a colour table
        kRGB_565_Config,   ///< 16 bits, red in the highest
        kARGB_4444_Config, ///< 16 bits; on this platform red in the highest, alpha in the lowest
        kARGB_8888_Config  ///< 32 bits; on this platform red, green, blue, alpha in the order of bytes
    };

    /** Gives bitmaps pixels. */
    class ANDROID_API Allocator : public SkRefCnt {
    public:
        /** Installs pixels for what the bitmap has been configured as; false when that cannot be done. */
        virtual bool allocPixelRef(SkBitmap* bitmap, SkColorTable* table) = 0;
    };

    SkBitmap() = default;
    ~SkBitmap();
    SkBitmap(SkBitmap const&) = delete;
    SkBitmap& operator=(SkBitmap const&) = delete;

    /**
     * Forgets the pixels; `rowBytes` from row to row, 0: as many as a row has. What cannot be, such as a row
     * longer than that, makes it an empty bitmap of kNo_Config.
     */
    void setConfig(Config config, int width, int height, int rowBytes = 0);
    Config config() const { return fConfig; }
    int width() const { return fWidth; }
    int height() const { return fHeight; }
    int rowBytes() const { return fRowBytes; }
    /** Bytes of one pixel; 0 for those with fewer bits, and for none. */
    int bytesPerPixel() const;
    static int ComputeBytesPerPixel(Config config);

    /** Takes pixels over, with a reference, `offset` bytes from their beginning; returns them. */
    SkPixelRef* setPixelRef(SkPixelRef* pixelRef, std::size_t offset = 0);
    SkPixelRef* pixelRef() const { return fPixelRef; }

    /** Locks of pixels are counted, by the pixels. Any thread, while the bitmap itself does not change. */
    void lockPixels() const;
    void unlockPixels() const;
    /** The address of the first pixel while they are locked, else null. */
    void* getPixels() const;

private:
    Config fConfig = kNo_Config;
    int fWidth = 0;
    int fHeight = 0;
    int fRowBytes = 0;
    SkPixelRef* fPixelRef = nullptr;
    std::size_t fPixelRefOffset = 0;
};

/** Has a bitmap's pixels locked while it lives. */
class SkAutoLockPixels {
public:
    explicit SkAutoLockPixels(SkBitmap const& bitmap) : fBitmap(bitmap) { fBitmap.lockPixels(); }
    SkAutoLockPixels(SkAutoLockPixels const&) = delete;
    SkAutoLockPixels& operator=(SkAutoLockPixels const&) = delete;
    ~SkAutoLockPixels() { fBitmap.unlockPixels(); }

private:
    SkBitmap const& fBitmap;
};
