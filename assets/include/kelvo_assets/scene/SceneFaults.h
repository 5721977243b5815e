#pragma once

#include "kelvo_host/Fault.h"

#include <cstddef>
#include <string>
#include <vector>

namespace trevik::kelvo::assets {

/** The text with question marks for what would not stay on one line, as names from a file may have. */
std::string ToOneLine(std::string text);

/** What is wrong with a scene file, as far as it has been found, in the order in which it was. */
class SceneFaults {
public:
    static constexpr std::size_t Most = 20; ///< that are kept

    /** Is thrown where reading ends because of all that is wrong. */
    struct TooMany {};

    /** Throws TooMany instead of taking more than so many. A fault becomes one line, whatever names are in
     * it. */
    void Add(Fault const& fault);

    /** Those that were kept. */
    std::vector<Fault> const& Get() const { return m_faults; }
    /** Whether there may be more than these. */
    bool HasMore() const { return m_fMore; }

private:
    std::vector<Fault> m_faults;
    bool m_fMore = false;
};

} // namespace trevik::kelvo::assets
