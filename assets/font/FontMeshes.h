#pragma once

#include "font/FontFace.h"

#include <memory>

namespace trevik::kelvo::assets {

/** Cuts the outlines of a face's glyphs into triangles, and gives them to a font. */
bool MakeGlyphMeshes(FontFace& face, PolygonalFont& font, Fault& fault);

/** Makes one of them for a font, to which nothing is added. `pMesh` stays null for a glyph without an area.
 */
bool MakeGlyphMesh(FontFace& face, FontCharacter const& character, PolygonalFont const& font, Glyph& glyph,
                   std::unique_ptr<GlyphMesh>& pMesh, Fault& fault);

} // namespace trevik::kelvo::assets
