#include <gtest/gtest.h>

#include "PropertyTestSupport.h"
#include "TestNodes.h"
#include "trevik/kelvo/PolygonalFont.h"

namespace trevik::kelvo::test {
namespace {

/** A text of two glyphs, set by hand. */
struct Words {
    TestDevice m_device;
    Ref<TestText> m_pText = Make<TestText>("words");
    Ref<TestFont> m_pFont = Ref<TestFont>(new TestFont);
    Glyph m_glyph;

    Words() {
        m_glyph.m_nWidth = 10;
        m_glyph.m_nHeight = 20;
        GlyphInstance instance;
        instance.m_pGlyph = &m_glyph;
        instance.m_rX = 5;
        instance.m_rY = -4;
        m_pText->GetInstances().Append(instance);
        instance.m_rX = 30;
        instance.m_rY = -8;
        m_pText->GetInstances().Append(instance);
    }
};

TEST(Text, ItsFontDrawsItsBatchesFaded) {
    Words words;
    GlyphBatch batch;
    batch.m_nCount = 1;
    words.m_pText->GetBatches().Append(batch);
    batch.m_nFirst = 1;
    words.m_pText->GetBatches().Append(batch);
    words.m_pText->GetOpacityProperty().SetValue(RealFloat(0.5));
    words.m_pText->Update(words.m_device, 0);
    words.m_pText->Render(words.m_device); // no font: nothing to draw with
    words.m_pText->SetFont(words.m_pFont.Get());
    words.m_pText->Render(words.m_device);
    ASSERT_EQ(words.m_pFont->m_drawn.size(), 2u);
    EXPECT_EQ(words.m_pFont->m_drawn[1].m_nFirst, 1u);
    EXPECT_EQ(words.m_pFont->m_color.a, RealFloat(0.5));
}

/** Draws texts itself, when told to. */
class TextEffect : public TestEffect {
public:
    bool m_fDraws = false;
    unsigned int m_nOffers = 0;

    bool OverrideDrawText(GraphicsDevice&, Text&) override {
        ++m_nOffers;
        return m_fDraws;
    }
};

TEST(Text, TheFirstEffectThatDrawsItDrawsItAlone) {
    Words words;
    GlyphBatch batch;
    batch.m_nCount = 2;
    words.m_pText->GetBatches().Append(batch);
    words.m_pText->SetFont(words.m_pFont.Get());
    Ref<TextEffect> const effects[3] = {new TextEffect, new TextEffect, new TextEffect};
    for (Ref<TextEffect> const& pEffect : effects) {
        words.m_pText->AddEffect(pEffect.Get());
    }
    words.m_pText->Render(words.m_device);
    EXPECT_EQ(words.m_pFont->m_drawn.size(), 1u) << "none of them draws it";
    effects[1]->m_fDraws = true;
    words.m_pText->Render(words.m_device);
    EXPECT_EQ(words.m_pFont->m_drawn.size(), 1u);
    EXPECT_EQ(effects[1]->m_nOffers, 2u);
    EXPECT_EQ(effects[2]->m_nOffers, 1u) << "not asked any more";
}

TEST(Text, ItsBoundsAreThoseOfItsGlyphs) {
    Words words;
    RectangleT<RealFloat> bounds;
    words.m_pText->GetTextRenderRect(bounds);
    EXPECT_EQ(bounds, RectangleT<RealFloat>(5, -8, 40, 16));
    words.m_pText->GetInstances().Clear();
    words.m_pText->GetTextRenderRect(bounds);
    EXPECT_EQ(bounds, RectangleT<RealFloat>());
}

TEST(Text, IsSelectedWithinItsBounds) {
    Words words;
    words.m_pText->Update(words.m_device, 0);
    for (RealFloat x : {RealFloat(4), RealFloat(20), RealFloat(41)}) {
        List<SelectionPoint> hits;
        words.m_device.SetSelectionMode(Vector2(x, 4), &hits);
        words.m_pText->Render(words.m_device);
        words.m_device.SetRenderMode();
        ASSERT_EQ(hits.GetCount(), x == 20 ? 1u : 0u) << x;
        if (x == 20) {
            EXPECT_NEAR(hits[0].m_position.x, 15.0 / 35, 1e-5);
            EXPECT_NEAR(hits[0].m_position.y, 0.5, 1e-5);
        }
    }
}

TEST(Text, ACopySharesTheFontAndHasItsOwnBackground) {
    Words words;
    words.m_pText->SetFont(words.m_pFont.Get());
    words.m_pText->SetBackground(Make<TestSprite>("background").Get());
    words.m_pText->GetTextProperty().SetValue(u"hello");
    Ref<Node> const pCopy(words.m_pText->Clone());
    Text& copy = static_cast<Text&>(*pCopy);
    EXPECT_EQ(copy.GetFont(), words.m_pFont.Get());
    ASSERT_NE(copy.GetBackground(), nullptr);
    EXPECT_NE(copy.GetBackground(), words.m_pText->GetBackground());
    EXPECT_TRUE(copy.GetTextProperty().GetValue() == u"hello");
}

TEST(Font, SavesAndLoadsItsMeasures) {
    TestFont font;
    FontMetrics metrics;
    metrics.m_rXPixelsPerEm = 32;
    metrics.m_rYPixelsPerEm = 33;
    metrics.m_rScaleFactorX = RealFloat(0.5);
    metrics.m_rScaleFactorY = RealFloat(0.25);
    metrics.m_rAscent = 24;
    metrics.m_rDescent = 8;
    metrics.m_rLeading = 4;
    font.SetMetrics(metrics);
    font.GetUnderlineProperty().SetValue(true);
    font.GetUnderlineThicknessProperty().SetValue(2);
    Ref<DocumentNode> const pNode = SaveToNode(font);
    TestFont loaded;
    ASSERT_TRUE(LoadFrom(pNode, loaded));
    EXPECT_EQ(loaded.GetXPixelsPerEm(), 32);
    EXPECT_EQ(loaded.GetYPixelsPerEm(), 33);
    EXPECT_EQ(loaded.GetScaleFactorX(), RealFloat(0.5));
    EXPECT_EQ(loaded.GetScaleFactorY(), RealFloat(0.25));
    EXPECT_EQ(loaded.GetAscent(), 24);
    EXPECT_EQ(loaded.GetDescent(), 8);
    EXPECT_EQ(loaded.GetLeading(), 4);
    EXPECT_TRUE(loaded.GetUnderlineProperty().GetValue());
    EXPECT_EQ(loaded.GetUnderlineThicknessProperty().GetValue(), 2);
    EXPECT_EQ(loaded.GetUnderlineScaleProperty().GetValue(), 1);
    TraceLog log;
    EXPECT_FALSE(LoadFrom(Ref<DocumentNode>(new DocumentNode(0, 0)), loaded));
}

TEST(Font, IdsAreUnique) {
    TestFont one;
    TestFont two;
    EXPECT_EQ(one.GetID(), 0u);
    EXPECT_TRUE(one.Initialize());
    EXPECT_TRUE(two.Initialize());
    unsigned int const nID = one.GetID();
    EXPECT_NE(nID, 0u);
    EXPECT_NE(nID, two.GetID());
    one.Initialize();
    EXPECT_EQ(one.GetID(), nID) << "kept";
    one.GenerateID();
    EXPECT_NE(one.GetID(), nID);
}

TEST(Font, APolygonalFontOwnsItsMeshes) {
    /** Draws nothing. */
    class Outlines : public PolygonalFont {
    public:
        void RenderGlyphBatch(GraphicsDevice&, List<GlyphInstance> const&, GlyphBatch const&, Vector3 const&,
                              ColorT<RealFloat> const&, bool, Vector3 const&,
                              ColorT<RealFloat> const&) const override {}
        void RenderGlyph(GraphicsDevice&, Glyph const*, Vector2T<RealFloat> const&,
                         ColorT<RealFloat> const*) override {}
        unsigned int GetMeshCount() const { return m_meshes.GetCount(); }
    };
    Outlines font;
    EXPECT_EQ(font.AddMesh(new GlyphMesh), 0);
    EXPECT_EQ(font.AddMesh(new GlyphMesh), 1);
    EXPECT_EQ(font.AddMesh(nullptr), -1);
    EXPECT_EQ(font.GetMeshCount(), 2u);
}

} // namespace
} // namespace trevik::kelvo::test
