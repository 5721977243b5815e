#pragma once

namespace trevik::kelvo {

/**
 * Pixel formats of textures. Names give memory order for byte formats, bit order from the top for 16-bit
 * words.
 */
struct TextureFormat {
    enum Enum : int {
        RGB565 = 0,
        RGBA5551 = 1,
        RGBA4444 = 2,
        ARGB4444 = 3, ///< not uploadable
        RGB888 = 4,
        RGBX8888 = 5,
        RGBA8888 = 6,
        BGRA8888 = 7,
        ATC_RGB = 8,
        ATC_RGBA = 9, ///< explicit alpha
        Depth16 = 10,
        Depth24Stencil8 = 11,
        ETC1_Alpha = 12, ///< the alpha plane of ETC1_RGBA; an upload request, never a texture's own format
        ETC1_RGB = 13,
        ETC1_RGBA = 14, ///< per level an ETC1 colour image, directly followed by an ETC1 image of the alpha
        Alpha8 = 15,
        Single16 = 16
    };
};

} // namespace trevik::kelvo
