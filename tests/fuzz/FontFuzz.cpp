// Any bytes as a font file, read as pictures at two sizes and as meshes. A font is made whole or not at all,
// what is wrong is said in one line, and what has been made keeps to what its users rely on.

#include "EntryPoints.h"
#include "FuzzChecks.h"
#include "font/FontFile.h"

#include <cmath>

namespace fuzz = kelvokit::fuzz;

using namespace trevik;
using namespace trevik::kelvo;
using fuzz::Require;

namespace {

void CheckPicture(Glyph const& glyph, Font const&) {
    bool const fInk = glyph.m_nWidth != 0 && glyph.m_nHeight != 0;
    Require(fInk == static_cast<bool>(glyph.m_pTexture));
    if (fInk) {
        RealFloat const(&edges)[4] = glyph.m_textureRectangle;
        Require(edges[0] > 0 && edges[0] < edges[2] && edges[2] < 1);
        Require(edges[1] > 0 && edges[1] < edges[3] && edges[3] < 1);
        auto const side = static_cast<RealFloat>(glyph.m_pTexture->GetWidth());
        Require((edges[3] - edges[1]) * side == glyph.m_nWidth &&
                (edges[2] - edges[0]) * side == glyph.m_nHeight);
    }
}

void CheckMesh(Glyph const& glyph, PolygonalFont const& font) {
    if (glyph.m_nMesh < 0) {
        return;
    }
    Require(static_cast<unsigned int>(glyph.m_nMesh) < font.GetMeshCount());
    GlyphMesh const& mesh = *font.GetMesh(static_cast<unsigned int>(glyph.m_nMesh));
    fuzz::RequireSound(mesh);
    Require(!mesh.m_indices.GetValue().IsEmpty());
    for (Vector3T<RealFloat> const& position : mesh.m_positions.GetValue()) {
        Require(position.x >= glyph.m_nOffsetX && position.x <= glyph.m_nOffsetX + glyph.m_nWidth);
        Require(position.y >= -glyph.m_nOffsetY && position.y <= -glyph.m_nOffsetY + glyph.m_nHeight);
    }
}

/** What has been read is sound, as far as its kind of glyphs goes; else the message says why there is none.
 */
template <class T, class CheckGlyph>
void Check(Ref<T> const& pFont, Fault const& fault, CheckGlyph const& check) {
    if (!pFont) {
        return fuzz::RequireMessage(fault.GetText(), "fuzz.ttf: ");
    }
    Require(pFont->GetAscent() >= 0 && pFont->GetDescent() >= 0 && pFont->GetLeading() >= 0);
    Require(std::isfinite(pFont->GetAscent() + pFont->GetDescent() + pFont->GetLeading()));
    for (unsigned int i = 0; i < pFont->GetGlyphCount(); ++i) {
        check(*pFont->GetGlyphAt(i), *pFont);
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size) {
    ClassRegistry registry;
    Initialize(&registry);
    assets::FontOptions options;
    options.codePoints = {' ', 'A', 'B', 'C', 0xE9};
    options.pixelsPerEm = 9;
    options.maximumPageSize = 64;
    Fault fault;
    Check(assets::ReadBitmapFont({data, size}, "fuzz.ttf", options, registry, fault), fault, CheckPicture);
    options.pixelsPerEm = 30;
    options.hinting = false;
    options.faceIndex = 1;
    options.maximumPageSize = 256;
    Check(assets::ReadBitmapFont({data, size}, "fuzz.ttf", options, registry, fault), fault, CheckPicture);
    options.faceIndex = 0;
    Check(assets::ReadPolygonalFont({data, size}, "fuzz.ttf", options, registry, fault), fault, CheckMesh);
    return 0;
}
