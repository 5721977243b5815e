#pragma once

#include <string>

namespace kelvokit::player {

/** Whether a path has this ending (".png"), in small or capital letters. */
bool HasEnding(std::string const& path, std::string const& ending);

/** The part of a path behind its last dot, in small letters; empty when its name has no dot. */
std::string GetEnding(std::string const& path);

/** Whether two paths lead to the same file or folder, be it there or not; "-" and devices are no files. */
bool IsSameFile(std::string const& one, std::string const& other);

} // namespace kelvokit::player
