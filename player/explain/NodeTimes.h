#pragma once

#include "explain/NodeCosts.h"
#include "play/Stage.h"

#include <functional>

namespace kelvokit::player {

/** How long a frame takes, in milliseconds; medians. */
struct FrameTimes {
    unsigned int nDrawings = 0; ///< that were measured
    double rUpdate = 0;
    double rRender = 0;  ///< from one glFinish to another
    double rInParts = 0; ///< the same with a glFinish after each node's part
    double rFinish =
        0; ///< what a glFinish takes that has nothing to wait for, which the parts are given less
};

/**
 * Measures how long each node takes to be brought from the frame before to this one, and to be drawn. A
 * driver that defers work is made to do it before the time of a part is taken. Stops early when `isWanted`
 * says so.
 */
FrameTimes MeasureTimes(NodeCosts& costs, int nFrame, trevik::kelvo::Scene& scene, Stage& stage,
                        std::function<bool()> const& isWanted);

} // namespace kelvokit::player
