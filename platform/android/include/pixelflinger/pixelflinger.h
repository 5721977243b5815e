#pragma once

#include <cstdint>

/** Pixels in memory. */
struct GGLSurface {
    std::int32_t version; ///< sizeof(GGLSurface)
    std::uint32_t width;  ///< pixels
    std::uint32_t height; ///< pixels
    std::int32_t stride;  ///< from row to row, in pixels
    std::uint8_t* data;
    std::uint8_t format; ///< an android::PixelFormat
    std::uint8_t reserved[3];
};
