#pragma once

#include "image/PixelPacking.h"

namespace trevik::kelvo::assets {

/**
 * The next smaller level: half the width and height, rounded down, at least 1. Each result pixel is the mean
 * over its exact share of the larger level, whole and part pixels alike, so odd sizes neither shift nor lose
 * an edge. Colours are weighted by alpha; where all alpha is 0 they are averaged plainly.
 */
RgbaPicture HalvePicture(RgbaPicture const& picture);

/**
 * False, with a message that begins with `name`, for `ETC1_RGBA`. OpenGL ES 2.0 draws a texture whose levels
 * do not reach down to 1 x 1 black, and in this format a texture's alpha plane begins width * height / 2
 * bytes into a level: inside the colour block for levels smaller than a block. Its levels would have to stop
 * at 4 x 4.
 */
bool CanHaveMipLevels(TextureFormat::Enum format, std::string const& name, Fault& fault);

/** Appends the picture to the image in the image's format, and all smaller levels after it when asked. */
bool AppendLevels(RgbaPicture picture, bool fMipLevels, std::string const& name, ImageData& image,
                  Fault& fault);

/**
 * Gives a loaded image all levels down to 1 x 1, computed from level 0, which stays as it is, byte for byte;
 * levels that were there are replaced. Level n is the allocated size divided by 2 n times, rounded down, as
 * GL wants it. ETC1 levels smaller than a block take one block. Fails, leaving the image alone, for
 * `ETC1_RGBA` images (see `CanHaveMipLevels`) and when memory runs out. `name` begins the message.
 */
bool GenerateMipLevels(ImageData& image, std::string const& name, Fault& fault);

} // namespace trevik::kelvo::assets
