// Glyphs that are meshes: the draw of each one, and which ones are none.

#include "NodeTest.h"
#include "PolygonalFontGL2.h"

namespace {

using namespace kelvokit::recording;
using namespace trevik;
using namespace trevik::kelvo;

using Floats = std::vector<float>;
using Vector = Vector3T<RealFloat>;
using Color = ColorT<RealFloat>;

class PolygonalFontTest : public NodeTest {
protected:
    void RenderGlyph(GraphicsDevice& device) {
        Color const color;
        Device().Clear();
        Clear();
        m_pFont->RenderGlyph(device, &m_glyph, Vector2T<RealFloat>(), &color);
    }

    Ref<PolygonalFontGL2> m_pFont{new PolygonalFontGL2};
    Glyph m_glyph;
};

TEST_F(PolygonalFontTest, MeshesThatTheFontDoesNotHaveDrawNothing) {
    for (int const nMesh : {-32768, -1, 0, 32767}) {
        m_glyph.m_nMesh = static_cast<short>(nMesh);
        RenderGlyph(Device());
        EXPECT_EQ(Lines(), Strings()) << nMesh;
    }
}

TEST_F(PolygonalFontTest, AnAnimatedMeshIsDrawnAsItIsNow) {
    GlyphMesh* const pMesh = new GlyphMesh;
    m_glyph.m_nMesh = m_pFont->AddMesh(pMesh);
    RenderGlyph(Device());
    EXPECT_EQ(Lines("glDraw*"), (Strings{"glDrawElements(GL_TRIANGLES, 0, GL_UNSIGNED_SHORT, NULL)"}));
    pMesh->m_positions.GetWritableValue().Resize(3, Vector(1, 2, 3));
    pMesh->m_indices.GetWritableValue().Resize(3, 0);
    RenderGlyph(Device());
    EXPECT_EQ(Draws().at(0).Values(0), (Floats{1, 2, 3, 1, 2, 3, 1, 2, 3}));
}

TEST_F(PolygonalFontTest, BatchesAndWhatHasNoDeviceDrawNothing) {
    m_glyph.m_nMesh = m_pFont->AddMesh(new GlyphMesh);
    GraphicsDeviceGL2 device;
    RenderGlyph(device);
    List<GlyphInstance> instances;
    instances.Append(GlyphInstance{&m_glyph, 0, 0, {}});
    m_pFont->RenderGlyphBatch(Device(), instances, GlyphBatch{0, 1}, Vector(), Color(), false, Vector(),
                              Color());
    EXPECT_CALLS();
}

} // namespace
