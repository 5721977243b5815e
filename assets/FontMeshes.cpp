#include "FontMeshes.h"

#include "GlyphOutline.h"
#include "GlyphTriangles.h"

#include <algorithm>
#include <memory>
#include <new>
#include <utility>

#include FT_BBOX_H
#include FT_OUTLINE_H

namespace trevik::kelvo::assets {

namespace {

constexpr RealFloat Tolerance = RealFloat(0.1);
constexpr FT_Pos MaximumSize = 65535;

/** An outline's box in whole pixels. */
FT_BBox RoundOutwards(FT_BBox const& box) {
    return {box.xMin >> 6, box.yMin >> 6, (box.xMax + 63) >> 6, (box.yMax + 63) >> 6};
}

bool CheckSize(FontFace const& face, FontCharacter const& character, FT_Outline& source, std::string& error) {
    FT_BBox box;
    FT_Outline_Get_CBox(&source, &box);
    box = RoundOutwards(box);
    return (box.xMax - box.xMin <= MaximumSize && box.yMax - box.yMin <= MaximumSize) ||
           face.Fail(error, character, "has more than " + std::to_string(MaximumSize) + " pixels a side");
}

/** Gives the glyph its mesh and size, unless the outline has no area. */
bool MakeMesh(FontFace const& face, FT_Outline& source, FontCharacter const& character, Glyph& glyph,
              PolygonalFont& font, std::string& error) {
    GlyphOutline outline;
    std::unique_ptr<GlyphMesh> pMesh(new GlyphMesh);
    std::string what;
    if (!FlattenOutline(source, Tolerance, MaximumMeshVertices, outline)) {
        return face.Fail(error, character,
                         "is damaged or has more than " + std::to_string(MaximumMeshVertices) + " vertices");
    }
    if (!CutIntoTriangles(outline, *pMesh, what)) {
        return face.Fail(error, character, what);
    }
    if (pMesh->m_indices.GetValue().IsEmpty()) {
        return true;
    }
    FT_BBox box;
    FT_Outline_Get_BBox(&source, &box);
    box = RoundOutwards(box);
    glyph.m_nWidth = static_cast<unsigned short>(box.xMax - box.xMin);
    glyph.m_nHeight = static_cast<unsigned short>(box.yMax - box.yMin);
    glyph.m_nOffsetX = static_cast<int>(box.xMin);
    glyph.m_nOffsetY = static_cast<int>(-box.yMin);
    glyph.m_nMesh = font.AddMesh(pMesh.release());
    return glyph.m_nMesh >= 0 || face.Fail(error, "more glyphs with a mesh than the 32767 a font can have");
}

bool MakeGlyph(FontFace& face, FontCharacter const& character, PolygonalFont& font, std::string& error) {
    FT_GlyphSlot const pSlot = face.LoadGlyph(character, FT_LOAD_NO_BITMAP | FT_LOAD_NO_HINTING, error);
    if (!pSlot) {
        return false;
    }
    if (pSlot->format != FT_GLYPH_FORMAT_OUTLINE) {
        return face.Fail(error, character, "is not an outline");
    }
    Glyph glyph;
    glyph.m_nCodePoint = character.nCodePoint;
    glyph.m_nAdvance = RoundToPixels(pSlot->advance.x);
    glyph.m_rDivisorX = font.GetXPixelsPerEm();
    glyph.m_rDivisorY = font.GetYPixelsPerEm();
    return CheckSize(face, character, pSlot->outline, error) &&
           MakeMesh(face, pSlot->outline, character, glyph, font, error) &&
           (font.AddGlyph(glyph) || face.Fail(error, "not enough memory for its glyphs"));
}

} // namespace

bool MakeGlyphMeshes(FontFace& face, PolygonalFont& font, std::string& error) {
    if (!face.HasOutlines()) {
        return face.Fail(error, "has pictures of its glyphs, but no outlines");
    }
    std::vector<FontCharacter> const& characters = face.GetCharacters();
    return std::all_of(characters.begin(), characters.end(), [&](FontCharacter const& character) {
        return MakeGlyph(face, character, font, error);
    });
}

} // namespace trevik::kelvo::assets
