#include "font/FontMeshes.h"

#include "font/GlyphOutline.h"
#include "font/GlyphTriangles.h"

#include <algorithm>
#include <cmath>
#include <new>
#include <utility>

#include FT_OUTLINE_H

namespace trevik::kelvo::assets {

namespace {

constexpr RealFloat Tolerance = RealFloat(0.1);
constexpr long long MaximumSize = 65534; // one more when rounded outwards

/** Looked at before anything is made of the outline; its control points may lie further out than its lines.
 */
bool CheckSize(FontFace const& face, FontCharacter const& character, FT_Outline const& source, Fault& fault) {
    FT_BBox box;
    FT_Outline_Get_CBox(&source, &box);
    long long const nLeft = box.xMin; // fonts may place outlines at the ends of what an FT_Pos holds
    long long const nBottom = box.yMin;
    return (box.xMax - nLeft <= MaximumSize * 64 && box.yMax - nBottom <= MaximumSize * 64) ||
           face.Fail(fault, character, "has more than " + std::to_string(MaximumSize) + " pixels a side");
}

/**
 * Gives the glyph the box of its mesh, in whole pixels. Outlines have a larger one where a single point marks
 * the place of an accent.
 */
void SetBox(Glyph& glyph, GlyphMesh const& mesh) {
    Vector3T<RealFloat> least = mesh.m_positions.GetValue()[0];
    Vector3T<RealFloat> greatest = least;
    for (Vector3T<RealFloat> const& position : mesh.m_positions.GetValue()) {
        least = {std::min(least.x, position.x), std::min(least.y, position.y), 0};
        greatest = {std::max(greatest.x, position.x), std::max(greatest.y, position.y), 0};
    }
    glyph.m_nOffsetX = static_cast<int>(std::floor(least.x));
    glyph.m_nOffsetY = -static_cast<int>(std::floor(least.y));
    glyph.m_nWidth = static_cast<unsigned short>(std::ceil(greatest.x) - std::floor(least.x));
    glyph.m_nHeight = static_cast<unsigned short>(std::ceil(greatest.y) - std::floor(least.y));
}

/** Gives the glyph its mesh and size, unless the outline has no area. */
bool MakeMesh(FontFace const& face, FT_Outline const& source, FontCharacter const& character, Glyph& glyph,
              std::unique_ptr<GlyphMesh>& pMesh, Fault& fault) {
    GlyphOutline outline;
    std::unique_ptr<GlyphMesh> pMade(new GlyphMesh);
    std::string what;
    if (!FlattenOutline(source, Tolerance, MaximumMeshVertices, outline)) {
        return face.Fail(fault, character,
                         "is damaged or has more than " + std::to_string(MaximumMeshVertices) + " vertices");
    }
    if (!CutIntoTriangles(outline, *pMade, what)) {
        return face.Fail(fault, character, what);
    }
    if (!pMade->m_indices.GetValue().IsEmpty()) {
        SetBox(glyph, *pMade);
        pMesh = std::move(pMade);
    }
    return true;
}

bool AddGlyphMesh(FontFace& face, FontCharacter const& character, PolygonalFont& font, Fault& fault) {
    Glyph glyph;
    std::unique_ptr<GlyphMesh> pMesh;
    if (!MakeGlyphMesh(face, character, font, glyph, pMesh, fault)) {
        return false;
    }
    if (pMesh && (glyph.m_nMesh = font.AddMesh(pMesh.release())) < 0) {
        return face.Fail(fault, "more glyphs with a mesh than the 32767 a font can have");
    }
    return font.AddGlyph(glyph) || face.Fail(fault, "not enough memory for its glyphs");
}

} // namespace

bool MakeGlyphMesh(FontFace& face, FontCharacter const& character, PolygonalFont const& font, Glyph& glyph,
                   std::unique_ptr<GlyphMesh>& pMesh, Fault& fault) {
    FT_GlyphSlot const pSlot = face.LoadGlyph(character, FT_LOAD_NO_BITMAP | FT_LOAD_NO_HINTING, fault);
    if (!pSlot) {
        return false;
    }
    if (pSlot->format != FT_GLYPH_FORMAT_OUTLINE) {
        return face.Fail(fault, character, "is not an outline");
    }
    glyph.m_nCodePoint = character.nCodePoint;
    glyph.m_nAdvance = RoundToPixels(pSlot->advance.x);
    glyph.m_rDivisorX = font.GetXPixelsPerEm();
    glyph.m_rDivisorY = font.GetYPixelsPerEm();
    return CheckSize(face, character, pSlot->outline, fault) &&
           MakeMesh(face, pSlot->outline, character, glyph, pMesh, fault);
}

bool MakeGlyphMeshes(FontFace& face, PolygonalFont& font, Fault& fault) {
    if (!face.HasOutlines()) {
        return face.Fail(fault, "has pictures of its glyphs, but no outlines");
    }
    std::vector<FontCharacter> const& characters = face.GetCharacters();
    return std::all_of(characters.begin(), characters.end(), [&](FontCharacter const& character) {
        return AddGlyphMesh(face, character, font, fault);
    });
}

} // namespace trevik::kelvo::assets
