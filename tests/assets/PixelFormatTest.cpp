#include "PixelPacking.h"
#include "TestImages.h"

#include <gtest/gtest.h>

#include <cstring>

namespace trevik::kelvo::assets::testing {
namespace {

ImageOptions As(TextureFormat::Enum format) {
    ImageOptions options;
    options.format = format;
    return options;
}

std::uint16_t FirstWord(const ImageData& image) {
    std::uint16_t word = 0;
    std::memcpy(&word, image.pixels.data(), 2);
    return word;
}

TEST(PixelFormat, PacksChannelsIntoTheBitsThatGlReads) {
    const struct {
        TextureFormat::Enum format;
        Bytes pixel;
        unsigned word;
    } cases[] = {
        {TextureFormat::RGB565, {255, 0, 0, 255}, 0xF800},
        {TextureFormat::RGB565, {0, 255, 0, 255}, 0x07E0},
        {TextureFormat::RGB565, {0, 0, 255, 255}, 0x001F},
        {TextureFormat::RGB565, {4, 2, 5, 255}, 0x0001},
        {TextureFormat::RGBA5551, {255, 0, 0, 0}, 0xF800},
        {TextureFormat::RGBA5551, {0, 255, 0, 127}, 0x07C0},
        {TextureFormat::RGBA5551, {0, 0, 255, 128}, 0x003F},
        {TextureFormat::RGBA4444, {255, 0, 0, 0}, 0xF000},
        {TextureFormat::RGBA4444, {0, 255, 0, 136}, 0x0F08},
        {TextureFormat::RGBA4444, {8, 9, 255, 255}, 0x01FF},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(::testing::Message() << "format " << c.format << " word " << std::hex << c.word);
        const ImageData image = LoadGood(RgbaPng(1, 1, c.pixel), As(c.format));
        EXPECT_EQ(image.format, c.format);
        EXPECT_EQ(FirstWord(image), c.word);
        EXPECT_EQ(image.levels[0].m_nSize, 2);
    }
}

TEST(PixelFormat, UnpackingGivesTheNearestColourBack) {
    const struct {
        TextureFormat::Enum format;
        int tolerance; ///< half a step of the coarsest channel
    } cases[] = {{TextureFormat::RGB565, 5}, {TextureFormat::RGBA5551, 5}, {TextureFormat::RGBA4444, 9},
                 {TextureFormat::RGB888, 0}, {TextureFormat::RGBX8888, 0}, {TextureFormat::RGBA8888, 0}};
    const Bytes pixels = GradientRgba(5, 3);
    for (const auto& c : cases) {
        SCOPED_TRACE(c.format);
        const RgbaPicture back = UnpackLevel(LoadGood(RgbaPng(5, 3, pixels), As(c.format)), 0);
        ASSERT_EQ(back.bytes.size(), pixels.size());
        for (std::size_t i = 0; i < pixels.size(); ++i) {
            const bool alpha = i % 4 == 3;
            int expected = pixels[i];
            if (alpha && !HasAlpha(c.format))
                expected = 255;
            else if (alpha && c.format == TextureFormat::RGBA5551)
                expected = pixels[i] < 128 ? 0 : 255;
            EXPECT_NEAR(back.bytes[i], expected, c.tolerance) << i;
        }
    }
}

TEST(PixelFormat, RowsFollowEachOtherWithoutGaps) {
    const Bytes rgb = {1, 2, 3, 4, 5, 6, 7, 8, 9, 11, 12, 13, 14, 15, 16, 17, 18, 19};
    EXPECT_EQ(LoadGood(RgbPng(3, 2, rgb), {}).pixels, rgb);
    const Bytes rgba = {0, 0, 0, 1, 0, 0, 0, 2, 0, 0, 0, 3, 0, 0, 0, 4, 0, 0, 0, 5,
                        0, 0, 0, 6, 0, 0, 0, 7, 0, 0, 0, 8, 0, 0, 0, 9, 0, 0, 0, 10};
    EXPECT_EQ(LoadGood(RgbaPng(5, 2, rgba), As(TextureFormat::Alpha8)).pixels,
              (Bytes{1, 2, 3, 4, 5, 6, 7, 8, 9, 10}));
}

TEST(PixelFormat, AlphaOfAnOpaqueFileIsItsBrightness) {
    const ImageData image = LoadGood(RgbPng(4, 1, {255, 255, 255, 100, 100, 100, 0, 255, 0, 0, 0, 255}),
                                     As(TextureFormat::Alpha8));
    EXPECT_EQ(image.pixels, (Bytes{255, 100, 150, 29}));
}

TEST(PixelFormat, FlippedRowsStartWithTheLowest) {
    ImageOptions options;
    options.flipRows = true;
    const Bytes upright = {1, 0, 0, 9, 2, 0, 0, 9, 3, 0, 0, 9};
    EXPECT_EQ(LoadGood(RgbaPng(1, 3, upright), {}).pixels, upright);
    EXPECT_EQ(LoadGood(RgbaPng(1, 3, upright), options).pixels, (Bytes{3, 0, 0, 9, 2, 0, 0, 9, 1, 0, 0, 9}));
}

TEST(PixelFormat, PaddingToPowersOfTwoRepeatsTheLastColumnAndRow) {
    ImageOptions options = As(TextureFormat::Alpha8);
    options.padToPowerOfTwo = true;
    const ImageData image = LoadGood(RgbaPng(3, 3, {0, 0, 0, 1, 0, 0, 0, 2, 0, 0, 0, 3, 0, 0, 0, 4, 0, 0,
                                                    0, 5, 0, 0, 0, 6, 0, 0, 0, 7, 0, 0, 0, 8, 0, 0, 0, 9}),
                                     options);
    EXPECT_EQ(image.width, 3);
    EXPECT_EQ(image.height, 3);
    EXPECT_EQ(image.allocatedWidth, 4);
    EXPECT_EQ(image.allocatedHeight, 4);
    EXPECT_EQ(image.levels[0], (MipLevel{4, 4, 0, 16}));
    EXPECT_EQ(image.pixels, (Bytes{1, 2, 3, 3, 4, 5, 6, 6, 7, 8, 9, 9, 7, 8, 9, 9}));
    // The used part alone comes back.
    EXPECT_EQ(UnpackLevel(image, 0).width, 3);
}

TEST(PixelFormat, RefusesWhatCannotBeMade) {
    ImageOptions padded;
    padded.padToPowerOfTwo = true;
    padded.limits.maxWidth = 5;
    const struct {
        const char* what;
        ImageOptions options;
        const char* expected;
    } cases[] = {
        {"a format that no file has", As(TextureFormat::Depth16),
         "x.png: cannot be made an image of texture format 10"},
        {"a format that is an upload request only", As(TextureFormat::ETC1_Alpha), "texture format 12"},
        {"padding beyond the limits", padded, "x.png: padded: 8 x 2 pixels are more than the 5 x 16384"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.what);
        const std::string error = ErrorOfPng(RgbaPng(5, 2, GradientRgba(5, 2)), c.options);
        EXPECT_NE(error.find(c.expected), std::string::npos) << error;
    }
}

} // namespace
} // namespace trevik::kelvo::assets::testing
