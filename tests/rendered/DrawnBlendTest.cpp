// Blend modes, whose effect draws sprites in its own way.

#include "kelvo_test/Stage.h"
#include "trevik/kelvo/BlendMode.h"
#include "trevik/kelvo/Camera.h"
#include "trevik/kelvo/Effect.h"

#include <algorithm>
#include <cmath>
#include <cstring>

namespace kelvokit::test {
namespace {

using namespace trevik::kelvo;

/** What GL reads as a fixed point number where a float stands. */
double AsFixed(float value) {
    std::int32_t bits;
    std::memcpy(&bits, &value, sizeof bits);
    return bits / 65536.0;
}

using DrawnBlend = Stage;

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
    // Corners go to GL as fixed-point numbers with the bits of floats: a sprite of 1 by 1 is what GL makes of
    // them.
    RealFloat const unit = RealFloat(1 / AsFixed(1));
    Ref<Sprite> const pSprite = MakeSprite(1, 1);
    pSprite->SetTexture(MakeTexture(Image(4, 4, source)).Get());
    pSprite->GetPositionProperty().SetValue(Vector(-1, -1, 0));
    pSprite->GetScaleProperty().SetValue(Vector(unit, 1.5f * unit, 1));
    pSprite->AddEffect(Make<Effect>("BlendModeEffect").Get());
    pClipSpace->Attach(pSprite.Get());
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

} // namespace
} // namespace kelvokit::test
