// Blurred subtrees, against the same passes computed in double precision.

#include "Stage.h"

#include "trevik/kelvo/GaussianBlurEffect.h"

#include <algorithm>
#include <cmath>

namespace kelvo::test {
namespace {

using namespace trevik::kelvo;

/** One channel of a picture, bottom row first, 0 to 1. */
class Plane {
public:
    Plane(int width, int height)
        : m_nWidth(width), m_nHeight(height), m_values(std::size_t(width * height)) {}

    double& At(int x, int y) { return m_values[std::size_t(y * m_nWidth + x)]; }
    double At(int x, int y) const {
        return m_values[std::size_t(std::clamp(y, 0, m_nHeight - 1) * m_nWidth +
                                    std::clamp(x, 0, m_nWidth - 1))];
    }
    int Width() const { return m_nWidth; }
    int Height() const { return m_nHeight; }

    /** Between texels, as linear filtering of a clamped texture is defined. */
    double Sample(double u, double v) const {
        double const x = u * m_nWidth - 0.5;
        double const y = v * m_nHeight - 0.5;
        int const left = int(std::floor(x));
        int const bottom = int(std::floor(y));
        double const fx = x - left;
        double const fy = y - bottom;
        return (At(left, bottom) * (1 - fx) + At(left + 1, bottom) * fx) * (1 - fy) +
               (At(left, bottom + 1) * (1 - fx) + At(left + 1, bottom + 1) * fx) * fy;
    }

private:
    int m_nWidth;
    int m_nHeight;
    std::vector<double> m_values;
};

/** A pass of the blur into a target of that size; taps lie (dx, dy) apart in texture coordinates. */
Plane Blur(Plane const& source, int width, int height, double dx, double dy) {
    constexpr double Weights[] = {0.16, 0.15, 0.12, 0.09, 0.06};
    Plane blurred(width, height);
    for (int y = 0; y < height; ++y) {
        for (int x = 0; x < width; ++x) {
            double const u = (x + 0.5) / width;
            double const v = (y + 0.5) / height;
            double sum = Weights[0] * source.Sample(u, v);
            for (int tap = 1; tap <= 4; ++tap) {
                sum += Weights[tap] * (source.Sample(u + tap * dx, v + tap * dy) +
                                       source.Sample(u - tap * dx, v - tap * dy));
            }
            blurred.At(x, y) = sum;
        }
    }
    return blurred;
}

/** Two passes and a mix, each kept in 5, 6 and 5 bits before the next one. */
constexpr Tolerance Targets565 = {14, 4, "two blur targets with 5, 6 and 5 bits of colour"};

/** What a grey picture, bottom row first, becomes by the amount. */
Image Expect(Plane const& sharp, double amount) {
    int const width = sharp.Width(), height = sharp.Height();
    Plane const down = Blur(sharp, width / 2, height / 2, 0, amount / height);
    Plane const across = Blur(down, width / 2, height / 2, amount / width, 0);
    double const mix = std::clamp(amount, 0.0, 1.0);
    return MakeImage(width, height, [&](int x, int y) {
        double const blurred = across.Sample((x + 0.5) / width, 1 - (y + 0.5) / height);
        double const value = sharp.At(x, height - 1 - y) * (1 - mix) + blurred * mix;
        auto const byte = std::uint8_t(std::lround(255 * value));
        return Pixel{byte, byte, byte, 255};
    });
}

using DrawnBlur = Stage;

TEST_F(DrawnBlur, AnEdgeFollowsTheNineTapsAtHalfTheSize) {
    for (int const width : {Width, 64}) {
        SCOPED_TRACE(width);
        Open(DeviceFormat::RGBA8888, width, Height);
        ASSERT_TRUE(Device().InitializeTargetBuffers());
        Ref<GaussianBlurEffect> const pEffect = Make<GaussianBlurEffect>("GaussianBlurEffect");
        Root().AddEffect(pEffect.Get());
        Ref<Sprite> const pWhite = AddSprite(Root(), 20, 7, 22, 30, {1, 1, 1});
        Plane sharp(width, Height);
        for (int y = 7; y < Height; ++y) {
            for (int x = 20; x < 42; ++x)
                sharp.At(x, y) = 1;
        }
        for (double const amount : {-1.0, 0.0, 0.25, 0.5, 1.0, 1.5, 3.0}) {
            SCOPED_TRACE(amount);
            pEffect->GetAmountProperty().SetValue(RealFloat(amount));
            EXPECT_TRUE(
                CompareImages(DrawFrame(), Expect(sharp, amount), Targets565, std::to_string(amount)));
        }
        Root().Detach(pWhite.Get());
        Root().RemoveEffect(pEffect.Get()); // what effects share goes before the device
    }
}

} // namespace
} // namespace kelvo::test
