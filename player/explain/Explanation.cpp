#include "explain/Explanation.h"

#include <algorithm>

namespace kelvokit::player {

namespace {

/** The places of the ten nodes with the highest values above 0; equal ones in drawing order. */
template <class Value>
std::vector<std::size_t> FindDearest(NodeCosts const& costs, Value const& value) {
    constexpr std::size_t Most = 10;
    std::vector<std::size_t> places;
    for (std::size_t nNode = 0; nNode < costs.GetNodes().size(); ++nNode) {
        if (value(costs.GetNodes()[nNode].itself) > 0) {
            places.push_back(nNode);
        }
    }
    std::stable_sort(places.begin(), places.end(), [&](std::size_t nOne, std::size_t nOther) {
        return value(costs.GetNodes()[nOne].itself) > value(costs.GetNodes()[nOther].itself);
    });
    places.resize(std::min(places.size(), Most));
    return places;
}

} // namespace

std::vector<std::size_t> FindDearestByTime(NodeCosts const& costs) {
    return FindDearest(costs, [](Cost const& cost) { return cost.rUpdate + cost.rRender; });
}

std::vector<std::size_t> FindDearestByPixels(NodeCosts const& costs) {
    return FindDearest(costs, [](Cost const& cost) { return cost.nWritten; });
}

} // namespace kelvokit::player
