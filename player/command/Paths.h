#pragma once

#include <string>

namespace kelvokit::player {

/** Whether a path has this ending (".png"), in small or capital letters. */
bool HasEnding(std::string const& path, std::string const& ending);

/** The part of a path behind its last dot, in small letters; empty when its name has no dot. */
std::string GetEnding(std::string const& path);

} // namespace kelvokit::player
