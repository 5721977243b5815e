#include "command/Paths.h"

#include <algorithm>
#include <cctype>
#include <filesystem>
#include <system_error>

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

bool IsSameFile(std::string const& one, std::string const& other) {
    namespace fs = std::filesystem;
    if (one.empty() || other.empty() || one == "-" || other == "-") {
        return false;
    }
    std::error_code error;
    fs::file_status const status = fs::status(one, error);
    if (fs::exists(status)) {
        return (fs::is_regular_file(status) || fs::is_directory(status)) && fs::equivalent(one, other, error);
    }
    // Neither may be there yet. A path that cannot be resolved leads to no file.
    auto const resolve = [&error](std::string const& path) {
        fs::path const absolute = fs::absolute(path, error);
        return error ? fs::path() : fs::weakly_canonical(absolute, error);
    };
    fs::path const resolved = resolve(one);
    return !resolved.empty() && resolved == resolve(other);
}

} // namespace kelvokit::player
