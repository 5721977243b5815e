#pragma once

#include "trevik/Export.h"

namespace trevik {

/**
 * Watches AllocateMemory, and makes it fail on demand, so that behaviour without memory can be tested. Any
 * thread.
 */
class TREVIK_API Allocation {
public:
    /** Lets this many further allocations succeed; all that follow fail until FailNever. */
    static void FailAfter(unsigned int count);

    /** Ends the failing; at first nothing fails. */
    static void FailNever();

    /** The allocations that have succeeded since the process began. */
    static unsigned long long GetCount();

    /** The allocations that have not been freed yet. */
    static long long GetLiveCount();
};

} // namespace trevik
