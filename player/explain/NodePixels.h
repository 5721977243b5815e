#pragma once

#include "explain/NodeCosts.h"

#include <kelvo_counting/Coverage.h>

#include <map>
#include <vector>

namespace kelvokit::player {

/** Takes the pixels that nodes write, while a frame is drawn in parts. */
class NodePixels : public counting::CoverageListener {
public:
    NodePixels(NodeCosts& costs, int nWidth, int nHeight);

    /** Whose the pixels are that come next. */
    void SetNode(std::size_t nNode) { m_nNode = nNode; }
    void TakePixels(counting::WrittenPixels const& pixels) override;
    /** Counts, for each node and subtree, the different pixels that have come. */
    void CountCovered();

    /** How often each pixel of the surface was written, the top row first. */
    std::vector<unsigned int> const& GetTimes() const { return m_times; }

private:
    /** Pixels beside each other in a row of a target, counted from its upper left corner. */
    struct Span {
        std::size_t nBegin;
        std::size_t nEnd;
    };
    unsigned long long CountIn(std::size_t nBegin, std::size_t nEnd) const;

    NodeCosts& m_costs;
    std::size_t m_nNode = 0;
    std::vector<std::map<unsigned int, std::vector<Span>>> m_spans; ///< by node and framebuffer
    std::vector<unsigned int> m_times;
};

} // namespace kelvokit::player
