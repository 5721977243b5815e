#include "font/GlyphPages.h"

#include <algorithm>
#include <numeric>

namespace trevik::kelvo::assets {

namespace {

using Order = std::vector<std::size_t>;

/** Indices of the glyphs with pixels, the highest ones first, among equals the widest ones. */
Order SortByHeight(std::vector<GlyphBitmap> const& glyphs) {
    Order order;
    for (std::size_t i = 0; i < glyphs.size(); ++i) {
        if (!glyphs[i].coverage.empty()) {
            order.push_back(i);
        }
    }
    std::stable_sort(order.begin(), order.end(), [&glyphs](std::size_t left, std::size_t right) {
        GlyphBitmap const& a = glyphs[left];
        GlyphBitmap const& b = glyphs[right];
        return a.height != b.height ? a.height > b.height : a.width > b.width;
    });
    return order;
}

/** Fills a page shelf by shelf, as long as the glyphs from `first` on fit; returns the first that does not.
 */
std::size_t FillPage(std::vector<GlyphBitmap> const& glyphs, Order const& order, std::size_t first, int side,
                     int page, std::vector<GlyphPlace>& places) {
    int x = 1;
    int y = 1;
    int shelfHeight = first < order.size() ? glyphs[order[first]].height : 0;
    for (std::size_t i = first; i < order.size(); ++i) {
        GlyphBitmap const& glyph = glyphs[order[i]];
        if (x + glyph.width + 1 > side) {
            x = 1;
            y += shelfHeight + 1;
            shelfHeight = glyph.height;
        }
        if (x + glyph.width + 1 > side || y + glyph.height + 1 > side) {
            return i;
        }
        places[order[i]] = {page, x, y};
        x += glyph.width + 1;
    }
    return order.size();
}

} // namespace

std::size_t PagePlan::GetBytes() const {
    return std::accumulate(sides.begin(), sides.end(), std::size_t(0), [](std::size_t bytes, int side) {
        return bytes + std::size_t(side) * std::size_t(side);
    });
}

int LargestPage(int maximumPageSize) {
    int side = 1;
    while (side <= maximumPageSize / 2) {
        side *= 2;
    }
    return side;
}

bool FitsPage(GlyphBitmap const& glyph, int side) {
    return glyph.width <= side - 2 && glyph.height <= side - 2;
}

PagePlan PlanPages(std::vector<GlyphBitmap> const& glyphs, int largestPage) {
    PagePlan plan;
    plan.places.resize(glyphs.size());
    Order const order = SortByHeight(glyphs);
    std::size_t first = 0;
    while (first < order.size()) {
        int const page = static_cast<int>(plan.sides.size());
        int side = 4;
        std::size_t next = FillPage(glyphs, order, first, side, page, plan.places);
        while (next < order.size() && side < largestPage) {
            side *= 2;
            next = FillPage(glyphs, order, first, side, page, plan.places);
        }
        plan.sides.push_back(side);
        first = next;
    }
    return plan;
}

ImageData DrawPage(PagePlan const& plan, int page, std::vector<GlyphBitmap> const& glyphs) {
    int const side = plan.sides[std::size_t(page)];
    ImageData image;
    image.format = TextureFormat::Alpha8;
    image.width = image.height = image.allocatedWidth = image.allocatedHeight = side;
    image.pixels.resize(std::size_t(side) * std::size_t(side));
    image.levels.push_back({side, side, 0, side * side});
    for (std::size_t i = 0; i < glyphs.size(); ++i) {
        GlyphPlace const& place = plan.places[i];
        if (place.page != page) {
            continue;
        }
        std::size_t const width = std::size_t(glyphs[i].width);
        for (int row = 0; row < glyphs[i].height; ++row) {
            std::copy_n(glyphs[i].coverage.data() + std::size_t(row) * width, width,
                        image.pixels.data() + std::size_t(place.y + row) * std::size_t(side) +
                            std::size_t(place.x));
        }
    }
    return image;
}

} // namespace trevik::kelvo::assets
