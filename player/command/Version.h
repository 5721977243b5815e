#pragma once

#include <string>

namespace kelvokit::player {

/** What --version prints: the program's version, what it draws through, and the date of its sources' commit.
 */
std::string GetVersion();

} // namespace kelvokit::player
