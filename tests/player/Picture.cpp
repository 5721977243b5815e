#include "Picture.h"

#include "ImageReader.h"
#include "PixelPacking.h"
#include "ProcessRunner.h"
#include "TestImages.h"

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

Picture DrawFrame(std::string const& scene, int nFrame) {
    trevik::kelvo::assets::testing::TemporaryFolder const folder;
    Outcome const outcome = Play({scene, "--frames", std::to_string(nFrame), "--out", folder.Path("p.png")});
    EXPECT_EQ(outcome.nExitCode, 0) << outcome.errors;
    EXPECT_EQ(outcome.errors, "") << scene;
    return ReadPicture(folder.Path("p.png"));
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

double MeanDifference(Picture const& drawn, Picture const& shown, int nTimes) {
    EXPECT_EQ(drawn.nWidth * nTimes, shown.nWidth);
    EXPECT_EQ(drawn.nHeight * nTimes, shown.nHeight);
    double sum = 0;
    for (int y = 0; y < shown.nHeight; ++y) {
        for (int x = 0; x < shown.nWidth; ++x) {
            Colour const a = drawn.At(x / nTimes, y / nTimes);
            Colour const b = shown.At(x, y);
            sum += std::abs(a.r - b.r) + std::abs(a.g - b.g) + std::abs(a.b - b.b);
        }
    }
    return sum / (3.0 * shown.nWidth * shown.nHeight);
}

} // namespace kelvo::player::testing
