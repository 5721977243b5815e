#pragma once

#include <string>
#include <vector>

namespace trevik::kelvo::assets {

/**
 * Letters to add, drop, replace or swap with their neighbour to make one text of the other; case counts half.
 */
double EditDistance(std::string const& a, std::string const& b);

/**
 * The end of a message about an unknown name: "; did you mean "Position"?" when one of the known names is
 * near, else a list of them all, or nothing when they are too many to list.
 */
std::string DescribeKnownNames(std::string const& unknown, std::vector<std::string> const& known);

} // namespace trevik::kelvo::assets
