#include "font/FontFace.h"

#include "font/FontKerning.h"

#include <algorithm>
#include <cstdio>
#include <utility>

#include FT_OUTLINE_H

namespace trevik::kelvo::assets {

namespace {

constexpr std::size_t MaximumCharacters = 65536;

/** FreeType's own function for this answers nothing in most builds; its headers have the texts. */
char const* TextOf(FT_Error nError) {
    switch (FT_ERROR_BASE(nError)) {
#undef FTERRORS_H_
#define FT_ERRORDEF(name, value, text)                                                                       \
    case value:                                                                                              \
        return text;
#include FT_ERRORS_H
    default:
        return "unknown error";
    }
}

/** The sizes of a font that has pictures only: "11, 13". */
std::string ListSizes(FT_Face pFace) {
    std::string list;
    for (FT_Int i = 0; i < std::min(pFace->num_fixed_sizes, 20); ++i) {
        list += (i == 0 ? "" : ", ") + std::to_string(RoundToPixels(pFace->available_sizes[i].y_ppem));
    }
    return list;
}

} // namespace

int RoundToPixels(long long nDistance) {
    return static_cast<int>((nDistance + 32) >> 6);
}

FontFace::~FontFace() {
    FT_Done_Face(m_pFace);
    FT_Done_FreeType(m_pLibrary);
}

bool FontFace::Fail(Fault& fault, std::string const& what, std::string const& why) const {
    return assets::Fail(fault, m_sName, what, why);
}

bool FontFace::Fail(Fault& fault, FontCharacter const& character, std::string const& what,
                    std::string const& why) const {
    char code[16];
    std::snprintf(code, sizeof(code), "U+%04X", static_cast<unsigned int>(character.nCodePoint));
    return Fail(fault, std::string("the glyph of ") + code + " " + what, why);
}

bool FontFace::Open(FontOptions const& options, Fault& fault) {
    if (options.pixelsPerEm < 1 || options.pixelsPerEm > 512) {
        return Fail(fault, "cannot be read at " + std::to_string(options.pixelsPerEm) +
                               " pixels per em, only at 1 to 512");
    }
    if (options.faceIndex < 0) {
        return Fail(fault, "has no face " + std::to_string(options.faceIndex));
    }
    if (FT_Error const nError = FT_Init_FreeType(&m_pLibrary)) {
        return Fail(fault, "FreeType does not start", TextOf(nError));
    }
    m_nInstance = options.faceIndex >> 16;
    return OpenFace(options.faceIndex, fault) && SetSize(options.pixelsPerEm, fault) &&
           FindCharacters(options.codePoints, fault);
}

bool FontFace::OpenFace(int nFace, Fault& fault) {
    if (m_bytes.size == 0) {
        return Fail(fault, "is empty");
    }
    auto const open = [this](FT_Long nIndex) {
        return FT_New_Memory_Face(m_pLibrary, m_bytes.data, static_cast<FT_Long>(m_bytes.size), nIndex,
                                  &m_pFace);
    };
    FT_Error const nError = open(nFace);
    if (nError == 0) {
        return true;
    }
    // Index -1 gives no face that could be used, but counts them.
    if (nFace > 0 && open(-1) == 0 && (nFace & 0xFFFF) >= m_pFace->num_faces) {
        return Fail(fault, "has no face " + std::to_string(nFace) + ", only " +
                               std::to_string(m_pFace->num_faces) + ", the first one being 0");
    }
    return Fail(fault, "is not a font that can be read", TextOf(nError));
}

bool FontFace::SetSize(int nPixelsPerEm, Fault& fault) {
    m_nPixelsPerEm = nPixelsPerEm;
    auto const nSize = static_cast<FT_UInt>(nPixelsPerEm);
    FT_Error const nError = FT_Set_Pixel_Sizes(m_pFace, nSize, nSize);
    if (nError == 0) {
        return true;
    }
    std::string const at = " at " + std::to_string(nPixelsPerEm) + " pixels per em";
    if (!HasOutlines() && m_pFace->num_fixed_sizes > 0) {
        return Fail(fault, "has no glyphs" + at + ", only at " + ListSizes(m_pFace));
    }
    return Fail(fault, "cannot be used" + at, TextOf(nError));
}

bool FontFace::FindCharacters(std::vector<std::uint32_t> codePoints, Fault& fault) {
    if (!m_pFace->charmap) {
        return Fail(fault, "has no table that leads from Unicode to its glyphs");
    }
    std::sort(codePoints.begin(), codePoints.end());
    codePoints.erase(std::unique(codePoints.begin(), codePoints.end()), codePoints.end());
    for (std::uint32_t const nCodePoint : codePoints) {
        FontCharacter const character = Find(nCodePoint);
        if (character.nGlyph != 0) {
            m_characters.push_back(character);
        }
    }
    if (m_characters.size() > MaximumCharacters) {
        return Fail(fault, "has " + std::to_string(m_characters.size()) +
                               " of the glyphs asked for, more than the " +
                               std::to_string(MaximumCharacters) + " allowed");
    }
    return true;
}

FontCharacter FontFace::Find(std::uint32_t nCodePoint) const {
    return {nCodePoint, nCodePoint <= 0x10FFFF ? FT_Get_Char_Index(m_pFace, nCodePoint) : 0};
}

FT_GlyphSlot FontFace::LoadGlyph(FontCharacter const& character, FT_Int32 nFlags, Fault& fault) {
    if (FT_Error const nError = FT_Load_Glyph(m_pFace, character.nGlyph, nFlags)) {
        Fail(fault, character, "cannot be loaded", TextOf(nError));
        return nullptr;
    }
    return m_pFace->glyph;
}

bool FontFace::RenderGlyph(FontCharacter const& character, Fault& fault) {
    FT_Error const nError = FT_Render_Glyph(m_pFace->glyph, FT_RENDER_MODE_NORMAL);
    return nError == 0 || Fail(fault, character, "cannot be drawn", TextOf(nError));
}

bool FontFace::Describe(Font& font, bool fUnderline, FT_Kerning_Mode kerning, Fault& fault) const {
    FT_Size_Metrics const& size = m_pFace->size->metrics;
    FontMetrics metrics;
    metrics.m_rXPixelsPerEm = metrics.m_rYPixelsPerEm = static_cast<RealFloat>(m_nPixelsPerEm);
    int const nAscent = std::max(RoundToPixels(size.ascender), 0);
    int const nDescent = std::max(RoundToPixels(-static_cast<long long>(size.descender)), 0);
    metrics.m_rAscent = static_cast<RealFloat>(nAscent);
    metrics.m_rDescent = static_cast<RealFloat>(nDescent);
    metrics.m_rLeading = static_cast<RealFloat>(std::max(RoundToPixels(size.height) - nAscent - nDescent, 0));
    font.SetMetrics(metrics);
    SetUnderline(font, fUnderline);
    return SetKerning(font, kerning) || Fail(fault, "not enough memory for its kerning");
}

void FontFace::SetUnderline(Font& font, bool fUnderline) const {
    FT_Fixed const nScale = m_pFace->size->metrics.y_scale;
    long long nThickness = FT_MulFix(m_pFace->underline_thickness, nScale);
    long long nCentre = -static_cast<long long>(FT_MulFix(m_pFace->underline_position, nScale)); // down
    if (!HasOutlines() || nThickness <= 0) {
        // The font does not say: a line as it is usual in those that do.
        nThickness = m_nPixelsPerEm * 64 / 14;
        nCentre = m_nPixelsPerEm * 64 / 8;
    }
    // Whole pixels, so that no edge of the line is blurred.
    int const nPixels = std::max(RoundToPixels(nThickness), 1);
    font.GetUnderlineProperty().SetValue(fUnderline);
    font.GetUnderlineThicknessProperty().SetValue(static_cast<RealFloat>(nPixels));
    font.GetUnderlinePositionProperty().SetValue(
        static_cast<RealFloat>(RoundToPixels(nCentre - nPixels * 32LL)));
}

bool FontFace::SetKerning(Font& font, FT_Kerning_Mode mode) const {
    std::size_t const nPaired = std::min(m_characters.size(), MaximumPairedCharacters);
    std::vector<FontCharacter> const paired(m_characters.begin(),
                                            m_characters.begin() + static_cast<std::ptrdiff_t>(nPaired));
    return SetKerning(font, mode, paired, paired);
}

bool FontFace::SetKerning(Font& font, FT_Kerning_Mode mode, std::vector<FontCharacter> const& firsts,
                          std::vector<FontCharacter> const& seconds) const {
    std::vector<FontPair> pairs;
    if (!FindKerning(m_pFace, m_nInstance, firsts, seconds, pairs)) {
        return false;
    }
    auto const key = [](FontPair const& pair) {
        return std::make_pair(pair.first.nCodePoint, pair.second.nCodePoint);
    };
    std::sort(pairs.begin(), pairs.end(),
              [&](FontPair const& left, FontPair const& right) { return key(left) < key(right); });
    return std::all_of(pairs.begin(), pairs.end(), [&](FontPair const& pair) {
        return font.SetKerning(pair.first.nCodePoint, pair.second.nCodePoint, ToPixels(pair.nUnits, mode));
    });
}

/** The same as FreeType makes of a "kern" table's distance. */
RealFloat FontFace::ToPixels(int nUnits, FT_Kerning_Mode mode) const {
    FT_Pos distance = FT_MulFix(nUnits, m_pFace->size->metrics.x_scale);
    if (mode == FT_KERNING_DEFAULT) {
        // Rounding would make too much of it at small sizes.
        distance = m_nPixelsPerEm < 25 ? FT_MulDiv(distance, m_nPixelsPerEm, 25) : distance;
        distance = static_cast<FT_Pos>(RoundToPixels(distance)) * 64;
    }
    return static_cast<RealFloat>(distance) / 64;
}

} // namespace trevik::kelvo::assets
