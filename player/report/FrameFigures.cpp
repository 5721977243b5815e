#include "report/FrameFigures.h"

#include <algorithm>
#include <numeric>

namespace kelvokit::player {

using trevik::ScopeCounter;
using trevik::ScopeFrameTimes;
using trevik::ScopeTotals;

DrawnCounts DrawnCounts::operator-(DrawnCounts const& earlier) const {
    DrawnCounts difference;
    for (DrawnCount const& count : AllDrawnCounts) {
        difference.*count.pCount = this->*count.pCount - earlier.*count.pCount;
    }
    return difference;
}

/** What scopes have cost since the last time. */
FrameFigures::Totals FrameFigures::Take() {
    Totals totals;
    for (unsigned int nID = 0; nID < ScopeCounter::MaximumIds; ++nID) {
        totals[nID] = ScopeCounter::GetTotals(nID);
    }
    ScopeCounter::ResetFigures();
    return totals;
}

void FrameFigures::Begin() {
    ScopeCounter::ResetFigures();
}

void FrameFigures::EndFrame(DrawnCounts const& counts) {
    ScopeCounter::MarkFrame();
    if (m_counts.empty()) {
        m_first = Take();
    }
    m_counts.push_back(counts);
}

FrameFigures::Spread FrameFigures::GetSpread(unsigned long long DrawnCounts::* pCount) const {
    std::vector<unsigned long long> values(m_counts.size());
    std::transform(m_counts.begin(), m_counts.end(), values.begin(), std::mem_fn(pCount));
    if (values.empty()) {
        return {};
    }
    Spread spread;
    spread.nFirst = values.front();
    spread.nTotal = std::accumulate(values.begin(), values.end(), 0ull);
    spread.nLargest = *std::max_element(values.begin(), values.end());
    auto const others = values.begin() + (values.size() > 1 ? 1 : 0);
    auto const middle = others + (values.end() - others - 1) / 2;
    std::nth_element(others, middle, values.end());
    spread.nMedian = *middle;
    return spread;
}

ScopeTotals FrameFigures::GetTotals(unsigned int nID) const {
    ScopeTotals totals = ScopeCounter::GetTotals(nID);
    totals.nCalls += m_first[nID].nCalls;
    totals.nNanoseconds += m_first[nID].nNanoseconds;
    return totals;
}

ScopeFrameTimes FrameFigures::GetOthers(unsigned int nID) const {
    unsigned long long const nFirst = GetFirst(nID);
    return GetFrames() > 1 ? ScopeCounter::GetFrameTimes(nID)
                           : ScopeFrameTimes{1, nFirst, nFirst, nFirst, nFirst};
}

} // namespace kelvokit::player
