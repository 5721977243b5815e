// Nested stencil masks.

#include "NodeTest.h"

#include "TimelineGL2.h"

namespace {

using namespace recording;
using namespace trevik;
using namespace trevik::kelvo;

class Masks : public DeviceTest {
protected:
    /** A mask of one triangle, right-angled at (x, 0). */
    static Ref<Mask> MakeMask(RealFloat x) {
        Vector3T<RealFloat> const corners[] = {{x, 0, 0}, {x + 1, 0, 0}, {x, 2, 0}};
        Ref<Mask> pMask(new Mask);
        EXPECT_TRUE(pMask->SetTriangles(corners, 3));
        return pMask;
    }
};

TEST_F(Masks, AnEmptyListCallsNothing) {
    BringUp();
    List<Mask*> none;
    EXPECT_TRUE(Device().PushMasks(none));
    EXPECT_TRUE(Device().PopMasks(none));
    EXPECT_CALLS();
}

class MasksOfNodes : public NodeTest {
protected:
    /** How a draw met the stencil buffer: "+1" raised it where it was 1, "-1" lowered it there, "=1" passed
     * there. */
    static std::string Describe(recording::Draw const& draw) {
        StencilFace const& face = draw.state.stencilFront;
        if (!draw.state.IsEnabled(GL_STENCIL_TEST)) {
            return "free";
        }
        EXPECT_EQ(face.func, GLenum(GL_EQUAL));
        EXPECT_EQ(face.fail, GLenum(GL_KEEP));
        EXPECT_EQ(face.depthFail, face.depthPass) << "whatever the depth test says";
        bool const fVisible = draw.state.colorMask[0] && draw.state.depthMask;
        EXPECT_EQ(fVisible, face.depthPass == GL_KEEP) << "masks themselves are not seen";
        char const* const pChange = face.depthPass == GL_INCR ? "+" : face.depthPass == GL_DECR ? "-" : "=";
        return pChange + std::to_string(face.ref);
    }
};

TEST_F(MasksOfNodes, AreTakenBackWhenNothingIsDrawnInside) {
    Ref<SpriteGL2> const pSprite = MakeSprite(4, 4);
    pSprite->AddMask(MakeMask().Get());
    pSprite->GetBlendModeProperty().SetValue(5); // which the sprite leaves to an effect
    Draw(*pSprite);
    ASSERT_EQ(Draws().size(), 2u);
    EXPECT_EQ(Describe(Draws()[0]), "+0");
    EXPECT_EQ(Describe(Draws()[1]), "-1");
    EXPECT_FALSE(GetState().IsEnabled(GL_STENCIL_TEST));
}

} // namespace
