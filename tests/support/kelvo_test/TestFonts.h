#pragma once

#include "kelvo_test/TestNodes.h"
#include "trevik/kelvo/PolygonalFont.h"

#include <vector>

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
    return Glyph{nCodePoint,
                 static_cast<unsigned short>(nCodePoint % 1000 + 1),
                 static_cast<unsigned short>(nCodePoint % 1000 + 2),
                 -3,
                 4,
                 static_cast<int>(nCodePoint) + 5,
                 pTexture,
                 {RealFloat(0.125), RealFloat(0.25), RealFloat(0.375), RealFloat(0.5)},
                 false,
                 nMesh,
                 6,
                 7,
                 Vector2T<RealFloat>(RealFloat(8.5), RealFloat(-9.5))};
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
