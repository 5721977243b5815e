// Any bytes as the description of a bitmap font whose pages all have 64 x 32 pixels. What has been read is
// whole: every glyph that covers something has its rectangle within a page.

#include "ImageChecks.h"
#include "font/BMFontReader.h"
#include "image/PixelPacking.h"
#include "kelvo_test/TestNodes.h"

namespace fuzz = kelvokit::fuzz;

namespace {

using namespace trevik;
using namespace trevik::kelvo;
using namespace trevik::kelvo::assets;
using fuzz::Require;

bool ReadPage(std::string const& file, ImageOptions const& options, ImageData& image, Fault& fault) {
    Require(!file.empty() && file.find('\0') == file.npos);
    if (file[0] == '!') {
        return Fail(fault, "", "no such page");
    }
    RgbaPicture const picture{64, 32, std::vector<std::uint8_t>(64 * 32 * 4, 128)};
    return BuildImage(picture, true, options, file, image, fault);
}

void CheckFont(BitmapFont const& font) {
    Require(font.GetXPixelsPerEm() > 0 && font.GetYPixelsPerEm() > 0);
    Require(font.GetAscent() >= 0 && font.GetDescent() >= 0);
    Require(font.GetGlyphCount() > 0);
    for (unsigned int n = 0; n < font.GetGlyphCount(); ++n) {
        Glyph const& glyph = *font.GetGlyphAt(n);
        Require(n == 0 || font.GetGlyphAt(n - 1)->m_nCodePoint < glyph.m_nCodePoint);
        Require(glyph.m_nCodePoint <= 0x10FFFF && glyph.m_nMesh == -1 && !glyph.m_fImage);
        Require(static_cast<bool>(glyph.m_pTexture) == (glyph.m_nWidth > 0 && glyph.m_nHeight > 0));
        RealFloat const(&edges)[4] = glyph.m_textureRectangle;
        Require(!glyph.m_pTexture || (0 <= edges[0] && edges[0] < edges[2] && edges[2] <= 1));
        Require(!glyph.m_pTexture || (0 <= edges[1] && edges[1] < edges[3] && edges[3] <= 1));
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size) {
    test::TestRegistry const registry;
    Fault fault;
    Ref<BitmapFont> const pFont = ReadBMFont({data, size}, "fuzz.fnt", ReadPage, registry, fault);
    if (pFont) {
        CheckFont(*pFont);
        Require(fault.IsEmpty());
    } else {
        fuzz::RequireMessage(fault.GetText(), "fuzz.fnt:");
    }
    return 0;
}
