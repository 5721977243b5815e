// Batches of bitmap glyphs, their shadows and underlines: what they draw, and the calls that it takes.

#include "GlyphTest.h"

#include "BitmapFontGL2.h"
#include "trevik/Allocation.h"
#include "trevik/ScopeCounter.h"

namespace {

using namespace recording;
using namespace trevik;
using namespace trevik::kelvo;

class GlyphBatchTest : public GlyphTest {
protected:
    GlyphBatchTest() : m_pFont(new BitmapFontGL2) {
        m_glyphs[0].m_nOffsetX = 1;
        m_glyphs[0].m_nOffsetY = 2;
        m_glyphs[0].m_nAdvance = 9;
        m_glyphs[1].m_nOffsetX = -2;
        m_glyphs[1].m_nOffsetY = -3;
        m_glyphs[1].m_nAdvance = 5;
    }

    void RenderBatch(GlyphBatch const& batch, bool fShadow = false) {
        Record([&] {
            m_pFont->RenderGlyphBatch(Device(), m_instances, batch, Vector(900, 900, 900),
                                      Color(0.125f, 0.375f, 0.625f, 0.5f), fShadow, m_shadowOffset,
                                      m_shadowColor);
        });
    }
    void RenderBatch(bool fShadow = false) { RenderBatch(m_batch, fShadow); }

    Ref<BitmapFontGL2> m_pFont;
    Vector m_shadowOffset{2, -3, 0.5f};
    Color m_shadowColor{0.25f, 0.75f, 0.125f, 0.5f};
};

TEST_F(GlyphBatchTest, AnEmptyBatchBindsTheTextureOfItsFirstInstance) {
    RenderBatch(GlyphBatch{2, 0});
    EXPECT_EQ(Lines("glDraw*"), (Strings{"glDrawArrays(GL_TRIANGLES, 0, 0)"}));
    EXPECT_EQ(Draws().at(0).Texture("sTexture"), m_pTexture->GetGLTexture());
}

TEST_F(GlyphBatchTest, BatchesThatAreNotAmongTheInstancesDrawNothing) {
    for (GlyphBatch const batch :
         {GlyphBatch{3, 0}, GlyphBatch{2, 2}, GlyphBatch{1, ~0u}, GlyphBatch{~0u, 1}}) {
        RenderBatch(batch);
        EXPECT_EQ(Lines(), Strings()) << batch.m_nFirst << ", " << batch.m_nCount;
    }
}

TEST_F(GlyphBatchTest, WithoutMemoryForItsStreamsNothingIsDrawn) {
    static unsigned int s_nInstances = 0;
    s_nInstances += 5000; // more than anything has drawn before, this test the last time included
    while (m_instances.GetCount() < s_nInstances) {
        Append(m_glyphs[0], 3, 4, {1, 1, 1, 1});
    }
    GlyphBatch const all{0, m_instances.GetCount()};
    RenderBatch(); // uniforms are known from here on
    // None of the three streams, then one more each time.
    for (unsigned int const nStreams : {0u, 1u, 1u}) {
        Clear();
        Allocation::FailAfter(nStreams);
        m_pFont->RenderGlyphBatch(Device(), m_instances, all, Vector(), Color(), false, Vector(), Color());
        Allocation::FailNever();
        EXPECT_EQ(Lines(), Strings());
    }
    RenderBatch(all);
    EXPECT_EQ(Draws().at(0).count, static_cast<GLsizei>(6 * s_nInstances));
}

TEST_F(GlyphBatchTest, WithoutADeviceNothingIsDrawn) {
    GraphicsDeviceGL2 device;
    Clear();
    m_pFont->RenderGlyphBatch(device, m_instances, m_batch, Vector(), Color(), false, Vector(), Color());
    EXPECT_EQ(Lines(), Strings());
}

TEST_F(GlyphBatchTest, CountsItsRendering) {
    ScopeCounter::ResetFigures();
    ScopeCounter::SetProfiling(true);
    RenderBatch();
    RenderBatch();
    ScopeCounter::SetProfiling(false);
    EXPECT_EQ(ScopeCounter::GetTotals(6).nCalls, 2u);
}

} // namespace
