#pragma once

#include "image/Image.h"

namespace trevik::kelvo::assets {

/**
 * A picture of four bytes a pixel (R, G, B, A; straight alpha), rows without gaps: what every conversion goes
 * through.
 */
struct RgbaPicture {
    int width = 0;
    int height = 0;
    std::vector<std::uint8_t> bytes;

    std::uint8_t const* At(int x, int y) const {
        return bytes.data() + (std::size_t(y) * std::size_t(width) + std::size_t(x)) * 4;
    }
    std::uint8_t* At(int x, int y) {
        return bytes.data() + (std::size_t(y) * std::size_t(width) + std::size_t(x)) * 4;
    }
};

/** Writes the picture in `format` to `out`, `LevelBytes` of them. */
void PackPixels(RgbaPicture const& picture, TextureFormat::Enum format, std::uint8_t* out);

/**
 * The opposite: `LevelBytes` bytes of `format` at `in`. Missing channels come out as 255; `Alpha8` gives
 * white.
 */
RgbaPicture UnpackPixels(std::uint8_t const* in, TextureFormat::Enum format, int width, int height);

/**
 * The used part of one level of an image. The image must be whole (as the readers leave it), the level exist.
 */
RgbaPicture UnpackLevel(ImageData const& image, std::size_t level);

/**
 * Makes an image of a decoded picture as the options ask: format, row order, padding, levels. Fails, leaving
 * `image` alone, when the options contradict each other or the padded size exceeds the limits. `name` begins
 * the message.
 */
bool BuildImage(RgbaPicture picture, bool fHasAlpha, ImageOptions const& options, std::string const& name,
                ImageData& image, Fault& fault);

} // namespace trevik::kelvo::assets
