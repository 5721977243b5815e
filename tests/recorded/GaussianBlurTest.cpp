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

    void DrawBlurred(RealFloat amount) {
        m_pEffect->GetAmountProperty().SetValue(amount);
        Draw(*m_pTimeline);
    }

    Ref<TimelineGL2> m_pTimeline;
    Ref<GaussianBlurEffectGL2> m_pEffect;
    Ref<SpriteGL2> m_pSprite;
};

using Floats = std::vector<float>;

TEST_F(GaussianBlur, MakesTwoHalfSizedTargetsAndTwoProgramsOnce) {
    EXPECT_EQ(Counts(Object::Framebuffer).live, 4) << "two of the device, two of the blur";
    for (GLuint name : {3u, 4u}) {
        TextureLevel const level = FindFramebuffer(name)->color.texture->levels.at(0);
        EXPECT_EQ(level.width, (Width - 1) / 2);
        EXPECT_EQ(level.height, (Height - 1) / 2);
        EXPECT_EQ(FindFramebuffer(name)->depth.type, GLenum(GL_NONE));
    }
    EXPECT_EQ(Counts(Object::Program).live, 13);
    Ref<GaussianBlurEffectGL2> const pOther(new GaussianBlurEffectGL2);
    EXPECT_TRUE(pOther->Prepare(Device()));
    EXPECT_EQ(Counts(Object::Program).created, 13);
}

TEST_F(GaussianBlur, BlursDownThenAcrossAndMixesOverTheWindow) {
    DrawBlurred(3);
    std::vector<recording::Draw> const draws = Draws();
    ASSERT_EQ(draws.size(), 4u);
    EXPECT_EQ(draws[0].state.framebuffer, 2u) << "the subtree goes to the back target";
    GLuint const subtree = FindFramebuffer(2)->color.name;
    GLuint const down = FindFramebuffer(3)->color.name;
    GLuint const across = FindFramebuffer(4)->color.name;
    float const dx = 3 * (1.0f / Width);
    float const dy = 3 * (1.0f / Height);
    struct Pass {
        GLuint framebuffer;
        GLuint source;
        float x, y;
    };
    for (int n : {0, 1}) {
        SCOPED_TRACE(n == 0 ? "down" : "across");
        Pass const pass = n == 0 ? Pass{3, subtree, 0, dy} : Pass{4, down, dx, 0};
        recording::Draw const& draw = draws.at(static_cast<std::size_t>(1 + n));
        EXPECT_EQ(draw.state.framebuffer, pass.framebuffer);
        EXPECT_EQ(draw.state.viewport, (std::array<GLint, 4>{0, 0, (Width - 1) / 2, (Height - 1) / 2}));
        EXPECT_EQ(draw.Texture("sColor"), pass.source);
        for (int nTap = 1; nTap <= 4; ++nTap) {
            Floats const offset = draw.Uniform("vOffset" + std::to_string(nTap));
            float const steps = static_cast<float>(nTap);
            EXPECT_EQ(offset, (Floats{pass.x * steps, pass.y * steps}));
        }
        EXPECT_EQ(draw.Values(0), (Floats{-1, -1, 0, -1, 1, 0, 1, -1, 0, 1, 1, 0}));
        EXPECT_EQ(draw.Values(1), (Floats{0, 0, 0, 1, 1, 0, 1, 1}));
    }
    EXPECT_EQ(draws[3].state.framebuffer, 0u);
    EXPECT_EQ(draws[3].state.viewport, (std::array<GLint, 4>{0, 0, Width, Height}));
    EXPECT_EQ(draws[3].Texture("sBlur"), across);
    EXPECT_EQ(draws[3].Texture("sSharp"), subtree);
    EXPECT_EQ(draws[3].Uniform("blendFactor"), Floats{1});
}

TEST_F(GaussianBlur, BindsAndSetsInAFixedOrder) {
    DrawBlurred(0.5f);
    DrawBlurred(0.5f); // when the programs have given their last textures back
    auto const bind = [](int name) {
        return "glBindFramebuffer(GL_FRAMEBUFFER, " + std::to_string(name) + ")";
    };
    auto const use = [](GLuint name) { return "glUseProgram(" + std::to_string(name) + ")"; };
    std::string const clearAll = "glClear(GL_COLOR_BUFFER_BIT | GL_DEPTH_BUFFER_BIT)";
    std::string const clear = "glClear(GL_COLOR_BUFFER_BIT)";
    std::string const full = "glViewport(0, 0, 61, 37)";
    std::string const half = "glViewport(0, 0, 30, 18)";
    std::string const draw = "glDrawArrays(GL_TRIANGLE_STRIP, 0, 4)";
    std::string const blur = use(ProgramName(11));
    std::string const mix = use(ProgramName(12));
    std::string const none = use(0);
    Strings const expected = {
        // Before the subtree, and the sprite in it.
        bind(2), clearAll, full, use(ProgramName(1)), draw,
        // The other frame target takes over, and gives way to the first blur target.
        full, bind(1), clearAll, full, none, blur, full, bind(3), clear, half, //
        "glUniform1i(sColor, 0)", "glUniform2f(vOffset1, 0, *)", "glUniform2f(vOffset2, 0, *)",
        "glUniform2f(vOffset3, 0, *)", "glUniform2f(vOffset4, 0, *)", draw,
        // Across, into the second one.
        full, bind(4), clear, half, //
        "glUniform1i(sColor, 0)", "glUniform2f(vOffset1, *, 0)", "glUniform2f(vOffset2, *, 0)",
        "glUniform2f(vOffset3, *, 0)", "glUniform2f(vOffset4, *, 0)", draw,
        // The window.
        none, full, bind(0), mix, "glUniform1f(blendFactor, 0.5)", "glUniform1i(sBlur, 0)",
        "glUniform1i(sSharp, 1)", draw, none};
    EXPECT_TRUE(CallsAre(expected, CallsOf({"glBindFramebuffer", "glClear", "glViewport", "glUseProgram",
                                            "glUniform1f", "glUniform1i", "glUniform2f", "glDrawArrays"})));
    EXPECT_EQ(Count("glGetUniformLocation"), 0u);
    EXPECT_EQ(Count("glGen*"), 0u);
}

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

TEST_F(GaussianBlur, ABlurInABlurLeavesTheOuterOneNothing) {
    Ref<TimelineGL2> const pOuter(new TimelineGL2);
    Ref<GaussianBlurEffectGL2> const pBlur(new GaussianBlurEffectGL2);
    pBlur->GetAmountProperty().SetValue(1);
    pOuter->AddEffect(pBlur.Get());
    pOuter->Attach(MakeSprite(3, 3).Get());
    pOuter->Attach(m_pTimeline.Get());
    m_pEffect->GetAmountProperty().SetValue(1);
    Draw(*pOuter);
    std::vector<GLuint> framebuffers;
    for (recording::Draw const& draw : Draws()) {
        framebuffers.push_back(draw.state.framebuffer);
    }
    // The outer sprite, the inner one and its passes, then the outer passes over the window once more.
    EXPECT_EQ(framebuffers, (std::vector<GLuint>{2, 1, 3, 4, 0, 3, 4, 0}));
    // What the outer sprite went to has been cleared when the inner blur gave it back.
    EXPECT_EQ(Draws().at(5).Texture("sColor"), FindFramebuffer(2)->color.name);
    EXPECT_GT(
        IndexOf("glBindFramebuffer(GL_FRAMEBUFFER, 2)", static_cast<std::size_t>(IndexOf("glDrawArrays"))),
        0);
    EXPECT_EQ(GetState().program, 0u);
}

TEST_F(GaussianBlur, WithoutAnAmountTheSubtreeIsDrawnAsEver) {
    for (float const amount : {0.0f, -2.0f}) {
        DrawBlurred(amount);
        EXPECT_EQ(Draws().size(), 1u);
        EXPECT_EQ(Count("glBindFramebuffer"), 0u);
        EXPECT_EQ(Draws()[0].state.framebuffer, 0u);
    }
}

TEST_F(GaussianBlur, LeavesNothingButTheColoursOfItsTargets) {
    DrawBlurred(1);
    m_pTimeline.Reset();
    m_pEffect.Reset();
    m_pSprite.Reset();
    m_pDevice.reset();
    EXPECT_EQ(Counts(Object::Framebuffer).live, 0);
    EXPECT_EQ(Counts(Object::Program).live, 0);
    EXPECT_EQ(Counts(Object::Renderbuffer).live, 0);
    EXPECT_EQ(Counts(Object::Texture).live, 4) << "two of the device's targets, two of the blur's";
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

TEST_F(RefusedBlur, WithoutFrameTargetsTheSubtreeIsDrawnSharp) {
    Ref<TimelineGL2> const pTimeline(new TimelineGL2);
    Ref<GaussianBlurEffectGL2> const pEffect(new GaussianBlurEffectGL2);
    pEffect->GetAmountProperty().SetValue(2);
    pTimeline->AddEffect(pEffect.Get());
    Ref<SpriteGL2> const pSprite = MakeSprite(10, 10);
    pTimeline->Attach(pSprite.Get());
    Draw(*pTimeline);
    EXPECT_EQ(Draws().size(), 1u);
    EXPECT_EQ(Count("glBindFramebuffer"), 0u);
}

} // namespace
