// Glyphs that are pictures: what a text's image batches draw, and what a text sets up around its batches.

#include "GlyphTest.h"

#include "BitmapFontGL2.h"
#include "CameraGL2.h"
#include "TextGL2.h"
#include "trevik/Allocation.h"
#include "trevik/ScopeCounter.h"

namespace {

using namespace recording;
using namespace trevik;
using namespace trevik::kelvo;

class TextImageTest : public GlyphTest {
protected:
    TextImageTest() : m_pText(new TextGL2) {
        m_pTexture->SetUsedSize(12, 2); // of 16 by 8
        m_glyphs[0].m_fImage = m_glyphs[1].m_fImage = true;
    }

    void RenderBatch(GlyphBatch const& batch) {
        Record([&] {
            m_pText->RenderImageBatch(Device(), m_instances, batch, Color(0.125f, 0.375f, 0.625f, 0.5f));
        });
    }
    void RenderBatch() { RenderBatch(m_batch); }

    Ref<TextGL2> m_pText;
};

TEST_F(TextImageTest, AnEmptyBatchBindsTheTextureOfItsFirstInstance) {
    RenderBatch(GlyphBatch{2, 0});
    EXPECT_EQ(Lines("glDraw*"), (Strings{"glDrawArrays(GL_TRIANGLES, 0, 0)"}));
    EXPECT_EQ(Draws().at(0).Texture("sTexture"), m_pTexture->GetGLTexture());
}

TEST_F(TextImageTest, BatchesThatAreNotAmongTheInstancesDrawNothing) {
    for (GlyphBatch const batch : {GlyphBatch{3, 0}, GlyphBatch{2, 2}, GlyphBatch{1, ~0u}}) {
        RenderBatch(batch);
        EXPECT_EQ(Lines(), Strings()) << batch.m_nFirst << ", " << batch.m_nCount;
    }
}

TEST_F(TextImageTest, WithoutMemoryOrDeviceNothingIsDrawn) {
    static unsigned int s_nInstances = 0;
    s_nInstances += 5000; // more than anything has drawn before, this test the last time included
    while (m_instances.GetCount() < s_nInstances) {
        Append(m_glyphs[0], 3, 4, {1, 1, 1, 1});
    }
    GlyphBatch const all{0, m_instances.GetCount()};
    RenderBatch(); // uniforms are known from here on
    Clear();
    // None of the three streams, then one more each time.
    for (unsigned int const nStreams : {0u, 1u, 1u}) {
        Allocation::FailAfter(nStreams);
        m_pText->RenderImageBatch(Device(), m_instances, all, Color());
        Allocation::FailNever();
    }
    GraphicsDeviceGL2 device;
    m_pText->RenderImageBatch(device, m_instances, all, Color());
    EXPECT_EQ(Lines(), Strings());
}

TEST_F(TextImageTest, AnImageWithoutTextureHasNoArea) {
    m_glyphs[0].m_pTexture = nullptr;
    RenderBatch();
    Floats const coords = Draws().at(0).Values(1);
    EXPECT_EQ(Floats(coords.begin(), coords.begin() + 12), Floats(12));
    EXPECT_EQ(coords.at(12 + 4), 0.75f);
    EXPECT_EQ(Draws().at(0).Texture("sTexture"), 0u);
}

TEST_F(TextImageTest, BothKindsOfBatchAreCountedAsOne) {
    ScopeCounter::ResetFigures();
    ScopeCounter::SetProfiling(true);
    RenderBatch();
    m_pText->Render(Device());
    ScopeCounter::SetProfiling(false);
    EXPECT_EQ(ScopeCounter::GetTotals(6).nCalls, 1u);
    EXPECT_EQ(ScopeCounter::GetTotals(5).nCalls, 1u);
}

} // namespace
