#include "trevik/kelvo/Font.h"

#include "kelvo/storage/FontStorage.h"
#include "kelvo_host/GlyphSource.h"
#include "trevik/kelvo/Deserializer.h"
#include "trevik/kelvo/MemoryTracer.h"
#include "trevik/kelvo/Serializer.h"

#include <algorithm>
#include <atomic>
#include <cmath>
#include <cstdint>
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

// Tables that find glyphs and kerning by hash: a power of two places, half of which are empty at least. An
// entry stands at the place that its key gives, or at the first empty one behind it.

std::uint64_t GetKey(unsigned int nFirst, unsigned int nSecond) {
    return static_cast<std::uint64_t>(nFirst) << 32 | nSecond;
}

template <class Entry>
bool HasRoom(List<Entry> const& table, unsigned int nEntries) {
    return nEntries <= table.GetCount() / 2;
}

/** Makes an empty table for so many entries; for none, one without places. */
template <class Entry>
bool MakeTable(unsigned int nEntries, List<Entry>& table) {
    if (nEntries == 0) {
        return true;
    }
    unsigned int nPlaces = 16;
    while (nPlaces / 2 < nEntries) {
        nPlaces *= 2;
    }
    return table.Resize(nPlaces);
}

/** The first place at or behind a key's own that is empty, or whose entry the function takes. */
template <class Entry, class Function>
inline unsigned int FindPlace(List<Entry> const& table, std::uint64_t nKey, Function isWanted) {
    unsigned int const nMask = table.GetCount() - 1;
    unsigned int nPlace = static_cast<unsigned int>((nKey * 0x9e3779b97f4a7c15u) >> 32) & nMask;
    while (table[nPlace] != Entry() && !isWanted(table[nPlace])) {
        nPlace = (nPlace + 1) & nMask;
    }
    return nPlace;
}

template <class Entry>
void Enter(List<Entry>& table, std::uint64_t nKey, Entry entry) {
    table[FindPlace(table, nKey, [](Entry) { return false; })] = entry;
}

/** A table of the glyphs from an index on, with room for so many. */
bool MakeGlyphTable(List<Glyph*> const& glyphs, unsigned int nFirst, unsigned int nRoom,
                    List<Glyph const*>& table) {
    if (!MakeTable(nRoom, table)) {
        return false;
    }
    for (unsigned int nGlyph = nFirst; nGlyph < glyphs.GetCount(); ++nGlyph) {
        Enter<Glyph const*>(table, glyphs[nGlyph]->m_nCodePoint, glyphs[nGlyph]);
    }
    return true;
}

/** Enters all pairs into an empty table. */
void FillKerningTable(List<KerningPair> const& kerning, List<unsigned int>& table) {
    for (unsigned int nPair = 0; nPair < kerning.GetCount(); ++nPair) {
        Enter(table, GetKey(kerning[nPair].m_nFirst, kerning[nPair].m_nSecond), nPair + 1);
    }
}

/** The number of glyphs that are found without a table. */
unsigned int CountBelow(List<Glyph*> const& glyphs, unsigned int nCodePoint) {
    Glyph* const* const pPlace = std::lower_bound(
        glyphs.begin(), glyphs.end(), nCodePoint,
        [](Glyph const* pLeft, unsigned int nRight) { return pLeft->m_nCodePoint < nRight; });
    return static_cast<unsigned int>(pPlace - glyphs.begin());
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
        !LoadKerning(deserializer, kerning)) {
        return false;
    }
    unsigned int const nDirect = CountBelow(glyphs.m_list, DirectCount);
    List<Glyph const*> glyphTable;
    List<unsigned int> kerningTable;
    if (!MakeGlyphTable(glyphs.m_list, nDirect, glyphs.m_list.GetCount() - nDirect, glyphTable) ||
        !MakeTable(kerning.GetCount(), kerningTable)) {
        return deserializer.Fail(u"memory is short");
    }
    if (!LoadProperties(deserializer)) {
        return false;
    }
    FillKerningTable(kerning, kerningTable);
    m_metrics = metrics;
    m_kerning.Swap(kerning);
    m_kerningTable.Swap(kerningTable);
    m_glyphs.Swap(glyphs.m_list);
    m_glyphTable.Swap(glyphTable);
    std::fill(std::begin(m_direct), std::end(m_direct), nullptr);
    for (unsigned int nGlyph = 0; nGlyph < nDirect; ++nGlyph) {
        EnterDirectly(m_glyphs[nGlyph]);
    }
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

Glyph const* Font::GetGlyph(unsigned int nCodePoint) const {
    if (nCodePoint < DirectCount) {
        return m_direct[nCodePoint];
    }
    if (m_glyphTable.IsEmpty()) {
        return nullptr;
    }
    return m_glyphTable[FindPlace(m_glyphTable, nCodePoint, [nCodePoint](Glyph const* pGlyph) {
        return pGlyph->m_nCodePoint == nCodePoint;
    })];
}

unsigned int Font::FindGlyph(unsigned int nCodePoint) const {
    if (m_glyphs.IsEmpty() || m_glyphs.Last()->m_nCodePoint < nCodePoint) {
        return m_glyphs.GetCount();
    }
    return CountBelow(m_glyphs, nCodePoint);
}

/** Lets a glyph with a code point below DirectCount be found without a search. */
void Font::EnterDirectly(Glyph const* pGlyph) {
    m_direct[pGlyph->m_nCodePoint] = pGlyph;
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
    bool const fDirect = glyph.m_nCodePoint < DirectCount;
    Glyph* const pCopy = new (std::nothrow) Glyph(glyph);
    if (!pCopy || (!fDirect && !ReserveTable()) || !m_glyphs.Insert(nIndex, pCopy)) {
        delete pCopy;
        return false;
    }
    if (fDirect) {
        EnterDirectly(pCopy);
    } else {
        Enter<Glyph const*>(m_glyphTable, pCopy->m_nCodePoint, pCopy);
    }
    ++m_nRevision;
    return true;
}

/** Makes room for one more glyph in the table. */
bool Font::ReserveTable() {
    unsigned int const nDirect = FindGlyph(DirectCount);
    unsigned int const nRoom = m_glyphs.GetCount() - nDirect + 1;
    if (HasRoom(m_glyphTable, nRoom)) {
        return true;
    }
    List<Glyph const*> table;
    if (!MakeGlyphTable(m_glyphs, nDirect, nRoom, table)) {
        return false;
    }
    m_glyphTable.Swap(table);
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
        EnterKerningAnew();
    } else if (rDistance != 0 && !AddKerning(nIndex, pair)) {
        return false;
    }
    ++m_nRevision;
    return true;
}

/** Inserts a pair. False, with nothing changed, without memory. */
bool Font::AddKerning(unsigned int nIndex, KerningPair const& pair) {
    unsigned int const nCount = m_kerning.GetCount() + 1;
    List<unsigned int> table;
    bool const fRoom = HasRoom(m_kerningTable, nCount);
    if ((!fRoom && !MakeTable(nCount, table)) || !m_kerning.Insert(nIndex, pair)) {
        return false;
    }
    if (fRoom && nIndex == nCount - 1) {
        Enter(m_kerningTable, GetKey(pair.m_nFirst, pair.m_nSecond), nCount);
        return true;
    }
    if (!fRoom) {
        m_kerningTable.Swap(table);
    }
    EnterKerningAnew();
    return true;
}

/** Enters all pairs into their table, which has room for them, after some have moved in the list. */
void Font::EnterKerningAnew() {
    std::fill(m_kerningTable.begin(), m_kerningTable.end(), 0u);
    FillKerningTable(m_kerning, m_kerningTable);
}

RealFloat Font::GetKerning(unsigned int nFirst, unsigned int nSecond) const {
    if (m_kerningTable.IsEmpty()) {
        return 0;
    }
    unsigned int const nEntry =
        m_kerningTable[FindPlace(m_kerningTable, GetKey(nFirst, nSecond), [=](unsigned int nIndex) {
            KerningPair const& pair = m_kerning[nIndex - 1];
            return pair.m_nFirst == nFirst && pair.m_nSecond == nSecond;
        })];
    return nEntry != 0 ? m_kerning[nEntry - 1].m_rDistance : RealFloat(0);
}

void Font::Emit(MemoryTracer* pTracer) {
    pTracer->EmitAllocation(sizeof(*this), MemoryType::Object);
    m_properties.Emit(pTracer);
    pTracer->EmitAllocation((m_glyphs.GetCount() + m_glyphTable.GetCount()) *
                                static_cast<unsigned int>(sizeof(void*)),
                            MemoryType::Font);
    for (Glyph* pGlyph : m_glyphs) {
        pTracer->EmitAllocation(sizeof(*pGlyph), MemoryType::Font);
        pTracer->EmitObject(pGlyph->m_pTexture.Get());
    }
    pTracer->EmitAllocation(m_kerning.GetCount() * static_cast<unsigned int>(sizeof(KerningPair)) +
                                m_kerningTable.GetCount() * static_cast<unsigned int>(sizeof(unsigned int)),
                            MemoryType::Font);
}

} // namespace trevik::kelvo
