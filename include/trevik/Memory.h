#pragma once

#include "trevik/Export.h"

#include <cstddef>

namespace trevik {

/**
 * The storage of lists, strings and callables.
 * @return memory aligned for any ordinary type, to be given back with FreeMemory; null when there is none.
 */
TREVIK_API void* AllocateMemory(std::size_t bytes) noexcept;

/** Gives back what AllocateMemory returned; null is ignored. */
TREVIK_API void FreeMemory(void* memory) noexcept;

} // namespace trevik
