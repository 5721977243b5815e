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

TEST_F(PolygonalFontTest, AGlyphIsOneIndexedDrawOfAMeshAsItIsStored) {
    RenderGlyph();
    RenderGlyph(); // uniforms are known
    // The blending in force stays; the projection goes to a uniform that the program does not have.
    EXPECT_CALLS("glUseProgram(" + std::to_string(ProgramName(1)) + ")", "glEnableVertexAttribArray(0)",
                 "glUniformMatrix4fv(mWorldToView, 1, GL_FALSE, *)", "glUniformMatrix4fv(-1, 1, GL_FALSE, *)",
                 "glUniform4f(vColor, 0.125, 0.375, 0.625, 0.5)",
                 "glVertexAttribPointer(0, 3, GL_FLOAT, GL_FALSE, 0, *)",
                 "glDrawElements(GL_TRIANGLES, 6, GL_UNSIGNED_SHORT, *)");
    EXPECT_TRUE(Errors().empty());
    Matrix4T<RealFloat> const transform = Transform();
    Matrix4T<RealFloat> const projection = Device().GetProjectionMatrix();
    EXPECT_EQ(LastCall("glUniformMatrix4fv(-1, *)").floats, Floats(projection.m, projection.m + 16));
    recording::Draw const draw = Draws().at(0);
    EXPECT_EQ(draw.Uniform("mWorldToView"), Floats(transform.m, transform.m + 16));
    EXPECT_EQ(draw.indices, (std::vector<GLuint>{2, 1, 0, 3, 2, 1}));
    EXPECT_EQ(draw.Values(0), (Floats{7, 8, 9, 4, 5, 6, 1, 2, 3, 10, 11, 12, 7, 8, 9, 4, 5, 6}));
}

TEST_F(PolygonalFontTest, PositionOriginAndSizeDoNotMoveAGlyph) {
    RenderGlyph();
    RenderGlyph();
    Strings const calls = Lines();
    recording::Draw const draw = Draws().at(0);
    m_glyph.m_origin = Vector2T<RealFloat>(-8, 9);
    m_glyph.m_nWidth = 1;
    m_glyph.m_rDivisorX = m_glyph.m_rDivisorY = 0;
    RenderGlyph(Vector2T<RealFloat>(100, 200));
    EXPECT_EQ(Lines(), calls);
    EXPECT_EQ(Draws().at(0).Values(0), draw.Values(0));
    EXPECT_EQ(Draws().at(0).uniforms, draw.uniforms);
}

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
