// Any bytes as a font file, read as pictures at two sizes and as meshes. A font is made whole or not at all,
// what is wrong is said in one line, and what has been made keeps to what its users rely on.

#include "FontFile.h"
#include "FuzzChecks.h"

#include <cmath>

using namespace trevik;
using namespace trevik::kelvo;
using fuzz::Require;

extern "C" bool Initialize(ClassRegistry* pRegistry);

namespace {

void CheckMeasures(Font const& font) {
    Require(font.GetAscent() >= 0 && font.GetDescent() >= 0 && font.GetLeading() >= 0);
    Require(std::isfinite(font.GetAscent() + font.GetDescent() + font.GetLeading()));
}

void CheckPicture(Glyph const& glyph) {
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

void ReadPictures(assets::ByteSpan bytes, assets::FontOptions const& options, ClassRegistry const& registry) {
    std::string error;
    Ref<BitmapFont> const pFont = assets::ReadBitmapFont(bytes, "fuzz.ttf", options, registry, error);
    if (!pFont) {
        return fuzz::RequireMessage(error, "fuzz.ttf: ");
    }
    CheckMeasures(*pFont);
    for (unsigned int i = 0; i < pFont->GetGlyphCount(); ++i) {
        CheckPicture(*pFont->GetGlyphAt(i));
    }
}

void CheckMesh(Glyph const& glyph, PolygonalFont const& font) {
    if (glyph.m_nMesh < 0) {
        return;
    }
    Require(static_cast<unsigned int>(glyph.m_nMesh) < font.GetMeshCount());
    GlyphMesh const& mesh = *font.GetMesh(static_cast<unsigned int>(glyph.m_nMesh));
    List<Vector3T<RealFloat>> const& positions = mesh.m_positions.GetValue();
    List<unsigned short> const& indices = mesh.m_indices.GetValue();
    Require(indices.GetCount() > 0 && indices.GetCount() % 3 == 0);
    for (unsigned short const nIndex : indices) {
        Require(nIndex < positions.GetCount());
    }
    for (Vector3T<RealFloat> const& position : positions) {
        Require(position.x >= glyph.m_nOffsetX && position.x <= glyph.m_nOffsetX + glyph.m_nWidth);
        Require(position.y >= -glyph.m_nOffsetY && position.y <= -glyph.m_nOffsetY + glyph.m_nHeight);
    }
}

void ReadMeshes(assets::ByteSpan bytes, assets::FontOptions const& options, ClassRegistry const& registry) {
    std::string error;
    Ref<PolygonalFont> const pFont = assets::ReadPolygonalFont(bytes, "fuzz.ttf", options, registry, error);
    if (!pFont) {
        return fuzz::RequireMessage(error, "fuzz.ttf: ");
    }
    CheckMeasures(*pFont);
    for (unsigned int i = 0; i < pFont->GetGlyphCount(); ++i) {
        CheckMesh(*pFont->GetGlyphAt(i), *pFont);
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
    ReadPictures({data, size}, options, registry);
    options.pixelsPerEm = 30;
    options.hinting = false;
    options.faceIndex = 1;
    options.maximumPageSize = 256;
    ReadPictures({data, size}, options, registry);
    options.faceIndex = 0;
    ReadMeshes({data, size}, options, registry);
    return 0;
}
