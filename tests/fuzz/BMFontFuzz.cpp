// Any bytes as the description of a bitmap font whose pages all have 64 x 32 pixels. What has been read is
// whole: every glyph that covers something has its rectangle within a page.

#include "../host/TestNodes.h"
#include "BMFontReader.h"
#include "ImageChecks.h"
#include "PixelPacking.h"

namespace {

using namespace trevik;
using namespace trevik::kelvo;
using namespace trevik::kelvo::assets;
using fuzz::Require;

bool ReadPage(std::string const& file, ImageOptions const& options, ImageData& image, std::string& error) {
    Require(!file.empty() && file.find('\0') == file.npos);
    if (file[0] == '!') {
        return Fail(error, "no such page");
    }
    RgbaPicture const picture{64, 32, std::vector<std::uint8_t>(64 * 32 * 4, 128)};
    return BuildImage(picture, true, options, file, image, error);
}

void CheckGlyph(Glyph const& glyph) {
    Require(glyph.m_nCodePoint <= 0x10FFFF && glyph.m_nMesh == -1 && !glyph.m_fImage);
    Require(static_cast<bool>(glyph.m_pTexture) == (glyph.m_nWidth > 0 && glyph.m_nHeight > 0));
    if (glyph.m_pTexture) {
        RealFloat const* const pRectangle = glyph.m_textureRectangle;
        Require(0 <= pRectangle[0] && pRectangle[0] < pRectangle[2] && pRectangle[2] <= 1);
        Require(0 <= pRectangle[1] && pRectangle[1] < pRectangle[3] && pRectangle[3] <= 1);
    }
}

void CheckFont(BitmapFont const& font) {
    Require(font.GetXPixelsPerEm() > 0 && font.GetYPixelsPerEm() > 0);
    Require(font.GetAscent() >= 0 && font.GetDescent() >= 0);
    Require(font.GetGlyphCount() > 0);
    for (unsigned int n = 0; n < font.GetGlyphCount(); ++n) {
        CheckGlyph(*font.GetGlyphAt(n));
        Require(n == 0 || font.GetGlyphAt(n - 1)->m_nCodePoint < font.GetGlyphAt(n)->m_nCodePoint);
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size) {
    test::TestRegistry const registry;
    std::string error;
    Ref<BitmapFont> const pFont = ReadBMFont({data, size}, "fuzz.fnt", ReadPage, registry, error);
    if (pFont) {
        CheckFont(*pFont);
        Require(error.empty());
    } else {
        fuzz::RequireMessage(error, "fuzz.fnt:");
    }
    return 0;
}
