#pragma once

#include "trevik/Export.h"

#include <atomic>

namespace trevik {

/** What a profiled scope has cost so far. */
struct ScopeTotals {
    unsigned long long nCalls;       ///< how often the scope was entered
    unsigned long long nNanoseconds; ///< from entry to exit, with all that is called
};

/** How a scope's time per frame is spread over the latest frames. */
struct ScopeFrameTimes {
    unsigned int nFrames; ///< frames that the figures come from
    /** Nanoseconds per frame. */
    unsigned long long nMedian, nPercentile95, nPercentile99, nMaximum;
};

/**
 * Counts the calls of a scope and the time spent there, under a fixed number. While profiling is off, which
 * it is at first, a counter costs one test. Any thread may count at any time.
 */
class TREVIK_API ScopeCounter {
public:
    /** What the back end counts, by number. */
    enum Id : unsigned int {
        SpriteRender = 4,
        TextRender = 5,
        GlyphBatch = 6,
        PolygonalGlyph = 7,
        TextureCreation = 8,
        DeviceInitialization = 9,
        Present = 10,
        ShaderInitialization = 11,
        TimelinePreChildren = 12,
        TimelinePostChildren = 13,
        JavaReferenceRelease = 23,
        JavaBitmapCall = 24,
        MaximumIds = 64,

        /** The frames themselves, from one MarkFrame to the next. */
        Frame = 63
    };

    enum : unsigned int { MaximumFrames = 1024 };

    /**
     * Counts from here to the end of the enclosing block.
     * @param id ids from MaximumIds on are ignored.
     * @param enabled false leaves this scope out.
     */
    ScopeCounter(unsigned int id, bool enabled)
        : m_nID(id), m_fCounting(enabled && IsProfiling()),
          m_nStart(__builtin_expect(m_fCounting, false) ? Enter() : 0) {}

    ~ScopeCounter() {
        if (__builtin_expect(m_fCounting, false)) {
            Leave(m_nID, m_nStart);
        }
    }

    ScopeCounter(ScopeCounter const&) = delete;
    ScopeCounter& operator=(ScopeCounter const&) = delete;

    /** Switches counting on or off; the counts stay. Scopes entered while it was off are not counted. */
    static void SetProfiling(bool profiling);
    /** Whether counting is on. */
    static bool IsProfiling() { return s_fProfiling.load(std::memory_order_relaxed); }

    /**
     * Sets all figures back to zero and forgets the frames. The thread that marks the frames does this, and
     * switches.
     */
    static void ResetFigures();

    /** Calls and time of one id since the start or the last reset. */
    static ScopeTotals GetTotals(unsigned int id);

    /**
     * Ends a frame: what each id has cost since the last mark becomes one entry of its record, which holds
     * the latest MaximumFrames frames. While profiling is off it does nothing. One thread marks the frames.
     */
    static void MarkFrame();

    /**
     * The latest frames' figures of one id; all zero when no frame has been marked. Not while another thread
     * marks one.
     */
    static ScopeFrameTimes GetFrameTimes(unsigned int id);

    /** The name of an id, or null when it has none. */
    static char const* GetName(unsigned int id);

private:
    static unsigned long long Enter();
    static void Leave(unsigned int id, unsigned long long start);

    static std::atomic<bool> s_fProfiling;

    unsigned int const m_nID;
    bool const m_fCounting;
    unsigned long long const m_nStart;
};

} // namespace trevik
