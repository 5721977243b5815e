#pragma once

#include "font/GlyphOutline.h"
#include "trevik/kelvo/PolygonalFont.h"

#include <string>

namespace trevik::kelvo::assets {

/** Vertices of a mesh that 16-bit indices can count. */
constexpr std::size_t MaximumMeshVertices = 65535;

/**
 * Cuts what lies inside an outline into triangles that do not overlap, anticlockwise ones; lines may cross
 * and touch. Each vertex is there once. Where many lines coincide or nearly do, they may come out moved a
 * little. An outline without an area gives an empty mesh. False, with what is wrong with the glyph in `what`,
 * when that would take too many vertices or too long.
 */
bool CutIntoTriangles(GlyphOutline const& outline, GlyphMesh& mesh, std::string& what);

} // namespace trevik::kelvo::assets
