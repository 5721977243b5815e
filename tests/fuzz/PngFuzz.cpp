// Any bytes as a PNG file: as they are, and with all checksums made right, without which little gets past the
// header.

#include "ImageChecks.h"
#include "image/PngReader.h"

#include <zlib.h>

#include <vector>

namespace fuzz = kelvokit::fuzz;

namespace {

using namespace trevik::kelvo::assets;

std::size_t BigEndian(std::uint8_t const* bytes) {
    return std::size_t(bytes[0]) << 24 | std::size_t(bytes[1]) << 16 | std::size_t(bytes[2]) << 8 | bytes[3];
}

void FixChecksums(std::vector<std::uint8_t>& file) {
    std::size_t at = 8;
    while (file.size() >= 12 && at <= file.size() - 12) {
        std::size_t const length = BigEndian(file.data() + at);
        if (length > file.size() - 12 - at) {
            return;
        }
        unsigned long const sum = crc32(0, file.data() + at + 4, static_cast<unsigned>(length + 4));
        for (std::size_t i = 0; i < 4; ++i) {
            file[at + 8 + length + i] = std::uint8_t(sum >> (24 - 8 * i));
        }
        at += 12 + length;
    }
}

void Load(ByteSpan bytes, ImageOptions const& options) {
    fuzz::LoadAllOrNothing([&](auto&... out) { return LoadPng(bytes, "fuzz.png", options, out...); });
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size) {
    Load({data, size}, fuzz::SmallOptions());
    std::vector<std::uint8_t> fixed(data, data + size);
    FixChecksums(fixed);
    ImageOptions options = fuzz::SmallOptions();
    Load({fixed.data(), fixed.size()}, options);
    options.format = trevik::kelvo::TextureFormat::RGBA4444;
    options.mipLevels = options.padToPowerOfTwo = options.flipRows = true;
    Load({fixed.data(), fixed.size()}, options);
    return 0;
}
