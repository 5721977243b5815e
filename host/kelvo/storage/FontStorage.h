#pragma once

#include "trevik/List.h"
#include "trevik/kelvo/Font.h"

namespace trevik::kelvo {

class Deserializer;
class Serializer;

/** Glyphs that belong to a list until they are taken out of it. */
class OwnedGlyphs {
public:
    OwnedGlyphs() = default;
    ~OwnedGlyphs() {
        for (Glyph* pGlyph : m_list) {
            delete pGlyph;
        }
    }
    OwnedGlyphs(OwnedGlyphs const&) = delete;
    OwnedGlyphs& operator=(OwnedGlyphs const&) = delete;

    List<Glyph*> m_list;
};

/** Whether Unicode has the code point. */
inline bool IsCodePoint(unsigned int nCodePoint) {
    return nCodePoint <= 0x10ffff;
}

/** Whether all of a glyph's numbers are finite. */
bool IsFinite(Glyph const& glyph);

/** The order in which fonts keep their kerning distances. */
inline bool IsBefore(KerningPair const& left, KerningPair const& right) {
    return left.m_nFirst != right.m_nFirst ? left.m_nFirst < right.m_nFirst
                                           : left.m_nSecond < right.m_nSecond;
}

/**
 * Writes the glyphs of a font with that many meshes; their textures go into the document's table. False,
 * traced, for one that LoadGlyphs would refuse.
 */
bool SaveGlyphs(Serializer& serializer, List<Glyph*> const& glyphs, unsigned int nMeshCount);
/** Reads glyphs into an empty list, by code point, each one once. False, noted, when one does not fit. */
bool LoadGlyphs(Deserializer& deserializer, List<Glyph*>& glyphs, unsigned int nMeshCount);

bool SaveKerning(Serializer& serializer, List<KerningPair> const& kerning);
/** Reads kerning distances other than 0, in order, each pair once. False, noted, when one does not fit. */
bool LoadKerning(Deserializer& deserializer, List<KerningPair>& kerning);

/** False, traced, when the metrics are not finite. */
bool SaveMetrics(Serializer& serializer, FontMetrics const& metrics);
/** False, noted, when the metrics are not there or not finite. */
bool LoadMetrics(Deserializer& deserializer, FontMetrics& metrics);

} // namespace trevik::kelvo
