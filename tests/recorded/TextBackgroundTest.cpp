// Sprites behind texts: that they cover the text wherever it goes, when they are fitted, and what they take
// over.

#include "NodeTest.h"

#include "BitmapFontGL2.h"
#include "NinePatchSpriteGL2.h"
#include "TextGL2.h"
#include "kelvo_test/AllocationCounter.h"
#include "kelvo_test/Exact.h"
#include "trevik/Allocation.h"

namespace {

using namespace recording;
using namespace trevik;
using namespace trevik::kelvo;
using namespace ::kelvo::test;

using Floats = std::vector<float>;
using Vector = Vector3T<RealFloat>;

class TextBackground : public NodeTest {
protected:
    TextBackground() : m_pText(new TextGL2) {
        // The glyph reaches beyond its line on all sides, from (-3, -2) to (17, 11).
        Glyph glyph;
        glyph.m_nCodePoint = 'a';
        glyph.m_nWidth = 20;
        glyph.m_nHeight = 13;
        glyph.m_nOffsetX = -3;
        glyph.m_nOffsetY = 2;
        glyph.m_nAdvance = 10;
        glyph.m_pTexture = MakeTexture(32, 32).Get();
        FontMetrics metrics;
        metrics.m_rAscent = 8;
        metrics.m_rDescent = 1;
        Ref<BitmapFontGL2> const pFont(new BitmapFontGL2);
        EXPECT_TRUE(pFont->AddGlyph(glyph));
        pFont->SetMetrics(metrics);
        m_pText->SetFont(pFont.Get());
        m_pText->GetTextProperty().SetValue(u"a");
        m_pText->GetVerticalAlignmentProperty().SetValue(VerticalAlignment::Baseline);
    }

    /** A background with a square picture, whose four corners are those of a square. */
    Ref<SpriteGL2> AddSprite(int nSize = 16) {
        Ref<SpriteGL2> const pSprite = MakeSprite(1, 1);
        pSprite->SetTexture(MakeTexture(nSize, nSize).Get());
        m_pText->SetBackground(pSprite.Get());
        return pSprite;
    }

    /** Expects the first of the noted draws to reach, on screen, as far as the text's glyph. */
    void ExpectCovered() {
        recording::Draw const draw = Draws().at(0);
        ExactMatrix const drawn(draw.Uniform("mWorldToView").data());
        ExactMatrix const toClip(m_pText->GetWorldMatrix() *
                                 (Device().GetViewMatrix() * Device().GetProjectionMatrix()));
        for (std::size_t i = 0; i < 4; ++i) {
            Floats const vertex = draw.streams.at(0).Vertex(i);
            ExactPoint const found =
                ExactDivided(drawn * ExactPoint{vertex.at(0), vertex.at(1), vertex.at(2), 1});
            ExactPoint const expected =
                ExactDivided(toClip * ExactPoint{i < 2 ? -3.0 : 17.0, i % 2 == 0 ? -2.0 : 11.0, 0, 1});
            for (std::size_t axis = 0; axis < 3; ++axis) {
                EXPECT_NEAR(found[axis], expected[axis], 2e-5) << "corner " << i << ", axis " << axis;
            }
        }
    }

    /** Draws of sprites, which glyphs are not drawn like. */
    static std::size_t CountBackgrounds() {
        return Count("glDrawArrays(GL_TRIANGLE_STRIP, 0, 4)") + Count("glDrawElements");
    }

    Ref<TextGL2> m_pText;
};

/** Counts how often a property has been announced. */
template <class T>
class ChangeCount {
public:
    explicit ChangeCount(BaseProperty<T>& property) {
        EXPECT_TRUE(property.GetChangeEvent().Connect(member_function(this, &ChangeCount::OnChanged)));
    }
    /** Since the last call. */
    unsigned int Take() { return std::exchange(m_nChanges, 0); }

private:
    void OnChanged(T const&) { ++m_nChanges; }

    unsigned int m_nChanges = 0;
};

constexpr Vector None(0, 0, 0);
constexpr Vector Once(1, 1, 1);

TEST_F(TextBackground, IsFittedOnceUnlessSomethingWatchedChanges) {
    struct Case {
        char const* name;
        void (*pfnChange)(Text&);
        bool fits;
    };
    Case const cases[] = {
        {"nothing", [](Text&) {}, false},
        {"box", [](Text& text) { text.GetBoxProperty().SetValue(SizeT<RealFloat>(5, 6)); }, true},
        {"render size", [](Text& text) { text.GetRenderSizeProperty().Notify(true); }, true},
        {"scale", [](Text& text) { text.GetScaleProperty().SetValue(Once); }, true},
        {"stretch", [](Text& text) { text.GetStretchProperty().SetValue(Once); }, true},
        {"pivot", [](Text& text) { text.GetPivotProperty().SetValue(None); }, true},
        {"position", [](Text& text) { text.GetPositionProperty().SetValue(Vector(4, 5, 6)); }, false},
        {"rotation", [](Text& text) { text.GetRotationProperty().SetValue(Vector(4, 5, 6)); }, false},
        {"opacity", [](Text& text) { text.GetOpacityProperty().SetValue(0.5f); }, false},
    };
    Ref<SpriteGL2> const pSprite = AddSprite();
    ChangeCount<Vector> scales(pSprite->GetScaleProperty());
    ChangeCount<Vector> pivots(pSprite->GetPivotProperty());
    Draw(*m_pText);
    EXPECT_EQ(scales.Take(), 1u);
    EXPECT_EQ(pivots.Take(), 3u) << "each component is announced";
    for (Case const& test : cases) {
        SCOPED_TRACE(test.name);
        test.pfnChange(*m_pText);
        Draw(*m_pText);
        EXPECT_EQ(scales.Take(), test.fits ? 1u : 0u);
        EXPECT_EQ(pivots.Take(), test.fits ? 3u : 0u);
        ExpectCovered();
        Draw(*m_pText);
        EXPECT_EQ(scales.Take() + pivots.Take(), 0u);
    }
}

TEST_F(TextBackground, WithoutTextureItIsNotDrawnAndNotFitted) {
    Ref<SpriteGL2> const pSprite = AddSprite();
    Ref<trevik::kelvo::Texture> const pTexture(pSprite->GetTexture());
    pSprite->SetTexture(nullptr);
    Draw(*m_pText);
    EXPECT_EQ(CountBackgrounds(), 0u);
    EXPECT_EQ(pSprite->GetScaleProperty().GetValue(), Once);
    pSprite->SetTexture(pTexture.Get());
    Draw(*m_pText);
    ExpectCovered();
}

TEST_F(TextBackground, ATextWithoutOneIsNotWatched) {
    Draw(*m_pText);
    EXPECT_EQ(Device().GetTransformMatrix(), Matrix4T<RealFloat>::Identity) << "it takes its own off again";
    EXPECT_TRUE(m_pText->GetBoxProperty().GetChangeEvent().IsEmpty());
    EXPECT_TRUE(m_pText->GetRenderSizeProperty().GetChangeEvent().IsEmpty());
    AddSprite();
    EXPECT_TRUE(m_pText->GetBoxProperty().GetChangeEvent().IsEmpty()) << "before the first draw";
    Draw(*m_pText);
    EXPECT_FALSE(m_pText->GetBoxProperty().GetChangeEvent().IsEmpty());
    EXPECT_FALSE(m_pText->GetRenderSizeProperty().GetChangeEvent().IsEmpty());
}

TEST_F(TextBackground, ACopyFitsItsOwn) {
    Ref<SpriteGL2> const pSprite = AddSprite();
    Draw(*m_pText);
    Ref<TextGL2> const pCopy(new TextGL2(*m_pText));
    EXPECT_TRUE(pCopy->GetBoxProperty().GetChangeEvent().IsEmpty());
    pCopy->GetScaleProperty().SetValue(Vector(3, 3, 1));
    Draw(*pCopy);
    EXPECT_EQ(CountBackgrounds(), 1u);
    EXPECT_EQ(pCopy->GetBackground()->GetScaleProperty().GetValue(), Vector(60 / 16.0f, 39 / 16.0f, 1));
    EXPECT_EQ(pSprite->GetScaleProperty().GetValue(), Vector(20 / 16.0f, 13 / 16.0f, 1));
    // Neither hears of the other's end.
    m_pText.Reset();
    pCopy->GetScaleProperty().SetValue(Vector(1, 1, 1));
    Draw(*pCopy);
    EXPECT_EQ(pCopy->GetBackground()->GetScaleProperty().GetValue(), Vector(20 / 16.0f, 13 / 16.0f, 1));
}

TEST_F(TextBackground, CanBeExchangedAndTakenAway) {
    AddSprite();
    Draw(*m_pText);
    m_pText->SetBackground(nullptr); // which was the last reference
    Draw(*m_pText);
    EXPECT_EQ(CountBackgrounds(), 0u);
    for (int nSize : {8, 32, 16}) {
        // The next one may well be where the one before was, and is fitted all the same.
        m_pText->SetBackground(nullptr);
        Ref<SpriteGL2> const pSprite = AddSprite(nSize);
        Draw(*m_pText);
        ASSERT_EQ(CountBackgrounds(), 1u);
        ExpectCovered();
    }
}

TEST_F(TextBackground, OutlastsADrawThatTakesItAway) {
    class Mortal : public SpriteGL2 {
    public:
        explicit Mortal(bool& fGone) : m_fGone(fGone) {}
        ~Mortal() override { m_fGone = true; }

    private:
        bool& m_fGone;
    };
    class TakingEffect : public NotingEffect {
    public:
        TakingEffect(Strings& notes, Text& text, bool const& fGone)
            : NotingEffect("taking", notes), m_text(text), m_fGone(fGone) {}
        bool OverrideDrawSprite(GraphicsDevice&, Sprite&, RealFloat) override {
            m_text.SetBackground(nullptr);
            EXPECT_FALSE(m_fGone) << "while it is asked how to draw it";
            return true;
        }

    private:
        Text& m_text;
        bool const& m_fGone;
    };
    Strings notes;
    bool fGone = false;
    Ref<SpriteGL2> pSprite(new Mortal(fGone));
    ASSERT_TRUE(LoadItself(*pSprite, m_registry));
    pSprite->SetTexture(MakeTexture(16, 16).Get());
    Ref<TakingEffect> const pEffect(new TakingEffect(notes, *m_pText, fGone));
    pSprite->AddEffect(pEffect.Get());
    m_pText->SetBackground(pSprite.Get());
    pSprite.Reset();
    Draw(*m_pText);
    EXPECT_TRUE(fGone) << "afterwards nobody wants it";
    Draw(*m_pText);
    EXPECT_EQ(CountBackgrounds(), 0u);
}

TEST_F(TextBackground, WithoutMemoryToWatchTheTextItIsFittedAtEveryDraw) {
    for (unsigned int nAllocations = 0; nAllocations < 12; ++nAllocations) {
        m_pText = static_cast<TextGL2*>(m_pText->Clone());
        AddSprite();
        m_pText->Update(Device(), 0);
        Allocation::FailAfter(nAllocations);
        m_pText->Render(Device());
        Allocation::FailNever();
        for (RealFloat const rScale : {2.0f, 3.0f}) {
            m_pText->GetScaleProperty().SetValue(Vector(rScale, 1, 1));
            Draw(*m_pText);
            ExpectCovered();
        }
    }
}

} // namespace
