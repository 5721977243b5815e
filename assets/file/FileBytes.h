#pragma once

#include "file/Failure.h"
#include "image/Image.h"

#include <string>
#include <vector>

namespace trevik::kelvo::assets {

/**
 * Reads a whole regular file. Fails, leaving `out` alone, when it cannot be opened or read, is not a regular
 * file or has more than `maxBytes` bytes.
 */
bool ReadFile(std::string const& path, std::size_t maxBytes, std::vector<std::uint8_t>& out, Fault& fault);

/** True when something exists at the path, readable or not. */
bool FileExists(std::string const& path);

struct FileToWrite {
    std::string path;
    ByteSpan bytes;
};

/**
 * Writes files so that each is at all times either its old self or complete (see FileReplacement): only when
 * all have been written do they take their places. On failure nothing temporary stays; a file that cannot
 * take its place leaves those that come after it in the list as they were.
 */
bool WriteFiles(std::vector<FileToWrite> const& files, Fault& fault);

} // namespace trevik::kelvo::assets
