#include "Etc1.h"
#include "PixelPacking.h"
#include "TestFiles.h"
#include "TestImages.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>

namespace trevik::kelvo::assets::testing {
namespace {

ImageData Encode(const ImageData& image) {
    ImageData encoded;
    std::string error;
    EXPECT_TRUE(EncodeEtc1(image, false, "picture", encoded, error)) << error;
    return encoded;
}

ImageData OpaqueImage(int width, int height) {
    ImageData image = RgbaImage(width, height, GradientRgba(width, height));
    image.format = TextureFormat::RGBX8888;
    return image;
}

TEST(Etc1, EncodingKeepsASmoothPictureWithinItsPrecision) {
    const Bytes pixels = GradientRgba(24, 16);
    const ImageData encoded = Encode(RgbaImage(24, 16, pixels));
    ASSERT_EQ(encoded.format, TextureFormat::ETC1_RGBA);
    EXPECT_EQ(encoded.pixels.size(), 2u * 24 * 16 / 2);
    EXPECT_EQ(encoded.levels[0], (MipLevel{24, 16, 0, 24 * 16 / 2}));
    const RgbaPicture decoded = UnpackLevel(encoded, 0);
    ASSERT_EQ(decoded.bytes.size(), pixels.size());
    int sums[4] = {};
    for (std::size_t i = 0; i < pixels.size(); ++i) {
        const int difference = std::abs(decoded.bytes[i] - pixels[i]);
        // Half a block shares one hue: a gradient across it and four-bit bases cost up to two steps of 17.
        EXPECT_LE(difference, 34) << i;
        sums[i % 4] += difference;
    }
    for (int channel = 0; channel < 4; ++channel)
        EXPECT_LE(sums[channel], (channel == 3 ? 4 : 9) * 24 * 16) << channel;
}

TEST(Etc1, APartBlockIsEncodedLikeTheWholeBlockThatRepeatsItsEdge) {
    const RgbaPicture part{3, 2, GradientRgba(3, 2)};
    RgbaPicture whole{4, 4, Bytes(64)};
    for (int y = 0; y < 4; ++y)
        for (int x = 0; x < 4; ++x)
            std::copy_n(part.At(std::min(x, 2), std::min(y, 1)), 4, whole.At(x, y));
    for (Etc1Plane plane : {Etc1Plane::Colour, Etc1Plane::Alpha}) {
        Bytes partBlock(8);
        Bytes wholeBlock(8);
        EncodeEtc1Plane(part, plane, partBlock.data());
        EncodeEtc1Plane(whole, plane, wholeBlock.data());
        EXPECT_EQ(partBlock, wholeBlock);
        // Nothing is written outside of the part.
        RgbaPicture decoded{3, 2, Bytes(64, 7)};
        DecodeEtc1Plane(partBlock.data(), plane, decoded);
        EXPECT_EQ(std::count(decoded.bytes.begin() + 24, decoded.bytes.end(), 7), 40);
    }
}

TEST(Etc1, RefusesWhatItCannotEncode) {
    ImageData foreign = RgbaImage(1, 1, {0, 0, 0, 0});
    foreign.format = TextureFormat::Depth24Stencil8;
    const struct {
        ImageData image;
        bool fMipLevels;
        const char* expected;
    } cases[] = {{ImageData(), false, "p: there are no pixels to encode"},
                 {Encode(OpaqueImage(4, 4)), false, "p: pixels of texture format 13 cannot be encoded"},
                 {foreign, false, "p: pixels of texture format 11 cannot be encoded"},
                 {RgbaImage(8, 8, GradientRgba(8, 8)), true, "p: ETC1 with alpha cannot have mip levels, *"}};
    for (const auto& c : cases) {
        ImageData out = Untouched();
        std::string error;
        EXPECT_FALSE(EncodeEtc1(c.image, c.fMipLevels, "p", out, error));
        EXPECT_TRUE(IsMessage(error, c.expected));
        EXPECT_TRUE(IsUntouched(out));
    }
}

} // namespace
} // namespace trevik::kelvo::assets::testing
