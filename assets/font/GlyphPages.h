#pragma once

#include "image/Image.h"

#include <cstddef>
#include <cstdint>
#include <vector>

namespace trevik::kelvo::assets {

/** How much of each pixel a glyph covers: 0 to 255, rows top first without gaps. */
struct GlyphBitmap {
    int width = 0;
    int height = 0;
    std::vector<std::uint8_t> coverage;
};

/** Where on which page a glyph's top left pixel lies; on page -1 when it has no pixels. */
struct GlyphPlace {
    int page = -1;
    int x = 0;
    int y = 0;
};

/** Square pages of different sides, and a place on them for each glyph. */
struct PagePlan {
    std::vector<int> sides;
    std::vector<GlyphPlace> places;

    std::size_t GetBytes() const;
};

/** The side of the largest page that may be made, a power of two, not larger than `maximumPageSize`. */
int LargestPage(int maximumPageSize);

/** Whether a page of this side has room for a glyph with an empty pixel on all its sides. */
bool FitsPage(GlyphBitmap const& glyph, int side);

/**
 * Places glyphs, of which each fits the largest page: in shelves by height, all on one page when that is
 * possible, else as many on each of the largest pages as come in turn, and the rest on one as small as can
 * be.
 */
PagePlan PlanPages(std::vector<GlyphBitmap> const& glyphs, int largestPage);

/** One of the plan's pages with its glyphs on it. */
ImageData DrawPage(PagePlan const& plan, int page, std::vector<GlyphBitmap> const& glyphs);

} // namespace trevik::kelvo::assets
