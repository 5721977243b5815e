// Glyphs that are meshes: the draw of each one, and which ones are none.

#include "NodeTest.h"

#include "PolygonalFontGL2.h"
#include "trevik/ScopeCounter.h"

namespace {

using namespace recording;
using namespace trevik;
using namespace trevik::kelvo;

using Floats = std::vector<float>;
using Vector = Vector3T<RealFloat>;
using Color = ColorT<RealFloat>;

class PolygonalFontTest : public NodeTest {
protected:
    PolygonalFontTest() : m_pFont(new PolygonalFontGL2) {
        AddMesh({{0, 0, 0}, {1, 0, 0}, {0, 1, 0}}, {0, 1, 2});
        m_glyph.m_nMesh = AddMesh({{1, 2, 3}, {4, 5, 6}, {7, 8, 9}, {10, 11, 12}}, {2, 1, 0, 3, 2, 1});
        m_glyph.m_nWidth = 30;
        m_glyph.m_nHeight = 20;
        m_glyph.m_origin = Vector2T<RealFloat>(3, 4);
    }

    short AddMesh(std::vector<Vector> const& positions, std::vector<unsigned short> const& indices) {
        GlyphMesh* const pMesh = new GlyphMesh;
        for (Vector const& position : positions) {
            pMesh->m_positions.GetWritableValue().Append(position);
        }
        for (unsigned short const nIndex : indices) {
            pMesh->m_indices.GetWritableValue().Append(nIndex);
        }
        return m_pFont->AddMesh(pMesh);
    }

    void RenderGlyph(Vector2T<RealFloat> const& position = Vector2T<RealFloat>()) {
        Color const color(0.125f, 0.375f, 0.625f, 0.5f);
        Device().Clear();
        Clear();
        Device().PushTransformMatrix(Transform());
        m_pFont->RenderGlyph(Device(), &m_glyph, position, &color);
    }

    static Matrix4T<RealFloat> Transform() { return Matrix4Translation(Vector(5, -7, 11)); }

    Ref<PolygonalFontGL2> m_pFont;
    Glyph m_glyph;
};

TEST_F(PolygonalFontTest, MeshesThatTheFontDoesNotHaveDrawNothing) {
    for (int const nMesh : {-32768, -1, 2, 32767}) {
        m_glyph.m_nMesh = static_cast<short>(nMesh);
        RenderGlyph();
        EXPECT_EQ(Lines(), Strings()) << nMesh;
    }
}

TEST_F(PolygonalFontTest, AnAnimatedMeshIsDrawnAsItIsNow) {
    GlyphMesh* const pMesh = new GlyphMesh;
    m_glyph.m_nMesh = m_pFont->AddMesh(pMesh);
    RenderGlyph();
    EXPECT_EQ(Lines("glDraw*"), (Strings{"glDrawElements(GL_TRIANGLES, 0, GL_UNSIGNED_SHORT, NULL)"}));
    pMesh->m_positions.GetWritableValue().Resize(3, Vector(1, 2, 3));
    pMesh->m_indices.GetWritableValue().Resize(3, 0);
    RenderGlyph();
    EXPECT_EQ(Draws().at(0).Values(0), (Floats{1, 2, 3, 1, 2, 3, 1, 2, 3}));
}

TEST_F(PolygonalFontTest, BatchesDrawNothing) {
    List<GlyphInstance> instances;
    instances.Append(GlyphInstance{&m_glyph, 0, 0, {}});
    Clear();
    m_pFont->RenderGlyphBatch(Device(), instances, GlyphBatch{0, 1}, Vector(), Color(), false, Vector(),
                              Color());
    EXPECT_EQ(Lines(), Strings());
}

TEST_F(PolygonalFontTest, CountsItsRendering) {
    ScopeCounter::ResetFigures();
    ScopeCounter::SetProfiling(true);
    RenderGlyph();
    m_glyph.m_nMesh = -1;
    RenderGlyph();
    ScopeCounter::SetProfiling(false);
    EXPECT_EQ(ScopeCounter::GetTotals(7).nCalls, 2u);
}

TEST_F(PolygonalFontTest, WithoutADeviceNothingIsDrawn) {
    Color const color;
    GraphicsDeviceGL2 device;
    Clear();
    m_pFont->RenderGlyph(device, &m_glyph, Vector2T<RealFloat>(), &color);
    EXPECT_EQ(Lines(), Strings());
}

} // namespace
