#pragma once

#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <vector>

namespace kelvokit::test {

/** One pixel, 8 bits a channel. */
struct Pixel {
    std::uint8_t r = 0;
    std::uint8_t g = 0;
    std::uint8_t b = 0;
    std::uint8_t a = 255;

    bool operator==(Pixel const& other) const {
        return r == other.r && g == other.g && b == other.b && a == other.a;
    }
    bool operator!=(Pixel const& other) const { return !(*this == other); }
};

/** An RGBA picture, top row first. */
class Image {
public:
    Image() = default;
    /** `width` by `height` pixels of one colour. */
    Image(int width, int height, Pixel fill = Pixel());
    /** Copies `width * height * 4` bytes, top row first. */
    Image(int width, int height, std::uint8_t const* rgba);

    bool operator==(Image const& other) const {
        return m_nWidth == other.m_nWidth && m_nHeight == other.m_nHeight && m_pixels == other.m_pixels;
    }
    int Width() const { return m_nWidth; }
    int Height() const { return m_nHeight; }
    /** Pixel of column `x`, from the left, and row `y`, from the top; both inside the picture. */
    Pixel& At(int x, int y) { return m_pixels[Index(x, y)]; }
    Pixel const& At(int x, int y) const { return m_pixels[Index(x, y)]; }
    /** Fills the rectangle of that left upper corner and size, which lies inside the picture. */
    void Fill(int left, int top, int width, int height, Pixel colour);
    /** A copy of such a rectangle. */
    Image Cut(int left, int top, int width, int height) const;

    /** Writes a PNG file; false when that fails. */
    bool Save(std::string const& path) const;
    /** Reads a PNG file of any kind; false, leaving the image as it was, when that fails. */
    bool Load(std::string const& path);
    /** Whether the file that was read has an alpha channel. */
    bool HasAlpha() const { return m_fAlpha; }

private:
    std::size_t Index(int x, int y) const { return std::size_t(y) * m_nWidth + x; }

    int m_nWidth = 0;
    int m_nHeight = 0;
    bool m_fAlpha = true;
    std::vector<Pixel> m_pixels;
};

/** A picture whose pixels `colour` tells by column and row. */
template <class Colour>
Image MakeImage(int width, int height, Colour const& colour) {
    Image image(width, height);
    for (int y = 0; y < height; ++y) {
        for (int x = 0; x < width; ++x) {
            image.At(x, y) = colour(x, y);
        }
    }
    return image;
}

/** Whether none of red, green and blue differs by more. */
bool IsNear(Pixel const& a, Pixel const& b, int tolerance);

/** How far two pictures may lie apart. */
struct Tolerance {
    /** Largest difference of any channel of any pixel, 0 to 255. */
    int maxDifference = 0;
    /** Mean difference over all channels of all pixels. */
    double meanDifference = 0;
    /** Why that much is right; part of the failure message. */
    char const* reason = "the pictures are computed exactly";
};

/**
 * Compares a picture with what a person should see. On failure the result names both differences and the
 * worst pixel, and three PNG files are written, "<test>-actual.png", "<test>-expected.png" and
 * "<test>-difference.png" (differences made visible: eight times as strong, opaque). They go to the folder
 * that the environment variable KELVO_TEST_OUTPUT names, or to test-output in the build folder; `label` tells
 * several comparisons of one test apart. Use: EXPECT_TRUE(CompareImages(actual, expected, {2, 0.1, "rounding
 * of the blend"})).
 */
testing::AssertionResult CompareImages(Image const& actual, Image const& expected,
                                       Tolerance const& tolerance = Tolerance(),
                                       std::string const& label = "");

} // namespace kelvokit::test
