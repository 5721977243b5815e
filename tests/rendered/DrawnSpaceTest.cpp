// Picking finds what is seen, whatever perspective and depth make of it.

#include "kelvo_test/Stage.h"
#include "trevik/kelvo/SelectionPoint.h"

namespace kelvokit::test {
namespace {

using namespace trevik::kelvo;
using trevik::List;
using trevik::Vector2T;

class DrawnPicking : public Stage {
protected:
    /** The colour of what lies under a pixel, by picking; black for nothing. */
    Pixel Pick(int x, int y) {
        List<SelectionPoint> selected;
        Device().SetSelectionMode(Vector2T<RealFloat>(RealFloat(x) + 0.5f, RealFloat(y) + 0.5f), &selected);
        Root().Render(Device());
        Device().SetRenderMode();
        if (selected.IsEmpty()) {
            return {0, 0, 0, 255};
        }
        Vector const colour = static_cast<Sprite*>(selected[0].m_pNode)->GetColorProperty().GetValue();
        return {std::uint8_t(colour.x * 255), std::uint8_t(colour.y * 255), std::uint8_t(colour.z * 255),
                255};
    }

    /** Where a pixel's neighbours have its colour, so that being half a pixel off makes no difference. */
    void ComparePicksWithPixels() {
        Image const frame = DrawFrame();
        int nCompared = 0;
        for (int n = 0; n < (Width - 2) * (Height - 2); ++n) {
            int const x = n % (Width - 2), y = n / (Width - 2);
            Pixel const colour = frame.At(x + 1, y + 1);
            if (frame.Cut(x, y, 3, 3) == Image(3, 3, colour)) {
                ++nCompared;
                ASSERT_EQ(Pick(x + 1, y + 1), colour) << x << ", " << y;
            }
        }
        EXPECT_GT(nCompared, Width * Height / 2);
        EXPECT_TRUE(CompareImages(DrawFrame(), frame)) << "picking leaves nothing behind";
    }
};

TEST_F(DrawnPicking, FindsTheSpriteOnTopAndTheNearerOfThoseThatIntersect) {
    Open();
    Ref<Timeline> const pFlat = AddTimeline(Root());
    AddSprite(*pFlat, 4, 3, 30, 20, {1, 0, 0});
    Ref<Sprite> const pMiddle = AddSprite(*pFlat, 20, 10, 30, 20, {0, 1, 0});
    AddSprite(*pMiddle, 8, -6, 10, 20, {0, 0, 1});
    AddSprite(*pFlat, 2, 20, 12, 12, {1, 1, 1})->GetVisibleProperty().SetValue(false);
    ComparePicksWithPixels();
    Root().Detach(pFlat.Get());

    Ref<Timeline> const pDeep = AddTimeline(Root());
    pDeep->GetDepthTestProperty().SetValue(1);
    AddSprite(*pDeep, 10, 5, 35, 25, {1, 0, 0})->GetRotationProperty().SetValue(Vector(0, 40, 0));
    Ref<Sprite> const pTurned = AddSprite(*pDeep, 15, 5, 35, 25, {0, 1, 0});
    pTurned->GetRotationProperty().SetValue(Vector(0, -40, 10));
    pTurned->GetPositionProperty().SetValue(Vector(15, 5, -25));
    AddSprite(*pDeep, 5, 2, 50, 30, {0, 0, 1})->GetRotationProperty().SetValue(Vector(-60, 0, 0));
    ComparePicksWithPixels();
}

} // namespace
} // namespace kelvokit::test
