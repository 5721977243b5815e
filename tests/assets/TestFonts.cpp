#include "TestFonts.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <fstream>
#include <iterator>

extern "C" bool Initialize(trevik::ClassRegistry* pRegistry);

namespace trevik::kelvo::assets::testing {

FontRegistry::FontRegistry() {
    EXPECT_TRUE(Initialize(this));
}

ReferenceFace::ReferenceFace(int nPixelsPerEm) {
    auto const nSize = static_cast<FT_UInt>(nPixelsPerEm);
    if (FT_Init_FreeType(&m_pLibrary) != 0 || FT_New_Face(m_pLibrary, SansPath, 0, &m_pFace) != 0 ||
        FT_Set_Pixel_Sizes(m_pFace, nSize, nSize) != 0) {
        std::abort();
    }
}

ReferenceFace::~ReferenceFace() {
    FT_Done_Face(m_pFace);
    FT_Done_FreeType(m_pLibrary);
}

FT_GlyphSlot ReferenceFace::Load(std::uint32_t nCodePoint, FT_Int32 nFlags) const {
    EXPECT_EQ(FT_Load_Char(m_pFace, nCodePoint, nFlags), 0);
    return m_pFace->glyph;
}

float ReferenceFace::GetKerning(std::uint32_t nFirst, std::uint32_t nSecond, FT_Kerning_Mode mode) const {
    FT_Vector distance = {};
    FT_Get_Kerning(m_pFace, FT_Get_Char_Index(m_pFace, nFirst), FT_Get_Char_Index(m_pFace, nSecond), mode,
                   &distance);
    return static_cast<float>(distance.x) / 64;
}

std::vector<std::uint32_t> Range(std::uint32_t nFirst, std::uint32_t nLast) {
    std::vector<std::uint32_t> codePoints;
    for (std::uint32_t nCodePoint = nFirst; nCodePoint <= nLast; ++nCodePoint) {
        codePoints.push_back(nCodePoint);
    }
    return codePoints;
}

FontOptions OptionsFor(std::vector<std::uint32_t> codePoints, int nPixelsPerEm) {
    FontOptions options;
    options.codePoints = std::move(codePoints);
    options.pixelsPerEm = nPixelsPerEm;
    return options;
}

Ref<BitmapFont> ReadSans(FontOptions const& options) {
    std::string error;
    Ref<BitmapFont> const pFont = ReadBitmapFont(SansPath, options, FontRegistry(), error);
    EXPECT_TRUE(pFont) << error;
    return pFont;
}

Ref<PolygonalFont> ReadSansOutlines(FontOptions const& options) {
    std::string error;
    Ref<PolygonalFont> const pFont = ReadPolygonalFont(SansPath, options, FontRegistry(), error);
    EXPECT_TRUE(pFont) << error;
    return pFont;
}

Bytes ReadSansFile() {
    std::ifstream file(SansPath, std::ios::binary);
    return Bytes(std::istreambuf_iterator<char>(file), {});
}

} // namespace trevik::kelvo::assets::testing
