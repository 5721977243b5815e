#pragma once

#include "explain/HeatMap.h"
#include "explain/NodeCosts.h"
#include "explain/NodeTimes.h"
#include "scene/SceneNotes.h"

#include <string>
#include <vector>

namespace kelvokit::player {

/** All that is told of a frame. */
struct Explanation {
    std::string scene;
    std::string renderer;
    int nFrame = 0;
    int nWidth = 0;
    int nHeight = 0;
    unsigned int nUnmeasuredDraws = 0; ///< of which the pixels are not known
    Overdraw overdraw;                 ///< of the surface
    FrameTimes times;
    NodeCosts costs;
};

/** The places of the nodes that cost most themselves, at most ten, the dearest first; none that cost nothing.
 */
std::vector<std::size_t> FindDearestByTime(NodeCosts const& costs);
std::vector<std::size_t> FindDearestByPixels(NodeCosts const& costs);

/** What `--explain` prints: lines of up to 120 columns. */
std::string ToText(Explanation const& explanation, trevik::kelvo::assets::SceneNotes const& notes);
/** What `--explain=json` prints: one object. */
std::string ToJson(Explanation const& explanation, trevik::kelvo::assets::SceneNotes const& notes);

} // namespace kelvokit::player
