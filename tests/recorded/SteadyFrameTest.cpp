// What frames leave behind: nothing, once the first one has made what it needs.

#include "NodeTest.h"

#include "BitmapFontGL2.h"
#include "BlendModeEffectGL2.h"
#include "CameraGL2.h"
#include "DirectionalBlurEffectGL2.h"
#include "GaussianBlurEffectGL2.h"
#include "NinePatchSpriteGL2.h"
#include "TextGL2.h"
#include "TimelineGL2.h"
#include "kelvo_test/AllocationCounter.h"

#include <algorithm>
#include <new>

namespace {

using namespace recording;
using namespace trevik;
using namespace trevik::kelvo;

using Vector = Vector3T<RealFloat>;

/**
 * A scene with one of each: kinds of sprite, a nested timeline with camera, depth test and mask, a
 * nine-patch, a text with all that texts can have, and each effect.
 */
class SteadyFrame : public NodeTest {
protected:
    SteadyFrame() : m_pRoot(new TimelineGL2) {
        m_pRoot->Attach(MakeSprite(5, 4).Get());
        Attach(*m_pRoot, MakeSprite(13, 7), TextureFormat::RGBA8888);
        Attach(*m_pRoot, MakeSprite(8, 8), TextureFormat::ETC1_RGBA);
        Ref<TimelineGL2> const pInner(new TimelineGL2);
        pInner->SetCamera(new CameraGL2);
        pInner->GetDepthTestProperty().SetValue(1);
        pInner->AddMask(MakeMask().Get());
        m_pRoot->Attach(pInner.Get());
        Attach(*pInner, MakeSprite(9, 3), TextureFormat::RGB565)->GetAntialiasProperty().SetValue(true);
        MakePatch(*pInner);
        MakeText(*pInner);
        Animate(m_pRoot->GetChild(0)->GetTransformNode()->GetRotationProperty(), Vector(0, 0, 90));
        Animate(pInner->GetPositionProperty(), Vector(10, 5, 1));
        AttachEffects();
    }

    void RunFrame(RealFloat frame) { NodeTest::RunFrame(*m_pRoot, frame); }

    template <class T>
    Ref<T> Attach(Node& parent, Ref<T> const& pSprite, int format) {
        pSprite->SetTexture(MakeTexture(8, 8, format).Get());
        parent.Attach(pSprite.Get());
        return pSprite;
    }

    void MakePatch(Node& parent) {
        Ref<NinePatchSpriteGL2> const pPatch =
            Attach(parent, MakeSprite<NinePatchSpriteGL2>(8, 8), TextureFormat::RGBA8888);
        pPatch->GetHorizontalBandsProperty().SetValue(ToList({{2, 3}}));
        pPatch->GetVerticalBandsProperty().SetValue(ToList({{2, 3}}));
        Animate(pPatch->GetScaleProperty(), Vector(3, 2, 1)); // rebuilds the grid at every frame
    }

    /** Underlined, with a shadow, of glyphs on two pages and an image, in colours that change. */
    void MakeText(Node& parent) {
        Ref<BitmapFontGL2> const pFont(new BitmapFontGL2);
        FontMetrics metrics;
        metrics.m_rXPixelsPerEm = metrics.m_rYPixelsPerEm = metrics.m_rAscent = 8;
        pFont->SetMetrics(metrics);
        pFont->GetUnderlineProperty().SetValue(true);
        Glyph glyph;
        glyph.m_nWidth = glyph.m_nHeight = 6;
        glyph.m_nAdvance = 7;
        for (char const character : {'a', 'b', 'i'}) {
            glyph.m_nCodePoint = static_cast<unsigned int>(character);
            glyph.m_fImage = character == 'i';
            glyph.m_pTexture = MakeTexture(8, 8).Get();
            ASSERT_TRUE(pFont->AddGlyph(glyph));
        }
        Ref<TextGL2> const pText(new TextGL2);
        pText->SetFont(pFont.Get());
        pText->GetTextProperty().SetValue(Literal(u"aabbiiab"));
        pText->GetShadowProperty().SetValue(true);
        Animate(pText->GetPositionProperty(), Vector(20, 5, 1));
        Animate(pText->GetTopLeftColorProperty(), ColorT<RealFloat>(1, 0, 0, 1));
        parent.Attach(pText.Get());
    }

    /** A timeline that is blurred, and sprites that effects draw. */
    void AttachEffects() {
        ASSERT_TRUE(Device().InitializeTargetBuffers());
        Ref<TimelineGL2> const pBlurred(new TimelineGL2);
        Ref<GaussianBlurEffectGL2> const pBlur(new GaussianBlurEffectGL2);
        Animate(pBlur->GetAmountProperty(), 3.0f);
        pBlurred->AddEffect(pBlur.Get());
        m_pRoot->Attach(pBlurred.Get());
        pBlurred->Attach(MakeSprite(6, 5).Get());
        Ref<DirectionalBlurEffectGL2> const pSmear(new DirectionalBlurEffectGL2);
        Animate(pSmear->GetAmountProperty(), 2.0f);
        Attach(*pBlurred, MakeSprite(1, 1), TextureFormat::RGBA8888)->AddEffect(pSmear.Get());
        Ref<SpriteGL2> const pBlended = Attach(*m_pRoot, MakeSprite(1, 1), TextureFormat::RGB565);
        pBlended->GetBlendModeProperty().SetValue(int(BlendMode::Screen));
        pBlended->AddEffect(Ref<BlendModeEffectGL2>(new BlendModeEffectGL2).Get());
    }

    static float Mix(float last, float share) { return 1 + last * share; }
    static Vector Mix(Vector const& last, float share) {
        return Vector(2, 2, 2) * (1 - share) + last * share;
    }
    static ColorT<RealFloat> Mix(ColorT<RealFloat> const& last, float share) {
        return ColorT<RealFloat>(last.r * share, last.g * share, last.b * share, last.a * share);
    }

    /** Up to `last`, over frames 0 to 100. */
    template <class Property, class T>
    static void Animate(Property& property, T const& last) {
        std::vector<T> samples;
        for (int i = 0; i <= 100; ++i) {
            samples.push_back(Mix(last, float(i) / 100));
        }
        property.AddController(Ref<Controller<T>>(
            SampleController<T>::Create(0, samples.data(), static_cast<unsigned int>(samples.size())).Get()));
    }

    Ref<TimelineGL2> m_pRoot;
};

TEST_F(SteadyFrame, ATextDrawsAllThatItHas) {
    RunFrame(1);
    auto const drawsOf = [](std::size_t program) {
        std::vector<recording::Draw> const draws = Draws();
        return std::count_if(draws.begin(), draws.end(), [program](recording::Draw const& draw) {
            return draw.state.program == ProgramName(program);
        });
    };
    EXPECT_EQ(drawsOf(4), 4) << "two pages and their shadows";
    EXPECT_EQ(drawsOf(5), 4) << "and the underlines of each";
    EXPECT_EQ(drawsOf(6), 1) << "an image casts no shadow";
}

TEST_F(SteadyFrame, AllocatesNothingAndMakesNoGlObjects) {
    std::size_t const atFirst = AllocationCount();
    void* volatile const pMemory = ::operator new(1); // what is counted under sanitizers too
    ::operator delete(pMemory);
    ASSERT_GT(AllocationCount(), atFirst) << "allocations are counted at all";
    Unnoted const unnoted;
    int nFrame = 1;
    for (; nFrame < 4; ++nFrame) {
        RunFrame(RealFloat(nFrame));
    }
    constexpr Object Kinds[] = {Object::Texture,      Object::Buffer, Object::Framebuffer,
                                Object::Renderbuffer, Object::Shader, Object::Program};
    int created[6], deleted[6];
    for (int i = 0; i < 6; ++i) {
        created[i] = Counts(Kinds[i]).created;
        deleted[i] = Counts(Kinds[i]).deleted;
    }
    EXPECT_EQ(Counts(Object::Framebuffer).live, 4) << "the effects are at work";
    std::size_t const before = AllocationCount();
    for (; nFrame < 40; ++nFrame) {
        RunFrame(RealFloat(nFrame) + 0.25f);
    }
    EXPECT_EQ(AllocationCount() - before, 0u);
    for (int i = 0; i < 6; ++i) {
        EXPECT_EQ(Counts(Kinds[i]).created, created[i]) << i;
        EXPECT_EQ(Counts(Kinds[i]).deleted, deleted[i]) << i;
    }
}

TEST_F(SteadyFrame, IdenticalFramesMakeIdenticalCalls) {
    RunFrame(7);
    Clear();
    RunFrame(7);
    Strings const first = Lines();
    Clear();
    RunFrame(7);
    EXPECT_EQ(Lines(), first);
    EXPECT_GT(first.size(), 50u);
}

TEST_F(SteadyFrame, LeavesNothingButTheColoursOfTargets) {
    RunFrame(1);
    RunFrame(2);
    std::vector<GLuint> const programs = LiveNames(Object::Program);
    ASSERT_EQ(programs.size(), 18u) << "11 built in, and 2, 1 and 4 of the effects";
    m_pRoot.Reset();
    Clear();
    m_pDevice.reset();
    // What effects share goes first, then what the device has, all of it while the context is current.
    auto const deletion = [&](std::size_t index) {
        return IndexOf("glDeleteProgram(" + std::to_string(programs[index]) + ")");
    };
    for (std::size_t own = 11; own < 18; ++own) {
        EXPECT_GE(deletion(own), 0) << own;
        EXPECT_LT(deletion(own), deletion(0)) << own;
    }
    EXPECT_LT(deletion(10), IndexOf("glDeleteFramebuffers(1, {1})"));
    EXPECT_LT(IndexOf("glDeleteFramebuffers(1, {4})"), deletion(0));
    EXPECT_LT(IndexOf("glDeleteFramebuffers(1, {2})"), IndexOf("eglMakeCurrent"));
    EXPECT_TRUE(CallsWithoutContext().empty());
    for (Object const kind : {Object::Buffer, Object::Framebuffer, Object::Renderbuffer, Object::Shader,
                              Object::Program, Object::EglSurface, Object::EglContext}) {
        EXPECT_EQ(Counts(kind).created, Counts(kind).deleted) << static_cast<int>(kind);
    }
    EXPECT_EQ(Counts(Object::Texture).created - Counts(Object::Texture).deleted, 4)
        << "two frame targets' and two blur targets'";
}

} // namespace
