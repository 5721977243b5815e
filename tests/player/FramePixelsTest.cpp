// Pixels of a device become rows of a picture: surfaces of 16 bits of colour, which few desktop drivers have,
// are read with four bytes a pixel, others with three.

#include "pictures/FramePixels.h"

#include "kelvo_test/TestNodes.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <vector>

namespace kelvokit::player::testing {
namespace {

using trevik::RectangleT;
using trevik::kelvo::Texture;
using trevik::kelvo::TextureFormat;

/** The byte of a channel, red 0 to blue 2, at a place of the surface counted from the upper left corner. */
std::uint8_t ChannelAt(int nX, int nY, int nChannel) {
    return static_cast<std::uint8_t>(nX * 7 + nY * 31 + nChannel * 100 + 1);
}

/** Gives those bytes in any format, the lowest row first. */
class ReadableDevice : public trevik::kelvo::test::TestDevice {
public:
    TextureFormat::Enum m_format = TextureFormat::RGB888;
    int m_nMissingRows = 0;

    bool ReadPixels(RectangleT<int> const& area, Texture** ppTexture) override {
        Texture* const pTexture = new trevik::kelvo::test::TestTexture;
        int const nBytes = TextureFormat::RGB888 == m_format ? 3 : TextureFormat::RGB565 == m_format ? 2 : 4;
        std::vector<std::uint8_t> bytes;
        for (int y = area.bottom - 1; y >= area.top + m_nMissingRows; --y) {
            for (int x = area.left; x < area.right; ++x) {
                for (int nChannel = 0; nChannel < nBytes; ++nChannel) {
                    bytes.push_back(nChannel < 3 ? ChannelAt(x, y, nChannel) : 0);
                }
            }
        }
        EXPECT_TRUE(
            pTexture->Replace(area.GetWidth(), area.GetHeight() - m_nMissingRows, m_format, bytes.data(), 0));
        *ppTexture = pTexture;
        return true;
    }
};

TEST(FramePixels, ShrinkToTheMeanOfWhatAPixelCovers) {
    struct {
        FramePixels from;
        double rScale;
        FramePixels to;
    } const cases[] = {
        {{3, 1, 3, {0, 0, 0, 90, 60, 30, 240, 0, 9}}, 0.5, {2, 1, 3, {30, 20, 10, 190, 20, 16}}},
        {{1, 2, 3, {1, 2, 3, 4, 5, 6}}, 0.1, {1, 1, 3, {3, 4, 5}}},
        {{2, 1, 4, {200, 0, 7, 255, 100, 9, 7, 85}}, 0.5, {1, 1, 4, {175, 2, 7, 170}}},
        {{2, 1, 4, {200, 0, 7, 0, 100, 9, 7, 0}}, 0.5, {1, 1, 4, {0, 0, 0, 0}}},
        {{1, 2, 3, {1, 2, 3, 4, 5, 6}}, 1, {1, 2, 3, {1, 2, 3, 4, 5, 6}}}};
    for (auto const& scaled : cases) {
        FramePixels frame = scaled.from;
        frame.Shrink(scaled.rScale);
        EXPECT_EQ(frame.nWidth, scaled.to.nWidth);
        EXPECT_EQ(frame.nHeight, scaled.to.nHeight);
        EXPECT_EQ(frame.nChannels, scaled.to.nChannels);
        EXPECT_EQ(frame.pixels, scaled.to.pixels);
    }
}

TEST(FramePixels, ComeTopRowFirstWhateverTheSurfacesFormatWithAlphaOfWhatTheWindowHasShown) {
    desktop::FinishedFrame shown;
    shown.width = 9;
    shown.height = 12;
    for (int n = 0; n < shown.width * shown.height; ++n) {
        shown.pixels.insert(shown.pixels.end(), {0, 0, 0, static_cast<std::uint8_t>(n)});
    }
    RectangleT<int> const area(3, 5, 8, 12);
    for (TextureFormat::Enum const format : {TextureFormat::RGB888, TextureFormat::RGBA8888}) {
        SCOPED_TRACE(format);
        ReadableDevice device;
        device.m_format = format;
        FramePixels pixels;
        ASSERT_TRUE(pixels.Read(device, area));
        std::vector<std::uint8_t> colours, withAlpha; // what a read gives as alpha is nobody's
        for (int n = 0; n < 5 * 7; ++n) {
            int const x = 3 + n % 5, y = 5 + n / 5;
            for (int nChannel = 0; nChannel < 3; ++nChannel) {
                colours.push_back(ChannelAt(x, y, nChannel));
                withAlpha.push_back(ChannelAt(x, y, nChannel));
            }
            withAlpha.push_back(static_cast<std::uint8_t>(y * shown.width + x));
        }
        EXPECT_TRUE(pixels.nWidth == 5 && pixels.nHeight == 7 && pixels.nChannels == 3);
        EXPECT_EQ(pixels.pixels, colours);
        pixels.AddAlpha(shown, area);
        EXPECT_EQ(pixels.nChannels, 4);
        EXPECT_EQ(pixels.pixels, withAlpha);
    }
}

TEST(FramePixels, RefuseWhatIsNotTheRectangleInColours) {
    RectangleT<int> const area(0, 0, 4, 4);
    ReadableDevice device;
    FramePixels pixels;
    ASSERT_TRUE(pixels.Read(device, area));
    std::vector<std::uint8_t> const before = pixels.pixels;
    device.m_nMissingRows = 1;
    EXPECT_FALSE(pixels.Read(device, area));
    device.m_nMissingRows = 0;
    device.m_format = TextureFormat::RGB565;
    EXPECT_FALSE(pixels.Read(device, area));
    trevik::kelvo::test::TestDevice unable;
    EXPECT_FALSE(pixels.Read(unable, area));
    EXPECT_EQ(pixels.pixels, before);
}

} // namespace
} // namespace kelvokit::player::testing
