#pragma once

#include <cutils/compiler.h>

#include <cstddef>
#include <cstdint>

namespace android {

/** How the pixels of a graphic buffer are kept: one of the following, by the order of bytes in memory. */
using PixelFormat = std::int32_t;

enum : PixelFormat {
    PIXEL_FORMAT_UNKNOWN = 0,
    PIXEL_FORMAT_NONE = 0,
    PIXEL_FORMAT_RGBA_8888 = 1,
    PIXEL_FORMAT_RGBX_8888 = 2,
    PIXEL_FORMAT_RGB_888 = 3,
    PIXEL_FORMAT_RGB_565 = 4, ///< this and the next two: 16-bit words of the machine's byte order
    PIXEL_FORMAT_BGRA_8888 = 5,
    PIXEL_FORMAT_RGBA_5551 = 6,
    PIXEL_FORMAT_RGBA_4444 = 7,
    PIXEL_FORMAT_A_8 = 8
};

/** Bytes of one pixel; 0 for what is no format. */
ANDROID_API std::size_t bytesPerPixel(PixelFormat format);

} // namespace android
