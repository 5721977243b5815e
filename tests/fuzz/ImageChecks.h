#pragma once

#include "FuzzChecks.h"
#include "image/Image.h"

namespace kelvokit::fuzz {

using namespace trevik::kelvo::assets;

/** Sizes small enough that a search spends its time on the readers and not on filling memory. */
inline ImageOptions SmallOptions() {
    ImageOptions options;
    options.limits.maxWidth = 128;
    options.limits.maxHeight = 128;
    return options;
}

/**
 * What everything that takes an image relies on: sizes in order, every level inside the pixels, rows for all
 * of it.
 */
inline void RequireWhole(ImageData const& image) {
    Require(image.width >= 1 && image.width <= image.allocatedWidth);
    Require(image.height >= 1 && image.height <= image.allocatedHeight);
    Require(!image.levels.empty());
    Require(image.levels[0].m_nWidth == image.allocatedWidth &&
            image.levels[0].m_nHeight == image.allocatedHeight);
    for (trevik::kelvo::MipLevel const& level : image.levels) {
        Require(level.m_nOffset >= 0 && level.m_nWidth >= 1 && level.m_nHeight >= 1);
        Require(std::size_t(level.m_nSize) == PlaneBytes(image.format, level.m_nWidth, level.m_nHeight));
        Require(std::size_t(level.m_nOffset) + LevelBytes(image.format, level.m_nWidth, level.m_nHeight) <=
                image.pixels.size());
    }
}

/**
 * Loads an image, which is whole after a success; after a failure it is as it was, and there is one line that
 * says why.
 */
template <class Load>
bool LoadAllOrNothing(Load const& load) {
    ImageData image;
    trevik::kelvo::Fault fault;
    if (load(image, fault)) {
        RequireWhole(image);
        return true;
    }
    Require(image.pixels.empty() && image.levels.empty() && image.width == 0 && !fault.IsEmpty());
    RequireMessage(fault.GetText(), "");
    return false;
}

} // namespace kelvokit::fuzz
