#pragma once

#include <cstddef>

/** Calls of operator new in any of its forms since the process began, by every thread and every library. */
std::size_t AllocationCount();
