#pragma once

#include "image/Image.h"

namespace trevik::kelvo::assets {

/**
 * PKM files: a header of 16 bytes ("PKM ", version "10", type 0, then as big-endian 16-bit numbers the
 * extended width and height, multiples of four, and the used ones) and the ETC1 blocks of one picture. The
 * blocks of a picture's alpha lie beside it: `name.alpha.pkm` belongs to `name.pkm`.
 */

/**
 * `a/name.alpha.pkm` for `a/name.pkm`; empty for a path that does not end in `.pkm` or is itself an alpha
 * file.
 */
std::string PkmAlphaPath(std::string const& path);

/**
 * Reads a PKM file, and its alpha file where there is one. The result is `ETC1_RGB`, or `ETC1_RGBA` when
 * there is an alpha file; the used size is the header's used size, the allocated one its extended size.
 * `options.mipLevels` decodes the picture and encodes the smaller levels.
 *
 * Fails, leaving `image` alone, with one line that names the file, what is wrong and at which byte: a header
 * that contradicts itself, the format's rules or `options.limits`, a file longer or shorter than its header
 * says, an alpha file that cannot be read or differs in one of the sizes, and options that would need other
 * blocks: another format, flipped rows, or padding to powers of two unless the file has such sizes.
 */
bool LoadPkm(std::string const& path, ImageOptions const& options, ImageData& image, Fault& fault);

/** The same from memory. `alpha` without data means none; `name` stands for the path in messages. */
bool LoadPkm(ByteSpan colour, ByteSpan alpha, std::string const& name, ImageOptions const& options,
             ImageData& image, Fault& fault);

/**
 * Writes an `ETC1_RGB` image, or an `ETC1_RGBA` image as a pair of files, completely or not at all (see
 * `WriteFiles`). Fails for other formats, for images with more than one level, which the files cannot hold,
 * for sizes that do not fit 16 bits, and for an `ETC1_RGB` image when there is a file that would be taken for
 * its alpha.
 */
bool SavePkm(std::string const& path, ImageData const& image, Fault& fault);

} // namespace trevik::kelvo::assets
