#pragma once

#include "kelvo_assets/file/Failure.h"
#include "trevik/kelvo/MipLevel.h"
#include "trevik/kelvo/Texture.h"
#include "trevik/kelvo/TextureFormat.h"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace trevik::kelvo::assets {

/**
 * An image in memory, ready for a texture. Rows run from the top of the picture to its bottom (the row that a
 * sprite shows at its upper edge comes first), unless a reader was asked to flip them.
 *
 * Formats are those that `IsSupported` answers true for. Colours are not multiplied by alpha. 16-bit pixels
 * are words of the machine's byte order. Rows of the uncompressed formats follow each other without gaps (see
 * `RowBytes`), as the back end tells GL.
 *
 * A level of `ETC1_RGBA` has the blocks of the colours at its offset, directly followed by as many blocks of
 * the alpha as a grey picture; its size is, as for every texture, that of one of the two planes.
 */
struct ImageData {
    TextureFormat::Enum format = TextureFormat::RGBA8888; ///< of the pixels
    /** The used size: the part that holds the picture, from the first pixel of the first row. */
    int width = 0;
    int height = 0; ///< of the used part
    /** The size of level 0; pixels beyond the used part repeat its last column and row. */
    int allocatedWidth = 0;
    int allocatedHeight = 0;          ///< of level 0
    std::vector<std::uint8_t> pixels; ///< of all levels
    /** Largest first; never empty after a load. */
    std::vector<MipLevel> levels;
};

/** Bytes that live elsewhere. */
struct ByteSpan {
    std::uint8_t const* data = nullptr; ///< the first of them, borrowed
    std::size_t size = 0;               ///< how many there are
};

/** What a reader refuses, decided from an image's header before memory for its pixels is asked for. */
struct ImageLimits {
    int maxWidth = Texture::MaximumSide;               /**< pixels; never more, whatever is set here */
    int maxHeight = Texture::MaximumSide;              /**< the same */
    std::size_t maxBytes = std::size_t(256) << 20;     /**< of the decoded picture at four bytes a pixel */
    std::size_t maxFileBytes = std::size_t(256) << 20; /**< of the file itself */
};

/** What a reader makes of a file. The initial values give the file's own pixels, top row first, one level. */
struct ImageOptions {
    ImageLimits limits; ///< beyond which a file is refused

    /**
     * Format of the result; by default `RGBA8888` for a file with alpha and `RGB888` for one without. A
     * format without alpha drops the file's alpha; `Alpha8` takes it, or the brightness of a file that has
     * none.
     */
    std::optional<TextureFormat::Enum> format;

    /**
     * Encode as `ETC1_RGBA` where the file has alpha and as `ETC1_RGB` where not; only while `format` is not
     * set.
     */
    bool encodeEtc1 = false;

    /** Last row first in memory. */
    bool flipRows = false;

    /** Add all smaller levels (see `GenerateMipLevels`). */
    bool mipLevels = false;

    /**
     * Round the allocated size up to powers of two. OpenGL ES 2.0 without `GL_OES_texture_npot` draws
     * textures of other sizes black when they have mip levels.
     */
    bool padToPowerOfTwo = false;
};

/** True for the formats that the readers produce: 0, 1, 2, 4, 5, 6, 13, 14 and 15. */
bool IsSupported(TextureFormat::Enum format);

/** True for the two compressed formats. */
bool IsEtc1(TextureFormat::Enum format);

/** True when pixels of the format carry alpha. */
bool HasAlpha(TextureFormat::Enum format);

/** Bytes from one row to the next of an uncompressed format. */
std::size_t RowBytes(TextureFormat::Enum format, int width);

/** Bytes of one plane of `width` x `height` pixels (`ETC1_RGBA` has two planes, all others one). */
std::size_t PlaneBytes(TextureFormat::Enum format, int width, int height);

/** Bytes of all planes of `width` x `height` pixels. */
std::size_t LevelBytes(TextureFormat::Enum format, int width, int height);

/** False, with a message that begins with `name`, unless the size is positive and within the limits. */
bool CheckSize(std::string const& name, long long width, long long height, ImageLimits const& limits,
               Fault& fault);

} // namespace trevik::kelvo::assets
