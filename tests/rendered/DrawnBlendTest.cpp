// Effects that draw sprites in their place. Their corners go to GL as fixed point numbers with the bits of
// floats, so these tests place sprites by what GL makes of such bits.

#include "Stage.h"

#include "trevik/kelvo/BlendMode.h"
#include "trevik/kelvo/Camera.h"
#include "trevik/kelvo/DirectionalBlurEffect.h"

#include <algorithm>
#include <cmath>
#include <cstring>

namespace kelvo::test {
namespace {

using namespace trevik::kelvo;

/** What GL reads as a fixed point number where a float stands. */
double AsFixed(float value) {
    std::int32_t bits;
    std::memcpy(&bits, &value, sizeof bits);
    return bits / 65536.0;
}

class DrawnBlend : public Stage {
protected:
    /** A sprite of 1 by 1 with an effect, scaled so that its effect draws that many units. */
    Ref<Sprite> AddFixed(Node& parent, char const* effect, double x, double y, double width, double height,
                         Pixel const& colour) {
        Ref<Sprite> const pSprite = MakeSprite(1, 1);
        pSprite->SetTexture(MakeTexture(Image(4, 4, colour)).Get());
        pSprite->GetPositionProperty().SetValue(Vector(RealFloat(x), RealFloat(y), 0));
        pSprite->GetScaleProperty().SetValue(
            Vector(RealFloat(width / AsFixed(1)), RealFloat(height / AsFixed(1)), 1));
        pSprite->AddEffect(Make<Effect>(effect).Get());
        parent.Attach(pSprite.Get());
        return pSprite;
    }
};

double Clamp(double value) {
    return std::clamp(value, 0.0, 1.0);
}

/** What a mode makes of one channel, from its program and its blend factors. */
double BlendChannel(int mode, double t, double alpha, double opacity, double below) {
    switch (mode) {
    case BlendMode::Additive:
        return Clamp(below + t * alpha * opacity);
    case BlendMode::Multiply:
        return Clamp(t * alpha * below + below * (1 - alpha));
    case BlendMode::Screen:
        return Clamp(t * opacity * (1 - below) + below);
    case BlendMode::ColorDodge:
        return Clamp(Clamp(alpha / (1 - std::min(0.5, t))) * below + below * (1 - alpha));
    case BlendMode::Invert:
        return Clamp(t * (1 - below) + below * (1 - t));
    default:
        return t * alpha * opacity + below * (1 - alpha * opacity);
    }
}

TEST_F(DrawnBlend, EachModeGivesWhatItsProgramAndFactorsSay) {
    Open();
    Pixel const below = {51, 153, 230, 255}, source = {204, 102, 26, 102};
    constexpr double Opacity = 0.75;
    AddSprite(Root(), 0, 0, Width, Height, {0.2, 0.6, below.b / 255.0});
    // Units of clip space, as a camera at the origin leaves them: the left half, up to three quarters of the
    // height.
    Ref<Timeline> const pClipSpace = AddTimeline(Root());
    Ref<Camera> const pCamera = Make<Camera>("Camera");
    pCamera->GetOrthographicProperty().SetValue(true);
    pClipSpace->SetCamera(pCamera.Get());
    Ref<Sprite> const pSprite = AddFixed(*pClipSpace, "BlendModeEffect", -1, -1, 1, 1.5, source);
    pSprite->GetOpacityProperty().SetValue(RealFloat(Opacity));
    for (int mode : {4, 5, 6, 23, 25, 2, 12, 24, 77}) {
        SCOPED_TRACE(mode);
        pSprite->GetBlendModeProperty().SetValue(mode);
        Image const frame = DrawFrame();
        auto const blend = [&](int t, int under) {
            return std::uint8_t(
                std::lround(255 * BlendChannel(mode, t / 255.0, source.a / 255.0, Opacity, under / 255.0)));
        };
        Pixel const expected = {blend(source.r, below.r), blend(source.g, below.g), blend(source.b, below.b)};
        EXPECT_TRUE(IsNear(frame.At(Width / 4, Height / 2), expected, 2));
        EXPECT_TRUE(IsNear(frame.At(Width * 3 / 4, Height / 2), below, 1));
        EXPECT_TRUE(IsNear(frame.At(Width / 4, 2), below, 1));
    }
}

TEST_F(DrawnBlend, ASmearsReachWidensItAboutTheMiddleOfTheView) {
    Open();
    AddSprite(Root(), 0, 0, Width, Height, {0.25, 0.25, 0.25});
    Ref<Sprite> const pSprite = AddFixed(Root(), "DirectionalBlurEffect", 10, 6, 30, 20, {128, 64, 192, 255});
    auto& effect = static_cast<DirectionalBlurEffect&>(*pSprite->GetEffects()[0]);
    effect.GetDirectionProperty().SetValue(Vector(1, 0, 0));
    for (int const amount : {0, 1}) { // over a texture 4 wide: a quarter wider
        SCOPED_TRACE(amount);
        effect.GetAmountProperty().SetValue(RealFloat(amount));
        pSprite->GetBlendModeProperty().SetValue(amount ? int(BlendMode::Additive) : 0);
        Image const frame = DrawFrame();
        double const middle = Width / 2.0, scale = 1 + 0.25 * amount;
        int const left = int(std::lround(middle + (10 - middle) * scale));
        int const right = int(std::lround(middle + (40 - middle) * scale));
        Pixel const below = {64, 64, 64, 255}, colour = amount ? Pixel{192, 128, 255} : Pixel{128, 64, 192};
        for (int x = 0; x < Width; ++x) {
            if (std::abs(x - left) > 1 && std::abs(x - right) > 1) {
                EXPECT_TRUE(IsNear(frame.At(x, Height - 1 - 15), x > left && x < right ? colour : below, 3))
                    << x;
            }
        }
        EXPECT_TRUE(IsNear(frame.At(30, Height - 1 - 5), below, 1)) << "across the direction it stays";
        EXPECT_TRUE(IsNear(frame.At(30, Height - 1 - 6), colour, 3));
    }
}

} // namespace
} // namespace kelvo::test
