#include "trevik/kelvo/Font.h"

#include "kelvo/storage/FontStorage.h"
#include "kelvo_host/GlyphSource.h"
#include "trevik/kelvo/Deserializer.h"
#include "trevik/kelvo/MemoryTracer.h"
#include "trevik/kelvo/Serializer.h"

#include <algorithm>
#include <atomic>
#include <cmath>
#include <iterator>
#include <new>

namespace trevik::kelvo {

namespace {

std::atomic<unsigned int> g_nLastFontID{0};

/** Enters a font's properties under their names. */
void Register(PropertyList& properties, BoolProperty& underline, RealProperty& position,
              RealProperty& thickness, IntProperty& scale) {
    properties.Register(u"Underline", &underline);
    properties.Register(u"UnderlinePosition", &position);
    properties.Register(u"UnderlineThickness", &thickness);
    properties.Register(u"UnderlineScale", &scale);
}

} // namespace

Font::Font(unsigned int nFactoryClassID) : m_nFactoryClassID(nFactoryClassID), m_underlineScale(1) {
    Register(m_properties, m_underline, m_underlinePosition, m_underlineThickness, m_underlineScale);
}

Font::~Font() {
    GlyphSource::Attach(*this, nullptr);
    for (Glyph* pGlyph : m_glyphs) {
        delete pGlyph;
    }
}

RealFloat Font::GetXPixelsPerEm() const {
    return m_metrics.m_rXPixelsPerEm;
}

RealFloat Font::GetYPixelsPerEm() const {
    return m_metrics.m_rYPixelsPerEm;
}

RealFloat Font::GetScaleFactorX() const {
    return m_metrics.m_rScaleFactorX;
}

RealFloat Font::GetScaleFactorY() const {
    return m_metrics.m_rScaleFactorY;
}

RealFloat Font::GetAscent() const {
    return m_metrics.m_rAscent;
}

RealFloat Font::GetDescent() const {
    return m_metrics.m_rDescent;
}

RealFloat Font::GetLeading() const {
    return m_metrics.m_rLeading;
}

bool Font::Initialize() {
    if (m_nID == 0) {
        GenerateID();
    }
    return true;
}

void Font::GenerateID() {
    m_nID = ++g_nLastFontID;
}

bool Font::Save(Serializer& serializer) {
    return SaveContents(serializer, 0);
}

bool Font::Load(Deserializer& deserializer) {
    return LoadContents(deserializer, 0);
}

bool Font::SaveContents(Serializer& serializer, unsigned int nMeshCount) {
    return SaveMetrics(serializer, m_metrics) && SaveGlyphs(serializer, m_glyphs, nMeshCount) &&
           SaveKerning(serializer, m_kerning) && m_properties.Save(serializer);
}

bool Font::LoadContents(Deserializer& deserializer, unsigned int nMeshCount) {
    FontMetrics metrics;
    OwnedGlyphs glyphs;
    List<KerningPair> kerning;
    if (!LoadMetrics(deserializer, metrics) || !LoadGlyphs(deserializer, glyphs.m_list, nMeshCount) ||
        !LoadKerning(deserializer, kerning) || !LoadProperties(deserializer)) {
        return false;
    }
    m_metrics = metrics;
    m_kerning.Swap(kerning);
    SetGlyphs(glyphs.m_list);
    ++m_nRevision;
    GlyphSource::Attach(*this, nullptr); // its glyphs are those of another font
    return true;
}

/** Loads all properties or none. */
bool Font::LoadProperties(Deserializer& deserializer) {
    BoolProperty underline(m_underline);
    RealProperty position(m_underlinePosition);
    RealProperty thickness(m_underlineThickness);
    IntProperty scale(m_underlineScale);
    PropertyList properties;
    Register(properties, underline, position, thickness, scale);
    if (!properties.Load(deserializer)) {
        return false;
    }
    BoolProperty const oldUnderline(m_underline);
    RealProperty const oldPosition(m_underlinePosition);
    RealProperty const oldThickness(m_underlineThickness);
    IntProperty const oldScale(m_underlineScale);
    bool const fTorn =
        oldUnderline.IsTorn() || oldPosition.IsTorn() || oldThickness.IsTorn() || oldScale.IsTorn();
    if (!fTorn && m_underline.Copy(underline) && m_underlinePosition.Copy(position) &&
        m_underlineThickness.Copy(thickness) && m_underlineScale.Copy(scale)) {
        return true;
    }
    if (!fTorn) { // the old controllers fit where they were
        m_underline.Copy(oldUnderline);
        m_underlinePosition.Copy(oldPosition);
        m_underlineThickness.Copy(oldThickness);
        m_underlineScale.Copy(oldScale);
    }
    return deserializer.Fail(u"memory is short");
}

/** Exchanges the font's glyphs for others. */
void Font::SetGlyphs(List<Glyph*>& glyphs) {
    m_glyphs.Swap(glyphs);
    std::fill(std::begin(m_direct), std::end(m_direct), nullptr);
    for (unsigned int nGlyph = 0;
         nGlyph < m_glyphs.GetCount() && m_glyphs[nGlyph]->m_nCodePoint < DirectCount; ++nGlyph) {
        EnterDirectly(m_glyphs[nGlyph]);
    }
}

Glyph const* Font::GetGlyph(unsigned int nCodePoint) const {
    if (nCodePoint < DirectCount) {
        return m_direct[nCodePoint];
    }
    unsigned int const nIndex = FindGlyph(nCodePoint);
    bool const fFound = nIndex < m_glyphs.GetCount() && m_glyphs[nIndex]->m_nCodePoint == nCodePoint;
    return fFound ? m_glyphs[nIndex] : nullptr;
}

unsigned int Font::FindGlyph(unsigned int nCodePoint) const {
    if (m_glyphs.IsEmpty() || m_glyphs.Last()->m_nCodePoint < nCodePoint) {
        return m_glyphs.GetCount();
    }
    Glyph* const* const pPlace = std::lower_bound(
        m_glyphs.begin(), m_glyphs.end(), nCodePoint,
        [](Glyph const* pLeft, unsigned int nRight) { return pLeft->m_nCodePoint < nRight; });
    return static_cast<unsigned int>(pPlace - m_glyphs.begin());
}

/** Lets a glyph be found without a search when its code point is below DirectCount. */
void Font::EnterDirectly(Glyph const* pGlyph) {
    if (pGlyph->m_nCodePoint < DirectCount) {
        m_direct[pGlyph->m_nCodePoint] = pGlyph;
    }
}

bool Font::AddGlyph(Glyph const& glyph) {
    if (!IsCodePoint(glyph.m_nCodePoint) || !IsFinite(glyph)) {
        return false;
    }
    unsigned int const nIndex = FindGlyph(glyph.m_nCodePoint);
    if (nIndex < m_glyphs.GetCount() && m_glyphs[nIndex]->m_nCodePoint == glyph.m_nCodePoint) {
        *m_glyphs[nIndex] = glyph;
        ++m_nRevision;
        return true;
    }
    Glyph* const pCopy = new (std::nothrow) Glyph(glyph);
    if (!pCopy || !m_glyphs.Insert(nIndex, pCopy)) {
        delete pCopy;
        return false;
    }
    EnterDirectly(pCopy);
    ++m_nRevision;
    return true;
}

unsigned int Font::FindKerning(KerningPair const& pair) const {
    if (m_kerning.IsEmpty() || IsBefore(m_kerning.Last(), pair)) {
        return m_kerning.GetCount();
    }
    KerningPair const* const pPlace = std::lower_bound(m_kerning.begin(), m_kerning.end(), pair, IsBefore);
    return static_cast<unsigned int>(pPlace - m_kerning.begin());
}

/** Whether FindKerning has found the pair itself, and not only where it would be inserted. */
bool Font::IsKnown(KerningPair const& pair, unsigned int nIndex) const {
    return nIndex < m_kerning.GetCount() && !IsBefore(pair, m_kerning[nIndex]);
}

bool Font::SetKerning(unsigned int nFirst, unsigned int nSecond, RealFloat rDistance) {
    if (!IsCodePoint(nFirst) || !IsCodePoint(nSecond) || !std::isfinite(rDistance)) {
        return false;
    }
    KerningPair const pair{nFirst, nSecond, rDistance};
    unsigned int const nIndex = FindKerning(pair);
    bool const fKnown = IsKnown(pair, nIndex);
    if (fKnown && rDistance != 0) {
        m_kerning[nIndex] = pair;
    } else if (fKnown) {
        m_kerning.RemoveAt(nIndex);
    } else if (rDistance != 0 && !m_kerning.Insert(nIndex, pair)) {
        return false;
    }
    ++m_nRevision;
    return true;
}

RealFloat Font::GetKerning(unsigned int nFirst, unsigned int nSecond) const {
    KerningPair const pair{nFirst, nSecond, 0};
    unsigned int const nIndex = FindKerning(pair);
    return IsKnown(pair, nIndex) ? m_kerning[nIndex].m_rDistance : RealFloat(0);
}

void Font::Emit(MemoryTracer* pTracer) {
    pTracer->EmitAllocation(sizeof(*this), MemoryType::Object);
    m_properties.Emit(pTracer);
    pTracer->EmitAllocation(m_glyphs.GetCount() * static_cast<unsigned int>(sizeof(void*)), MemoryType::Font);
    for (Glyph* pGlyph : m_glyphs) {
        pTracer->EmitAllocation(sizeof(*pGlyph), MemoryType::Font);
        pTracer->EmitObject(pGlyph->m_pTexture.Get());
    }
    pTracer->EmitAllocation(m_kerning.GetCount() * static_cast<unsigned int>(sizeof(KerningPair)),
                            MemoryType::Font);
}

} // namespace trevik::kelvo
