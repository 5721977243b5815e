#pragma once

#include "kelvo_host/Fault.h"

#include <string>
#include <vector>

namespace kelvokit::player {

/** How often a frame's pixels were written. */
struct Overdraw {
    double rMean = 0; ///< times, over all pixels
    unsigned int nMost = 0;
    int nMostX = 0; ///< the first pixel that was written so often, from the upper left
    int nMostY = 0;
};

/** `times`: how often each pixel was written, the top row first; not empty. */
Overdraw GetOverdraw(std::vector<unsigned int> const& times, int nWidth);

/**
 * Writes a picture of how often pixels were written, by colours that mean the same in every picture, with a
 * legend below it; at least as wide as the legend. False with one line in `fault` when it cannot be written.
 */
bool SaveHeatMap(std::string const& path, std::vector<unsigned int> const& times, int nWidth,
                 trevik::kelvo::Fault& fault);

} // namespace kelvokit::player
