// Any bytes as a PKM file: alone, with smaller levels made of its blocks, and cut in half as colours and
// alpha.

#include "ImageChecks.h"
#include "image/Pkm.h"

namespace fuzz = kelvokit::fuzz;

namespace {

using namespace trevik::kelvo::assets;

void Load(ByteSpan colour, ByteSpan alpha, bool fMipLevels) {
    ImageOptions options = fuzz::SmallOptions();
    options.mipLevels = fMipLevels;
    fuzz::LoadAllOrNothing([&](auto&... out) { return LoadPkm(colour, alpha, "fuzz.pkm", options, out...); });
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size) {
    Load({data, size}, {}, false);
    // Encoding is slow; what is of interest are the sizes.
    if (size <= 16 + 8 * 16) {
        Load({data, size}, {}, true);
    }
    std::size_t const half = size / 2;
    Load({data, half}, {data + half, size - half}, false);
    return 0;
}
