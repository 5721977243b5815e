#pragma once

#include "font/FontFace.h"
#include "font/GlyphPages.h"

namespace trevik::kelvo::assets {

/** Makes pictures of a face's glyphs. */
class GlyphRasterizer {
public:
    GlyphRasterizer(FontFace& face, FontOptions const& options);

    /** Fails for a glyph that is damaged or does not fit a page. A picture without ink has no pixels. */
    bool Make(FontCharacter const& character, Glyph& glyph, GlyphBitmap& bitmap, Fault& fault);

private:
    bool CheckFits(FontCharacter const& character, long long nWidth, long long nHeight, Fault& fault) const;
    bool Render(FontCharacter const& character, FT_GlyphSlot pSlot, Fault& fault);

    FontFace& m_face;
    FT_Int32 m_nFlags;
    int m_nLargestPage;
};

/** Lets a glyph show its place on a page. */
void SetPlace(Glyph& glyph, GlyphPlace const& place, int side, Ref<Texture> const& pPage);

} // namespace trevik::kelvo::assets
