#include "kelvo_test/Image.h"

#include <png.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <filesystem>

namespace kelvokit::test {

static_assert(sizeof(Pixel) == 4, "pixels are read and written as RGBA bytes");

Image::Image(int width, int height, Pixel fill)
    : m_nWidth(width), m_nHeight(height), m_pixels(std::size_t(width) * height, fill) {}

Image::Image(int width, int height, std::uint8_t const* rgba) : Image(width, height) {
    if (!m_pixels.empty()) {
        std::memcpy(m_pixels.data(), rgba, m_pixels.size() * sizeof(Pixel));
    }
}

void Image::Fill(int left, int top, int width, int height, Pixel colour) {
    for (int y = top; y < top + height; ++y) {
        std::fill_n(&At(left, y), width, colour);
    }
}

Image Image::Cut(int left, int top, int width, int height) const {
    return MakeImage(width, height, [&](int x, int y) { return At(left + x, top + y); });
}

bool Image::Save(std::string const& path) const {
    png_image png = {};
    png.version = PNG_IMAGE_VERSION;
    png.width = m_nWidth;
    png.height = m_nHeight;
    png.format = PNG_FORMAT_RGBA;
    return png_image_write_to_file(&png, path.c_str(), 0, m_pixels.data(), 0, nullptr) != 0;
}

bool Image::Load(std::string const& path) {
    png_image png = {};
    png.version = PNG_IMAGE_VERSION;
    if (!png_image_begin_read_from_file(&png, path.c_str())) {
        return false;
    }
    bool const fAlpha = (png.format & PNG_FORMAT_FLAG_ALPHA) != 0;
    png.format = PNG_FORMAT_RGBA;
    Image loaded(png.width, png.height);
    loaded.m_fAlpha = fAlpha;
    if (!png_image_finish_read(&png, nullptr, loaded.m_pixels.data(), 0, nullptr)) {
        return false;
    }
    *this = std::move(loaded);
    return true;
}

namespace {

struct Difference {
    int nMax = 0;
    double fMean = 0;
    int nWorstX = 0;
    int nWorstY = 0;
    Image picture;
};

/** Difference of one pixel, channel by channel. */
Pixel Distance(Pixel const& a, Pixel const& b) {
    auto const channel = [](int nA, int nB) { return static_cast<std::uint8_t>(std::abs(nA - nB)); };
    return {channel(a.r, b.r), channel(a.g, b.g), channel(a.b, b.b), channel(a.a, b.a)};
}

/** A difference as a visible colour; one in alpha alone shows as grey. */
Pixel Visible(Pixel const& distance) {
    auto const channel = [&](int nValue) {
        return static_cast<std::uint8_t>(std::min(255, 8 * std::max<int>(nValue, distance.a)));
    };
    return {channel(distance.r), channel(distance.g), channel(distance.b), 255};
}

Difference Measure(Image const& actual, Image const& expected) {
    Difference difference;
    difference.picture = Image(actual.Width(), actual.Height());
    double fSum = 0;
    for (int y = 0; y < actual.Height(); ++y) {
        for (int x = 0; x < actual.Width(); ++x) {
            Pixel const distance = Distance(actual.At(x, y), expected.At(x, y));
            int const nMax = std::max({distance.r, distance.g, distance.b, distance.a});
            fSum += distance.r + distance.g + distance.b + distance.a;
            difference.picture.At(x, y) = Visible(distance);
            if (nMax > difference.nMax) {
                difference.nMax = nMax;
                difference.nWorstX = x;
                difference.nWorstY = y;
            }
        }
    }
    difference.fMean = fSum / std::max(1.0, 4.0 * actual.Width() * actual.Height());
    return difference;
}

/** Where the pictures of the running test go, without "-actual.png" and the like. */
std::string OutputStem(std::string const& label) {
    char const* folder = std::getenv("KELVO_TEST_OUTPUT");
    std::filesystem::path const output = folder && *folder ? folder : KELVO_TEST_OUTPUT_DEFAULT;
    std::error_code ignored; // a folder that cannot be made shows in the saving
    std::filesystem::create_directories(output, ignored);
    std::string sName = "outside-a-test";
    if (auto const* test = testing::UnitTest::GetInstance()->current_test_info()) {
        sName = std::string(test->test_suite_name()) + "." + test->name();
    }
    if (!label.empty()) {
        sName += "-" + label;
    }
    std::replace(sName.begin(), sName.end(), '/', '_');
    return (output / sName).string();
}

void SaveAs(std::string const& path, Image const& image, testing::AssertionResult& result) {
    result << "\n  " << (image.Save(path) ? "" : "could not write ") << path;
}

std::string Describe(Pixel const& p) {
    return "(" + std::to_string(p.r) + ", " + std::to_string(p.g) + ", " + std::to_string(p.b) + ", " +
           std::to_string(p.a) + ")";
}

} // namespace

bool IsNear(Pixel const& a, Pixel const& b, int tolerance) {
    Pixel const distance = Distance(a, b);
    return std::max({distance.r, distance.g, distance.b}) <= tolerance;
}

testing::AssertionResult CompareImages(Image const& actual, Image const& expected, Tolerance const& tolerance,
                                       std::string const& label) {
    auto failure = testing::AssertionFailure();
    bool const fSameSize = actual.Width() == expected.Width() && actual.Height() == expected.Height();
    Difference difference;
    if (fSameSize) {
        difference = Measure(actual, expected);
        if (difference.nMax <= tolerance.maxDifference && difference.fMean <= tolerance.meanDifference) {
            return testing::AssertionSuccess();
        }
        int const nX = difference.nWorstX;
        int const nY = difference.nWorstY;
        failure << "largest difference " << difference.nMax << " (at most " << tolerance.maxDifference
                << "), mean " << difference.fMean << " (at most " << tolerance.meanDifference << ": "
                << tolerance.reason << "); worst at (" << nX << ", " << nY
                << "): " << Describe(actual.At(nX, nY)) << " instead of " << Describe(expected.At(nX, nY));
    } else {
        failure << "size " << actual.Width() << " by " << actual.Height() << " instead of "
                << expected.Width() << " by " << expected.Height();
    }
    std::string const sStem = OutputStem(label);
    SaveAs(sStem + "-actual.png", actual, failure);
    SaveAs(sStem + "-expected.png", expected, failure);
    if (fSameSize) {
        SaveAs(sStem + "-difference.png", difference.picture, failure);
    }
    return failure;
}

} // namespace kelvokit::test
