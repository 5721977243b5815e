// Groups that fade as one picture, against what compositing says of it.

#include "kelvo_effects/Effects.h"
#include "kelvo_effects/GroupOpacityEffect.h"
#include "kelvo_test/Stage.h"
#include "trevik/kelvo/Mask.h"

namespace kelvokit::test {
namespace {

using namespace trevik::kelvo;
using effects::GroupOpacityEffect;

class DrawnGroup : public Stage {
protected:
    DrawnGroup() { KelvoRegisterEffects(&m_registry); }
    void SetUp() override {
        Open();
        if (!HasExtension("GL_OES_packed_depth_stencil")) {
            GTEST_SKIP() << "no depth with stencil in frame targets, which groups need";
        }
    }

    /** A timeline that fades as one. */
    Ref<Timeline> AddGroup(Node& parent, double opacity) {
        Ref<Timeline> const pGroup = AddTimeline(parent);
        Ref<GroupOpacityEffect> const pEffect = Make<GroupOpacityEffect>("GroupOpacityEffect");
        pEffect->GetOpacityProperty().SetValue(RealFloat(opacity));
        pGroup->AddEffect(pEffect.Get());
        return pGroup;
    }
    void OpenWithBackground(DeviceFormat::Enum format = DeviceFormat::RGBA8888) {
        Open(format);
        AddSprite(Root(), 0, 0, 40, Height, Ground);
    }
    /** The background beside nothing at all, or what the surface shows there. */
    static Canvas Background() {
        Canvas canvas(Width, Height);
        canvas.Blend(0, 0, 40, Height, Ground);
        return canvas;
    }

    static constexpr Shade Ground = {0.2, 0.6, 0.4};
    static constexpr Shade Red = {1, 0, 0.2};
    static constexpr Shade Blue = {0, 0.4, 1};
};

TEST_F(DrawnGroup, WhatIsHiddenInsideStaysHiddenWhileItFades) {
    for (DeviceFormat::Enum const format : {DeviceFormat::RGBA8888, DeviceFormat::RGB888}) {
        OpenWithBackground(format);
        Ref<Timeline> const pGroup = AddGroup(Root(), 0.5);
        AddSprite(*pGroup, 5, 5, 30, 20, Red);
        AddSprite(*pGroup, 20, 12, 35, 20, Blue);
        Canvas canvas = Background();
        canvas.Blend(20, 12, 35, 20, {0, 0.4, 1, 0.5});
        canvas.Blend(5, 5, 30, 7, {1, 0, 0.2, 0.5}); // what of the red one the blue one leaves
        canvas.Blend(5, 12, 15, 13, {1, 0, 0.2, 0.5});
        EXPECT_TRUE(Shows(canvas, Rounding, std::to_string(format)));
        Root().Detach(pGroup.Get());
    }
}

TEST_F(DrawnGroup, TranslucentThingsInsideAreMixedFirst) {
    OpenWithBackground();
    Ref<Timeline> const pGroup = AddGroup(Root(), 0.6);
    AddSprite(*pGroup, 5, 5, 30, 20, Red);
    AddSprite(*pGroup, 20, 12, 35, 20, {0, 0.4, 1, 0.25});
    Canvas canvas = Background();
    canvas.Blend(5, 5, 30, 7, {1, 0, 0.2, 0.6});
    canvas.Blend(5, 12, 15, 13, {1, 0, 0.2, 0.6});
    canvas.Blend(20, 12, 15, 13, {0.75, 0.25 * 0.4, 0.2 * 0.75 + 0.25, 0.6}); // both, opaque together
    canvas.Blend(20, 25, 15, 7, {0, 0.4, 1, 0.25 * 0.6});                     // the blue one alone
    canvas.Blend(35, 12, 20, 20, {0, 0.4, 1, 0.25 * 0.6});
    EXPECT_TRUE(Shows(canvas));
}

TEST_F(DrawnGroup, GroupsInsideOfGroupsMultiply) {
    OpenWithBackground();
    Ref<Timeline> const pOuter = AddGroup(Root(), 0.5);
    AddSprite(*pOuter, 5, 5, 30, 20, Red);
    Ref<Timeline> const pInner = AddGroup(*pOuter, 0.25);
    AddSprite(*pInner, 10, 8, 15, 10, {1, 1, 1});
    AddSprite(*pInner, 10, 8, 35, 10, Blue); // hides the white one
    Ref<Timeline> const pSecond = AddGroup(*pOuter, 0.75);
    AddSprite(*pSecond, 50, 0, 8, 8, Blue);
    Canvas inside(Width, Height, {0, 0, 0, 0}); // the outer group, colours times alpha
    inside.Blend(5, 5, 30, 20, Red);
    inside.Blend(10, 8, 35, 10, {0, 0.4, 1, 0.25});
    inside.Blend(50, 0, 8, 8, {0, 0.4, 1, 0.75});
    Image const group = inside.Picture();
    Image const below = Background().Picture();
    Image const expected = MakeImage(Width, Height, [&](int x, int y) {
        auto const over = [&](int above, int under, int alpha) {
            return std::uint8_t(0.5 * above + under * (1 - 0.5 * alpha / 255) + 0.5);
        };
        Pixel const g = group.At(x, y), b = below.At(x, y);
        return Pixel{over(g.r, b.r, g.a), over(g.g, b.g, g.a), over(g.b, b.b, g.a), over(g.a, b.a, g.a)};
    });
    EXPECT_TRUE(CompareImages(DrawFrame(), expected, Rounding));
}

TEST_F(DrawnGroup, MasksCutInsideAndOutside) {
    OpenWithBackground();
    auto const addMask = [](TransformNode& node, RealFloat right, RealFloat top) {
        Ref<Mask> const pMask(new Mask);
        Vector const corners[] = {Vector(0, 0, 0),       Vector(right, 0, 0), Vector(right, top, 0),
                                  Vector(right, top, 0), Vector(0, top, 0),   Vector(0, 0, 0)};
        ASSERT_TRUE(pMask->SetTriangles(corners, 6));
        node.AddMask(pMask.Get());
    };
    Ref<Timeline> const pOutside = AddTimeline(Root());
    addMask(*pOutside, 30, RealFloat(Height));
    Ref<Timeline> const pGroup = AddGroup(*pOutside, 0.5);
    addMask(*pGroup, RealFloat(Width), 20);
    AddSprite(*pGroup, 5, 5, 50, 30, Red);
    Ref<Sprite> const pMasked = AddSprite(*pGroup, 10, 10, 50, 30, Blue);
    addMask(*pMasked, 8, 4);
    AddSprite(Root(), 50, 0, 4, 4, {1, 1, 1}); // no mask is left in force
    Canvas canvas = Background();
    for (int y = 5; y < 20; ++y) {
        for (int x = 5; x < 30; ++x) {
            bool const fBlue = x >= 10 && x < 18 && y >= 10 && y < 14;
            canvas.Blend(x, y, 1, 1, fBlue ? Shade{0, 0.4, 1, 0.5} : Shade{1, 0, 0.2, 0.5});
        }
    }
    canvas.Blend(50, 0, 4, 4, {1, 1, 1});
    EXPECT_TRUE(Shows(canvas));
}

TEST_F(DrawnGroup, FadesFromNothingToWhatItIsWithoutTheEffect) {
    OpenWithBackground();
    Ref<Timeline> const pGroup = AddGroup(Root(), 0);
    AddSprite(*pGroup, 5, 5, 30, 20, Red);
    EXPECT_TRUE(Shows(Background(), Tolerance()));
    auto& effect = static_cast<GroupOpacityEffect&>(*pGroup->GetEffects()[0]);
    effect.GetOpacityProperty().SetValue(-1);
    EXPECT_TRUE(Shows(Background(), Tolerance()));
    Canvas whole = Background();
    whole.Blend(5, 5, 30, 20, Red);
    for (int const opacity : {1, 2}) {
        effect.GetOpacityProperty().SetValue(RealFloat(opacity));
        EXPECT_TRUE(Shows(whole, Rounding, std::to_string(opacity)));
    }
}

TEST_F(DrawnGroup, FollowsTheViewportsSizeAndStaysUprightInFrameTargets) {
    OpenWithBackground();
    ASSERT_TRUE(Device().InitializeTargetBuffers());
    Ref<Timeline> const pGroup = AddGroup(Root(), 0.5);
    Image const picture = MakePicture(20, 16);
    AddSprite(*pGroup, 7, 9, MakeTexture(picture));
    Canvas canvas = Background();
    canvas.Blend(7, 9, picture, 0.5);
    EXPECT_TRUE(Shows(canvas, Rounding, "window"));
    // Within the smaller viewport the same picture, smaller: its middle and what lies beside it.
    Device().SetViewport(0, 0, Width / 2, Height / 2);
    Image const small = DrawFrame();
    Image const large = canvas.Picture();
    EXPECT_TRUE(IsNear(small.At(4, Height - 10), large.At(8, Height - 20), 40));
    EXPECT_EQ(small.At(Width - 5, 5), (Pixel{0, 0, 0, 255}));
    Device().SetViewport(0, 0, Width, Height);
    EXPECT_TRUE(Shows(canvas, Rounding, "window again"));
}

} // namespace
} // namespace kelvokit::test
