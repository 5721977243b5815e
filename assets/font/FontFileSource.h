#pragma once

#include "font/FontFace.h"
#include "font/FontFile.h"
#include "font/GrowingPage.h"

#include <memory>
#include <optional>

namespace trevik::kelvo::assets {

constexpr std::size_t MaximumFontFileBytes = std::size_t(64) << 20;

/** Makes further glyphs of the file that a font has been made of. */
class FontFileSource : public GlyphSource {
public:
    /** `bytes` are the file's, by which it is known again; `options` those that the font was made with. */
    FontFileSource(std::string const& path, ByteSpan bytes, FontOptions const& options);
    ~FontFileSource() override;

protected:
    void MakeGlyphs(Font& font, List<GlyphRequest>& requests) override;

private:
    struct NewGlyph;
    using NewGlyphs = std::vector<NewGlyph>;

    template <class MakeOne>
    static void Keep(NewGlyphs& glyphs, MakeOne make);
    bool ReadAgain(std::vector<std::uint8_t>& bytes, Fault& fault) const;
    bool Make(Font& font, List<GlyphRequest>& requests, Fault& fault);
    bool AddPictures(FontFace& face, Font& font, NewGlyphs& glyphs, Fault& fault);
    bool AddMeshes(FontFace& face, PolygonalFont& font, NewGlyphs& glyphs, Fault& fault);
    bool Kern(FontFace const& face, FT_Kerning_Mode mode, Font& font, NewGlyphs const& glyphs,
              Fault& fault) const;
    bool PlacePicture(NewGlyph& glyph, std::vector<GrowingPage>& pages);

    std::string m_path;
    FontOptions m_options; ///< without code points
    std::uint64_t m_nFingerprint;
    unsigned int m_nPages = 0;         ///< that have been made
    std::optional<GrowingPage> m_page; ///< the last one, which may have room
};

} // namespace trevik::kelvo::assets
