#include "Allocations.h"

#include <cstddef>

namespace {

thread_local unsigned long t_nAllocations = 0;
thread_local bool t_fUncounted = false;

void Count() {
    if (!t_fUncounted) {
        ++t_nAllocations;
    }
}

} // namespace

// Every allocation of the process passes here, those of libraries, too.
extern "C" {
// NOLINTBEGIN(bugprone-reserved-identifier): the C library names them
void* __libc_malloc(std::size_t);
void* __libc_calloc(std::size_t, std::size_t);
void* __libc_realloc(void*, std::size_t);
// NOLINTEND(bugprone-reserved-identifier)

void* malloc(std::size_t nBytes) {
    Count();
    return __libc_malloc(nBytes);
}

void* calloc(std::size_t nCount, std::size_t nBytes) {
    Count();
    return __libc_calloc(nCount, nBytes);
}

void* realloc(void* pMemory, std::size_t nBytes) {
    Count();
    return __libc_realloc(pMemory, nBytes);
}
}

namespace kelvokit::bench {

unsigned long GetAllocationCount() {
    return t_nAllocations;
}

UncountedAllocations::UncountedAllocations() {
    t_fUncounted = true;
}

UncountedAllocations::~UncountedAllocations() {
    t_fUncounted = false;
}

} // namespace kelvokit::bench
