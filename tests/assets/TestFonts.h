#pragma once

#include "FontFile.h"
#include "TestImages.h"

#include "trevik/ClassRegistry.h"

#include <cstdint>
#include <string>
#include <vector>

#include <ft2build.h>
#include FT_FREETYPE_H

namespace trevik::kelvo::assets::testing {

constexpr char const* SansPath = "/usr/share/fonts/truetype/dejavu/DejaVuSans.ttf";

/** The back end's classes; creating fonts and textures needs no GL. */
class FontRegistry : public ClassRegistry {
public:
    FontRegistry();
};

/** A font file as FreeType itself sees it, to compare with. */
class ReferenceFace {
public:
    explicit ReferenceFace(int nPixelsPerEm);
    ~ReferenceFace();
    ReferenceFace(ReferenceFace const&) = delete;
    ReferenceFace& operator=(ReferenceFace const&) = delete;

    FT_Face operator->() const { return m_pFace; }
    FT_Face Get() const { return m_pFace; }
    /** Loads the glyph of a code point. */
    FT_GlyphSlot Load(std::uint32_t nCodePoint, FT_Int32 nFlags) const;
    /** Pixels that the pen moves further between two code points. */
    float GetKerning(std::uint32_t nFirst, std::uint32_t nSecond, FT_Kerning_Mode mode) const;

private:
    FT_Library m_pLibrary = nullptr;
    FT_Face m_pFace = nullptr;
};

/** All code points of a range that ends with `nLast`. */
std::vector<std::uint32_t> Range(std::uint32_t nFirst, std::uint32_t nLast);

/** Options for these code points at this size. */
FontOptions OptionsFor(std::vector<std::uint32_t> codePoints, int nPixelsPerEm = 32);

/** A font that must be there. */
Ref<BitmapFont> ReadSans(FontOptions const& options);
Ref<PolygonalFont> ReadSansOutlines(FontOptions const& options);

Bytes ReadSansFile();

} // namespace trevik::kelvo::assets::testing
