#pragma once

#include <cstddef>

/**
 * Allocations since the process began, by every thread and every library: calls of malloc, calloc, realloc
 * and the aligned kinds, and with them of operator new.
 */
std::size_t AllocationCount();

/** The bytes that all of them together have asked for. */
std::size_t AllocatedBytes();
