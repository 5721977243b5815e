#pragma once

#include <zlib.h>

#include <cstddef>
#include <cstdint>
#include <vector>

namespace kelvokit::test {

/** Where the chunks behind the header's begin. */
constexpr std::ptrdiff_t PngHeaderEnd = 33;

inline void AppendBig32(std::vector<std::uint8_t>& bytes, std::size_t number) {
    for (int shift = 24; shift >= 0; shift -= 8) {
        bytes.push_back(static_cast<std::uint8_t>(number >> shift));
    }
}

/** A PNG file with one more chunk, whose checksum is right. */
inline std::vector<std::uint8_t> WithPngChunk(std::vector<std::uint8_t> file, std::ptrdiff_t nAt,
                                              char const* pName, std::vector<std::uint8_t> const& content) {
    std::vector<std::uint8_t> chunk;
    AppendBig32(chunk, content.size());
    chunk.insert(chunk.end(), pName, pName + 4);
    chunk.insert(chunk.end(), content.begin(), content.end());
    AppendBig32(chunk, crc32(0, chunk.data() + 4, static_cast<unsigned>(chunk.size() - 4)));
    file.insert(file.begin() + nAt, chunk.begin(), chunk.end());
    return file;
}

} // namespace kelvokit::test
