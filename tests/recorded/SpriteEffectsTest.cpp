// Effects that draw a sprite in its place: the directional blur and the blend modes.

#include "BlendModeEffectGL2.h"
#include "DirectionalBlurEffectGL2.h"
#include "NodeTest.h"

namespace recording = kelvokit::recording;

namespace {

using namespace kelvokit::recording;
using namespace trevik;
using namespace trevik::kelvo;

/** A sprite of 8 x 4 over a texture of 16 x 8, and one effect of a kind. */
template <class T>
class EitherEffect : public NodeTest {
protected:
    EitherEffect() : m_pEffect(new T), m_pSprite(MakeSprite(8, 4)) {
        m_pSprite->SetTexture(MakeTexture(16, 8).Get());
        m_pSprite->AddEffect(m_pEffect.Get());
    }

    recording::Draw DrawOnce() {
        Draw(*m_pSprite);
        EXPECT_EQ(Draws().size(), 1u);
        return Draws().at(0);
    }

    Ref<T> m_pEffect;
    Ref<SpriteGL2> m_pSprite;
};

using Kinds = ::testing::Types<DirectionalBlurEffectGL2, BlendModeEffectGL2>;
TYPED_TEST_SUITE(EitherEffect, Kinds);

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
