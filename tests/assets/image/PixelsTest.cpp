#include "TestImages.h"
#include "image/Etc1.h"
#include "image/MipLevels.h"
#include "image/PixelPacking.h"
#include "kelvo_test/TestFiles.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cctype>
#include <cstdlib>
#include <sstream>

namespace trevik::kelvo::assets::testing {
namespace {

ImageOptions As(TextureFormat::Enum format) {
    ImageOptions options;
    options.format = format;
    return options;
}

// Channels, width, height and bytes of a PNG file, and options; what becomes of it, or why nothing does.
TEST(PixelFormat, BecomesWhatTheOptionsSay) {
    for (TextCase const& test : ReadCases("image/data/options.txt")) {
        SCOPED_TRACE(test.text);
        std::istringstream words(test.text);
        int channels = 0, width = 0, height = 0;
        words >> channels >> width >> height;
        Bytes bytes;
        ImageOptions options;
        for (std::string word; words >> word;) {
            if (word == "gradient") {
                bytes = GradientRgba(width, height);
            } else if (word.rfind("format=", 0) == 0) {
                options.format = TextureFormat::Enum(std::stoi(word.substr(7)));
            } else if (word.rfind("widest=", 0) == 0) {
                options.limits.maxWidth = std::stoi(word.substr(7));
            } else if (std::isdigit(static_cast<unsigned char>(word[0]))) {
                bytes.push_back(std::uint8_t(std::stoi(word)));
            }
            options.mipLevels = options.mipLevels || word == "levels";
            options.padToPowerOfTwo = options.padToPowerOfTwo || word == "padded";
            options.flipRows = options.flipRows || word == "flipped";
            options.encodeEtc1 = options.encodeEtc1 || word == "etc1";
        }
        Bytes const file = channels == 4 ? RgbaPng(width, height, bytes) : RgbPng(width, height, bytes);
        if (test.expected.rfind("format", 0) == 0) {
            EXPECT_EQ(Describe(LoadGood(file, options)), test.expected);
        } else {
            EXPECT_TRUE(IsMessage(ErrorOfPng(file, options), test.expected));
        }
    }
}

TEST(PixelFormat, UnpackingGivesTheNearestColourBack) {
    const struct {
        TextureFormat::Enum format;
        int tolerance; ///< half a step of the coarsest channel
    } cases[] = {{TextureFormat::RGB565, 5}, {TextureFormat::RGBA5551, 5}, {TextureFormat::RGBA4444, 9},
                 {TextureFormat::RGB888, 0}, {TextureFormat::RGBX8888, 0}, {TextureFormat::RGBA8888, 0}};
    Bytes const pixels = GradientRgba(5, 3);
    for (auto const& test : cases) {
        SCOPED_TRACE(test.format);
        RgbaPicture const back = UnpackLevel(LoadGood(RgbaPng(5, 3, pixels), As(test.format)), 0);
        Bytes packed(LevelBytes(test.format, 5, 3) + 1, 77);
        PackPixels({5, 3, pixels}, test.format, packed.data());
        EXPECT_EQ(packed.back(), 77) << "behind the last pixel";
        ASSERT_EQ(back.bytes.size(), pixels.size());
        for (std::size_t i = 0; i < pixels.size(); ++i) {
            bool const alpha = i % 4 == 3;
            int expected = pixels[i];
            if (alpha && !HasAlpha(test.format)) {
                expected = 255;
            } else if (alpha && test.format == TextureFormat::RGBA5551) {
                expected = pixels[i] < 128 ? 0 : 255;
            }
            EXPECT_NEAR(back.bytes[i], expected, test.tolerance) << i;
        }
    }
}

/** One row or column of opaque greys. */
RgbaPicture Greys(int width, int height, Bytes const& values) {
    RgbaPicture picture{width, height, {}};
    for (std::uint8_t value : values) {
        picture.bytes.insert(picture.bytes.end(), {value, value, value, 255});
    }
    return picture;
}

Bytes Reds(RgbaPicture const& picture) {
    Bytes reds;
    for (std::size_t i = 0; i < picture.bytes.size(); i += 4) {
        reds.push_back(picture.bytes[i]);
    }
    return reds;
}

TEST(MipLevels, EachPixelIsTheMeanOfItsExactShare) {
    const struct {
        char const* what;
        int width;
        int height;
        Bytes values;
        Bytes expected;
    } cases[] = {
        {"two", 2, 1, {10, 21}, {16}},
        {"four", 2, 2, {0, 4, 8, 12}, {6}},
        {"three become one", 3, 1, {0, 100, 50}, {50}},
        {"five become two, the middle one shared", 5, 1, {0, 50, 100, 150, 200}, {40, 160}},
        {"a column of five", 1, 5, {0, 50, 100, 150, 200}, {40, 160}},
        {"seven become three", 7, 1, {0, 0, 0, 70, 0, 0, 0}, {0, 30, 0}},
        {"odd both ways", 3, 3, {9, 0, 0, 0, 0, 0, 0, 0, 90}, {11}},
        {"odd across, even down", 3, 2, {30, 60, 90, 30, 60, 90}, {60}},
    };
    for (auto const& test : cases) {
        SCOPED_TRACE(test.what);
        EXPECT_EQ(Reds(HalvePicture(Greys(test.width, test.height, test.values))), test.expected);
    }
}

TEST(MipLevels, TransparentPixelsDoNotColourTheirNeighbours) {
    RgbaPicture const half = HalvePicture({2, 1, {200, 0, 0, 255, 0, 255, 0, 0}});
    EXPECT_EQ(half.bytes, (Bytes{200, 0, 0, 128}));
    EXPECT_EQ(HalvePicture({2, 1, {200, 0, 0, 60, 0, 100, 0, 20}}).bytes, (Bytes{150, 25, 0, 40}));
    // Where nothing is visible, the colours that filtering may still reach stay.
    EXPECT_EQ(HalvePicture({2, 1, {200, 0, 0, 0, 100, 50, 0, 0}}).bytes, (Bytes{150, 25, 0, 0}));
}

TEST(MipLevels, TheUsedPartHalvesAsWell) {
    ImageOptions options;
    options.mipLevels = true;
    options.padToPowerOfTwo = true;
    RgbaPicture const used = UnpackLevel(LoadGood(RgbaPng(5, 3, GradientRgba(5, 3)), options), 1);
    EXPECT_EQ(used.width, 3);
    EXPECT_EQ(used.height, 2);
}

TEST(MipLevels, GeneratingReplacesEarlierLevelsAndKeepsTheFirst) {
    ImageData image = RgbaImage(4, 1, GradientRgba(4, 1));
    image.levels.push_back({2, 1, 16, 8});
    image.pixels.resize(24, 77);
    Fault fault;
    ASSERT_TRUE(GenerateMipLevels(image, "x", fault)) << fault.GetText();
    std::vector<MipLevel> const expected = {{4, 1, 0, 16}, {2, 1, 16, 8}, {1, 1, 24, 4}};
    EXPECT_EQ(image.levels, expected);
    EXPECT_EQ(UnpackLevel(image, 0).bytes, GradientRgba(4, 1));
    EXPECT_EQ(UnpackLevel(image, 1).bytes, HalvePicture({4, 1, GradientRgba(4, 1)}).bytes);
    ImageData empty;
    EXPECT_FALSE(GenerateMipLevels(empty, "x", fault));
}

ImageData Encode(ImageData const& image) {
    ImageData encoded;
    Fault fault;
    EXPECT_TRUE(EncodeEtc1(image, false, "picture", encoded, fault)) << fault.GetText();
    return encoded;
}

ImageData OpaqueImage(int width, int height) {
    ImageData image = RgbaImage(width, height, GradientRgba(width, height));
    image.format = TextureFormat::RGBX8888;
    return image;
}

TEST(Etc1, EncodingKeepsASmoothPictureWithinItsPrecision) {
    Bytes const pixels = GradientRgba(24, 16);
    ImageData const encoded = Encode(RgbaImage(24, 16, pixels));
    ASSERT_EQ(encoded.format, TextureFormat::ETC1_RGBA);
    EXPECT_EQ(encoded.pixels.size(), 2u * 24 * 16 / 2);
    EXPECT_EQ(encoded.levels[0], (MipLevel{24, 16, 0, 24 * 16 / 2}));
    RgbaPicture const decoded = UnpackLevel(encoded, 0);
    ASSERT_EQ(decoded.bytes.size(), pixels.size());
    int sums[4] = {};
    for (std::size_t i = 0; i < pixels.size(); ++i) {
        int const difference = std::abs(decoded.bytes[i] - pixels[i]);
        // Half a block shares one hue: a gradient across it and four-bit bases cost up to two steps of 17.
        EXPECT_LE(difference, 34) << i;
        sums[i % 4] += difference;
    }
    for (int channel = 0; channel < 4; ++channel) {
        EXPECT_LE(sums[channel], (channel == 3 ? 4 : 9) * 24 * 16) << channel;
    }
}

TEST(Etc1, APartBlockIsEncodedLikeTheWholeBlockThatRepeatsItsEdge) {
    RgbaPicture const part{3, 2, GradientRgba(3, 2)};
    RgbaPicture whole{4, 4, Bytes(64)};
    for (int y = 0; y < 4; ++y) {
        for (int x = 0; x < 4; ++x) {
            std::copy_n(part.At(std::min(x, 2), std::min(y, 1)), 4, whole.At(x, y));
        }
    }
    for (Etc1Plane plane : {Etc1Plane::Colour, Etc1Plane::Alpha}) {
        Bytes partBlock(8);
        Bytes wholeBlock(8);
        EncodeEtc1Plane(part, plane, partBlock.data());
        EncodeEtc1Plane(whole, plane, wholeBlock.data());
        EXPECT_EQ(partBlock, wholeBlock);
        EXPECT_EQ(UnpackPixels(wholeBlock.data(), TextureFormat::ETC1_RGB, 4, 4).At(3, 3)[3], 255);
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
        char const* expected;
    } cases[] = {{ImageData(), false, "p: there are no pixels to encode"},
                 {Encode(OpaqueImage(4, 4)), false, "p: pixels of texture format 13 cannot be encoded"},
                 {foreign, false, "p: pixels of texture format 11 cannot be encoded"},
                 {RgbaImage(8, 8, GradientRgba(8, 8)), true, "p: ETC1 with alpha cannot have mip levels, *"}};
    for (auto const& test : cases) {
        ImageData out = Untouched();
        Fault fault;
        EXPECT_FALSE(EncodeEtc1(test.image, test.fMipLevels, "p", out, fault));
        EXPECT_TRUE(IsMessage(fault.GetText(), test.expected));
        EXPECT_TRUE(IsUntouched(out));
    }
}

} // namespace
} // namespace trevik::kelvo::assets::testing
