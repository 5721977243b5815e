#include "command/Paths.h"

#include <algorithm>
#include <cctype>

namespace kelvokit::player {

namespace {

char ToSmall(char unit) {
    return static_cast<char>(std::tolower(static_cast<unsigned char>(unit)));
}

} // namespace

bool HasEnding(std::string const& path, std::string const& ending) {
    return path.size() >= ending.size() &&
           std::equal(ending.rbegin(), ending.rend(), path.rbegin(),
                      [](char expected, char unit) { return expected == ToSmall(unit); });
}

std::string GetEnding(std::string const& path) {
    std::size_t const nDot = path.find_last_of("./");
    std::string ending = nDot == std::string::npos || path[nDot] == '/' ? "" : path.substr(nDot + 1);
    std::transform(ending.begin(), ending.end(), ending.begin(), ToSmall);
    return ending;
}

} // namespace kelvokit::player
