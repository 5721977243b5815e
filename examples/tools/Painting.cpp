#include "Painting.h"

#include "image/Etc1.h"
#include "image/PixelPacking.h"
#include "image/Pkm.h"
#include "image/PngWriter.h"

#include <algorithm>
#include <cstdio>

namespace kelvokit::examples {

using namespace trevik::kelvo::assets;
using trevik::kelvo::Fault;

namespace {

bool Report(bool fDone, Fault const& fault) {
    if (!fDone) {
        std::fprintf(stderr, "%s\n", fault.GetText().c_str());
    }
    return fDone;
}

bool SaveBytes(std::string const& path, std::vector<std::uint8_t> const& bytes, int nWidth, int nHeight) {
    Fault fault;
    PngPicture const picture{bytes.data(), nWidth, nHeight, 4, 0};
    return Report(SavePng(path, picture, fault), fault);
}

} // namespace

bool SavePicture(std::string const& path, Canvas const& canvas) {
    return SaveBytes(path, canvas.GetBytes(), canvas.GetWidth(), canvas.GetHeight());
}

bool SaveNinePatch(std::string const& path, Canvas const& canvas, NinePatchMarks const& marks) {
    int const nWidth = canvas.GetWidth() + 2;
    int const nHeight = canvas.GetHeight() + 2;
    std::vector<std::uint8_t> bytes(static_cast<std::size_t>(nWidth) * static_cast<std::size_t>(nHeight) * 4);
    auto const pixel = [&](int x, int y) {
        return bytes.begin() + 4 * (static_cast<std::ptrdiff_t>(y) * nWidth + x);
    };
    auto const blacken = [&](int x, int y) { pixel(x, y)[3] = 255; };
    for (int y = 0; y < canvas.GetHeight(); ++y) {
        auto const row = canvas.GetBytes().begin() + 4 * static_cast<std::ptrdiff_t>(y) * canvas.GetWidth();
        std::copy(row, row + 4 * static_cast<std::ptrdiff_t>(canvas.GetWidth()), pixel(1, y + 1));
    }
    auto const mark = [&](Run const& run, auto place) {
        for (int n = run.nFirst; n < run.nFirst + run.nCount; ++n) {
            place(n + 1);
        }
    };
    for (Run const& run : marks.stretchX) {
        mark(run, [&](int x) { blacken(x, 0); });
    }
    for (Run const& run : marks.stretchY) {
        mark(run, [&](int y) { blacken(0, y); });
    }
    mark(marks.contentX, [&](int x) { blacken(x, nHeight - 1); });
    mark(marks.contentY, [&](int y) { blacken(nWidth - 1, y); });
    return SaveBytes(path, bytes, nWidth, nHeight);
}

bool SaveCompressed(std::string const& path, Canvas const& canvas) {
    Fault fault;
    ImageOptions options;
    options.encodeEtc1 = true;
    ImageData image;
    bool const fDone = BuildImage(RgbaPicture{canvas.GetWidth(), canvas.GetHeight(), canvas.GetBytes()}, true,
                                  options, path, image, fault) &&
                       SavePkm(path, image, fault);
    return Report(fDone, fault);
}

} // namespace kelvokit::examples
