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

class DrawnBlur : public Stage {
protected:
    void OpenBlurred(int width = Width, int height = Height) {
        Open(DeviceFormat::RGBA8888, width, height);
        ASSERT_TRUE(Device().InitializeTargetBuffers());
        Ref<trevik::Referenced> const pEffect(m_registry.Create(trevik::HashName("GaussianBlurEffect")));
        m_pEffect = static_cast<GaussianBlurEffect*>(pEffect.Get());
        Root().AddEffect(m_pEffect.Get());
        m_nWidth = width;
        m_nHeight = height;
    }

    /** What a grey picture, bottom row first, becomes by the amount. */
    Image Expect(Plane const& sharp, double amount) const {
        double const dx = amount / m_nWidth;
        double const dy = amount / m_nHeight;
        Plane const down = Blur(sharp, m_nWidth / 2, m_nHeight / 2, 0, dy);
        Plane const across = Blur(down, m_nWidth / 2, m_nHeight / 2, dx, 0);
        double const mix = std::min(amount, 1.0);
        Image picture(m_nWidth, m_nHeight);
        for (int y = 0; y < m_nHeight; ++y) {
            for (int x = 0; x < m_nWidth; ++x) {
                double const blurred = across.Sample((x + 0.5) / m_nWidth, (y + 0.5) / m_nHeight);
                double const value = sharp.At(x, y) * (1 - mix) + blurred * mix;
                auto const byte = std::uint8_t(std::lround(255 * value));
                picture.At(x, m_nHeight - 1 - y) = {byte, byte, byte, 255};
            }
        }
        return picture;
    }

    ~DrawnBlur() override {
        if (m_pEffect) {
            Root().RemoveEffect(m_pEffect.Get());
        }
    }

    Ref<GaussianBlurEffect> m_pEffect;
    int m_nWidth = 0;
    int m_nHeight = 0;
};

/** Two passes and a mix, each kept in 5, 6 and 5 bits before the next one. */
constexpr Tolerance Targets565 = {14, 4, "two blur targets with 5, 6 and 5 bits of colour"};

TEST_F(DrawnBlur, AnEdgeFollowsTheNineTapsAtHalfTheSize) {
    for (int const width : {Width, 64}) {
        SCOPED_TRACE(width);
        OpenBlurred(width, 37);
        Ref<Sprite> const pWhite = AddSprite(Root(), 20, 7, 22, 30, {1, 1, 1});
        Plane sharp(width, 37);
        for (int y = 7; y < 37; ++y) {
            for (int x = 20; x < 42; ++x)
                sharp.At(x, y) = 1;
        }
        for (double const amount : {0.25, 0.5, 1.0, 1.5, 3.0}) {
            SCOPED_TRACE(amount);
            m_pEffect->GetAmountProperty().SetValue(RealFloat(amount));
            EXPECT_TRUE(
                CompareImages(DrawFrame(), Expect(sharp, amount), Targets565, std::to_string(amount)));
        }
        Root().Detach(pWhite.Get());
        // What effects share goes before the device.
        Root().RemoveEffect(m_pEffect.Get());
        m_pEffect.Reset();
    }
}

TEST_F(DrawnBlur, WithoutAnAmountNothingIsBlurred) {
    OpenBlurred();
    Image const picture = MakePicture(23, 13);
    AddSprite(Root(), 9, 5, MakeTexture(picture));
    Canvas canvas(Width, Height, {0, 0, 0, 1});
    canvas.Blend(9, 5, picture);
    m_pEffect->GetAmountProperty().SetValue(0);
    EXPECT_TRUE(CompareImages(DrawFrame(), canvas.Picture(), Rounding));
    m_pEffect->GetAmountProperty().SetValue(-1);
    EXPECT_TRUE(CompareImages(DrawFrame(), canvas.Picture(), Rounding));
}

TEST_F(DrawnBlur, APictureStaysUprightAndInItsPlace) {
    OpenBlurred(80, 50);
    Image const picture = MakePicture(80, 50);
    AddSprite(Root(), 0, 0, MakeTexture(picture));
    m_pEffect->GetAmountProperty().SetValue(1);
    // Blurred, a picture of slow gradients is nearly itself, but for the jump in its middle.
    Image const blurred = DrawFrame();
    for (int y = 8; y < 42; ++y) {
        for (int x = 8; x < 72; ++x) {
            ASSERT_NEAR(blurred.At(x, y).r, picture.At(x, y).r, 14) << x << ", " << y;
            ASSERT_NEAR(blurred.At(x, y).g, picture.At(x, y).g, 14) << x << ", " << y;
        }
    }
    EXPECT_NEAR(blurred.At(40, 25).b, 120, 30) << "the jump is smoothed";
}

TEST_F(DrawnBlur, TheBlurredLayerIsOpaqueInTheClearColour) {
    OpenBlurred();
    // A sibling drawn before the blurred timeline disappears below it.
    Root().RemoveEffect(m_pEffect.Get());
    AddSprite(Root(), 0, 0, Width, Height, {1, 0, 0});
    Ref<trevik::Referenced> const pObject(m_registry.Create(trevik::HashName("Timeline")));
    Ref<Timeline> const pInner(static_cast<Timeline*>(pObject.Get()));
    pInner->AddEffect(m_pEffect.Get());
    Root().Attach(pInner.Get());
    Device().SetClearColor({0, 0, 1, 1});
    m_pEffect->GetAmountProperty().SetValue(1);
    Canvas canvas(Width, Height, {0, 0, 1, 1});
    EXPECT_TRUE(CompareImages(DrawFrame(), canvas.Picture(), Targets565));
}

} // namespace
} // namespace kelvo::test
