// Batches of glyphs and of pictures among them, in the ways in which no text draws them.

#include "BitmapFontGL2.h"
#include "NodeTest.h"
#include "TextGL2.h"
#include "trevik/Allocation.h"
#include "trevik/kelvo/Glyph.h"

namespace {

using namespace kelvokit::recording;
using namespace trevik;
using namespace trevik::kelvo;

/** Three glyphs, drawn by a font or, as pictures, by a text. */
class GlyphBatchTest : public NodeTest, public ::testing::WithParamInterface<bool> {
protected:
    GlyphBatchTest() : m_pTexture(MakeTexture(16, 8)) {
        m_glyph.m_nWidth = 4;
        m_glyph.m_nHeight = 6;
        m_glyph.m_fImage = GetParam();
        m_glyph.m_pTexture = m_pTexture;
        Append(3);
    }

    void Append(unsigned int nInstances) {
        GlyphInstance instance;
        instance.m_pGlyph = &m_glyph;
        for (unsigned int i = 0; i < nInstances; ++i) {
            ASSERT_TRUE(m_instances.Append(instance));
        }
    }

    void Render(GraphicsDeviceGL2& device, GlyphBatch const& batch) {
        using Vector = Vector3T<RealFloat>;
        using Color = ColorT<RealFloat>;
        Clear();
        if (GetParam()) {
            m_pText->RenderImageBatch(device, m_instances, batch, Color());
        } else {
            m_pFont->RenderGlyphBatch(device, m_instances, batch, Vector(), Color(), false, Vector(),
                                      Color());
        }
    }

    Ref<TextureGL2> m_pTexture;
    Glyph m_glyph;
    List<GlyphInstance> m_instances;
    Ref<BitmapFontGL2> m_pFont{new BitmapFontGL2};
    Ref<TextGL2> m_pText{new TextGL2};
};

TEST_P(GlyphBatchTest, AnEmptyBatchBindsTheTextureOfItsFirstInstance) {
    Render(Device(), GlyphBatch{2, 0});
    EXPECT_EQ(Lines("glDraw*"), (Strings{"glDrawArrays(GL_TRIANGLES, 0, 0)"}));
    EXPECT_EQ(Draws().at(0).Texture("sTexture"), m_pTexture->GetGLTexture());
}

TEST_P(GlyphBatchTest, WhatIsNotAmongTheInstancesOrHasNoDeviceIsNotDrawn) {
    for (GlyphBatch const batch :
         {GlyphBatch{3, 0}, GlyphBatch{2, 2}, GlyphBatch{1, ~0u}, GlyphBatch{~0u, 1}}) {
        Render(Device(), batch);
        EXPECT_CALLS() << batch.m_nFirst << ", " << batch.m_nCount;
    }
    GraphicsDeviceGL2 device;
    Render(device, GlyphBatch{1, 2});
    EXPECT_CALLS();
}

TEST_P(GlyphBatchTest, WithoutMemoryForItsStreamsNothingIsDrawn) {
    static unsigned int s_nInstances = 0;
    s_nInstances += 5000; // more than anything has drawn before, this test the last time included
    Render(Device(), GlyphBatch{1, 2}); // uniforms are known from here on
    Append(s_nInstances);
    GlyphBatch const all{0, m_instances.GetCount()};
    // None of the three streams, then one more each time.
    for (unsigned int const nStreams : {0u, 1u, 1u}) {
        Allocation::FailAfter(nStreams);
        Render(Device(), all);
        Allocation::FailNever();
        EXPECT_CALLS();
    }
    Render(Device(), all);
    EXPECT_EQ(Draws().at(0).count, static_cast<GLsizei>(6 * all.m_nCount));
}

TEST_P(GlyphBatchTest, WithoutTextureAPictureHasNoAreaAndNoneIsBound) {
    m_glyph.m_pTexture = nullptr;
    Render(Device(), GlyphBatch{0, 1});
    EXPECT_EQ(Draws().at(0).Values(1), std::vector<float>(12));
    EXPECT_EQ(Draws().at(0).Texture("sTexture"), 0u);
}

INSTANTIATE_TEST_SUITE_P(AsPictures, GlyphBatchTest, ::testing::Bool());

} // namespace
