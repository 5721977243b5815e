#pragma once

namespace kelvokit::bench {

/**
 * How often the calling thread has called malloc, calloc or realloc, and with them operator new, in any
 * library.
 */
unsigned long GetAllocationCount();

/** While one lives, allocations of the calling thread do not count. They do not nest. */
class UncountedAllocations {
public:
    UncountedAllocations();
    ~UncountedAllocations();
    UncountedAllocations(UncountedAllocations const&) = delete;
    UncountedAllocations& operator=(UncountedAllocations const&) = delete;
};

} // namespace kelvokit::bench
