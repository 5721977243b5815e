#pragma once

#include "explain/NodeCosts.h"

namespace kelvokit::player {

/**
 * Says how much memory the textures have that nodes draw with, and the fonts, with the textures of their
 * glyphs. What several nodes share counts for each of them, and once in the sum of those above.
 */
void MeasureMemory(NodeCosts& costs);

} // namespace kelvokit::player
