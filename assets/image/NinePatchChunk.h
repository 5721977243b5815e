#pragma once

#include "image/NinePatchImage.h"

namespace trevik::kelvo::assets {

/**
 * Reads the description that the tools of the platform write into a PNG file when they compile a nine-patch
 * image. Fails, with a message that begins with `name`, for one that is damaged or does not fit a picture of
 * this size; info may have changed then. Rows are counted from the top, and a direction without a band, or
 * with many, is no failure: what is common to both forms is the caller's.
 */
bool ReadNinePatchChunk(ByteSpan chunk, int nWidth, int nHeight, std::string const& name, NinePatchInfo& info,
                        Fault& fault);

} // namespace trevik::kelvo::assets
