#pragma once

namespace trevik {
namespace kelvo {

/** Counting that any thread may do at any time. */
struct Atomic {
    /** Adds 1 and returns the new count. */
    static long Increment(long volatile* count) { return __atomic_add_fetch(count, 1, __ATOMIC_ACQ_REL); }

    /**
     * Takes 1 off and returns the new count. What other threads did before their decrement is visible
     * afterwards.
     */
    static long Decrement(long volatile* count) { return __atomic_sub_fetch(count, 1, __ATOMIC_ACQ_REL); }

    /** The count at this moment. */
    static long Get(long const volatile* count) { return __atomic_load_n(count, __ATOMIC_ACQUIRE); }
};

} // namespace kelvo
} // namespace trevik
