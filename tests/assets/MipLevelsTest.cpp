#include "MipLevels.h"
#include "TestImages.h"

#include <gtest/gtest.h>

namespace trevik::kelvo::assets::testing {
namespace {

/** One row or column of opaque greys. */
RgbaPicture Greys(int width, int height, const Bytes& values) {
    RgbaPicture picture{width, height, {}};
    for (std::uint8_t value : values)
        picture.bytes.insert(picture.bytes.end(), {value, value, value, 255});
    return picture;
}

Bytes Reds(const RgbaPicture& picture) {
    Bytes reds;
    for (std::size_t i = 0; i < picture.bytes.size(); i += 4)
        reds.push_back(picture.bytes[i]);
    return reds;
}

TEST(MipLevels, EachPixelIsTheMeanOfItsExactShare) {
    const struct {
        const char* what;
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
    for (const auto& c : cases) {
        SCOPED_TRACE(c.what);
        EXPECT_EQ(Reds(HalvePicture(Greys(c.width, c.height, c.values))), c.expected);
    }
}

TEST(MipLevels, TransparentPixelsDoNotColourTheirNeighbours) {
    const RgbaPicture half = HalvePicture({2, 1, {200, 0, 0, 255, 0, 255, 0, 0}});
    EXPECT_EQ(half.bytes, (Bytes{200, 0, 0, 128}));
    EXPECT_EQ(HalvePicture({2, 1, {200, 0, 0, 60, 0, 100, 0, 20}}).bytes, (Bytes{150, 25, 0, 40}));
    // Where nothing is visible, the colours that filtering may still reach stay.
    EXPECT_EQ(HalvePicture({2, 1, {200, 0, 0, 0, 100, 50, 0, 0}}).bytes, (Bytes{150, 25, 0, 0}));
}

TEST(MipLevels, TheUsedPartHalvesAsWell) {
    ImageOptions options;
    options.mipLevels = true;
    options.padToPowerOfTwo = true;
    const RgbaPicture used = UnpackLevel(LoadGood(RgbaPng(5, 3, GradientRgba(5, 3)), options), 1);
    EXPECT_EQ(used.width, 3);
    EXPECT_EQ(used.height, 2);
}

TEST(MipLevels, GeneratingReplacesEarlierLevelsAndKeepsTheFirst) {
    ImageData image = RgbaImage(4, 1, GradientRgba(4, 1));
    image.levels.push_back({2, 1, 16, 8});
    image.pixels.resize(24, 77);
    std::string error;
    ASSERT_TRUE(GenerateMipLevels(image, "x", error)) << error;
    const std::vector<MipLevel> expected = {{4, 1, 0, 16}, {2, 1, 16, 8}, {1, 1, 24, 4}};
    EXPECT_EQ(image.levels, expected);
    EXPECT_EQ(UnpackLevel(image, 0).bytes, GradientRgba(4, 1));
    EXPECT_EQ(UnpackLevel(image, 1).bytes, HalvePicture({4, 1, GradientRgba(4, 1)}).bytes);
    ImageData empty;
    EXPECT_FALSE(GenerateMipLevels(empty, "x", error));
}

} // namespace
} // namespace trevik::kelvo::assets::testing
