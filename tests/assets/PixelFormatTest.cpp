#include "PixelPacking.h"
#include "TestFiles.h"
#include "TestImages.h"

#include <gtest/gtest.h>

#include <cctype>
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
    for (const TextCase& each : ReadCases("images/options.txt")) {
        SCOPED_TRACE(each.text);
        std::istringstream words(each.text);
        int channels = 0, width = 0, height = 0;
        words >> channels >> width >> height;
        Bytes bytes;
        ImageOptions options;
        for (std::string word; words >> word;) {
            if (word == "gradient")
                bytes = GradientRgba(width, height);
            else if (word.rfind("format=", 0) == 0)
                options.format = TextureFormat::Enum(std::stoi(word.substr(7)));
            else if (word.rfind("widest=", 0) == 0)
                options.limits.maxWidth = std::stoi(word.substr(7));
            else if (std::isdigit(static_cast<unsigned char>(word[0])))
                bytes.push_back(std::uint8_t(std::stoi(word)));
            options.mipLevels = options.mipLevels || word == "levels";
            options.padToPowerOfTwo = options.padToPowerOfTwo || word == "padded";
            options.flipRows = options.flipRows || word == "flipped";
            options.encodeEtc1 = options.encodeEtc1 || word == "etc1";
        }
        const Bytes file = channels == 4 ? RgbaPng(width, height, bytes) : RgbPng(width, height, bytes);
        if (each.expected.rfind("format", 0) == 0) {
            EXPECT_EQ(Describe(LoadGood(file, options)), each.expected);
        } else {
            EXPECT_TRUE(IsMessage(ErrorOfPng(file, options), each.expected));
        }
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

} // namespace
} // namespace trevik::kelvo::assets::testing
