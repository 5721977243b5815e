#pragma once

#include "font/FontFace.h"

#include <vector>

namespace trevik::kelvo::assets {

/** Two characters of a face that stand side by side, and how much further the pen moves between them. */
struct FontPair {
    FontCharacter first;
    FontCharacter second;
    int nUnits; ///< of the em; not 0
};

/**
 * Finds the pairs of a first with a second character that a face's tables kern. As in a text of these two
 * alone, the script of the first one that has any decides: where the "GPOS" table kerns this script, it says
 * the distance, else the "kern" table. Of "GPOS" only the feature "kern" counts, in the script's default
 * language. `nInstance` counts a variable font's named instances from 1, 0 is the font itself. Adds to
 * `pairs`, in no particular order. False, with some pairs missing, without memory.
 */
bool FindKerning(FT_Face pFace, int nInstance, std::vector<FontCharacter> const& firsts,
                 std::vector<FontCharacter> const& seconds, std::vector<FontPair>& pairs);

} // namespace trevik::kelvo::assets
