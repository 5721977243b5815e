#pragma once

#include "image/Image.h"

namespace trevik::kelvo::assets {

/**
 * Reads a JPEG picture in memory, colours or grey, baseline or progressive; opaque. Samples are taken as
 * stored (no colour management), and a note on how the camera was turned is ignored. `name` stands for the
 * path in messages. Fails, leaving `image` alone, with one line that says what is wrong: what is no JPEG,
 * four inks, any damage, a size beyond the limits (before memory for pixels is asked for), and options that
 * contradict each other.
 */
bool LoadJpeg(ByteSpan bytes, std::string const& name, ImageOptions const& options, ImageData& image,
              Fault& fault);

} // namespace trevik::kelvo::assets
