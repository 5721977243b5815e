#pragma once

#include "trevik/Export.h"

#include <atomic>

namespace trevik {

/**
 * Is told when each profiled scope was run through, for tools that show them one by one. Scopes are told
 * while ScopeCounter profiles; to have an observer costs nothing else.
 */
class TREVIK_API ScopeObserver {
public:
    virtual ~ScopeObserver();

    /**
     * Called at the end of a scope, on its thread.
     * @param id below ScopeCounter::MaximumIds.
     * @param start, end nanoseconds of the monotonic clock (std::chrono::steady_clock).
     */
    virtual void EndScope(unsigned int id, unsigned long long start, unsigned long long end) = 0;

    /**
     * Makes `pObserver`, or with null none, the observer from now on. Returns the one before, which has to
     * live until the scopes that other threads are at have ended.
     */
    static ScopeObserver* Set(ScopeObserver* pObserver);
    /** The observer now; null where there is none. */
    static ScopeObserver* Get() { return s_pObserver.load(std::memory_order_acquire); }

private:
    static std::atomic<ScopeObserver*> s_pObserver;
};

} // namespace trevik
