#include "trevik/kelvo/Font.h"

#include <algorithm>
#include <atomic>
#include <new>
#include <utility>

#include "trevik/kelvo/Deserializer.h"
#include "trevik/kelvo/MemoryTracer.h"
#include "trevik/kelvo/Serializer.h"

namespace trevik::kelvo {

namespace {

constexpr unsigned int MetricsID = HashName("Metrics");

std::atomic<unsigned int> g_nLastFontID{0};

} // namespace

Font::Font(unsigned int nFactoryClassID) : m_nFactoryClassID(nFactoryClassID), m_underlineScale(1) {
    m_properties.Register(u"Underline", &m_underline);
    m_properties.Register(u"UnderlinePosition", &m_underlinePosition);
    m_properties.Register(u"UnderlineThickness", &m_underlineThickness);
    m_properties.Register(u"UnderlineScale", &m_underlineScale);
}

Font::~Font() {
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
    return serializer.WriteValue(MetricsID, m_metrics) && m_properties.Save(serializer);
}

bool Font::Load(Deserializer& deserializer) {
    if (!deserializer.ReadValue(MetricsID, m_metrics)) {
        return deserializer.Fail(u"a font lacks its metrics");
    }
    return m_properties.Load(deserializer);
}

Glyph const* Font::GetGlyph(unsigned int nCodePoint) const {
    // Most fonts have a run of glyphs without gaps at their start.
    unsigned int const nFirst = m_glyphs.IsEmpty() ? 0 : m_glyphs[0]->m_nCodePoint;
    if (nCodePoint >= nFirst && nCodePoint - nFirst < m_glyphs.GetCount() &&
        m_glyphs[nCodePoint - nFirst]->m_nCodePoint == nCodePoint) {
        return m_glyphs[nCodePoint - nFirst];
    }
    Glyph* const* const pGlyph = std::lower_bound(
        m_glyphs.begin(), m_glyphs.end(), nCodePoint,
        [](Glyph const* pLeft, unsigned int nRight) { return pLeft->m_nCodePoint < nRight; });
    return pGlyph != m_glyphs.end() && (*pGlyph)->m_nCodePoint == nCodePoint ? *pGlyph : nullptr;
}

bool Font::AddGlyph(Glyph const& glyph) {
    Glyph** const pPlace = std::lower_bound(
        m_glyphs.begin(), m_glyphs.end(), glyph.m_nCodePoint,
        [](Glyph const* pLeft, unsigned int nRight) { return pLeft->m_nCodePoint < nRight; });
    if (pPlace != m_glyphs.end() && (*pPlace)->m_nCodePoint == glyph.m_nCodePoint) {
        **pPlace = glyph;
        ++m_nRevision;
        return true;
    }
    Glyph* const pCopy = new (std::nothrow) Glyph(glyph);
    if (!pCopy || !m_glyphs.Insert(static_cast<unsigned int>(pPlace - m_glyphs.begin()), pCopy)) {
        delete pCopy;
        return false;
    }
    ++m_nRevision;
    return true;
}

unsigned int Font::FindKerning(unsigned int nFirst, unsigned int nSecond) const {
    KerningPair const* const pPlace =
        std::lower_bound(m_kerning.begin(), m_kerning.end(), std::make_pair(nFirst, nSecond),
                         [](KerningPair const& left, std::pair<unsigned int, unsigned int> const& right) {
                             return std::make_pair(left.m_nFirst, left.m_nSecond) < right;
                         });
    return static_cast<unsigned int>(pPlace - m_kerning.begin());
}

bool Font::IsKerningPair(unsigned int nIndex, unsigned int nFirst, unsigned int nSecond) const {
    return nIndex < m_kerning.GetCount() && m_kerning[nIndex].m_nFirst == nFirst &&
           m_kerning[nIndex].m_nSecond == nSecond;
}

bool Font::SetKerning(unsigned int nFirst, unsigned int nSecond, RealFloat rDistance) {
    unsigned int const nIndex = FindKerning(nFirst, nSecond);
    bool const fKnown = IsKerningPair(nIndex, nFirst, nSecond);
    if (fKnown && rDistance != 0) {
        m_kerning[nIndex].m_rDistance = rDistance;
    } else if (fKnown) {
        m_kerning.RemoveAt(nIndex);
    } else if (rDistance != 0 && !m_kerning.Insert(nIndex, KerningPair{nFirst, nSecond, rDistance})) {
        return false;
    }
    ++m_nRevision;
    return true;
}

RealFloat Font::GetKerning(unsigned int nFirst, unsigned int nSecond) const {
    unsigned int const nIndex = FindKerning(nFirst, nSecond);
    return IsKerningPair(nIndex, nFirst, nSecond) ? m_kerning[nIndex].m_rDistance : RealFloat(0);
}

void Font::Emit(MemoryTracer* pTracer) {
    pTracer->EmitAllocation(sizeof(*this), MemoryType::Object);
    m_properties.Emit(pTracer);
}

} // namespace trevik::kelvo
