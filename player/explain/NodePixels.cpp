#include "explain/NodePixels.h"

#include <algorithm>

namespace kelvokit::player {

NodePixels::NodePixels(NodeCosts& costs, int nWidth, int nHeight)
    : m_costs(costs), m_spans(costs.GetNodes().size()),
      m_times(static_cast<std::size_t>(nWidth) * static_cast<std::size_t>(nHeight)) {}

void NodePixels::TakePixels(counting::WrittenPixels const& pixels) {
    Cost& cost = m_costs.GetNodes()[m_nNode].itself;
    Spans& spans = m_spans[m_nNode][pixels.nFramebuffer];
    std::size_t const nWidth = static_cast<std::size_t>(pixels.nWidth);
    std::size_t const nColumns = static_cast<std::size_t>(pixels.nColumns);
    spans.nTargetPixels = nWidth * static_cast<std::size_t>(pixels.nHeight);
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
                ++spans.spans.back().nEnd;
            } else {
                spans.spans.push_back({nFirst + n, nFirst + n + 1});
            }
        }
    }
}

/** The different pixels of the nodes from one place to another, in each target. */
unsigned long long NodePixels::CountIn(std::size_t nBegin, std::size_t nEnd) const {
    std::map<unsigned int, std::vector<bool>> written;
    for (std::size_t nNode = nBegin; nNode < nEnd; ++nNode) {
        for (auto const& [nFramebuffer, spans] : m_spans[nNode]) {
            std::vector<bool>& pixels = written[nFramebuffer];
            pixels.resize(std::max(pixels.size(), spans.nTargetPixels));
            for (Span const& span : spans.spans) {
                std::fill(pixels.begin() + static_cast<std::ptrdiff_t>(span.nBegin),
                          pixels.begin() + static_cast<std::ptrdiff_t>(span.nEnd), true);
            }
        }
    }
    unsigned long long nPixels = 0;
    for (auto const& target : written) {
        nPixels +=
            static_cast<unsigned long long>(std::count(target.second.begin(), target.second.end(), true));
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
