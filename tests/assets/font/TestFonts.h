#pragma once

#include "EntryPoints.h"
#include "font/FontFile.h"
#include "image/TestImages.h"
#include "kelvo_test/TestFiles.h"
#include "trevik/ClassRegistry.h"

#include <ft2build.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <cstdlib>
#include <numeric>
#include <string>
#include <vector>
#include FT_FREETYPE_H

namespace trevik::kelvo::assets::testing {

constexpr char const* SansPath = "/usr/share/fonts/truetype/dejavu/DejaVuSans.ttf";

/** The back end's classes; creating fonts and textures needs no GL. */
struct FontRegistry : ClassRegistry {
    FontRegistry() { EXPECT_TRUE(Initialize(this)); }
};

/** A font file as FreeType itself sees it, to compare with. */
class ReferenceFace {
public:
    explicit ReferenceFace(int nPixelsPerEm) {
        auto const nSize = static_cast<FT_UInt>(nPixelsPerEm);
        if (FT_Init_FreeType(&m_pLibrary) != 0 || FT_New_Face(m_pLibrary, SansPath, 0, &m_pFace) != 0 ||
            FT_Set_Pixel_Sizes(m_pFace, nSize, nSize) != 0) {
            std::abort();
        }
    }
    ~ReferenceFace() {
        FT_Done_Face(m_pFace);
        FT_Done_FreeType(m_pLibrary);
    }
    ReferenceFace(ReferenceFace const&) = delete;
    ReferenceFace& operator=(ReferenceFace const&) = delete;

    FT_Face operator->() const { return m_pFace; }
    FT_UInt GetIndex(std::uint32_t nCodePoint) const { return FT_Get_Char_Index(m_pFace, nCodePoint); }
    FT_GlyphSlot Load(std::uint32_t nCodePoint, FT_Int32 nFlags) const {
        EXPECT_EQ(FT_Load_Char(m_pFace, nCodePoint, nFlags), 0);
        return m_pFace->glyph;
    }
    /** Pixels that the pen moves further between two code points. */
    float GetKerning(std::uint32_t nFirst, std::uint32_t nSecond, FT_Kerning_Mode mode) const {
        FT_Vector distance = {};
        FT_Get_Kerning(m_pFace, GetIndex(nFirst), GetIndex(nSecond), mode, &distance);
        return static_cast<float>(distance.x) / 64;
    }

private:
    FT_Library m_pLibrary = nullptr;
    FT_Face m_pFace = nullptr;
};

/** Lets this many further calls of operator new on this thread succeed, until FailNewNever. */
void FailNewAfter(unsigned int nAllocations);
void FailNewNever();

/** All code points of a range that ends with `nLast`. */
inline std::vector<std::uint32_t> Range(std::uint32_t nFirst, std::uint32_t nLast) {
    std::vector<std::uint32_t> codePoints(nLast - nFirst + 1);
    std::iota(codePoints.begin(), codePoints.end(), nFirst);
    return codePoints;
}

/** Options for these code points at this size. */
inline FontOptions OptionsFor(std::vector<std::uint32_t> codePoints, int nPixelsPerEm = 32) {
    FontOptions options;
    options.codePoints = std::move(codePoints);
    options.pixelsPerEm = nPixelsPerEm;
    return options;
}

/** Fonts that must be there. */
inline Ref<BitmapFont> ReadSans(FontOptions const& options) {
    Fault fault;
    Ref<BitmapFont> const pFont = ReadBitmapFont(SansPath, options, FontRegistry(), fault);
    EXPECT_TRUE(pFont) << fault.GetText();
    return pFont;
}
inline Ref<PolygonalFont> ReadSansOutlines(FontOptions const& options) {
    Fault fault;
    Ref<PolygonalFont> const pFont = ReadPolygonalFont(SansPath, options, FontRegistry(), fault);
    EXPECT_TRUE(pFont) << fault.GetText();
    return pFont;
}

} // namespace trevik::kelvo::assets::testing
