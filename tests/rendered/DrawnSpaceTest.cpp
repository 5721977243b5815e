// Nodes in space: what perspective and depth make of them, and that picking finds what is seen.

#include "Stage.h"

#include "trevik/kelvo/SelectionPoint.h"

#include <cmath>

namespace kelvo::test {
namespace {

using namespace trevik::kelvo;
using trevik::List;
using trevik::Vector2T;
using trevik::Vector4T;

struct Spot {
    double x, y; ///< window pixels, y down
};

/** How far a spot lies inside a convex outline (either way round), in pixels; negative outside. */
double Inside(std::vector<Spot> const& outline, Spot const& spot) {
    double inside = 1e9, outside = 1e9;
    for (std::size_t i = 0; i < outline.size(); ++i) {
        Spot const& a = outline[i];
        Spot const& b = outline[(i + 1) % outline.size()];
        double const distance =
            ((b.x - a.x) * (spot.y - a.y) - (b.y - a.y) * (spot.x - a.x)) / std::hypot(b.x - a.x, b.y - a.y);
        inside = std::min(inside, distance);
        outside = std::min(outside, -distance);
    }
    return std::max(inside, outside);
}

using DrawnSpace = Stage;

TEST_F(DrawnSpace, TurnedPicturesLandWhereTheyAreProjectedAndArePerspectivelyTrue) {
    struct {
        Vector position, rotation;
    } const cases[] = {{Vector(15, 10, 0), Vector(0, 0, 25)},
                       {Vector(20, 12, -20), Vector(50, 0, 0)},
                       {Vector(12, 12, 5), Vector(0, 60, 0)},
                       {Vector(22, 14, 8), Vector(25, -40, 15)}};
    Open();
    // The middle of a receding picture is not the middle of what is seen of it.
    Image picture(24, 15, Pixel{255, 0, 0, 255});
    picture.Fill(12, 0, 12, 15, Pixel{255, 0, 255, 255});
    Ref<Sprite> const pSprite = AddSprite(Root(), 0, 0, MakeTexture(picture));
    for (auto const& test : cases) {
        SCOPED_TRACE(test.rotation.y);
        pSprite->GetPositionProperty().SetValue(test.position);
        pSprite->GetRotationProperty().SetValue(test.rotation);
        Image const frame = DrawFrame();
        Device().SetCameraDepth(true); // the default camera
        auto const project = [&](float x, float y) {
            auto const spot =
                Device().ProjectCoordinate(pSprite->GetWorldMatrix(), Vector4T<RealFloat>(x, y, 0, 1));
            return Spot{spot.x, spot.y};
        };
        std::vector<Spot> const whole = {project(0, 0), project(24, 0), project(24, 15), project(0, 15)};
        std::vector<Spot> const right = {project(12, 0), project(24, 0), project(24, 15), project(12, 15)};
        int nInside = 0;
        for (int n = 0; n < Width * Height; ++n) {
            Pixel const pixel = frame.At(n % Width, n / Width);
            Spot const spot = {n % Width + 0.5, n / Width + 0.5};
            // A pixel of tolerance: half of one is lost in the viewport's whole halves.
            double const inside = Inside(whole, spot), inRight = Inside(right, spot);
            if (std::fabs(inside) > 1) {
                ASSERT_EQ(pixel.r, inside > 0 ? 255 : 0) << spot.x << ", " << spot.y;
                nInside += inside > 0;
                if (inside > 0 && std::fabs(inRight) > 1.5) {
                    ASSERT_EQ(pixel.b > 127, inRight > 0) << spot.x << ", " << spot.y;
                }
            }
        }
        EXPECT_GT(nInside, 50);
    }
}

class DrawnPicking : public Stage {
protected:
    /** The colour of what lies under a pixel, by picking; black for nothing. */
    Pixel Pick(int x, int y) {
        List<SelectionPoint> selected;
        Device().SetSelectionMode(Vector2T<RealFloat>(RealFloat(x) + 0.5f, RealFloat(y) + 0.5f), &selected);
        Root().Render(Device());
        Device().SetRenderMode();
        if (selected.IsEmpty())
            return {0, 0, 0, 255};
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
} // namespace kelvo::test
