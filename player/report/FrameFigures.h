#pragma once

#include "trevik/ScopeCounter.h"

#include <array>
#include <functional>
#include <vector>

namespace kelvokit::player {

/** What drawing has asked GL for. */
struct DrawnCounts {
    unsigned long long nCalls = 0;
    unsigned long long nDraws = 0;
    unsigned long long nTriangles = 0;
    unsigned long long nProgramChanges = 0;
    unsigned long long nTextureChanges = 0;
    unsigned long long nBlendChanges = 0;

    /** What has been added since `earlier`. */
    DrawnCounts operator-(DrawnCounts const& earlier) const;
};

/** What is told of a count: its name, also in one word, and where it is. */
struct DrawnCount {
    char const* pName;
    char const* pKey;
    unsigned long long DrawnCounts::* pCount;
};

constexpr DrawnCount AllDrawnCounts[] = {
    {"GL calls", "calls", &DrawnCounts::nCalls},
    {"draws", "draws", &DrawnCounts::nDraws},
    {"triangles", "triangles", &DrawnCounts::nTriangles},
    {"changes of program", "programChanges", &DrawnCounts::nProgramChanges},
    {"changes of texture", "textureChanges", &DrawnCounts::nTextureChanges},
    {"changes of blending", "blendChanges", &DrawnCounts::nBlendChanges},
};

/** What has been asked for since the program began; empty in programs that do not count. */
using CountDrawn = std::function<DrawnCounts()>;

/** The figures of frames, with the first one, which makes what the others find, apart. */
class FrameFigures {
public:
    /** A count's figures over the frames. */
    struct Spread {
        unsigned long long nFirst = 0;               ///< in the first frame
        unsigned long long nMedian = 0;              ///< of the others; of the first one where there are none
        unsigned long long nLargest = 0, nTotal = 0; ///< of all frames
    };

    /** Before the first frame; what scopes have cost until then belongs to no frame. */
    void Begin();
    /** After each frame. */
    void EndFrame(DrawnCounts const& counts);

    unsigned int GetFrames() const { return static_cast<unsigned int>(m_counts.size()); }
    Spread GetSpread(unsigned long long DrawnCounts::* pCount) const;

    /** What a scope has cost in all frames. */
    trevik::ScopeTotals GetTotals(unsigned int nID) const;
    /** Nanoseconds that a scope has taken in the first frame. */
    unsigned long long GetFirst(unsigned int nID) const { return m_first[nID].nNanoseconds; }
    /** Its times in the other frames; in the first one where there are none. */
    trevik::ScopeFrameTimes GetOthers(unsigned int nID) const;

private:
    using Totals = std::array<trevik::ScopeTotals, trevik::ScopeCounter::MaximumIds>;

    static Totals Take();

    Totals m_first = {};
    std::vector<DrawnCounts> m_counts; ///< of each frame
};

} // namespace kelvokit::player
