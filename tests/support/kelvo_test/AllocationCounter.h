#pragma once

#include <cstddef>

/**
 * Allocations since the process began, by every thread and every library: calls of malloc, calloc, realloc
 * and the aligned kinds, and with them of operator new. Under a sanitizer, which has an allocator of its own,
 * calls of operator new alone.
 */
std::size_t AllocationCount();
