#include "FontStorage.h"

#include "trevik/Debug.h"
#include "trevik/Hash.h"
#include "trevik/kelvo/Deserializer.h"
#include "trevik/kelvo/PropertyTraits.h"
#include "trevik/kelvo/Serializer.h"

#include <algorithm>
#include <cmath>
#include <iterator>
#include <new>

namespace trevik::kelvo {

namespace {

constexpr unsigned int MetricsID = HashName("Metrics");
constexpr unsigned int GlyphsID = HashName("Glyphs");
constexpr unsigned int KerningID = HashName("Kerning");

/** A glyph as documents hold it; the texture is an index into the document's table, or -1. */
struct SavedGlyph {
    unsigned int m_nCodePoint;
    unsigned short m_nWidth;
    unsigned short m_nHeight;
    int m_nOffsetX;
    int m_nOffsetY;
    int m_nAdvance;
    int m_nTexture;
    RealFloat m_textureRectangle[4];
    short m_nMesh;
    unsigned short m_nImage; ///< 1 for an image
    RealFloat m_rDivisorX;
    RealFloat m_rDivisorY;
    RealFloat m_rOriginX;
    RealFloat m_rOriginY;
};
static_assert(sizeof(SavedGlyph) == 60, "documents hold glyphs without gaps");
static_assert(sizeof(KerningPair) == 12, "documents hold kerning distances without gaps");

bool AreFinite(RealFloat const* pNumbers, unsigned int nCount) {
    return std::all_of(pNumbers, pNumbers + nCount, [](RealFloat rNumber) { return std::isfinite(rNumber); });
}

bool IsFinite(FontMetrics const& metrics) {
    RealFloat const numbers[] = {metrics.m_rXPixelsPerEm, metrics.m_rYPixelsPerEm, metrics.m_rScaleFactorX,
                                 metrics.m_rScaleFactorY, metrics.m_rAscent,       metrics.m_rDescent,
                                 metrics.m_rLeading};
    static_assert(sizeof(numbers) == sizeof(metrics), "all of them");
    return AreFinite(numbers, sizeof(numbers) / sizeof(numbers[0]));
}

SavedGlyph MakeSaved(Glyph const& glyph, int nTexture) {
    SavedGlyph saved = {glyph.m_nCodePoint, glyph.m_nWidth,
                        glyph.m_nHeight,    glyph.m_nOffsetX,
                        glyph.m_nOffsetY,   glyph.m_nAdvance,
                        nTexture,           {},
                        glyph.m_nMesh,      static_cast<unsigned short>(glyph.m_fImage ? 1 : 0),
                        glyph.m_rDivisorX,  glyph.m_rDivisorY,
                        glyph.m_origin.x,   glyph.m_origin.y};
    std::copy(std::begin(glyph.m_textureRectangle), std::end(glyph.m_textureRectangle),
              std::begin(saved.m_textureRectangle));
    return saved;
}

Glyph MakeGlyph(SavedGlyph const& saved, Ref<Texture> const& pTexture) {
    Glyph glyph;
    glyph.m_nCodePoint = saved.m_nCodePoint;
    glyph.m_nWidth = saved.m_nWidth;
    glyph.m_nHeight = saved.m_nHeight;
    glyph.m_nOffsetX = saved.m_nOffsetX;
    glyph.m_nOffsetY = saved.m_nOffsetY;
    glyph.m_nAdvance = saved.m_nAdvance;
    glyph.m_pTexture = pTexture;
    std::copy(std::begin(saved.m_textureRectangle), std::end(saved.m_textureRectangle),
              std::begin(glyph.m_textureRectangle));
    glyph.m_fImage = saved.m_nImage != 0;
    glyph.m_nMesh = saved.m_nMesh;
    glyph.m_rDivisorX = saved.m_rDivisorX;
    glyph.m_rDivisorY = saved.m_rDivisorY;
    glyph.m_origin = Vector2T<RealFloat>(saved.m_rOriginX, saved.m_rOriginY);
    return glyph;
}

/** Why a glyph cannot be saved; null when it can. */
char16_t const* FindFault(Glyph const& glyph, unsigned int nMeshCount) {
    if (!IsCodePoint(glyph.m_nCodePoint)) {
        return u"there is no such code point";
    }
    if (!IsFinite(glyph)) {
        return u"one of its numbers is not finite";
    }
    if (glyph.m_fImage && !glyph.m_pTexture) {
        return u"it is an image and has no texture";
    }
    if (glyph.m_nMesh < -1 || glyph.m_nMesh >= static_cast<long>(nMeshCount)) {
        return u"its mesh is none of the font's";
    }
    return nullptr;
}

/** The glyph that a document holds; null, noted, when it does not fit. */
Glyph* LoadGlyph(Deserializer& deserializer, SavedGlyph const& saved, unsigned int nMeshCount) {
    Ref<Texture> const pTexture = deserializer.GetTexture(saved.m_nTexture);
    Glyph const glyph = MakeGlyph(saved, pTexture);
    char16_t const* pFault = FindFault(glyph, nMeshCount);
    if (saved.m_nTexture < -1 || (saved.m_nTexture >= 0 && !pTexture)) {
        pFault = u"the document lacks its texture";
    } else if (saved.m_nImage > 1) {
        pFault = u"it is of an unknown kind";
    }
    Glyph* const pGlyph = pFault ? nullptr : new (std::nothrow) Glyph(glyph);
    if (!pGlyph) {
        deserializer.Fail(u"glyph U+%04X: %s", saved.m_nCodePoint, pFault ? pFault : u"memory is short");
    }
    return pGlyph;
}

/** Reads an attribute of the current node as elements; false when it is not there or does not fit. */
template <class T>
bool ReadTable(Deserializer& deserializer, unsigned int nAttributeID, List<T>& table) {
    unsigned char const* pData = nullptr;
    unsigned long nLength = 0;
    return deserializer.FindAttribute(nAttributeID, pData, nLength) &&
           detail::ReadElements(table, pData, nLength);
}

/** Sorts a table; saved ones ordinarily are sorted. Equal elements keep their order. */
template <class T, class Before>
void Sort(List<T>& table, Before before) {
    if (!std::is_sorted(table.begin(), table.end(), before)) {
        std::stable_sort(table.begin(), table.end(), before);
    }
}

} // namespace

bool IsFinite(Glyph const& glyph) {
    RealFloat const others[] = {glyph.m_rDivisorX, glyph.m_rDivisorY, glyph.m_origin.x, glyph.m_origin.y};
    return AreFinite(glyph.m_textureRectangle, 4) && AreFinite(others, 4);
}

bool SaveGlyphs(Serializer& serializer, List<Glyph*> const& glyphs, unsigned int nMeshCount) {
    List<SavedGlyph> table;
    if (!table.Reserve(glyphs.GetCount())) {
        return false;
    }
    for (Glyph const* pGlyph : glyphs) {
        if (char16_t const* const pFault = FindFault(*pGlyph, nMeshCount)) {
            Debug::TraceFormat(TraceLevel::Error, u"[kelvo] Glyph U+%04X cannot be saved: %s",
                               pGlyph->m_nCodePoint, pFault);
            return false;
        }
        table.Append(MakeSaved(*pGlyph, serializer.GetTextureIndex(pGlyph->m_pTexture.Get())));
    }
    return PropertyTraits<List<SavedGlyph>>::Write(serializer, GlyphsID, table);
}

bool LoadGlyphs(Deserializer& deserializer, List<Glyph*>& glyphs, unsigned int nMeshCount) {
    List<SavedGlyph> table;
    if (!ReadTable(deserializer, GlyphsID, table) || !glyphs.Reserve(table.GetCount())) {
        return deserializer.Fail(u"a font lacks its glyphs, or memory is short");
    }
    Sort(table, [](SavedGlyph const& left, SavedGlyph const& right) {
        return left.m_nCodePoint < right.m_nCodePoint;
    });
    for (SavedGlyph const& saved : table) {
        Glyph* const pGlyph = LoadGlyph(deserializer, saved, nMeshCount);
        if (!pGlyph) {
            return false;
        }
        if (!glyphs.IsEmpty() && glyphs.Last()->m_nCodePoint == pGlyph->m_nCodePoint) {
            delete glyphs.Last();
            glyphs.RemoveLast();
        }
        glyphs.Append(pGlyph);
    }
    return true;
}

bool SaveKerning(Serializer& serializer, List<KerningPair> const& kerning) {
    return PropertyTraits<List<KerningPair>>::Write(serializer, KerningID, kerning);
}

bool LoadKerning(Deserializer& deserializer, List<KerningPair>& kerning) {
    List<KerningPair> table;
    if (!ReadTable(deserializer, KerningID, table) || !kerning.Reserve(table.GetCount())) {
        return deserializer.Fail(u"a font lacks its kerning, or memory is short");
    }
    Sort(table, IsBefore);
    for (KerningPair const& pair : table) {
        if (!IsCodePoint(pair.m_nFirst) || !IsCodePoint(pair.m_nSecond) || !std::isfinite(pair.m_rDistance)) {
            return deserializer.Fail(u"the kerning of U+%04X and U+%04X is no distance of two code points",
                                     pair.m_nFirst, pair.m_nSecond);
        }
        if (!kerning.IsEmpty() && !IsBefore(kerning.Last(), pair)) {
            kerning.RemoveLast();
        }
        if (pair.m_rDistance != 0) {
            kerning.Append(pair);
        }
    }
    return true;
}

bool SaveMetrics(Serializer& serializer, FontMetrics const& metrics) {
    if (!IsFinite(metrics)) {
        Debug::Trace(TraceLevel::Error, u"[kelvo] A font's metrics cannot be saved: they are not finite");
        return false;
    }
    return serializer.WriteValue(MetricsID, metrics);
}

bool LoadMetrics(Deserializer& deserializer, FontMetrics& metrics) {
    FontMetrics read;
    if (!deserializer.ReadValue(MetricsID, read)) {
        return deserializer.Fail(u"a font lacks its metrics");
    }
    if (!IsFinite(read)) {
        return deserializer.Fail(u"a font's metrics are not finite");
    }
    metrics = read;
    return true;
}

} // namespace trevik::kelvo
