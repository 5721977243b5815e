#pragma once

#include "image/Image.h"

namespace trevik::kelvo::assets {

/**
 * Reads a WebP picture in memory, lossy or lossless, with or without alpha, which comes out straight. `name`
 * stands for the path in messages. Fails, leaving `image` alone, with one line that says what is wrong: what
 * is no WebP, an animation, any damage, a size beyond the limits (before memory for pixels is asked for), and
 * options that contradict each other.
 */
bool LoadWebp(ByteSpan bytes, std::string const& name, ImageOptions const& options, ImageData& image,
              Fault& fault);

} // namespace trevik::kelvo::assets
