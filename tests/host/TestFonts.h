#pragma once

#include <vector>

#include "TestNodes.h"
#include "trevik/kelvo/PolygonalFont.h"

namespace trevik::kelvo::test {

/** A font of meshes; draws nothing. */
class TestOutlines : public PolygonalFont {
public:
    void RenderGlyphBatch(GraphicsDevice&, List<GlyphInstance> const&, GlyphBatch const&, Vector3 const&,
                          ColorT<RealFloat> const&, bool, Vector3 const&,
                          ColorT<RealFloat> const&) const override {}
    void RenderGlyph(GraphicsDevice&, Glyph const*, Vector2T<RealFloat> const&,
                     ColorT<RealFloat> const*) override {}
};

/** Both kinds of fonts besides the other test classes. */
class TestFontRegistry : public TestRegistry {
public:
    TestFontRegistry() {
        AddClassContainer(new ClassContainerT<TestOutlines>(PolygonalFont::FactoryClassID));
    }
};

/** A glyph whose fields all differ, from each other and from those of other code points. */
inline Glyph MakeGlyph(unsigned int nCodePoint, Ref<Texture> const& pTexture = nullptr, short nMesh = -1) {
    Glyph glyph;
    glyph.m_nCodePoint = nCodePoint;
    glyph.m_nWidth = static_cast<unsigned short>(nCodePoint % 1000 + 1);
    glyph.m_nHeight = static_cast<unsigned short>(nCodePoint % 1000 + 2);
    glyph.m_nOffsetX = -3;
    glyph.m_nOffsetY = 4;
    glyph.m_nAdvance = static_cast<int>(nCodePoint) + 5;
    glyph.m_pTexture = pTexture;
    for (int n = 0; n < 4; ++n) {
        glyph.m_textureRectangle[n] = RealFloat(0.125) * static_cast<RealFloat>(n + 1);
    }
    glyph.m_nMesh = nMesh;
    glyph.m_rDivisorX = 6;
    glyph.m_rDivisorY = 7;
    glyph.m_origin = Vector2T<RealFloat>(RealFloat(8.5), RealFloat(-9.5));
    return glyph;
}

/** A mesh of the given indices into that many positions; its owner is who takes it. */
inline GlyphMesh* MakeMesh(unsigned int nPositions, std::vector<unsigned short> const& indices) {
    GlyphMesh* const pMesh = new GlyphMesh;
    for (unsigned int n = 0; n < nPositions; ++n) {
        pMesh->m_positions.GetWritableValue().Append(
            Vector3(static_cast<RealFloat>(n), static_cast<RealFloat>(n * n), 0));
    }
    for (unsigned short nIndex : indices) {
        pMesh->m_indices.GetWritableValue().Append(nIndex);
    }
    return pMesh;
}

/** A texture of two by two pixels, all with the given byte. */
inline Ref<Texture> MakePage(unsigned char nByte) {
    std::vector<unsigned char> const pixels(16, nByte);
    Ref<Texture> pPage(new TestTexture);
    pPage->Replace(2, 2, TextureFormat::RGBA8888, pixels.data(), 0);
    return pPage;
}

} // namespace trevik::kelvo::test
