// Nodes in space: what perspective, cameras and depth make of them, and that picking finds what is seen.

#include "Stage.h"

#include "CameraGL2.h"
#include "trevik/kelvo/SelectionPoint.h"

#include <algorithm>
#include <cmath>

namespace kelvo::test {
namespace {

using namespace trevik::kelvo;
using trevik::List;
using trevik::RectangleT;
using trevik::Vector2T;
using trevik::Vector4T;

constexpr Shade Black = {0, 0, 0, 1};

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

class DrawnSpace : public Stage {
protected:
    Ref<Timeline> AddTimeline(Node& parent) {
        Ref<Timeline> const pTimeline(
            static_cast<Timeline*>(m_registry.Create(trevik::HashName("Timeline"))));
        parent.Attach(pTimeline.Get());
        return pTimeline;
    }

    /**
     * A camera that shows a rectangle of the plane z = 0, whose top is given first, over the whole viewport.
     */
    static Ref<Camera> MakeFlatCamera(RectangleT<RealFloat> const& view) {
        Ref<Camera> const pCamera(new CameraGL2);
        pCamera->GetOrthographicProperty().SetValue(true);
        pCamera->GetViewRectangleProperty().SetValue(view);
        pCamera->GetPositionProperty().SetValue(Vector(0, 0, 20));
        pCamera->GetNearProperty().SetValue(10);
        pCamera->GetFarProperty().SetValue(1000);
        return pCamera;
    }

    Spot Project(Node& node, double x, double y) {
        Vector2T<RealFloat> const spot = Device().ProjectCoordinate(
            node.GetWorldMatrix(), Vector4T<RealFloat>(RealFloat(x), RealFloat(y), 0, 1));
        return {spot.x, spot.y};
    }

    /** The outline of a sprite of this size, as the device projects it. */
    std::vector<Spot> ProjectOutline(Node& node, double width, double height) {
        Device().SetCameraDepth(true); // the default camera
        return {Project(node, 0, 0), Project(node, width, 0), Project(node, width, height),
                Project(node, 0, height)};
    }
};

TEST_F(DrawnSpace, TurnedSpritesLandWhereTheirCornersAreProjected) {
    struct Case {
        Vector position, rotation;
    };
    Case const cases[] = {{Vector(15, 10, 0), Vector(0, 0, 25)},
                          {Vector(20, 12, -20), Vector(50, 0, 0)},
                          {Vector(20, 12, 5), Vector(0, 60, 0)},
                          {Vector(22, 14, 8), Vector(25, -40, 15)}};
    Open();
    Ref<Sprite> const pSprite = AddSprite(Root(), 0, 0, 24, 15, {1, 1, 1});
    for (Case const& test : cases) {
        SCOPED_TRACE(testing::Message()
                     << test.rotation.x << ", " << test.rotation.y << ", " << test.rotation.z);
        pSprite->GetPositionProperty().SetValue(test.position);
        pSprite->GetRotationProperty().SetValue(test.rotation);
        Image const frame = DrawFrame();
        std::vector<Spot> const outline = ProjectOutline(*pSprite, 24, 15);
        int nInside = 0;
        for (int y = 0; y < Height; ++y) {
            for (int x = 0; x < Width; ++x) {
                // A pixel of tolerance: half of one is lost in the viewport's whole halves.
                double const inside = Inside(outline, {x + 0.5, y + 0.5});
                if (std::fabs(inside) > 1) {
                    ASSERT_EQ(frame.At(x, y).r, inside > 0 ? 255 : 0) << x << ", " << y;
                    nInside += inside > 0;
                }
            }
        }
        EXPECT_GT(nInside, 50);
    }
}

TEST_F(DrawnSpace, PicturesArePerspectivelyTrue) {
    // The middle of a receding picture is not the middle of what is seen of it.
    Image picture(40, 8, Pixel{255, 0, 0, 255});
    picture.Fill(20, 0, 20, 8, Pixel{0, 0, 255, 255});
    Open();
    Ref<Sprite> const pSprite = AddSprite(Root(), 8, 12, MakeTexture(picture));
    pSprite->GetRotationProperty().SetValue(Vector(0, 65, 0));
    pSprite->GetScaleProperty().SetValue(Vector(2, 1, 1));
    Image const frame = DrawFrame();
    Device().SetCameraDepth(true);
    double const start = Project(*pSprite, 0, 4).x;
    double const middle = Project(*pSprite, 20, 4).x;
    double const end = Project(*pSprite, 40, 4).x;
    ASSERT_GT(std::fabs(middle - (start + end) / 2), 4) << "flat interpolation would be noticed";
    int const row = static_cast<int>(Project(*pSprite, 20, 4).y);
    for (int x = static_cast<int>(start) + 2; x + 2 < end; ++x) {
        if (std::fabs(x + 0.5 - middle) > 1.5) {
            EXPECT_EQ(frame.At(x, row).r > frame.At(x, row).b, x + 0.5 < middle) << x;
        }
    }
}

TEST_F(DrawnSpace, ATimelinesCameraIsForItsChildrenAlone) {
    Open();
    // One unit is one pixel, counted from the top; everything in there is upside down.
    Image const picture = MakePicture(9, 5);
    Ref<Timeline> const pInner = AddTimeline(Root());
    pInner->SetCamera(MakeFlatCamera(RectangleT<RealFloat>(0, 0, Width, Height)).Get());
    AddSprite(*pInner, 3, 2, MakeTexture(picture));
    Ref<Timeline> const pInmost = AddTimeline(*pInner);
    pInmost->SetCamera(MakeFlatCamera(RectangleT<RealFloat>(0, 2 * Height, 2 * Width, 0)).Get());
    AddSprite(*pInmost, 40, 40, 30, 20, {0, 1, 0});
    AddSprite(*pInner, 30, 1, 6, 4, {1, 0, 0});
    AddSprite(Root(), 50, 30, 6, 4, {0, 0, 1});
    Canvas canvas(Width, Height, Black);
    canvas.Blend(3, Height - 2 - 5, Flip(picture));
    canvas.Blend(20, 20, 15, 10, {0, 1, 0});
    canvas.Blend(30, Height - 1 - 4, 6, 4, {1, 0, 0});
    canvas.Blend(50, 30, 6, 4, {0, 0, 1});
    EXPECT_TRUE(CompareImages(DrawFrame(), canvas.Picture(), Rounding));
}

TEST_F(DrawnSpace, CameraDepthLeadsBackToTheDefaultCameraUnlessATimelineForbidsIt) {
    struct Case {
        bool timeline, sprite, throughDefault;
    };
    Case const cases[] = {{true, true, true}, {true, false, false}, {false, true, false}};
    Open();
    Root().GetDepthProperty().SetValue(true); // or it would forbid all of them
    for (Case const& test : cases) {
        SCOPED_TRACE(testing::Message() << test.timeline << test.sprite);
        Ref<Timeline> const pInner = AddTimeline(Root());
        pInner->SetCamera(MakeFlatCamera(RectangleT<RealFloat>(0, 0, Width, Height)).Get());
        pInner->GetDepthProperty().SetValue(test.timeline);
        AddSprite(*pInner, 7, 3, 5, 4, {1, 1, 0})->GetDepthProperty().SetValue(test.sprite);
        Canvas canvas(Width, Height, Black);
        canvas.Blend(7, test.throughDefault ? 3 : Height - 3 - 4, 5, 4, {1, 1, 0});
        EXPECT_TRUE(CompareImages(DrawFrame(), canvas.Picture()));
        Root().Detach(pInner.Get());
    }
}

TEST_F(DrawnSpace, TheDepthTestPutsTheNearerOneInFront) {
    Open();
    Ref<Timeline> const pDeep = AddTimeline(Root());
    pDeep->GetDepthTestProperty().SetValue(1);
    Ref<Sprite> const pNear = AddSprite(*pDeep, 20, 10, 10, 10, {1, 0, 0});
    pNear->GetPositionProperty().SetValue(Vector(20, 10, 1));
    AddSprite(*pDeep, 10, 5, 40, 25, {0, 1, 0});
    Pixel const middle = DrawFrame().At(25, Height - 15);
    EXPECT_EQ(middle, (Pixel{255, 0, 0, 255}));
    pDeep->GetDepthTestProperty().SetValue(0);
    EXPECT_EQ(DrawFrame().At(25, Height - 15), (Pixel{0, 255, 0, 255})) << "the later one is in front";
}

/** Whether all pixels around are of this one's colour, so that being half a pixel off makes no difference. */
bool IsPlain(Image const& image, int x, int y) {
    for (int dy = -1; dy <= 1; ++dy) {
        for (int dx = -1; dx <= 1; ++dx) {
            int const column = std::clamp(x + dx, 0, image.Width() - 1);
            int const row = std::clamp(y + dy, 0, image.Height() - 1);
            if (image.At(column, row) != image.At(x, y))
                return false;
        }
    }
    return true;
}

class DrawnPicking : public DrawnSpace {
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

    void ComparePicksWithPixels() {
        Image const frame = DrawFrame();
        int nCompared = 0;
        for (int y = 0; y < Height; ++y) {
            for (int x = 0; x < Width; ++x) {
                if (IsPlain(frame, x, y)) {
                    ++nCompared;
                    ASSERT_EQ(Pick(x, y), frame.At(x, y)) << x << ", " << y;
                }
            }
        }
        EXPECT_GT(nCompared, Width * Height / 2);
        EXPECT_TRUE(CompareImages(DrawFrame(), frame)) << "picking leaves nothing behind";
    }
};

TEST_F(DrawnPicking, FindsTheSpriteOnTop) {
    Open();
    AddSprite(Root(), 4, 3, 30, 20, {1, 0, 0});
    Ref<Sprite> const pMiddle = AddSprite(Root(), 20, 10, 30, 20, {0, 1, 0});
    AddSprite(*pMiddle, 8, -6, 10, 20, {0, 0, 1});
    AddSprite(Root(), 2, 20, 12, 12, {1, 1, 1})->GetVisibleProperty().SetValue(false);
    ComparePicksWithPixels();
}

TEST_F(DrawnPicking, FindsTheNearerOfSpritesThatIntersect) {
    Open();
    Ref<Timeline> const pDeep = AddTimeline(Root());
    pDeep->GetDepthTestProperty().SetValue(1);
    AddSprite(*pDeep, 10, 5, 35, 25, {1, 0, 0})->GetRotationProperty().SetValue(Vector(0, 40, 0));
    Ref<Sprite> const pTurned = AddSprite(*pDeep, 15, 5, 35, 25, {0, 1, 0});
    pTurned->GetRotationProperty().SetValue(Vector(0, -40, 10));
    pTurned->GetPositionProperty().SetValue(Vector(15, 5, -25));
    Ref<Sprite> const pTilted = AddSprite(*pDeep, 5, 2, 50, 30, {0, 0, 1});
    pTilted->GetRotationProperty().SetValue(Vector(-60, 0, 0));
    ComparePicksWithPixels();
}

} // namespace
} // namespace kelvo::test
