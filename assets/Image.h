#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace trevik::kelvo::assets {

/**
 * Pixel formats that the readers produce. Each value is that of the texture format the back end uploads it as, so a
 * cast to `TextureFormat::Enum` is all that a texture needs.
 */
enum class PixelFormat : int {
    Rgb565 = 0,    /**< 16-bit words, red in the upper five bits */
    Rgba5551 = 1,  /**< 16-bit words, red in the upper five bits, alpha in the lowest */
    Rgba4444 = 2,  /**< 16-bit words, red in the upper four bits, alpha in the lower four */
    Rgb888 = 4,    /**< bytes R, G, B */
    Rgbx8888 = 5,  /**< bytes R, G, B, 255 */
    Rgba8888 = 6,  /**< bytes R, G, B, A; colours not multiplied by alpha */
    Etc1 = 13,     /**< ETC1 blocks of 4 x 4 pixels, 8 bytes each */
    Etc1Alpha = 14, /**< ETC1 blocks of the colours, directly followed by as many ETC1 blocks of the alpha as grey */
    Alpha8 = 15    /**< one byte of alpha */
};

/** One mip level inside `ImageData::pixels`, with the meaning that a texture's `MipLevel` gives to its fields. */
struct ImageLevel {
    int width = 0;  /**< pixels */
    int height = 0; /**< pixels */
    int offset = 0; /**< bytes from the start of the pixels */
    int size = 0;   /**< bytes; for `Etc1Alpha` of one of the two planes, the alpha plane begins `size` after `offset` */
};

/**
 * An image in memory, ready for a texture. Rows run from the top of the picture to its bottom (the row that a sprite
 * shows at its upper edge comes first), unless a reader was asked to flip them.
 *
 * Rows of the uncompressed formats begin at multiples of four bytes (see `RowBytes`): the alignment GL expects unless
 * told otherwise, and the back end does not tell it otherwise.
 */
struct ImageData {
    PixelFormat format = PixelFormat::Rgba8888;
    int width = 0;           /**< used size: the part that holds the picture, from the first pixel of the first row */
    int height = 0;          /**< used size */
    int allocatedWidth = 0;  /**< size of level 0; the pixels beyond the used part repeat its last column and row */
    int allocatedHeight = 0; /**< size of level 0 */
    std::vector<std::uint8_t> pixels;
    std::vector<ImageLevel> levels; /**< largest first, never empty after a load */
};

/** Bytes that live elsewhere. */
struct ByteSpan {
    const std::uint8_t* data = nullptr;
    std::size_t size = 0;
};

/** What a reader refuses, decided from an image's header before memory for its pixels is asked for. */
struct ImageLimits {
    int maxWidth = 8192;  /**< pixels */
    int maxHeight = 8192; /**< pixels */
    std::size_t maxBytes = std::size_t(256) << 20;     /**< of the decoded picture at four bytes a pixel */
    std::size_t maxFileBytes = std::size_t(256) << 20; /**< of the file itself */
};

/** What a reader makes of a file. The initial values give the file's own pixels, top row first, one level. */
struct ImageOptions {
    ImageLimits limits;

    /**
     * Format of the result; by default `Rgba8888` for a file with alpha and `Rgb888` for one without. A format without
     * alpha drops the file's alpha; `Alpha8` takes it, or the brightness of a file that has none.
     */
    std::optional<PixelFormat> format;

    /** Encode as `Etc1Alpha` where the file has alpha and as `Etc1` where not; only while `format` is not set. */
    bool encodeEtc1 = false;

    /** Last row first in memory. */
    bool flipRows = false;

    /** Add all smaller levels (see `GenerateMipLevels`). */
    bool mipLevels = false;

    /**
     * Round the allocated size up to powers of two. OpenGL ES 2.0 without `GL_OES_texture_npot` draws textures of
     * other sizes black when they have mip levels.
     */
    bool padToPowerOfTwo = false;
};

bool IsEtc1(PixelFormat format);

/** True when pixels of the format carry alpha. */
bool HasAlpha(PixelFormat format);

/** Bytes from one row to the next of an uncompressed format: the pixels' bytes rounded up to a multiple of four. */
std::size_t RowBytes(PixelFormat format, int width);

/** Bytes of one plane of `width` x `height` pixels (`Etc1Alpha` has two planes, all others one). */
std::size_t PlaneBytes(PixelFormat format, int width, int height);

/** Bytes of all planes of `width` x `height` pixels. */
std::size_t LevelBytes(PixelFormat format, int width, int height);

/** False, with a message that begins with `name`, unless the size is positive and within the limits. */
bool CheckSize(const std::string& name, long long width, long long height, const ImageLimits& limits,
               std::string& error);

/** Sets `error` and returns false: how every function of this room reports a failure. */
bool Fail(std::string& error, std::string message);

} // namespace trevik::kelvo::assets
