#pragma once

#include "image/Image.h"
#include "image/PixelPacking.h"

namespace trevik::kelvo::assets {

/**
 * Reads a PNG file: grey, grey with alpha, RGB, RGBA and palette, transparency chunk, every bit depth,
 * interlaced or not. Samples are taken as stored (no colour management), 16-bit ones rounded to 8 bits. An
 * animation gives its still picture; bytes after the end of the PNG data are ignored.
 *
 * Fails, leaving `image` alone, with one line that names the file, what is wrong and where: a file that
 * cannot be read or is no PNG, any damage (a wrong checksum, a missing end, a palette index without an
 * entry), a size beyond `options.limits` or one for which the file is too short, both before memory for
 * pixels is asked for, and options that contradict each other.
 */
bool LoadPng(std::string const& path, ImageOptions const& options, ImageData& image, Fault& fault);

/** The same from memory; `name` stands for the path in messages. */
bool LoadPng(ByteSpan bytes, std::string const& name, ImageOptions const& options, ImageData& image,
             Fault& fault);

/**
 * The first half of it: the picture as it is in the file, whatever the options say of the result. The picture
 * may have changed when it fails. Throws std::bad_alloc.
 */
bool DecodePng(ByteSpan bytes, std::string const& name, ImageLimits const& limits, RgbaPicture& picture,
               bool& fHasAlpha, Fault& fault);

/**
 * What the chunks of this name (four letters) hold in a file that DecodePng has read, in the file's order.
 */
std::vector<ByteSpan> FindPngChunks(ByteSpan bytes, char const* pChunk);

} // namespace trevik::kelvo::assets
