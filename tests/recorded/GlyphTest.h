#pragma once

#include "NodeTest.h"
#include "trevik/kelvo/Glyph.h"

#include <string>
#include <vector>

namespace recording {

using Floats = std::vector<float>;

/** A test of two glyphs in a batch, behind one that is not in it. */
class GlyphTest : public NodeTest {
protected:
    using Vector = trevik::Vector3T<RealFloat>;
    using Color = trevik::ColorT<RealFloat>;

    GlyphTest() : m_pTexture(MakeTexture(16, 8)) {
        SetGlyph(m_glyphs[0], 4, 6, {0.125f, 0.25f, 0.5f, 0.75f});
        SetGlyph(m_glyphs[1], 3, 8, {0.5f, 0, 1, 0.375f});
        Append(m_glyphs[1], 1, 1, {0, 0, 0, 0});
        Append(m_glyphs[0], 10, 20, {0.125f, 0.25f, 0.5f, 1});
        Append(m_glyphs[1], 30.5f, -7, {1, 0, 0.75f, 0.625f});
    }

    /** An instance whose corners have these alphas; their other components tell them apart. */
    void Append(trevik::kelvo::Glyph const& glyph, RealFloat x, RealFloat y, Floats const& alphas) {
        trevik::kelvo::GlyphInstance instance;
        instance.m_pGlyph = &glyph;
        instance.m_rX = x;
        instance.m_rY = y;
        for (int nCorner = 0; nCorner < 4; ++nCorner) {
            instance.m_colors[nCorner] = Color(float(nCorner) / 4, float(m_instances.GetCount()) / 4, 0.5f,
                                               alphas[static_cast<std::size_t>(nCorner)]);
        }
        ASSERT_TRUE(m_instances.Append(instance));
    }

    /** Draws in a frame of its own, of which only this is noted. */
    template <class Function>
    void Record(Function draw) {
        Device().Clear();
        Clear();
        draw();
    }

    Ref<trevik::kelvo::TextureGL2> m_pTexture;
    trevik::kelvo::Glyph m_glyphs[2];
    trevik::List<trevik::kelvo::GlyphInstance> m_instances;
    trevik::kelvo::GlyphBatch m_batch{1, 2};

private:
    void SetGlyph(trevik::kelvo::Glyph& glyph, unsigned short width, unsigned short height,
                  Floats const& rectangle) {
        glyph.m_nWidth = width;
        glyph.m_nHeight = height;
        std::copy(rectangle.begin(), rectangle.end(), glyph.m_textureRectangle);
        glyph.m_pTexture = trevik::Ref<trevik::kelvo::Texture>(m_pTexture.Get());
    }
};

} // namespace recording
