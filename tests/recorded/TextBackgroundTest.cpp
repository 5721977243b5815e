// Sprites behind texts: when they are fitted, and what becomes of them in between.

#include "BitmapFontGL2.h"
#include "NodeTest.h"
#include "TextGL2.h"
#include "trevik/Allocation.h"

namespace {

using namespace kelvokit::recording;
using namespace trevik;
using namespace trevik::kelvo;

using Vector = Vector3T<RealFloat>;

constexpr Vector None(0, 0, 0);
constexpr Vector Once(1, 1, 1);

class TextBackground : public NodeTest {
protected:
    TextBackground() : m_pText(new TextGL2) {
        Glyph glyph;
        glyph.m_nCodePoint = 'a';
        glyph.m_nWidth = 20;
        glyph.m_nHeight = 13;
        glyph.m_pTexture = MakeTexture(32, 32);
        Ref<BitmapFontGL2> const pFont(new BitmapFontGL2);
        EXPECT_TRUE(pFont->AddGlyph(glyph));
        m_pText->SetFont(pFont.Get());
        m_pText->GetTextProperty().SetValue(u"a");
    }

    /** A background with a square picture. */
    Ref<SpriteGL2> AddSprite(int nSize = 16) {
        Ref<SpriteGL2> const pSprite = MakeSprite(1, 1);
        pSprite->SetTexture(MakeTexture(nSize, nSize).Get());
        m_pText->SetBackground(pSprite.Get());
        return pSprite;
    }

    /** Whether the background is scaled to the glyph, and by what more. */
    static void ExpectFitted(Text& text, Vector const& scale = Once, RealFloat size = 16) {
        EXPECT_EQ(text.GetBackground()->GetScaleProperty().GetValue(),
                  Vector(scale.x * 20 / size, scale.y * 13 / size, scale.z));
    }

    /** Draws of sprites, which glyphs are not drawn like. */
    static std::size_t CountBackgrounds() {
        return Count("glDrawArrays(GL_TRIANGLE_STRIP, 0, 4)") + Count("glDrawElements");
    }

    Ref<TextGL2> m_pText;
};

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
    int nSizes = 0, nScales = 0, nPivots = 0;
    pSprite->GetSizeProperty().GetChangeEvent().Connect([&](SizeT<int> const&) { ++nSizes; });
    pSprite->GetScaleProperty().GetChangeEvent().Connect([&](Vector const&) { ++nScales; });
    pSprite->GetPivotProperty().GetChangeEvent().Connect([&](Vector const&) { ++nPivots; });
    auto const drawAgain = [&](bool fFits) {
        nScales = nPivots = 0;
        Draw(*m_pText);
        EXPECT_EQ(nScales, fFits ? 1 : 0);
        EXPECT_EQ(nPivots, fFits ? 3 : 0) << "each component is announced";
    };
    drawAgain(true);
    for (Case const& test : cases) {
        SCOPED_TRACE(test.name);
        test.pfnChange(*m_pText);
        drawAgain(test.fits);
        drawAgain(false);
    }
    EXPECT_EQ(nSizes, 1) << "the texture's, at the first draw";
}

TEST_F(TextBackground, TakesOverWhatAChildWould) {
    Ref<SpriteGL2> const pSprite = AddSprite();
    for (bool const fValue : {false, true}) {
        m_pText->GetSelectableProperty().SetValue(fValue);
        m_pText->GetDepthProperty().SetValue(fValue);
        Draw(*m_pText);
        EXPECT_EQ(pSprite->GetSelectableProperty().GetValue(), fValue);
        EXPECT_EQ(pSprite->GetDepthProperty().GetValue(), fValue);
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
    ExpectFitted(*m_pText);
}

TEST_F(TextBackground, ATextWithoutOneIsNotWatched) {
    Draw(*m_pText);
    EXPECT_EQ(Device().GetTransformMatrix(), Matrix4T<RealFloat>::Identity) << "it takes its own off again";
    AddSprite();
    EXPECT_TRUE(m_pText->GetBoxProperty().GetChangeEvent().IsEmpty()) << "before the first draw";
    EXPECT_TRUE(m_pText->GetRenderSizeProperty().GetChangeEvent().IsEmpty());
}

TEST_F(TextBackground, ACopyFitsItsOwn) {
    AddSprite();
    Draw(*m_pText);
    Ref<TextGL2> const pCopy(new TextGL2(*m_pText));
    EXPECT_TRUE(pCopy->GetBoxProperty().GetChangeEvent().IsEmpty());
    pCopy->GetScaleProperty().SetValue(Vector(3, 3, 1));
    Draw(*pCopy);
    EXPECT_EQ(CountBackgrounds(), 1u);
    ExpectFitted(*pCopy, Vector(3, 3, 1));
    ExpectFitted(*m_pText);
    // Neither hears of the other's end.
    m_pText.Reset();
    pCopy->GetScaleProperty().SetValue(Once);
    Draw(*pCopy);
    ExpectFitted(*pCopy);
}

TEST_F(TextBackground, CanBeExchangedAndTakenAway) {
    for (int nSize : {16, 8, 32}) {
        // The next one may well be where the one before was, and is fitted all the same.
        AddSprite(nSize);
        Draw(*m_pText);
        EXPECT_EQ(CountBackgrounds(), 1u);
        ExpectFitted(*m_pText, Once, RealFloat(nSize));
        m_pText->SetBackground(nullptr); // which was the last reference
        Draw(*m_pText);
        EXPECT_EQ(CountBackgrounds(), 0u);
    }
}

TEST_F(TextBackground, OutlastsADrawThatTakesItAway) {
    struct TakingEffect : NotingEffect {
        Text& m_text;
        TakingEffect(Strings& notes, Text& text) : NotingEffect("taking", notes), m_text(text) {}
        bool OverrideDrawSprite(GraphicsDevice&, Sprite& sprite, RealFloat) override {
            m_text.SetBackground(nullptr);
            EXPECT_EQ(sprite.GetReferenceCount(), 1) << "while it is asked how to draw it";
            return true;
        }
    };
    Strings notes;
    Ref<TakingEffect> const pEffect(new TakingEffect(notes, *m_pText));
    AddSprite()->AddEffect(pEffect.Get());
    Draw(*m_pText);
    EXPECT_EQ(pEffect->GetReferenceCount(), 1) << "afterwards nobody wants the sprite";
}

TEST_F(TextBackground, WithoutMemoryToWatchTheTextItIsFittedAtEveryDraw) {
    for (unsigned int nAllocations = 0; nAllocations < 12; ++nAllocations) {
        m_pText = Ref(static_cast<TextGL2*>(m_pText->Clone()));
        AddSprite();
        m_pText->Update(Device(), 0);
        Allocation::FailAfter(nAllocations);
        m_pText->Render(Device());
        Allocation::FailNever();
        for (RealFloat const rScale : {2.0f, 3.0f}) {
            m_pText->GetScaleProperty().SetValue(Vector(rScale, 1, 1));
            Draw(*m_pText);
            ExpectFitted(*m_pText, Vector(rScale, 1, 1));
        }
    }
}

} // namespace
