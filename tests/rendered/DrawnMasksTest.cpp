// Masks on a real driver: what is seen of what they cover, and what they leave behind in the stencil buffer.

#include "Stage.h"

#include "trevik/kelvo/Mask.h"

#include <GLES2/gl2.h>

#include <algorithm>
#include <cmath>

namespace kelvo::test {
namespace {

using namespace trevik::kelvo;

constexpr Shade Black = {0, 0, 0, 1};
constexpr Pixel Black8 = {0, 0, 0, 255};
constexpr Pixel Red8 = {255, 0, 0, 255};
constexpr Pixel Green8 = {0, 255, 0, 255};
constexpr Pixel Blue8 = {0, 0, 255, 255};

struct Triangle {
    Vector corners[3];
};
using Triangles = std::vector<Triangle>;

/** How far a point lies inside a triangle, in its own units; negative outside. */
double Inside(Triangle const& triangle, double x, double y) {
    double inside[2] = {1e9, 1e9}; // for either way round
    for (int i = 0; i < 3; ++i) {
        Vector const& a = triangle.corners[i];
        Vector const& b = triangle.corners[(i + 1) % 3];
        double const distance = (double(b.x - a.x) * (y - a.y) - double(b.y - a.y) * (x - a.x)) /
                                std::hypot(b.x - a.x, b.y - a.y);
        inside[0] = std::min(inside[0], distance);
        inside[1] = std::min(inside[1], -distance);
    }
    return std::max(inside[0], inside[1]);
}

/** Of several triangles; where they overlap, that of the one that the point lies deepest in. */
double Inside(Triangles const& triangles, double x, double y) {
    double inside = -1e9;
    for (Triangle const& triangle : triangles)
        inside = std::max(inside, Inside(triangle, x, y));
    return inside;
}

Triangles Rectangle(float x, float y, float width, float height) {
    Vector const a = {x, y, 0}, b = {x + width, y, 0}, c = {x, y + height, 0}, d = {x + width, y + height, 0};
    return {{{a, b, c}}, {{c, b, d}}};
}

/** A node that changes the stencil test as it is drawn, for those after it. */
class StencilTest : public TransformNode {
public:
    explicit StencilTest(bool fOn, int nValue = 0) : m_fOn(fOn), m_nValue(nValue) {}
    void InternalRender(GraphicsDevice&) override {
        (m_fOn ? glEnable : glDisable)(GL_STENCIL_TEST);
        glStencilFunc(GL_EQUAL, m_nValue, ~0u);
        glStencilOp(GL_KEEP, GL_KEEP, GL_KEEP);
    }

private:
    bool m_fOn;
    int m_nValue;
};

class DrawnMasks : public Stage {
protected:
    Ref<Timeline> AddTimeline(Node& parent, std::vector<Triangles> const& masks = {}) {
        Ref<Timeline> const pTimeline(
            static_cast<Timeline*>(m_registry.Create(trevik::HashName("Timeline"))));
        AddMasks(*pTimeline, masks);
        parent.Attach(pTimeline.Get());
        return pTimeline;
    }

    static void AddMasks(Node& node, std::vector<Triangles> const& masks) {
        for (Triangles const& triangles : masks) {
            Ref<Mask> const pMask(new Mask);
            ASSERT_TRUE(pMask->SetTriangles(triangles.data()->corners, 3 * unsigned(triangles.size())));
            node.AddMask(pMask.Get());
        }
    }

    /** Covers all of what is drawn before where the stencil buffer holds a value. */
    void ShowStencil(Node& parent, int nValue, Shade const& shade) {
        parent.Attach(new StencilTest(true, nValue));
        AddSprite(parent, 0, 0, Width, Height, shade);
        parent.Attach(new StencilTest(false));
    }

    /** Fails unless every pixel of a frame is the colour of the first region that has it well inside. */
    struct Region {
        std::vector<Triangles> cuts; ///< all of which a pixel lies in
        Pixel colour;
    };
    void CompareRegions(Image const& frame, std::vector<Region> const& regions) {
        m_nSeen.assign(regions.size(), 0);
        for (int y = 0; y < frame.Height(); ++y) {
            for (int x = 0; x < frame.Width(); ++x)
                ComparePixel(frame, x, y, regions);
        }
        for (std::size_t i = 0; i < regions.size(); ++i)
            EXPECT_GT(m_nSeen[i], 20) << "region " << i << " is hardly seen";
    }

private:
    void ComparePixel(Image const& frame, int x, int y, std::vector<Region> const& regions) {
        for (std::size_t i = 0; i < regions.size(); ++i) {
            double inside = 1e9;
            for (Triangles const& cut : regions[i].cuts)
                inside = std::min(inside, Inside(cut, x + 0.5, frame.Height() - y - 0.5));
            if (std::fabs(inside) < 0.02)
                return; // whose centre lies on an edge may belong to either side
            if (inside > 0) {
                ASSERT_EQ(frame.At(x, y), regions[i].colour) << x << ", " << y;
                ++m_nSeen[i];
                return;
            }
        }
        ASSERT_EQ(frame.At(x, y), Black8) << x << ", " << y;
    }

    std::vector<int> m_nSeen; ///< pixels of each region
};

TEST_F(DrawnMasks, NestedTrianglesShowTheirIntersectionOnly) {
    Open();
    Triangles const outer = {{{{3, 2, 0}, {57, 8, 0}, {20, 35, 0}}}};
    Triangles const middle = {{{{10, 33, 0}, {50, 30, 0}, {31, 3, 0}}}};
    Triangles const inner = {{{{21, 4, 0}, {58, 12, 0}, {18, 25, 0}}}};
    Ref<Timeline> const pOuter = AddTimeline(Root(), {outer});
    AddSprite(*pOuter, 0, 0, Width, Height, {1, 0, 0});
    Ref<Timeline> const pMiddle = AddTimeline(*pOuter, {middle});
    AddSprite(*pMiddle, 0, 0, Width, Height, {0, 1, 0});
    Ref<Timeline> const pInner = AddTimeline(*pMiddle, {inner});
    AddSprite(*pInner, 0, 0, Width, Height, {0, 0, 1});
    CompareRegions(DrawFrame(),
                   {{{outer, middle, inner}, Blue8}, {{outer, middle}, Green8}, {{outer}, Red8}});
}

TEST_F(DrawnMasks, OfSeveralMasksAndTrianglesOneIsEnoughHoweverTheyOverlap) {
    Open();
    // Both ways round, one over the other, and the same one twice.
    Triangles const first = {{{{3, 3, 0}, {30, 5, 0}, {12, 30, 0}}}, {{{8, 4, 0}, {10, 33, 0}, {40, 20, 0}}}};
    Triangles const second = {first[0], {{{30, 10, 0}, {58, 12, 0}, {44, 35, 0}}}};
    Triangles all = first;
    all.insert(all.end(), second.begin(), second.end());
    Ref<Timeline> const pTimeline = AddTimeline(Root(), {first, second});
    AddSprite(*pTimeline, 0, 0, Width, Height, {1, 0, 0});
    Ref<Timeline> const pInside = AddTimeline(*pTimeline, {Rectangle(0, 0, Width, 15)});
    AddSprite(*pInside, 0, 0, Width, Height, {0, 1, 0});
    CompareRegions(DrawFrame(), {{{all, Rectangle(0, 0, Width, 15)}, Green8}, {{all}, Red8}});
}

TEST_F(DrawnMasks, FollowTheNodeThatTheyBelongTo) {
    Open();
    // Turned by a right angle, twice as large, and moved: (x, y) goes to (40 - 2 y, 6 + 2 x).
    Triangles const mask = {{{{1, 2, 0}, {13, 4, 0}, {5, 17, 0}}}};
    Ref<Timeline> const pTimeline = AddTimeline(Root(), {mask});
    pTimeline->GetPositionProperty().SetValue(Vector(40, 6, 0));
    pTimeline->GetRotationProperty().SetValue(Vector(0, 0, 90));
    pTimeline->GetScaleProperty().SetValue(Vector(2, 2, 1));
    AddSprite(*pTimeline, -30, -30, 60, 60, {1, 0, 0});
    Triangles seen = mask;
    for (Vector& corner : seen[0].corners)
        corner = Vector(40 - 2 * corner.y, 6 + 2 * corner.x, 0);
    CompareRegions(DrawFrame(), {{{seen}, Red8}});
}

TEST_F(DrawnMasks, OfASpriteCutItAlone) {
    Open();
    Ref<Sprite> const pSprite = AddSprite(Root(), 5, 4, 30, 20, {1, 0, 0});
    AddMasks(*pSprite, {Rectangle(2, 3, 11, 9)});
    AddSprite(Root(), 20, 10, 35, 22, {0, 1, 0});
    Canvas canvas(Width, Height, Black);
    canvas.Blend(7, 7, 11, 9, {1, 0, 0});
    canvas.Blend(20, 10, 35, 22, {0, 1, 0});
    EXPECT_TRUE(CompareImages(DrawFrame(), canvas.Picture()));
}

TEST_F(DrawnMasks, FifteenLevelsAreToldApart) {
    Open();
    Canvas canvas(Width, Height, Black);
    Node* pParent = &Root();
    for (int i = 0; i < 15; ++i) {
        // Each a pixel smaller on the left and below, and all of them open to the right.
        Ref<Timeline> const pTimeline =
            AddTimeline(*pParent, {Rectangle(float(3 * i), float(2 * i), 70, 40)});
        Shade const shade = {i % 2 ? 1.0 : 0.0, i / 14.0, 1};
        AddSprite(*pTimeline, 0, 0, Width, Height, shade);
        canvas.Blend(3 * i, 2 * i, Width, Height, shade);
        pParent = pTimeline.Get();
    }
    ShowStencil(*pParent, 15, {1, 1, 1});
    canvas.Blend(42, 28, Width, Height, {1, 1, 1});
    EXPECT_TRUE(CompareImages(DrawFrame(), canvas.Picture(), Rounding));
}

TEST_F(DrawnMasks, RaiseTheStencilInsideAndLeaveItAsItWas) {
    Open();
    std::vector<Triangles> const overlapping = {Rectangle(4, 3, 30, 20), Rectangle(20, 9, 35, 25)};
    Ref<Timeline> const pOuter = AddTimeline(Root(), overlapping);
    ShowStencil(*pOuter, 0, {1, 1, 1}); // in a mask there is no such place but outside
    ShowStencil(*pOuter, 1, {1, 0, 0});
    Ref<Timeline> const pInner = AddTimeline(*pOuter, {Rectangle(10, 5, 30, 12)});
    AddSprite(*pInner, 0, 0, 1, 1, {1, 1, 1});
    Canvas within(Width, Height, {1, 1, 1});
    within.Blend(4, 3, 30, 20, {1, 0, 0});
    within.Blend(20, 9, 35, 25, {1, 0, 0});
    EXPECT_TRUE(CompareImages(DrawFrame(), within.Picture(), Tolerance(), "inside"));
    // After all of it, the whole of the buffer is 0 again.
    ShowStencil(Root(), 0, {0, 0, 1});
    Canvas after(Width, Height, {0, 0, 1});
    EXPECT_TRUE(CompareImages(DrawFrame(), after.Picture(), Tolerance(), "after"));
}

} // namespace
} // namespace kelvo::test
