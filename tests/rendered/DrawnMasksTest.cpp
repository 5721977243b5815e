// Masks on a real driver: what is seen of what they cover, and what they leave behind in the stencil buffer.

#include "Stage.h"

#include "trevik/kelvo/Mask.h"

#include <GLES2/gl2.h>

#include <algorithm>
#include <cmath>

namespace kelvo::test {
namespace {

using namespace trevik::kelvo;

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

/** A node that has what follows drawn where the stencil buffer holds a value. */
class StencilTest : public TransformNode {
public:
    explicit StencilTest(int nValue) : m_nValue(nValue) {}
    void InternalRender(GraphicsDevice&) override {
        glEnable(GL_STENCIL_TEST);
        glStencilFunc(GL_EQUAL, m_nValue, ~0u);
        glStencilOp(GL_KEEP, GL_KEEP, GL_KEEP);
    }

private:
    int m_nValue;
};

class DrawnMasks : public Stage {
protected:
    /** A timeline with masks and a sprite that covers all that they leave of the window. */
    Ref<Timeline> AddMasked(Node& parent, std::vector<Triangles> const& masks, Shade const& shade) {
        Ref<Timeline> const pTimeline = AddTimeline(parent);
        for (Triangles const& triangles : masks) {
            Ref<Mask> const pMask(new Mask);
            EXPECT_TRUE(pMask->SetTriangles(triangles.data()->corners, 3 * unsigned(triangles.size())));
            pTimeline->AddMask(pMask.Get());
        }
        AddSprite(*pTimeline, -Width, -Height, 3 * Width, 3 * Height, shade);
        return pTimeline;
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

TEST_F(DrawnMasks, NestedTrianglesShowTheirIntersectionOnlyAndFollowTheirNode) {
    Open();
    // Turned by a right angle, twice as large, and moved: (x, y) goes to (60 - 2 y, 2 x).
    Triangles const mask = {{{{1, 2, 0}, {4, 28, 0}, {17, 20, 0}}}};
    Triangles outer = mask;
    for (Vector& corner : outer[0].corners)
        corner = Vector(60 - 2 * corner.y, 2 * corner.x, 0);
    Triangles const middle = {{{{10, 33, 0}, {50, 30, 0}, {31, 3, 0}}}};
    Triangles const inner = {{{{21, 4, 0}, {58, 12, 0}, {18, 25, 0}}}};
    Ref<Timeline> const pOuter = AddMasked(Root(), {mask}, {1, 0, 0});
    pOuter->GetPositionProperty().SetValue(Vector(60, 0, 0));
    pOuter->GetRotationProperty().SetValue(Vector(0, 0, 90));
    pOuter->GetScaleProperty().SetValue(Vector(2, 2, 1));
    CompareRegions(DrawFrame(), {{{outer}, Red8}});
    Root().Detach(pOuter.Get());
    Ref<Timeline> const pMiddle = AddMasked(*AddMasked(Root(), {outer}, {1, 0, 0}), {middle}, {0, 1, 0});
    AddMasked(*pMiddle, {inner}, {0, 0, 1});
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
    Triangles const lower = {{{{-9, -9, 0}, {120, -9, 0}, {-9, 30, 0}}}};
    AddMasked(*AddMasked(Root(), {first, second}, {1, 0, 0}), {lower}, {0, 1, 0});
    CompareRegions(DrawFrame(), {{{all, lower}, Green8}, {{all}, Red8}});
}

TEST_F(DrawnMasks, FifteenLevelsAreToldApartAndLeaveNothingBehind) {
    Open();
    Canvas canvas(Width, Height);
    Ref<Timeline> pParent(&Root());
    for (int i = 0; i < 15; ++i) {
        // Each a pixel or more smaller on the left and below, and all of them open to the right.
        float const x = float(3 * i), y = float(2 * i);
        Shade const shade = {i % 2 ? 1.0 : 0.0, i / 14.0, 1};
        pParent = AddMasked(*pParent,
                            {{{{{x, y, 0}, {x, y + 99, 0}, {x + 99, y, 0}}},
                              {{{x + 99, y, 0}, {x, y + 99, 0}, {x + 99, y + 99, 0}}}}},
                            shade);
        canvas.Blend(3 * i, 2 * i, Width, Height, shade);
    }
    pParent->Attach(new StencilTest(15));
    AddSprite(*pParent, 0, 0, Width, Height, {1, 1, 1});
    canvas.Blend(42, 28, Width, Height, {1, 1, 1});
    EXPECT_TRUE(Shows(canvas));
    // After all of it, the whole of the buffer is 0 again.
    Root().Attach(new StencilTest(0));
    AddSprite(Root(), 0, 0, Width, Height, {0, 0, 1});
    EXPECT_TRUE(Shows(Canvas(Width, Height, {0, 0, 1})));
}

} // namespace
} // namespace kelvo::test
