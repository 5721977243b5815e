#pragma once

#include "image/NinePatchImage.h"
#include "image/PixelPacking.h"

namespace trevik::kelvo::assets {

/**
 * Reads what the border of a nine-patch source says and takes the border off the picture. Fails, with a
 * message that begins with `name`, for a border that is none, or says nothing clear; picture and info may
 * have changed then. Rows are counted from the top, and a direction without a band, or with many, is no
 * failure: what is common to both forms is the caller's.
 */
bool TakeNinePatchBorder(RgbaPicture& picture, std::string const& name, NinePatchInfo& info, Fault& fault);

} // namespace trevik::kelvo::assets
