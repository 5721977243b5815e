// Masks on a real driver: what is seen of what they cover, and what they leave behind in the stencil buffer.

#include "kelvo_test/Stage.h"
#include "trevik/kelvo/Mask.h"

#include <GLES2/gl2.h>

namespace kelvokit::test {
namespace {

using namespace trevik::kelvo;

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
    struct Box {
        float x, y, width, height;
    };
    /** A timeline with a mask for each box and a sprite that covers all that they leave of the window. */
    Ref<Timeline> AddMasked(Node& parent, std::vector<Box> const& boxes, Shade const& shade) {
        Ref<Timeline> const pTimeline = AddTimeline(parent);
        for (Box const& box : boxes) {
            Vector const a = {box.x, box.y, 0}, b = {box.x + box.width, box.y, 0},
                         c = {box.x, box.y + box.height, 0}, d = {box.x + box.width, box.y + box.height, 0};
            // One way round and the other, and one triangle twice.
            Vector const corners[] = {a, b, c, c, b, d, a, c, b};
            Ref<Mask> const pMask(new Mask);
            EXPECT_TRUE(pMask->SetTriangles(corners, 9));
            pTimeline->AddMask(pMask.Get());
        }
        AddSprite(*pTimeline, -Width, -Height, 3 * Width, 3 * Height, shade);
        return pTimeline;
    }
};

TEST_F(DrawnMasks, OneOfSeveralIsEnoughNestedOnesCutEachOtherAndAllFollowTheirNodes) {
    Open();
    Ref<Timeline> const pOuter = AddMasked(Root(), {{4, 3, 30, 20}, {20, 9, 35, 25}}, {1, 0, 0});
    // Turned by a right angle, twice as large, and moved: (x, y) goes to (52 - 2 y, 6 + 2 x).
    Ref<Timeline> const pTurned = AddMasked(*pOuter, {{2, 1, 9, 20}}, {0, 1, 0});
    pTurned->GetPositionProperty().SetValue(Vector(52, 6, 0));
    pTurned->GetRotationProperty().SetValue(Vector(0, 0, 90));
    pTurned->GetScaleProperty().SetValue(Vector(2, 2, 1));
    Canvas canvas(Width, Height);
    canvas.Blend(4, 3, 30, 20, {1, 0, 0});
    canvas.Blend(20, 9, 35, 25, {1, 0, 0});
    canvas.Blend(10, 10, 24, 13, {0, 1, 0}); // what the first has of (10, 10) to (50, 28)
    canvas.Blend(20, 10, 30, 18, {0, 1, 0});
    EXPECT_TRUE(Shows(canvas));
}

TEST_F(DrawnMasks, FifteenLevelsAreToldApartAndLeaveNothingBehind) {
    Open();
    Canvas canvas(Width, Height);
    Ref<Timeline> pParent(&Root());
    for (int i = 0; i < 15; ++i) {
        // Each a pixel or more smaller on the left and below, and all of them open to the right.
        Shade const shade = {i % 2 ? 1.0 : 0.0, i / 14.0, 1};
        pParent = AddMasked(*pParent, {{float(3 * i), float(2 * i), 99, 99}}, shade);
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
} // namespace kelvokit::test
