#pragma once

#include "SkBitmap.h"

#include <cstdint>

namespace kelvokit::desktop {

/** From pixels to colours, 0xAARRGGBB and not premultiplied, and back. */
struct PixelAccess {
    void (*read)(std::uint32_t* colors, void const* pixels, int nCount);
    void (*write)(void* pixels, std::uint32_t const* colors, int nCount);
};

/** For bitmaps of a configuration; null for those that cannot be read or written. */
PixelAccess const* GetPixelAccess(SkBitmap::Config config);

} // namespace kelvokit::desktop
