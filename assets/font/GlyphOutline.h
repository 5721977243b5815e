#pragma once

#include "trevik/Types.h"
#include "trevik/Vector.h"

#include <ft2build.h>

#include <cstddef>
#include <vector>
#include FT_FREETYPE_H

namespace trevik::kelvo::assets {

/** A glyph's outline as closed lines of straight pieces, in pixels, y up. */
struct GlyphOutline {
    std::vector<std::vector<Vector2T<RealFloat>>> contours;
    /** What an odd number of lines surrounds is inside, else what they wind around, in whatever direction. */
    bool fEvenOdd = false;
};

/**
 * Draws the curves of a loaded outline as lines that are nowhere further than `tolerance` pixels away from
 * them. False when they would have more than `maximumPoints` points.
 */
bool FlattenOutline(FT_Outline const& source, RealFloat tolerance, std::size_t maximumPoints,
                    GlyphOutline& outline);

} // namespace trevik::kelvo::assets
