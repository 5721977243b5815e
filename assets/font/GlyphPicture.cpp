#include "font/GlyphPicture.h"

#include <cstddef>

#include FT_OUTLINE_H

namespace trevik::kelvo::assets {

namespace {

/** Pixels that a stretch touches. Fonts may place outlines at the ends of what an FT_Pos holds. */
long long CountPixels(long long nFirst, long long nLast) {
    return ((nLast + 63) >> 6) - (nFirst >> 6);
}

/** Copies a picture of 2 or 256 shades; false for those with other kinds of pixels. */
bool CopyCoverage(FT_Bitmap const& source, GlyphBitmap& bitmap) {
    bool const fMono = source.pixel_mode == FT_PIXEL_MODE_MONO;
    if (!fMono && (source.pixel_mode != FT_PIXEL_MODE_GRAY || source.num_grays != 256)) {
        return false;
    }
    bitmap.width = static_cast<int>(source.width);
    bitmap.height = static_cast<int>(source.rows);
    bitmap.coverage.resize(std::size_t(source.width) * source.rows);
    std::uint8_t* pOut = bitmap.coverage.data();
    for (unsigned int y = 0; y < source.rows; ++y) {
        std::uint8_t const* const pRow = source.buffer + static_cast<std::ptrdiff_t>(y) * source.pitch;
        for (unsigned int x = 0; x < source.width; ++x) {
            *pOut++ = !fMono ? pRow[x] : (pRow[x / 8] & (0x80 >> x % 8)) != 0 ? 0xFF : 0;
        }
    }
    return true;
}

} // namespace

GlyphRasterizer::GlyphRasterizer(FontFace& face, FontOptions const& options)
    : m_face(face), m_nFlags(options.hinting ? FT_LOAD_DEFAULT : FT_LOAD_NO_HINTING),
      m_nLargestPage(LargestPage(options.maximumPageSize)) {
    if (face.HasOutlines()) {
        m_nFlags |= FT_LOAD_NO_BITMAP;
    }
}

bool GlyphRasterizer::Make(FontCharacter const& character, Glyph& glyph, GlyphBitmap& bitmap, Fault& fault) {
    FT_GlyphSlot const pSlot = m_face.LoadGlyph(character, m_nFlags, fault);
    if (!pSlot || !Render(character, pSlot, fault)) {
        return false;
    }
    if (!CopyCoverage(pSlot->bitmap, bitmap)) {
        return m_face.Fail(fault, character, "is a picture of an unsupported kind");
    }
    glyph.m_nCodePoint = character.nCodePoint;
    glyph.m_nAdvance = RoundToPixels(pSlot->advance.x);
    if (!bitmap.coverage.empty()) {
        glyph.m_nWidth = static_cast<unsigned short>(bitmap.width);
        glyph.m_nHeight = static_cast<unsigned short>(bitmap.height);
        glyph.m_nOffsetX = pSlot->bitmap_left;
        glyph.m_nOffsetY = bitmap.height - pSlot->bitmap_top;
    }
    return true;
}

bool GlyphRasterizer::CheckFits(FontCharacter const& character, long long nWidth, long long nHeight,
                                Fault& fault) const {
    int const nRoom = m_nLargestPage - 2; // see FitsPage
    if (nWidth <= nRoom && nHeight <= nRoom) {
        return true;
    }
    return m_face.Fail(fault, character,
                       "has " + std::to_string(nWidth) + " x " + std::to_string(nHeight) +
                           " pixels, too many for a page of " + std::to_string(m_nLargestPage) + " x " +
                           std::to_string(m_nLargestPage));
}

/** Sees to it that the slot holds a picture that fits a page; an outline's size is looked at beforehand. */
bool GlyphRasterizer::Render(FontCharacter const& character, FT_GlyphSlot pSlot, Fault& fault) {
    if (pSlot->format == FT_GLYPH_FORMAT_OUTLINE) {
        FT_BBox box;
        FT_Outline_Get_CBox(&pSlot->outline, &box);
        if (!CheckFits(character, CountPixels(box.xMin, box.xMax), CountPixels(box.yMin, box.yMax), fault) ||
            !m_face.RenderGlyph(character, fault)) {
            return false;
        }
    }
    if (pSlot->format != FT_GLYPH_FORMAT_BITMAP) {
        return m_face.Fail(fault, character, "is neither an outline nor a picture");
    }
    return CheckFits(character, pSlot->bitmap.width, pSlot->bitmap.rows, fault);
}

void SetPlace(Glyph& glyph, GlyphPlace const& place, int side, Ref<Texture> const& pPage) {
    auto const rSide = static_cast<RealFloat>(side);
    glyph.m_pTexture = pPage;
    glyph.m_textureRectangle[0] = static_cast<RealFloat>(place.y) / rSide;
    glyph.m_textureRectangle[1] = static_cast<RealFloat>(place.x) / rSide;
    glyph.m_textureRectangle[2] = static_cast<RealFloat>(place.y + glyph.m_nHeight) / rSide;
    glyph.m_textureRectangle[3] = static_cast<RealFloat>(place.x + glyph.m_nWidth) / rSide;
}

} // namespace trevik::kelvo::assets
