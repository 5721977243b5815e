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

TEST_F(Masks, PushRaisesTheStencilInsideAndPopLowersItAgain) {
    BringUp();
    Ref<Mask> const pFirst = MakeMask(10);
    Ref<Mask> const pSecond = MakeMask(20);
    List<Mask*> masks;
    masks.Append(pFirst.Get());
    masks.Append(pSecond.Get());
    Device().SetActiveShader(Device().GetShader(-2)); // so that binding it is none of the calls
    Clear();
    EXPECT_TRUE(Device().PushMasks(masks));
    // Disabling the texture target is no valid call; it is made all the same.
    EXPECT_TRUE(
        CallsAre({"glEnable(GL_STENCIL_TEST)", "glDisable(GL_TEXTURE_2D)", "glDepthMask(GL_FALSE)",
                  "glColorMask(GL_FALSE, GL_FALSE, GL_FALSE, GL_FALSE)",
                  "glStencilFunc(GL_EQUAL, 0, 0xFFFFFFFF)", "glStencilOp(GL_KEEP, GL_INCR, GL_INCR)",
                  "glUniform4f(vColor, 1, 1, 1, 1)", "glUniformMatrix4fv(mWorldToView, *)",
                  "glVertexAttribPointer(0, 3, GL_FLOAT, GL_FALSE, 0, *)", "glDrawArrays(GL_TRIANGLES, 0, 3)",
                  "glVertexAttribPointer(0, 3, GL_FLOAT, GL_FALSE, 0, *)", "glDrawArrays(GL_TRIANGLES, 0, 3)",
                  "glColorMask(GL_TRUE, GL_TRUE, GL_TRUE, GL_TRUE)", "glStencilFunc(GL_EQUAL, 1, 0xFFFFFFFF)",
                  "glStencilOp(GL_KEEP, GL_KEEP, GL_KEEP)", "glDepthMask(GL_TRUE)"},
                 CallsOf({"glEnable", "glDisable", "glDepthMask", "glColorMask", "glStencil*", "glUniform*",
                          "glVertexAttribPointer", "glDrawArrays"})));
    EXPECT_EQ(Draws()[0].Values(0), (std::vector<float>{10, 0, 0, 11, 0, 0, 10, 2, 0}));
    EXPECT_EQ(Draws()[1].Values(0), (std::vector<float>{20, 0, 0, 21, 0, 0, 20, 2, 0}));
    Clear();
    EXPECT_TRUE(Device().PopMasks(masks));
    EXPECT_CALLS("glDisable(GL_TEXTURE_2D)", "glDepthMask(GL_FALSE)",
                 "glColorMask(GL_FALSE, GL_FALSE, GL_FALSE, GL_FALSE)",
                 "glStencilFunc(GL_EQUAL, 1, 0xFFFFFFFF)", "glStencilOp(GL_KEEP, GL_DECR, GL_DECR)",
                 "glUniform4f(vColor, 1, 1, 1, 1)", "glUniformMatrix4fv(mWorldToView, *)",
                 "glVertexAttribPointer", "glDrawArrays(GL_TRIANGLES, 0, 3)", "glVertexAttribPointer",
                 "glDrawArrays(GL_TRIANGLES, 0, 3)", "glColorMask(GL_TRUE, GL_TRUE, GL_TRUE, GL_TRUE)",
                 "glDisable(GL_STENCIL_TEST)", "glDepthMask(GL_TRUE)");
}

TEST_F(Masks, AreDrawnWithModelViewTimesProjection) {
    BringUp();
    Device().PushCamera2D(101, 101);
    Device().SetModelViewMatrix(Matrix4Translation(Vector3T<RealFloat>(50, 0, 0)));
    Ref<Mask> const pMask = MakeMask(0);
    List<Mask*> masks;
    masks.Append(pMask.Get());
    Device().PushMasks(masks);
    std::vector<float> const matrix = Draws()[0].Uniform("mWorldToView");
    ASSERT_EQ(matrix.size(), 16u);
    // The origin, moved to the middle of a picture 101 wide, is in the middle of clip space.
    EXPECT_FLOAT_EQ(matrix[12], 0);
    EXPECT_FLOAT_EQ(matrix[0], 0.02f);
    EXPECT_EQ(Draws()[0].state.colorMask, (std::array<bool, 4>{}));
    EXPECT_FALSE(Draws()[0].state.depthMask);
}

TEST_F(Masks, TheLevelGoesOnWhereTheStencilValueCannot) {
    BringUp();
    Ref<Mask> const pMask = MakeMask(0);
    List<Mask*> masks, none;
    masks.Append(pMask.Get());
    for (int i = 0; i < 17; ++i) {
        Device().PushMasks(masks);
        Device().PushMasks(none); // counts for nothing
    }
    EXPECT_EQ(GetState().stencilFront.ref, 17);
    for (int i = 0; i < 17; ++i) {
        EXPECT_TRUE(GetState().IsEnabled(GL_STENCIL_TEST));
        Device().PopMasks(none);
        Device().PopMasks(masks);
    }
    EXPECT_FALSE(GetState().IsEnabled(GL_STENCIL_TEST));
    Device().PushMasks(masks);
    EXPECT_EQ(GetState().stencilFront.ref, 1) << "back at the bottom";
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

TEST_F(MasksOfNodes, ChildrenDrawAtTheLevelOfAllMasksAboveThem) {
    Ref<TimelineGL2> const pOuter(new TimelineGL2);
    Ref<TimelineGL2> const pInner(new TimelineGL2);
    Ref<SpriteGL2> const pMasked = MakeSprite(4, 4);
    pOuter->AddMask(MakeMask().Get());
    pOuter->AddMask(MakeMask().Get());
    pInner->AddMask(MakeMask().Get());
    pMasked->AddMask(MakeMask().Get());
    pOuter->GetPositionProperty().SetValue({5, 0, 0});
    pInner->GetPositionProperty().SetValue({0, 7, 0});
    pMasked->GetPositionProperty().SetValue({3, 0, 0});
    pOuter->Attach(MakeSprite(1, 1).Get());
    pOuter->Attach(pInner.Get());
    pInner->Attach(pMasked.Get());
    pInner->Attach(MakeSprite(2, 2).Get());
    pOuter->Attach(MakeSprite(3, 3).Get());
    Ref<TimelineGL2> const pRoot(new TimelineGL2);
    pRoot->Attach(pOuter.Get());
    pRoot->Attach(MakeSprite(5, 5).Get());
    Draw(*pRoot);
    Strings found;
    for (recording::Draw const& draw : Draws()) {
        found.push_back(Describe(draw));
    }
    EXPECT_EQ(found,
              (Strings{"+0", "+0", "=1", "+1", "+2", "=3", "-3", "=2", "-2", "=1", "-1", "-1", "free"}));
    // Each mask is lowered where it was raised: in its own node's space.
    auto const matrix = [](std::size_t draw) { return Draws().at(draw).Uniform("mWorldToView"); };
    EXPECT_EQ(matrix(0), matrix(10));
    EXPECT_EQ(matrix(1), matrix(11));
    EXPECT_EQ(matrix(3), matrix(8));
    EXPECT_EQ(matrix(4), matrix(6));
    EXPECT_EQ(matrix(4), matrix(5)) << "the sprite's own";
    EXPECT_NE(matrix(3), matrix(1));
    EXPECT_NE(matrix(3), matrix(4));
}

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
