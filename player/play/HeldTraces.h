#pragma once

#include "trevik/Debug.h"

#include <string>
#include <vector>

namespace kelvokit::player {

/** Holds traces back while it lives: a back end describes every surface configuration that it looks at. */
class HeldTraces {
public:
    HeldTraces();
    /** Traces go where they went before. */
    ~HeldTraces();
    HeldTraces(HeldTraces const&) = delete;
    HeldTraces& operator=(HeldTraces const&) = delete;

    /** Hands the traces on, except, unless `fAll`, the descriptions of configurations. */
    void Release(bool fAll);

private:
    struct Line {
        trevik::TraceLevel::Enum level;
        trevik::String16 text;
    };
    static void Hold(void* pUser, trevik::TraceLevel::Enum level, trevik::String16 const& text);

    trevik::TraceSink m_before;
    std::vector<Line> m_lines;
};

} // namespace kelvokit::player
