// Frosted glass: what is behind a pane is seen through a Gaussian of the radius' half, and nothing else
// changes.

#include "kelvo_effects/BackdropBlurEffect.h"
#include "kelvo_effects/Effects.h"
#include "kelvo_effects/GroupOpacityEffect.h"
#include "kelvo_test/Stage.h"
#include "trevik/kelvo/Mask.h"

#include <cmath>

namespace kelvokit::test {
namespace {

using namespace trevik::kelvo;
using effects::BackdropBlurEffect;

/** A surface of black and, from the middle on, white; panes of glass come before it. */
class DrawnBackdrop : public Stage {
protected:
    static constexpr int Wide = 201;
    static constexpr int High = 120;
    static constexpr int Edge = 100;

    DrawnBackdrop() { KelvoRegisterEffects(&m_registry); }

    void OpenWithEdge(DeviceFormat::Enum format = DeviceFormat::RGB888) {
        Open(format, Wide, High);
        AddSprite(Root(), 0, 0, Wide, High, {0, 0, 0});
        AddSprite(Root(), Edge, 0, Wide - Edge, High, {1, 1, 1});
    }
    /** A pane that shows nothing of its own but a clear picture. */
    Ref<Sprite> AddPane(Node& parent, int x, int y, int width, int height, double radius) {
        Ref<Sprite> const pPane = AddSprite(parent, x, y, MakeTexture(Image(width, height, {0, 0, 0, 0})));
        Ref<BackdropBlurEffect> const pBlur = Make<BackdropBlurEffect>("BackdropBlurEffect");
        pBlur->GetRadiusProperty().SetValue(RealFloat(radius));
        pPane->AddEffect(pBlur.Get());
        return pPane;
    }
    /** What a Gaussian leaves of the edge, 0 to 255. */
    static double Blurred(int x, double radius) {
        return 127.5 * (1 + std::erf((x + 0.5 - Edge) / (radius / 2) / std::sqrt(2.0)));
    }
};

TEST_F(DrawnBackdrop, AnEdgeBehindThePaneBecomesAGaussiansSum) {
    for (DeviceFormat::Enum const format : {DeviceFormat::RGB888, DeviceFormat::RGBA8888}) {
        OpenWithEdge(format);
        Ref<Sprite> const pPane = AddPane(Root(), 20, 30, 160, 50, 0);
        auto& blur = static_cast<BackdropBlurEffect&>(*pPane->GetEffects()[0]);
        for (double const radius : {0.0, 4.0, 7.0, 12.0, 20.0, 45.0}) {
            blur.GetRadiusProperty().SetValue(RealFloat(radius));
            Image const frame = DrawFrame();
            double worst = 0;
            for (int x = 20; x < 180; ++x) {
                double const expected = radius > 0 ? Blurred(x, radius) : x < Edge ? 0 : 255;
                worst = std::max(worst, std::fabs(frame.At(x, High - 55).r - expected));
                EXPECT_EQ(frame.At(x, High - 55).a, 255);
            }
            // The wider the blur, the fewer pixels it is made of; these come from straight lines in between.
            EXPECT_LT(worst, 11) << radius;
            for (int y : {29, 80}) { // below and above the pane
                EXPECT_EQ(frame.At(Edge - 1, High - 1 - y).r, 0) << radius;
                EXPECT_EQ(frame.At(Edge, High - 1 - y).r, 255) << radius;
            }
        }
        Root().Detach(pPane.Get());
    }
}

TEST_F(DrawnBackdrop, ASmallRadiusGrowsFromNothing) {
    OpenWithEdge();
    Ref<Sprite> const pPane = AddPane(Root(), 20, 30, 160, 50, 0);
    auto& blur = static_cast<BackdropBlurEffect&>(*pPane->GetEffects()[0]);
    int before = 0;
    for (double const radius : {0.0, 0.5, 1.0, 1.5, 2.0, 2.5, 3.0}) {
        blur.GetRadiusProperty().SetValue(RealFloat(radius));
        int const left = DrawFrame().At(Edge - 2, High / 2).r;
        EXPECT_GE(left, before) << radius;
        EXPECT_LE(left, before + 25) << radius;
        before = left;
    }
    EXPECT_GT(before, 20);
}

TEST_F(DrawnBackdrop, IsUprightAndReachesTheSurfacesRim) {
    Open(DeviceFormat::RGB888, Wide, High);
    // Slow enough that a blur leaves it nearly as it is, but at the rims, beyond which they go on.
    Image const picture = MakeImage(Wide, High, [](int x, int y) {
        return Pixel{std::uint8_t(x), std::uint8_t(2 * y), std::uint8_t(255 - x)};
    });
    AddSprite(Root(), 0, 0, MakeTexture(picture));
    AddPane(Root(), 0, 0, Wide, High, 6);
    EXPECT_TRUE(CompareImages(DrawFrame(), picture, {6, 1, "the rims, and halved odd sizes"}));
}

TEST_F(DrawnBackdrop, MasksTurnsAndOpacityCountAndThePaneIsDrawnOver) {
    OpenWithEdge();
    Ref<Sprite> const pPane = AddPane(Root(), 70, 30, 60, 40, 12);
    pPane->SetTexture(MakeTexture(Image(60, 40, {0, 0, 255, 128})).Get());
    pPane->GetOpacityProperty().SetValue(RealFloat(0.5));
    Ref<Mask> const pMask(new Mask);
    Vector const corners[] = {Vector(0, 0, 0),  Vector(60, 0, 0),  Vector(0, 20, 0),
                              Vector(60, 0, 0), Vector(60, 20, 0), Vector(0, 20, 0)};
    ASSERT_TRUE(pMask->SetTriangles(corners, 6));
    pPane->AddMask(pMask.Get());
    Image const frame = DrawFrame();
    auto const at = [&](int x, int y) { return frame.At(x, High - 1 - y); };
    double const mixed = 0.5 * Blurred(97, 12); // half of it over black, then a quarter of blue over that
    EXPECT_NEAR(at(97, 40).r, 0.75 * mixed, 7);
    EXPECT_NEAR(at(97, 40).b, 0.75 * mixed + 0.25 * 255, 7);
    EXPECT_EQ(at(97, 60), (Pixel{0, 0, 0})) << "outside of the mask";
    pPane->RemoveMask(pMask.Get());
    pPane->GetRotationProperty().SetValue(Vector(0, 0, 90)); // to the left of its corner and up
    Image const turned = DrawFrame();
    EXPECT_GT(turned.At(Edge - 30 - 5, High - 1 - 80).b, 40);
    EXPECT_EQ(turned.At(Edge - 30 - 5, High - 1 - 80).r, 0);
    EXPECT_EQ(turned.At(Edge - 3, High - 1 - 40), (Pixel{0, 0, 0})) << "no longer covered";
}

TEST_F(DrawnBackdrop, OfWhatIsInAGroupTheGroupAloneIsSeen) {
    OpenWithEdge(DeviceFormat::RGBA8888);
    if (!HasExtension("GL_OES_packed_depth_stencil")) {
        GTEST_SKIP() << "no depth with stencil in frame targets, which groups need";
    }
    Ref<Timeline> const pGroup = AddTimeline(Root());
    Ref<effects::GroupOpacityEffect> const pFade = Make<effects::GroupOpacityEffect>("GroupOpacityEffect");
    pFade->GetOpacityProperty().SetValue(RealFloat(0.5));
    pGroup->AddEffect(pFade.Get());
    AddSprite(*pGroup, 40, 20, Edge - 40, 80, {0, 1, 0});
    AddPane(*pGroup, 60, 30, 80, 60, 12);
    Image const frame = DrawFrame();
    for (int x : {70, 90, 97, 103, 110}) {
        // Behind the pane the group alone: green up to the edge, nothing beyond; half of it over the rest.
        double const covered = 1 - Blurred(x, 12) / 255;
        double const below = x < Edge ? 0 : 255;
        Pixel const pixel = frame.At(x, High / 2);
        EXPECT_NEAR(pixel.r, below * (1 - 0.5 * covered), 7) << x;
        EXPECT_NEAR(pixel.g, 255 * 0.5 * covered + below * (1 - 0.5 * covered), 7) << x;
        EXPECT_EQ(pixel.a, 255);
    }
}

} // namespace
} // namespace kelvokit::test
