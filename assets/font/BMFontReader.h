#pragma once

#include "image/Image.h"
#include "trevik/ClassRegistry.h"
#include "trevik/Ref.h"
#include "trevik/kelvo/BitmapFont.h"

#include <functional>
#include <string>

namespace trevik::kelvo::assets {

/**
 * Gives the picture of one page, as the description names its file. Fails, leaving `image` alone, with a line
 * in `fault`.
 */
using BMFontPageReader =
    std::function<bool(std::string const& file, ImageOptions const& options, ImageData& image, Fault& fault)>;

/**
 * Reads a font as the AngelCode bitmap font generator writes it: a description as text, as XML or in binary
 * form (version 3), told apart by its first bytes, and its pages, PNG files whose names start at the
 * description's folder. A page gives glyphs their shape by its alpha, or by its brightness when it has none
 * or the description says that it is the same everywhere. The font is a new object of the class registered as
 * "Font", its textures of "Texture"; it is not initialised yet. Makes no GL calls.
 *
 * One font pixel is one texel; the ascent is the description's base line, the descent what is left of its
 * line height. The description's glyph for missing characters becomes U+FFFD unless the font has that one.
 * The underline is off, and would lie a fourth of the descent below the base line.
 *
 * Null, with one line in `fault` that names the file, the place (line, or byte in binary form) and what is
 * wrong there: a description that is damaged, contradicts itself or the pages, or goes beyond the limits
 * (16 MiB, 65536 glyphs, 256 pages, 1048576 kerning pairs, 256 MiB of page pixels), and fonts that keep
 * different glyphs in the channels of a page.
 */
Ref<BitmapFont> ReadBMFont(std::string const& path, ClassRegistry const& registry, Fault& fault);

/** The same from memory. `name` stands for the path in messages. */
Ref<BitmapFont> ReadBMFont(ByteSpan description, std::string const& name, BMFontPageReader const& readPage,
                           ClassRegistry const& registry, Fault& fault);

} // namespace trevik::kelvo::assets
