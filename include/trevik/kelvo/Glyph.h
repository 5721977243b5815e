#pragma once

#include "trevik/Color.h"
#include "trevik/Ref.h"
#include "trevik/Types.h"
#include "trevik/Vector.h"
#include "trevik/kelvo/Texture.h"

namespace trevik::kelvo {

/**
 * One glyph of a font. Bitmap fonts use the texture fields, polygonal fonts the mesh fields. Sizes in font
 * pixels, y up.
 *
 * A glyph set with the pen at (px, py) on the baseline covers (px + OffsetX, py - OffsetY) to that plus width
 * and height.
 */
struct Glyph {
    unsigned int m_nCodePoint = 0; ///< Unicode, 0 to 0x10FFFF
    unsigned short m_nWidth = 0;   ///< font pixels
    unsigned short m_nHeight = 0;  ///< font pixels
    int m_nOffsetX = 0;            ///< from the pen to the glyph's left edge, positive to the right
    int m_nOffsetY = 0;            ///< from the baseline to the glyph's bottom edge, positive downwards
    int m_nAdvance = 0;            ///< from this pen position to the next

    Ref<Texture> m_pTexture; ///< what it is drawn from; null for a glyph of triangles
    /** v at the top edge, u left, v at the bottom edge, u right; not used by image glyphs. */
    RealFloat m_textureRectangle[4] = {0, 0, 0, 0};
    /** A picture in its own colours, the whole used area of its texture: drawn by Text::RenderImageBatch. */
    bool m_fImage = false;

    short m_nMesh = -1;           ///< index of the mesh; -1 for a glyph without one
    RealFloat m_rDivisorX = 1;    ///< of a mesh: m_nWidth / m_rDivisorX scales it across
    RealFloat m_rDivisorY = 1;    ///< of a mesh: m_nHeight / m_rDivisorY scales it upwards
    Vector2T<RealFloat> m_origin; ///< of a mesh: the point of it that stands at the pen
};

/** One glyph of a laid-out text. Corner colours: (x, y), (x, y + h), (x + w, y), (x + w, y + h). */
struct GlyphInstance {
    Glyph const* m_pGlyph = nullptr; ///< of the text's font, borrowed
    RealFloat m_rX = 0;              ///< of the glyph's left edge, font pixels
    RealFloat m_rY = 0;              ///< of the glyph's bottom edge, font pixels
    ColorT<RealFloat> m_colors[4];   ///< see above for their order
};

/** Glyph instances that are drawn with one texture: `m_nCount` of them from `m_nFirst` on. */
struct GlyphBatch {
    unsigned int m_nFirst = 0; ///< index of the first instance
    unsigned int m_nCount = 0; ///< number of instances
};

} // namespace trevik::kelvo
