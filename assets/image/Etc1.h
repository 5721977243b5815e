#pragma once

#include "image/PixelPacking.h"

namespace trevik::kelvo::assets {

enum class Etc1Plane {
    Colour, /**< red, green and blue */
    Alpha   /**< alpha, as a grey picture */
};

/**
 * Encodes one plane into `PlaneBytes` bytes; blocks that reach over the edge repeat the last column and row.
 */
void EncodeEtc1Plane(RgbaPicture const& picture, Etc1Plane plane, std::uint8_t* out);

/**
 * Decodes one plane into the picture, whose size says how much there is; the other channels stay as they are.
 */
void DecodeEtc1Plane(std::uint8_t const* in, Etc1Plane plane, RgbaPicture& picture);

/**
 * Encodes an image's used part: as `ETC1_RGBA` when its format carries alpha, as `ETC1_RGB` when not, with
 * the allocated size rounded up to multiples of four and, when asked, all smaller levels (`ETC1_RGB` only,
 * see `CanHaveMipLevels`). `out` may be `image` itself. Fails, leaving `out` alone, for an image without
 * levels, one that is encoded already, and when memory runs out. `name` begins the message.
 */
bool EncodeEtc1(ImageData const& image, bool fMipLevels, std::string const& name, ImageData& out,
                Fault& fault);

} // namespace trevik::kelvo::assets
