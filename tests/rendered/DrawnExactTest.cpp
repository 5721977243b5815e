// Exact effects: sprites stand where they would without the effect, and their alpha and opacity count.

#include "kelvo_test/Stage.h"
#include "trevik/kelvo/BlendMode.h"
#include "trevik/kelvo/DirectionalBlurEffect.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>

namespace kelvokit::test {
namespace {

using namespace trevik::kelvo;
using DrawnExact = Stage;

/** What is shown of a channel `t` over `below` where the mode covers all, by the modes' usual definitions;
 * above 1 is 1. */
double BlendWhole(int mode, double t, double below) {
    switch (mode) {
    case BlendMode::Additive:
        return below + t;
    case BlendMode::Multiply:
        return t * below;
    case BlendMode::Screen:
        return 1 - (1 - t) * (1 - below);
    case BlendMode::ColorDodge:
        return below / (1 - std::min(0.5, t));
    case BlendMode::Invert:
        return t * (1 - below) + below * (1 - t);
    default:
        return t;
    }
}

TEST_F(DrawnExact, EachBlendModeIsMixedByCoverageInTheSpritesPlace) {
    Open();
    Device().SetExactEffects(true);
    Pixel const below = {51, 153, 90, 255};
    constexpr double Opacity = 0.75;
    AddSprite(Root(), 0, 0, Width, Height, {51 / 255.0, 153 / 255.0, 90 / 255.0});
    Image picture = MakePicture(20, 16);
    for (int y = 0; y < picture.Height(); ++y) {
        for (int x = 0; x < picture.Width(); ++x) {
            picture.At(x, y).a = std::uint8_t(15 * y);
        }
    }
    Ref<Sprite> const pSprite = AddSprite(Root(), 7, 9, MakeTexture(picture));
    pSprite->AddEffect(Make<Effect>("BlendModeEffect").Get());
    pSprite->GetOpacityProperty().SetValue(RealFloat(Opacity));
    for (int const mode : {2, 4, 5, 6, 23, 25, 77}) {
        pSprite->GetBlendModeProperty().SetValue(mode);
        Image expected(Width, Height, below);
        for (int y = 0; y < picture.Height(); ++y) {
            for (int x = 0; x < picture.Width(); ++x) {
                Pixel const source = picture.At(x, y);
                double const coverage = source.a / 255.0 * Opacity;
                auto const mix = [&](int t, int under) {
                    double const d = under / 255.0;
                    double const mixed = BlendWhole(mode, t / 255.0, d) * coverage + d * (1 - coverage);
                    return std::uint8_t(std::lround(255 * std::min(1.0, mixed)));
                };
                expected.At(7 + x, Height - 9 - picture.Height() + y) = {
                    mix(source.r, below.r), mix(source.g, below.g), mix(source.b, below.b)};
            }
        }
        EXPECT_TRUE(
            CompareImages(DrawFrame(), expected, {2, 0.5, "rounding of the blend"}, std::to_string(mode)))
            << mode;
    }
}

TEST_F(DrawnExact, ADirectionalBlurWithoutReachIsTheSprite) {
    Open();
    Device().SetExactEffects(true);
    AddSprite(Root(), 0, 0, Width, Height, {0.2, 0.6, 0.4});
    Image picture = MakePicture(20, 16);
    picture.At(3, 5).a = 0;
    Ref<Sprite> const pSprite = AddSprite(Root(), 7, 9, MakeTexture(picture));
    pSprite->AddEffect(Make<Effect>("DirectionalBlurEffect").Get());
    pSprite->GetOpacityProperty().SetValue(RealFloat(0.5));
    Canvas canvas(Width, Height);
    canvas.Blend(0, 0, Width, Height, {0.2, 0.6, 0.4});
    canvas.Blend(7, 9, picture, 0.5);
    EXPECT_TRUE(Shows(canvas));
}

/** How much of a picture from 0 to `size` is seen at a place, blurred as far as `reach`: 33 samples. */
double CoverageAt(double place, double size, double reach) {
    double coverage = 0;
    for (int i = -16; i <= 16; ++i) {
        double const sample = place + reach * i / 16;
        coverage += sample >= 0 && sample <= size ? (17.0 - std::abs(i)) / 289 : 0;
    }
    return coverage;
}

TEST_F(DrawnExact, ADirectionalBlurFadesBeyondBothEndsAndNowhereElse) {
    Open();
    Device().SetExactEffects(true);
    constexpr double Reach = 9.3;
    Image const picture(20, 16, {255, 128, 0, 255});
    Ref<Sprite> const pSprite = AddSprite(Root(), 20, 11, MakeTexture(picture));
    Ref<DirectionalBlurEffect> const pBlur = Make<DirectionalBlurEffect>("DirectionalBlurEffect");
    pSprite->AddEffect(pBlur.Get());
    pBlur->GetAmountProperty().SetValue(RealFloat(Reach / 2));
    for (bool const fAcross : {true, false}) {
        pBlur->GetDirectionProperty().SetValue(fAcross ? Vector(-2, 0, 0) : Vector(0, 2, 0));
        Image const expected = MakeImage(Width, Height, [&](int x, int y) {
            double const right = x + 0.5 - 20, up = Height - y - 0.5 - 11;
            bool const fBeside = fAcross ? up < 0 || up > 16 : right < 0 || right > 20;
            double const coverage = fBeside   ? 0
                                    : fAcross ? CoverageAt(right, 20, Reach)
                                              : CoverageAt(up, 16, Reach);
            return Pixel{std::uint8_t(std::lround(255 * coverage)), std::uint8_t(std::lround(128 * coverage)),
                         0};
        });
        EXPECT_TRUE(
            CompareImages(DrawFrame(), expected, {2, 0.5, "sums of 33 samples"}, fAcross ? "across" : "up"));
    }
}

TEST_F(DrawnExact, ADirectionalBlurFollowsTheSignsOfItsDirection) {
    Open();
    Device().SetExactEffects(true);
    Image const picture(8, 8, {255, 255, 255, 255});
    Ref<Sprite> const pSprite = AddSprite(Root(), 26, 14, MakeTexture(picture));
    Ref<DirectionalBlurEffect> const pBlur = Make<DirectionalBlurEffect>("DirectionalBlurEffect");
    pSprite->AddEffect(pBlur.Get());
    pBlur->GetDirectionProperty().SetValue(Vector(1, 1, 0));
    pBlur->GetAmountProperty().SetValue(RealFloat(10));
    for (int const sign : {1, -1}) { // up to the right, then down to the right
        pBlur->GetDirectionProperty().SetValue(Vector(1, RealFloat(sign), 0));
        Image const frame = DrawFrame();
        auto const at = [&](int x, int y) { return frame.At(x, Height - 1 - y).r; };
        EXPECT_GT(at(36, 17 + 7 * sign), 20);
        EXPECT_GT(at(23, 17 - 7 * sign), 20);
        EXPECT_EQ(at(36, 17 - 7 * sign), 0);
        EXPECT_EQ(at(23, 17 + 7 * sign), 0);
    }
}

} // namespace
} // namespace kelvokit::test
