// Effects that draw a sprite in its place: the directional blur and the blend modes.

#include "NodeTest.h"

#include "BlendModeEffectGL2.h"
#include "DirectionalBlurEffectGL2.h"

namespace {

using namespace recording;
using namespace trevik;
using namespace trevik::kelvo;

using Floats = std::vector<float>;
using Vector = Vector3T<RealFloat>;

/** A sprite of 8 x 4 over a texture of 16 x 8, and one effect of a kind. */
template <class T>
class SpriteEffect : public NodeTest {
protected:
    SpriteEffect() : m_pEffect(new T), m_pSprite(MakeSprite(8, 4)) {
        m_pSprite->SetTexture(MakeTexture(16, 8).Get());
        m_pSprite->AddEffect(m_pEffect.Get());
        m_pSprite->GetPositionProperty().SetValue(Vector(3, 2, 0));
        m_pSprite->GetOpacityProperty().SetValue(0.25f);
    }

    recording::Draw DrawOnce(int blendMode = BlendMode::Normal) {
        m_pSprite->GetBlendModeProperty().SetValue(blendMode);
        Draw(*m_pSprite);
        EXPECT_EQ(Draws().size(), 1u);
        return Draws().at(0);
    }

    static Floats Elements(Matrix4T<RealFloat> const& matrix) { return Floats(matrix.m, matrix.m + 16); }

    /** That corners and texture coordinates went to GL with the bits of floats. */
    void ExpectFixedStreams(recording::Draw const& draw) {
        Vector2T<RealFloat> coords[4];
        m_pSprite->GetTextureCoords(coords);
        EXPECT_EQ(draw.streams.at(0).RawFloats(), (Floats{0, 0, 0, 0, 4, 0, 8, 0, 0, 8, 4, 0}));
        EXPECT_EQ(draw.streams.at(1).RawFloats(),
                  (Floats{coords[0].x, coords[0].y, coords[1].x, coords[1].y, coords[2].x, coords[2].y,
                          coords[3].x, coords[3].y}));
    }

    Ref<T> m_pEffect;
    Ref<SpriteGL2> m_pSprite;
};

using DirectionalBlur = SpriteEffect<DirectionalBlurEffectGL2>;

TEST_F(DirectionalBlur, WidensQuadAndTextureByItsReachInAFixedOrder) {
    m_pEffect->GetDirectionProperty().SetValue(Vector(-3, 1, 5));
    m_pEffect->GetAmountProperty().SetValue(2);
    DrawOnce();
    recording::Draw const draw = DrawOnce();
    EXPECT_CALLS("glVertexAttribPointer(0, 3, GL_FIXED, GL_FALSE, 0, *)",
                 "glVertexAttribPointer(1, 2, GL_FIXED, GL_FALSE, 0, *)",
                 "glUseProgram(" + std::to_string(ProgramName(11)) + ")", "glEnableVertexAttribArray(0)",
                 "glEnableVertexAttribArray(1)", "glUniform1i(sTexture, 0)", "glActiveTexture(GL_TEXTURE0)",
                 "glBindTexture(GL_TEXTURE_2D, *)", "glUniformMatrix4fv(mWorldToView, 1, GL_FALSE, *)",
                 "glUniformMatrix4fv(mViewToViewport, 1, GL_FALSE, *)",
                 "glUniformMatrix4fv(mTextureScale, 1, GL_FALSE, *)", "glUniform4f(vColor, 1, 1, 1, 0.25)",
                 "glUniform2f(vOffset, 0.375, 0.25)", "glUniform2f(vTextureScale, 0.0625, 0.125)",
                 "glBlendFuncSeparate(GL_SRC_ALPHA, GL_ONE_MINUS_SRC_ALPHA, GL_ONE, GL_ONE_MINUS_SRC_ALPHA)",
                 "glBlendEquationSeparate(GL_FUNC_ADD, GL_FUNC_ADD)",
                 "glDrawArrays(GL_TRIANGLE_STRIP, 0, 4)");
    ExpectFixedStreams(draw);
    // |direction| times amount over the texture's allocated size.
    float const sx = 6.0f / 16;
    float const sy = 2.0f / 8;
    Matrix4T<RealFloat> scale;
    scale[0] = 1 + sx;
    scale[5] = 1 + sy;
    EXPECT_EQ(draw.Uniform("mWorldToView"), Elements(Device().GetModelViewMatrix() * scale));
    EXPECT_EQ(draw.Uniform("mViewToViewport"), Elements(Device().GetProjectionMatrix()));
    // Texture coordinates grow about the texture's middle.
    Floats const texture = draw.Uniform("mTextureScale");
    EXPECT_EQ(texture, (Floats{1 + sx, 0, 0, 0, 0, 1 + sy, 0, 0, 0, 0, 1, 0, -sx / 2, -sy / 2, 0, 1}));
    EXPECT_EQ(draw.Texture("sTexture"), static_cast<TextureGL2*>(m_pSprite->GetTexture())->GetGLTexture());
}

TEST_F(DirectionalBlur, IsAdditiveInTheAdditiveModeOnly) {
    for (int mode : {int(BlendMode::Normal), int(BlendMode::Additive), int(BlendMode::Multiply)}) {
        SCOPED_TRACE(mode);
        recording::State const state = DrawOnce(mode).state;
        EXPECT_EQ(state.blendSourceRGB, GLenum(GL_SRC_ALPHA));
        EXPECT_EQ(state.blendTargetRGB,
                  GLenum(mode == BlendMode::Additive ? GL_ONE : GL_ONE_MINUS_SRC_ALPHA));
        EXPECT_EQ(state.blendSourceAlpha, GLenum(GL_ONE));
        EXPECT_EQ(state.blendTargetAlpha, GLenum(GL_ONE_MINUS_SRC_ALPHA));
        EXPECT_EQ(state.blendEquationRGB, GLenum(GL_FUNC_ADD));
    }
}

using BlendModes = SpriteEffect<BlendModeEffectGL2>;

TEST_F(BlendModes, SetInAFixedOrderWithoutAProjection) {
    DrawOnce(BlendMode::Screen);
    recording::Draw const draw = DrawOnce(BlendMode::Screen);
    // No program declares a uniform for the second matrix, which is set all the same.
    EXPECT_CALLS("glVertexAttribPointer(0, 3, GL_FIXED, GL_FALSE, 0, *)",
                 "glVertexAttribPointer(1, 2, GL_FIXED, GL_FALSE, 0, *)",
                 "glUseProgram(" + std::to_string(ProgramName(13)) + ")", "glEnableVertexAttribArray(0)",
                 "glEnableVertexAttribArray(1)", "glUniform1i(sTexture, 0)", "glActiveTexture(GL_TEXTURE0)",
                 "glBindTexture(GL_TEXTURE_2D, *)", "glUniformMatrix4fv(mWorldToView, 1, GL_FALSE, *)",
                 "glUniformMatrix4fv(-1, 1, GL_FALSE, *)", "glUniform4f(vColor, 1, 1, 1, 0.25)",
                 "glBlendFuncSeparate(GL_ONE_MINUS_DST_COLOR, GL_ONE, GL_ONE, GL_ONE_MINUS_SRC_ALPHA)",
                 "glBlendEquationSeparate(GL_FUNC_ADD, GL_FUNC_ADD)",
                 "glDrawArrays(GL_TRIANGLE_STRIP, 0, 4)");
    ExpectFixedStreams(draw);
    EXPECT_EQ(draw.Uniform("mWorldToView"), Elements(Device().GetModelViewMatrix()));
    EXPECT_EQ(draw.Texture("sTexture"), static_cast<TextureGL2*>(m_pSprite->GetTexture())->GetGLTexture());
}

TEST_F(BlendModes, EachHasItsProgramAndFactors) {
    enum Program { Textured, ColorDodge, Multiply, Screen }; // as they were made; -1 is the first of all
    struct Case {
        int mode;
        Program program;
        GLenum source, destination;
    };
    constexpr GLenum Alpha = GL_SRC_ALPHA;
    constexpr GLenum Rest = GL_ONE_MINUS_SRC_ALPHA;
    std::vector<Case> cases = {
        {4, Textured, Alpha, GL_ONE},
        {5, Multiply, GL_DST_COLOR, Rest},
        {6, Screen, GL_ONE_MINUS_DST_COLOR, GL_ONE},
        {23, ColorDodge, GL_DST_COLOR, Rest},
        {24, Textured, Alpha, Rest},
        {25, Textured, GL_ONE_MINUS_DST_COLOR, GL_ONE_MINUS_SRC_COLOR},
    };
    for (int mode : {-2147483647 - 1, -1, 0, 2, 3, 26, 2147483647}) {
        cases.push_back({mode, Textured, Alpha, Rest});
    }
    for (int mode = 7; mode <= 22; ++mode) {
        cases.push_back({mode, Textured, Alpha, Rest});
    }
    DrawOnce();
    GLuint const programs[] = {ProgramName(0), ProgramName(11), ProgramName(12), ProgramName(13)};
    for (Case const& test : cases) {
        SCOPED_TRACE(test.mode);
        recording::Draw const draw = DrawOnce(test.mode);
        EXPECT_EQ(draw.Uniform("mWorldToView"), Elements(Device().GetModelViewMatrix()));
        recording::State const& state = draw.state;
        EXPECT_EQ(state.program, programs[test.program]);
        EXPECT_EQ(state.blendSourceRGB, test.source);
        EXPECT_EQ(state.blendTargetRGB, test.destination);
        EXPECT_EQ(state.blendSourceAlpha, GLenum(GL_ONE));
        EXPECT_EQ(state.blendTargetAlpha, GLenum(GL_ONE_MINUS_SRC_ALPHA));
    }
    EXPECT_EQ(Counts(Object::Program).live, 15) << "the exclusion program is there, and unused";
}

template <class T>
class EitherEffect : public SpriteEffect<T> {};
using Kinds = ::testing::Types<DirectionalBlurEffectGL2, BlendModeEffectGL2>;
TYPED_TEST_SUITE(EitherEffect, Kinds);

TYPED_TEST(EitherEffect, LeavesASpriteWithoutTextureToItself) {
    this->m_pSprite->SetTexture(nullptr);
    EXPECT_EQ(this->DrawOnce().state.program, this->ProgramName(1)) << "it draws its colour";
    this->m_pSprite->GetBlendModeProperty().SetValue(BlendMode::Screen);
    this->Draw(*this->m_pSprite);
    EXPECT_TRUE(Draws().empty());
}

TYPED_TEST(EitherEffect, LeavesASpriteThatWasNeverLoadedAlone) {
    Ref<SpriteGL2> const pSprite(new SpriteGL2);
    pSprite->SetTexture(this->MakeTexture(4, 4).Get());
    pSprite->AddEffect(this->m_pEffect.Get());
    this->Draw(*pSprite);
    EXPECT_TRUE(Draws().empty());
}

TYPED_TEST(EitherEffect, WithoutItsResourceTheSpriteDrawsItself) {
    Fail("glLinkProgram");
    EXPECT_EQ(this->DrawOnce().state.program, this->ProgramName(0));
    EXPECT_EQ(Counts(Object::Program).live, 11);
    Succeed("glLinkProgram");
    EXPECT_EQ(this->DrawOnce().streams.at(0).type, GLenum(GL_FLOAT)) << "nothing has changed";
    this->Device().SetViewport(0, 0, 9, 9);
    EXPECT_NE(this->DrawOnce().streams.at(0).type, GLenum(GL_FLOAT));
}

} // namespace
