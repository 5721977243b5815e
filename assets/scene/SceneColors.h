#pragma once

#include "scene/JsonCursor.h"
#include "trevik/Color.h"
#include "trevik/Types.h"

#include <string>
#include <vector>

namespace trevik::kelvo::assets {

/**
 * A colour: red, green, blue and, if asked for, alpha (1 unless given), as numbers from 0 to 1, as
 * "#rrggbb[aa]" or "#rgb[a]", or by a name of CSS. Throws a Fault.
 */
ColorT<RealFloat> ReadColor(JsonCursor const& place, bool fAlpha);

/** The names of CSS that colours have; with "transparent" where alpha counts. Capitals are as good. */
std::vector<std::string> GetColorNames(bool fAlpha);

/** What ReadColor reads, for messages and the format's description. */
std::string DescribeColor(bool fAlpha);

} // namespace trevik::kelvo::assets
