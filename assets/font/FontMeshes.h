#pragma once

#include "font/FontFace.h"

namespace trevik::kelvo::assets {

/** Cuts the outlines of a face's glyphs into triangles, and gives them to a font. */
bool MakeGlyphMeshes(FontFace& face, PolygonalFont& font, Fault& fault);

} // namespace trevik::kelvo::assets
