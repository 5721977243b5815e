// The blur of what a timeline draws.

#include "NodeTest.h"

#include "FramebufferGL2.h"
#include "GaussianBlurEffectGL2.h"
#include "TimelineGL2.h"

namespace {

using namespace recording;
using namespace trevik;
using namespace trevik::kelvo;

class GaussianBlur : public NodeTest {
protected:
    GaussianBlur() : m_pTimeline(new TimelineGL2), m_pEffect(new GaussianBlurEffectGL2) {
        Device().InitializeTargetBuffers();
        m_pTimeline->AddEffect(m_pEffect.Get());
        m_pSprite = MakeSprite(10, 10);
        m_pTimeline->Attach(m_pSprite.Get());
        m_pEffect->Prepare(Device());
        Clear();
    }

    Ref<TimelineGL2> m_pTimeline;
    Ref<GaussianBlurEffectGL2> m_pEffect;
    Ref<SpriteGL2> m_pSprite;
};

TEST_F(GaussianBlur, EndsOnTheWindowWhateverWasBound) {
    // In a frame that was meant for a frame target.
    m_pEffect->GetAmountProperty().SetValue(1);
    Device().SwapTargetBuffers(false);
    Clear();
    m_pTimeline->Render(Device());
    EXPECT_EQ(Draws().at(0).state.framebuffer, 1u);
    EXPECT_EQ(Draws().at(3).state.framebuffer, 0u);
    EXPECT_EQ(GetState().framebuffer, 0u);
    EXPECT_EQ(Device().GetFrontTargetBuffer(), nullptr);
    EXPECT_EQ(GetState().viewport, (std::array<GLint, 4>{0, 0, Width, Height}));
}

/** A device without frame targets, or whose driver refuses what a blur needs. */
class RefusedBlur : public NodeTest {
protected:
    bool Init() {
        GaussianBlurEffectGL2 effect;
        return effect.Init(Device());
    }
};

TEST_F(RefusedBlur, InitialisationFailsAtTheFirstThingThatCannotBeHadAndIsTriedAgain) {
    FailAt("glCheckFramebufferStatus", 2, GL_FRAMEBUFFER_UNSUPPORTED);
    EXPECT_FALSE(Init());
    EXPECT_EQ(Count("glCreateProgram"), 0u);
    EXPECT_EQ(Counts(Object::Framebuffer).live, 0);
    for (int nth : {1, 2}) {
        SCOPED_TRACE(nth);
        Clear();
        FailAt("glLinkProgram", nth);
        EXPECT_FALSE(Init());
        EXPECT_EQ(Count("glCreateProgram"), static_cast<std::size_t>(nth));
        EXPECT_EQ(Counts(Object::Program).live, 11) << "the built-in ones";
        EXPECT_EQ(Counts(Object::Framebuffer).live, 0);
    }
    EXPECT_TRUE(Init());
}

} // namespace
