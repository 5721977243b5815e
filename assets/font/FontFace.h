#pragma once

#include "font/FontFile.h"
#include "trevik/kelvo/Font.h"

#include <ft2build.h>

#include <cstddef>
#include <string>
#include <vector>
#include FT_FREETYPE_H

namespace trevik::kelvo::assets {

/** A code point that a face has a glyph for. */
struct FontCharacter {
    std::uint32_t nCodePoint;
    FT_UInt nGlyph;
};

/** Of more characters only the first ones, by code point, are kerned. */
constexpr std::size_t MaximumPairedCharacters = 1000;

/** A face of a font file at one size, with the glyphs of it that are wanted. */
class FontFace {
public:
    /** `name` stands for the file in messages. The bytes must outlive the face. */
    FontFace(ByteSpan bytes, std::string const& name) : m_bytes(bytes), m_sName(name) {}
    ~FontFace();
    FontFace(FontFace const&) = delete;
    FontFace& operator=(FontFace const&) = delete;

    bool Open(FontOptions const& options, Fault& fault);

    /** The wanted glyphs that are there, by code point, each code point once. */
    std::vector<FontCharacter> const& GetCharacters() const { return m_characters; }
    bool HasOutlines() const { return FT_IS_SCALABLE(m_pFace); }

    /** Loads a glyph; null when that fails. It is there until the next one is loaded. */
    FT_GlyphSlot LoadGlyph(FontCharacter const& character, FT_Int32 nFlags, Fault& fault);
    /** Rasterises the glyph that has just been loaded. */
    bool RenderGlyph(FontCharacter const& character, Fault& fault);

    /** Gives a font this face's measures, its underline and the kerning of its glyphs. */
    bool Describe(Font& font, bool fUnderline, FT_Kerning_Mode kerning, Fault& fault) const;

    /** What a code point is in this face; of glyph 0 when it has none. */
    FontCharacter Find(std::uint32_t nCodePoint) const;
    /**
     * Gives a font the kerning of each of the first with each of the second characters. False, with a part of
     * it set, without memory.
     */
    bool SetKerning(Font& font, FT_Kerning_Mode mode, std::vector<FontCharacter> const& firsts,
                    std::vector<FontCharacter> const& seconds) const;

    /** Fails with a line about the file, or about a glyph of it. */
    bool Fail(Fault& fault, std::string const& what, std::string const& why = {}) const;
    bool Fail(Fault& fault, FontCharacter const& character, std::string const& what,
              std::string const& why = {}) const;

private:
    bool OpenFace(int nFace, Fault& fault);
    bool SetSize(int nPixelsPerEm, Fault& fault);
    bool FindCharacters(std::vector<std::uint32_t> codePoints, Fault& fault);
    void SetUnderline(Font& font, bool fUnderline) const;
    bool SetKerning(Font& font, FT_Kerning_Mode mode) const;
    RealFloat ToPixels(int nUnits, FT_Kerning_Mode mode) const;

    ByteSpan m_bytes;
    std::string m_sName;
    FT_Library m_pLibrary = nullptr;
    FT_Face m_pFace = nullptr;
    int m_nPixelsPerEm = 0;
    int m_nInstance = 0; ///< of a variable font, from 1
    std::vector<FontCharacter> m_characters;
};

/** How the kerning of glyph pictures is fitted to pixels. */
inline FT_Kerning_Mode KerningOf(FontOptions const& options) {
    return options.hinting ? FT_KERNING_DEFAULT : FT_KERNING_UNFITTED;
}

/** The nearest whole number of pixels to a distance in 64ths of a pixel. */
int RoundToPixels(long long nDistance);

} // namespace trevik::kelvo::assets
