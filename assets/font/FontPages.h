#pragma once

#include "font/FontFace.h"

namespace trevik::kelvo::assets {

/** The file's name without its folders, which mean nothing where a texture's name is read. */
std::string BaseName(std::string const& path);

/** Rasterises the glyphs of a face onto pages, and gives them to a font. `name` becomes part of the pages'.
 */
bool MakeGlyphPictures(FontFace& face, std::string const& name, FontOptions const& options,
                       ClassRegistry const& registry, BitmapFont& font, Fault& fault);

} // namespace trevik::kelvo::assets
