#include "Picture.h"

#include "ImageReader.h"
#include "PixelPacking.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>

namespace kelvo::player::testing {

using namespace trevik::kelvo::assets;

Colour Picture::At(int nX, int nY) const {
    std::uint8_t const* const p = &pixels[(static_cast<std::size_t>(nY) * static_cast<std::size_t>(nWidth) +
                                           static_cast<std::size_t>(nX)) *
                                          4];
    return Colour{p[0], p[1], p[2], p[3]};
}

Picture ReadPicture(std::string const& path) {
    ImageData image;
    std::string error;
    if (!LoadImage(path, ImageOptions(), image, error)) {
        ADD_FAILURE() << error;
        return Picture{1, 1, false, std::vector<std::uint8_t>(4)};
    }
    RgbaPicture const picture = UnpackLevel(image, 0);
    return Picture{picture.width, picture.height, HasAlpha(image.format), picture.bytes};
}

bool IsNear(Colour const& a, Colour const& b, int nTolerance) {
    return std::abs(a.r - b.r) <= nTolerance && std::abs(a.g - b.g) <= nTolerance &&
           std::abs(a.b - b.b) <= nTolerance;
}

int Difference(Picture const& a, Picture const& b) {
    if (a.nWidth != b.nWidth || a.nHeight != b.nHeight) {
        return 256;
    }
    int nLargest = 0;
    for (std::size_t n = 0; n < a.pixels.size(); ++n) {
        nLargest = std::max(nLargest, std::abs(a.pixels[n] - b.pixels[n]));
    }
    return nLargest;
}

} // namespace kelvo::player::testing
