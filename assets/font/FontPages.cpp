#include "font/FontPages.h"

#include "font/GlyphPages.h"
#include "scene/TextureMaker.h"

#include <algorithm>
#include <utility>

#include FT_OUTLINE_H

namespace trevik::kelvo::assets {

namespace {

constexpr std::size_t MaximumPageBytes = std::size_t(256) << 20;

/** The file's name without its folders, which mean nothing where a texture's name is read. */
std::string BaseName(std::string const& path) {
    return path.substr(path.find_last_of('/') + 1);
}

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

/** Rasterises the glyphs of a face and lays them out on pages. */
class BitmapFontMaker {
public:
    BitmapFontMaker(FontFace& face, FontOptions const& options)
        : m_face(face), m_nFlags(options.hinting ? FT_LOAD_DEFAULT : FT_LOAD_NO_HINTING),
          m_nLargestPage(LargestPage(options.maximumPageSize)) {
        if (face.HasOutlines()) {
            m_nFlags |= FT_LOAD_NO_BITMAP;
        }
    }

    bool MakeGlyphs(Fault& fault);
    bool MakePages(std::string const& name, ClassRegistry const& registry, Font& font, Fault& fault);

private:
    bool MakeGlyph(FontCharacter const& character, Fault& fault);
    bool CheckFits(FontCharacter const& character, long long nWidth, long long nHeight, Fault& fault) const;
    bool Render(FontCharacter const& character, FT_GlyphSlot pSlot, Fault& fault);

    FontFace& m_face;
    FT_Int32 m_nFlags;
    int m_nLargestPage;
    std::size_t m_nBytes = 0;
    std::vector<Glyph> m_glyphs;
    std::vector<GlyphBitmap> m_bitmaps;
};

bool BitmapFontMaker::MakeGlyphs(Fault& fault) {
    std::vector<FontCharacter> const& characters = m_face.GetCharacters();
    return std::all_of(characters.begin(), characters.end(),
                       [&](FontCharacter const& character) { return MakeGlyph(character, fault); });
}

bool BitmapFontMaker::MakeGlyph(FontCharacter const& character, Fault& fault) {
    FT_GlyphSlot const pSlot = m_face.LoadGlyph(character, m_nFlags, fault);
    if (!pSlot || !Render(character, pSlot, fault)) {
        return false;
    }
    GlyphBitmap bitmap;
    if (!CopyCoverage(pSlot->bitmap, bitmap)) {
        return m_face.Fail(fault, character, "is a picture of an unsupported kind");
    }
    m_nBytes += bitmap.coverage.size();
    if (m_nBytes > MaximumPageBytes) {
        return m_face.Fail(fault, "the glyphs asked for have more pixels than the " +
                                      std::to_string(MaximumPageBytes) + " allowed");
    }
    Glyph glyph;
    glyph.m_nCodePoint = character.nCodePoint;
    glyph.m_nAdvance = RoundToPixels(pSlot->advance.x);
    if (!bitmap.coverage.empty()) {
        glyph.m_nWidth = static_cast<unsigned short>(bitmap.width);
        glyph.m_nHeight = static_cast<unsigned short>(bitmap.height);
        glyph.m_nOffsetX = pSlot->bitmap_left;
        glyph.m_nOffsetY = bitmap.height - pSlot->bitmap_top;
    }
    m_glyphs.push_back(glyph);
    m_bitmaps.push_back(std::move(bitmap));
    return true;
}

bool BitmapFontMaker::CheckFits(FontCharacter const& character, long long nWidth, long long nHeight,
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
bool BitmapFontMaker::Render(FontCharacter const& character, FT_GlyphSlot pSlot, Fault& fault) {
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

/** Gives each glyph its part of a page, and the font the glyphs. */
bool BitmapFontMaker::MakePages(std::string const& name, ClassRegistry const& registry, Font& font,
                                Fault& fault) {
    PagePlan const plan = PlanPages(m_bitmaps, m_nLargestPage);
    if (plan.GetBytes() > MaximumPageBytes) {
        return m_face.Fail(fault, "the glyphs asked for need pages of " + std::to_string(plan.GetBytes()) +
                                      " bytes, more than the " + std::to_string(MaximumPageBytes) +
                                      " allowed");
    }
    std::vector<Ref<Texture>> pages;
    for (std::size_t i = 0; i < plan.sides.size(); ++i) {
        ImageData const image = DrawPage(plan, static_cast<int>(i), m_bitmaps);
        pages.push_back(MakeTexture(image, BaseName(name) + " page " + std::to_string(i + 1), registry));
        if (!pages.back()) {
            return m_face.Fail(fault, "no class \"Texture\", or not enough memory, for its pages");
        }
    }
    for (std::size_t i = 0; i < m_glyphs.size(); ++i) {
        Glyph& glyph = m_glyphs[i];
        GlyphPlace const& place = plan.places[i];
        if (place.page >= 0) {
            auto const side = static_cast<RealFloat>(plan.sides[std::size_t(place.page)]);
            glyph.m_pTexture = pages[std::size_t(place.page)];
            glyph.m_textureRectangle[0] = static_cast<RealFloat>(place.y) / side;
            glyph.m_textureRectangle[1] = static_cast<RealFloat>(place.x) / side;
            glyph.m_textureRectangle[2] = static_cast<RealFloat>(place.y + glyph.m_nHeight) / side;
            glyph.m_textureRectangle[3] = static_cast<RealFloat>(place.x + glyph.m_nWidth) / side;
        }
        if (!font.AddGlyph(glyph)) {
            return m_face.Fail(fault, "not enough memory for its glyphs");
        }
    }
    return true;
}

} // namespace

bool MakeGlyphPictures(FontFace& face, std::string const& name, FontOptions const& options,
                       ClassRegistry const& registry, BitmapFont& font, Fault& fault) {
    BitmapFontMaker maker(face, options);
    return maker.MakeGlyphs(fault) && maker.MakePages(name, registry, font, fault);
}

} // namespace trevik::kelvo::assets
