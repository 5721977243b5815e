// Any bytes as a nine-patch image in three ways: as a file, as the chunk of a compiled image, and as the
// border of a source, two bits a pixel in front and the picture's size behind. The latter two get files that
// are sound otherwise, since nothing else would get past their checksums.

#include "ImageChecks.h"
#include "image/NinePatchImage.h"
#include "image/PngWriter.h"
#include "kelvo_test/PngChunk.h"

#include <cstring>
#include <vector>

namespace fuzz = kelvokit::fuzz;

namespace {

using namespace trevik::kelvo::assets;
using fuzz::Require;

void CheckBands(std::vector<NinePatchInfo::Band> const& bands, int nExtent) {
    Require(!bands.empty() && bands.size() <= 10);
    int nEnd = 0;
    for (NinePatchInfo::Band const& band : bands) {
        Require(band.first >= nEnd && band.count >= 1 && band.count <= nExtent - band.first);
        nEnd = band.first + band.count;
    }
}

void Load(ByteSpan file) {
    NinePatchInfo info;
    bool const fLoaded = fuzz::LoadAllOrNothing([&](ImageData& image, trevik::kelvo::Fault& fault) {
        if (!LoadNinePatch(file, "fuzz.9.png", fuzz::SmallOptions(), image, info, fault)) {
            return false;
        }
        CheckBands(info.x, image.width);
        CheckBands(info.y, image.height);
        Require(info.left >= 0 && info.right >= 0 && info.left <= image.width - info.right);
        Require(info.top >= 0 && info.bottom >= 0 && info.top <= image.height - info.bottom);
        return true;
    });
    Require(fLoaded || (info.x.empty() && info.y.empty()));
}

std::vector<std::uint8_t> Encode(std::vector<std::uint8_t> const& rgba, int width, int height) {
    std::vector<std::uint8_t> file;
    trevik::kelvo::Fault fault;
    Require(EncodePng({rgba.data(), width, height, 4, 0}, "fuzz.9.png", file, fault));
    return file;
}

void LoadWithChunk(std::uint8_t const* data, std::size_t size) {
    static std::vector<std::uint8_t> const s_picture =
        Encode(std::vector<std::uint8_t>(16 * 12 * 4, 99), 16, 12);
    std::vector<std::uint8_t> const file =
        kelvokit::test::WithPngChunk(s_picture, kelvokit::test::PngHeaderEnd, "npTc", {data, data + size});
    Load({file.data(), file.size()});
}

void LoadWithBorder(std::uint8_t const* data, std::size_t size) {
    static constexpr std::uint8_t s_colours[4][4] = {
        {0, 0, 0, 0}, {0, 0, 0, 255}, {255, 0, 0, 255}, {255, 255, 255, 255}};
    if (size < 2) {
        return;
    }
    int const width = 1 + data[size - 1] % 40;
    int const height = 1 + data[size - 2] % 40;
    std::vector<std::uint8_t> pixels(std::size_t(width * height) * 4, 50);
    std::size_t nBit = 0;
    for (int y = 0; y < height; ++y) {
        bool const fBorderRow = y == 0 || y == height - 1;
        for (int x = 0; x < width; x += fBorderRow || width == 1 ? 1 : width - 1, nBit += 2) {
            unsigned const colour = nBit / 8 < size - 2 ? data[nBit / 8] >> (nBit % 8) & 3 : 0;
            std::memcpy(pixels.data() + std::size_t(y * width + x) * 4, s_colours[colour], 4);
        }
    }
    std::vector<std::uint8_t> const file = Encode(pixels, width, height);
    Load({file.data(), file.size()});
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size) {
    Load({data, size});
    LoadWithChunk(data, size);
    LoadWithBorder(data, size);
    return 0;
}
