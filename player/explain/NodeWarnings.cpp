#include "explain/NodeWarnings.h"

namespace kelvokit::player {

using trevik::kelvo::assets::SceneNotes;
using trevik::kelvo::assets::SceneOrigin;
using trevik::kelvo::assets::SceneWarning;

namespace {

/** Whether a way leads to what `above` leads to, or to something within it. */
bool IsWithin(std::string const& way, std::string const& above) {
    return way.compare(0, above.size(), above) == 0 &&
           (way.size() == above.size() || way[above.size()] == '/');
}

/** The innermost node on a way. */
std::size_t FindNode(NodeCosts const& costs, SceneNotes const& notes, std::string const& way) {
    std::size_t nFound = 0;
    std::size_t nLongest = 0;
    for (std::size_t nNode = 1; nNode < costs.GetNodes().size(); ++nNode) {
        SceneOrigin const* const pOrigin = notes.Find(*costs.GetNodes()[nNode].pNode);
        if (pOrigin && pOrigin->way.size() > nLongest && IsWithin(way, pOrigin->way)) {
            nFound = nNode;
            nLongest = pOrigin->way.size();
        }
    }
    return nFound;
}

} // namespace

std::vector<std::vector<SceneWarning const*>> FindWarnings(NodeCosts const& costs, SceneNotes const& notes) {
    std::vector<std::vector<SceneWarning const*>> warnings(costs.GetNodes().size());
    for (SceneWarning const& warning : notes.GetWarnings().Get()) {
        warnings[FindNode(costs, notes, warning.sWay)].push_back(&warning);
    }
    return warnings;
}

} // namespace kelvokit::player
