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
using trevik::HashName;

/** What GL reads as a fixed point number where a float stands. */
double AsFixed(float value) {
    std::int32_t bits;
    std::memcpy(&bits, &value, sizeof bits);
    return bits / 65536.0;
}

class DrawnBlend : public Stage {
protected:
    template <class T>
    Ref<T> Make(char const* name) {
        Ref<trevik::Referenced> const pObject(m_registry.Create(HashName(name)));
        return Ref<T>(static_cast<T*>(pObject.Get()));
    }

    /** A texture all of one colour. */
    static Ref<Texture> MakeColor(Shade const& shade) {
        auto const byte = [](double value) { return std::uint8_t(std::lround(255 * value)); };
        return MakeTexture(Image(4, 4, {byte(shade.r), byte(shade.g), byte(shade.b), byte(shade.a)}));
    }

    /** A sprite of 1 by 1 with an effect, scaled so that its effect draws that many units. */
    Ref<Sprite> AddFixed(Node& parent, char const* effect, double x, double y, double width, double height,
                         Shade const& shade) {
        Ref<Sprite> const pSprite = MakeSprite(1, 1);
        pSprite->SetTexture(MakeColor(shade).Get());
        pSprite->GetPositionProperty().SetValue(Vector(RealFloat(x), RealFloat(y), 0));
        pSprite->GetScaleProperty().SetValue(
            Vector(RealFloat(width / AsFixed(1)), RealFloat(height / AsFixed(1)), 1));
        pSprite->AddEffect(Make<Effect>(effect).Get());
        parent.Attach(pSprite.Get());
        return pSprite;
    }

    /** A timeline whose units are clip space's: its camera stands at the origin and leaves them as they are.
     */
    Ref<Timeline> AddClipSpace() {
        Ref<Timeline> const pTimeline = Make<Timeline>("Timeline");
        Ref<Camera> const pCamera = Make<Camera>("Camera");
        pCamera->GetOrthographicProperty().SetValue(true);
        pTimeline->SetCamera(pCamera.Get());
        Root().Attach(pTimeline.Get());
        return pTimeline;
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
    Shade const below = {0.2, 0.6, 0.9};
    Shade const source = {0.8, 0.4, 0.1, 0.4};
    constexpr double Opacity = 0.75;
    AddSprite(Root(), 0, 0, Width, Height, below);
    Ref<Timeline> const pClipSpace = AddClipSpace();
    // The left half, from the lower edge to three quarters of the height.
    Ref<Sprite> const pSprite = AddFixed(*pClipSpace, "BlendModeEffect", -1, -1, 1, 1.5, source);
    pSprite->GetOpacityProperty().SetValue(RealFloat(Opacity));
    for (int mode : {4, 5, 6, 23, 25, 2, 12, 24, 77}) {
        SCOPED_TRACE(mode);
        pSprite->GetBlendModeProperty().SetValue(mode);
        Image const frame = DrawFrame();
        auto const expect = [&](double t, double under) {
            return 255 * BlendChannel(mode, t, source.a, Opacity, under);
        };
        Pixel const inside = frame.At(Width / 4, Height / 2);
        EXPECT_NEAR(inside.r, expect(source.r, below.r), 2);
        EXPECT_NEAR(inside.g, expect(source.g, below.g), 2);
        EXPECT_NEAR(inside.b, expect(source.b, below.b), 2);
        for (Pixel const& outside : {frame.At(Width * 3 / 4, Height / 2), frame.At(Width / 4, 2)}) {
            EXPECT_NEAR(outside.r, 255 * below.r, 1);
            EXPECT_NEAR(outside.g, 255 * below.g, 1);
            EXPECT_NEAR(outside.b, 255 * below.b, 1);
        }
    }
}

TEST_F(DrawnBlend, WhatSeesAnotherCameraLiesOutsideOfClipSpace) {
    Open();
    AddFixed(Root(), "BlendModeEffect", 0, 0, 1, 1, {1, 1, 1});
    EXPECT_TRUE(CompareImages(DrawFrame(), Canvas(Width, Height, {0, 0, 0}).Picture()))
        << "without a projection nothing that the default camera sees is there";
}

class DrawnSmear : public DrawnBlend {
protected:
    Ref<Sprite> AddSmear(double amount) {
        Ref<Sprite> const pSprite =
            AddFixed(Root(), "DirectionalBlurEffect", 10, 6, 30, 20, {0.5, 0.25, 0.75});
        auto& effect = static_cast<DirectionalBlurEffect&>(*pSprite->GetEffects()[0]);
        effect.GetDirectionProperty().SetValue(Vector(1, 0, 0));
        effect.GetAmountProperty().SetValue(RealFloat(amount));
        return pSprite;
    }
};

TEST_F(DrawnSmear, WithoutReachTheSpriteIsWhereItIs) {
    Open();
    AddSmear(0);
    Canvas canvas(Width, Height, {0, 0, 0});
    canvas.Blend(10, 6, 30, 20, {0.5, 0.25, 0.75});
    EXPECT_TRUE(CompareImages(DrawFrame(), canvas.Picture(), Rounding));
}

TEST_F(DrawnSmear, TheReachWidensItAboutTheMiddleOfTheView) {
    Open();
    AddSmear(1); // over a texture 4 wide: a quarter wider
    Image const frame = DrawFrame();
    double const middle = Width / 2.0;
    int const left = int(std::lround(middle + (10 - middle) * 1.25));
    int const right = int(std::lround(middle + (40 - middle) * 1.25));
    for (int x = 0; x < Width; ++x) {
        if (std::abs(x - left) > 1 && std::abs(x - right) > 1) {
            EXPECT_EQ(frame.At(x, Height - 1 - 15).r > 100, x > left && x < right) << x;
        }
    }
    EXPECT_EQ(frame.At(30, Height - 1 - 5).r, 0) << "across the direction it stays";
    EXPECT_GT(frame.At(30, Height - 1 - 6).r, 100);
}

TEST_F(DrawnSmear, InTheAdditiveModeItAdds) {
    Open();
    AddSprite(Root(), 0, 0, Width, Height, {0.25, 0.25, 0.25});
    AddSmear(0)->GetBlendModeProperty().SetValue(int(BlendMode::Additive));
    Pixel const pixel = DrawFrame().At(20, 20);
    EXPECT_NEAR(pixel.r, 255 * 0.75, 3);
    EXPECT_NEAR(pixel.g, 255 * 0.5, 3);
    EXPECT_NEAR(pixel.b, 255, 3);
}

} // namespace
} // namespace kelvo::test
