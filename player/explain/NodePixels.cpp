#include "explain/NodePixels.h"

#include <algorithm>

namespace kelvokit::player {

NodePixels::NodePixels(NodeCosts& costs, int nWidth, int nHeight)
    : m_costs(costs), m_spans(costs.GetNodes().size()),
      m_times(static_cast<std::size_t>(nWidth) * static_cast<std::size_t>(nHeight)) {}

void NodePixels::TakePixels(counting::WrittenPixels const& pixels) {
    Cost& cost = m_costs.GetNodes()[m_nNode].itself;
    std::vector<Span>& spans = m_spans[m_nNode][pixels.nFramebuffer];
    std::size_t const nWidth = static_cast<std::size_t>(pixels.nWidth);
    std::size_t const nColumns = static_cast<std::size_t>(pixels.nColumns);
    bool const fSurface = pixels.nFramebuffer == 0;
    for (int nRow = 0; nRow < pixels.nRows; ++nRow) {
        std::uint8_t const* const pTimes = pixels.pTimes + static_cast<std::size_t>(nRow) * nColumns;
        int const nFromTop = pixels.nHeight - 1 - pixels.nBottom - nRow;
        std::size_t const nFirst =
            static_cast<std::size_t>(nFromTop) * nWidth + static_cast<std::size_t>(pixels.nLeft);
        for (std::size_t n = 0; n < nColumns; ++n) {
            if (pTimes[n] == 0) {
                continue;
            }
            cost.nWritten += pTimes[n];
            if (fSurface) {
                m_times[nFirst + n] += pTimes[n];
            } else {
                cost.nOffScreen += pTimes[n];
            }
            if (n > 0 && pTimes[n - 1] != 0) {
                ++spans.back().nEnd;
            } else {
                spans.push_back({nFirst + n, nFirst + n + 1});
            }
        }
    }
}

/** The different pixels of the nodes from one place to another, in each target. */
unsigned long long NodePixels::CountIn(std::size_t nBegin, std::size_t nEnd) const {
    std::map<unsigned int, std::vector<Span>> written; // by target
    for (std::size_t nNode = nBegin; nNode < nEnd; ++nNode) {
        for (auto const& [nFramebuffer, spans] : m_spans[nNode]) {
            written[nFramebuffer].insert(written[nFramebuffer].end(), spans.begin(), spans.end());
        }
    }
    unsigned long long nPixels = 0;
    for (auto& target : written) {
        std::sort(target.second.begin(), target.second.end(),
                  [](Span const& one, Span const& other) { return one.nBegin < other.nBegin; });
        std::size_t nCounted = 0; // all pixels up to here
        for (Span const& span : target.second) {
            nPixels += span.nEnd > nCounted ? span.nEnd - std::max(span.nBegin, nCounted) : 0;
            nCounted = std::max(nCounted, span.nEnd);
        }
    }
    return nPixels;
}

void NodePixels::CountCovered() {
    std::vector<NodeCost>& nodes = m_costs.GetNodes();
    for (std::size_t nNode = 0; nNode < nodes.size(); ++nNode) {
        NodeCost& node = nodes[nNode];
        node.itself.nCovered = CountIn(nNode, nNode + 1);
        node.sum.nCovered = node.nEnd == nNode + 1 ? node.itself.nCovered : CountIn(nNode, node.nEnd);
    }
}

} // namespace kelvokit::player
