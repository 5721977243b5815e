#include "TextLayout.h"

#include "kelvo_host/GlyphSource.h"
#include "trevik/kelvo/Font.h"
#include "trevik/kelvo/Text.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace trevik::kelvo {

namespace {

/** Groups of items that are in no TextGroups. */
constexpr unsigned int NoGroup = 0xffffffffu;
constexpr unsigned int BlankGroup = 0xfffffffeu;

/** Boxes and tab stops count as this much wider: a box made as wide as its text has been rounded. */
constexpr RealFloat Tolerance = RealFloat(1) / 32;

RealFloat ToWholePixels(RealFloat rPlace) {
    return std::floor(rPlace + RealFloat(0.5));
}

/** Spaces that have no glyph of their own look like the common one. */
bool IsSpace(CharacterClass characterClass) {
    return characterClass == CharacterClass::Space || characterClass == CharacterClass::NoBreakSpace;
}

} // namespace

bool TextLayoutInput::operator==(TextLayoutInput const& other) const {
    return m_pFont == other.m_pFont && m_nFontRevision == other.m_nFontRevision &&
           m_fMeshes == other.m_fMeshes && m_fUnderlined == other.m_fUnderlined &&
           m_rScaleX == other.m_rScaleX && m_rScaleY == other.m_rScaleY && m_rWidth == other.m_rWidth &&
           m_rHeight == other.m_rHeight && m_rLetterSpacing == other.m_rLetterSpacing &&
           m_rTabWidth == other.m_rTabWidth && m_rAscent == other.m_rAscent &&
           m_rDescent == other.m_rDescent && m_rLineDistance == other.m_rLineDistance &&
           m_nHorizontalAlignment == other.m_nHorizontalAlignment &&
           m_nVerticalAlignment == other.m_nVerticalAlignment && m_fWordWrap == other.m_fWordWrap &&
           m_fKerning == other.m_fKerning && m_sText == other.m_sText;
}

bool TextLayout::Make(TextLayoutInput const& input, ColorT<RealFloat> const* pColors,
                      List<GlyphInstance>& instances, List<GlyphBatch>& batches) {
    m_fMade = false;
    m_input = input;
    if (!ReadCharacters() || (m_fMissing && !ReadMissingGlyphs()) || !BreakLines() || !GroupGlyphs() ||
        !batches.Reserve(m_groups.GetCount()) || !instances.Resize(PlaceGroups())) {
        return false;
    }
    // From here on nothing can fail.
    AddBatches(batches);
    Fill(pColors, instances);
    m_nLines = m_lines.GetCount();
    m_fMade = true;
    return true;
}

namespace {

inline unsigned int TakeCodePoint(char16_t const* pText, int& nUnit, int nLength) {
    int const nFirst = pText[nUnit];
    if (CodePoint::IsSurrogate(nFirst)) {
        return static_cast<unsigned int>(UTF16Encoding::GetNextChar(pText, nUnit, nLength));
    }
    ++nUnit;
    return static_cast<unsigned int>(nFirst);
}

} // namespace

bool TextLayout::ReadCharacters() {
    int const nLength = static_cast<int>(m_input.m_sText.GetLength());
    char16_t const* const pText = m_input.m_sText.GetData();
    m_pLast = nullptr;
    m_fFallbackFound = false;
    m_fMissing = false;
    LineBreaker breaker;
    if (!m_items.Resize(static_cast<unsigned int>(nLength))) {
        return false;
    }
    Item* pItem = m_items.GetData();
    for (int nUnit = 0; nUnit < nLength; ++pItem) {
        unsigned int const nCodePoint = TakeCodePoint(pText, nUnit, nLength);
        *pItem = Item{};
        pItem->m_nGroup = NoGroup;
        pItem->m_class = GetCharacterClass(nCodePoint);
        pItem->m_fBreakBefore = breaker.Next(pItem->m_class);
        pItem->m_fWidens = nCodePoint == 0x20 || nCodePoint == 0xa0;
        ReadGlyph(*pItem, nCodePoint);
    }
    // Some characters take two units.
    return m_items.Resize(static_cast<unsigned int>(pItem - m_items.GetData()));
}

/** Has glyphs made that the font lacks, and reads the text again when there are some. */
bool TextLayout::ReadMissingGlyphs() {
    Font& font = *m_input.m_pFont;
    if (Ref<GlyphSource> const pSource = GlyphSource::Find(font)) {
        pSource->Complete(m_input.m_sText);
    }
    bool const fSame = font.GetRevision() == m_input.m_nFontRevision;
    m_input.m_nFontRevision = font.GetRevision();
    return fSame || ReadCharacters();
}

void TextLayout::ReadGlyph(Item& item, unsigned int nCodePoint) {
    if (!IsVisible(item.m_class) && item.m_class != CharacterClass::Space) {
        if (item.m_class == CharacterClass::Tab || item.m_class == CharacterClass::LineEnd) {
            m_pLast = nullptr;
        }
        return;
    }
    Glyph const* const pGlyph = FindGlyph(nCodePoint, item.m_class);
    item.m_pGlyph = pGlyph;
    if (!pGlyph) {
        m_pLast = nullptr;
        return;
    }
    if (m_pLast && m_input.m_fKerning) {
        item.m_rKerning = m_input.m_pFont->GetKerning(m_pLast->m_nCodePoint, pGlyph->m_nCodePoint);
    }
    // A glyph without an advance, such as an accent above the letter before, gets no letter spacing either.
    if (pGlyph->m_nAdvance != 0) {
        item.m_rAdvance = static_cast<RealFloat>(pGlyph->m_nAdvance) + m_input.m_rLetterSpacing;
    }
    m_pLast = pGlyph;
}

Glyph const* TextLayout::FindGlyph(unsigned int nCodePoint, CharacterClass characterClass) {
    Glyph const* pGlyph = m_input.m_pFont->GetGlyph(nCodePoint);
    if (pGlyph) {
        return pGlyph;
    }
    m_fMissing = true;
    if (IsSpace(characterClass)) {
        pGlyph = m_input.m_pFont->GetGlyph(0x20);
    }
    return pGlyph ? pGlyph : FindFallback();
}

Glyph const* TextLayout::FindFallback() {
    if (!m_fFallbackFound) {
        m_pFallback = m_input.m_pFont->GetGlyph(static_cast<unsigned int>(CodePoint::Replacement));
        if (!m_pFallback) {
            m_pFallback = m_input.m_pFont->GetGlyph('?');
        }
        m_fFallbackFound = true;
    }
    return m_pFallback;
}

bool TextLayout::BreakLines() {
    m_lines.Clear();
    bool fMore = !m_items.IsEmpty();
    for (unsigned int nFirst = 0; fMore;) {
        Line line;
        unsigned int const nNext = MeasureLine(nFirst, line);
        if (!m_lines.Append(line)) {
            return false;
        }
        // A line feed at the very end begins another line, an empty one.
        fMore = nNext < m_items.GetCount() ||
                (nNext > nFirst && m_items[nNext - 1].m_class == CharacterClass::LineEnd);
        nFirst = nNext;
    }
    return true;
}

/**
 * Measures the line that begins with an item, and returns where the next line begins. Items that turn out to
 * belong to the next line are measured again with it, but hardly a third time.
 */
unsigned int TextLayout::MeasureLine(unsigned int nFirst, Line& line) {
    Measure measure{Line{nFirst, nFirst, 0, false}, 0, false};
    line = measure.m_line;
    unsigned int nBreak = nFirst; // the last place where the line may end
    for (unsigned int nItem = nFirst; nItem < m_items.GetCount(); ++nItem) {
        Item const& item = m_items[nItem];
        if (item.m_class == CharacterClass::LineEnd) {
            line = measure.m_line;
            line.m_fLast = true;
            return nItem + 1;
        }
        if (item.m_fBreakBefore && measure.m_fAny) {
            line = measure.m_line;
            nBreak = nItem;
        }
        if (!Fits(measure, item)) {
            if (nBreak == nFirst) {
                line = measure.m_line;
                nBreak = nItem;
            }
            return nBreak;
        }
        AddToLine(measure, nItem);
    }
    line = measure.m_line;
    line.m_fLast = true;
    return m_items.GetCount();
}

bool TextLayout::Fits(Measure const& measure, Item const& item) const {
    return !m_input.m_fWordWrap || !(m_input.m_rWidth > 0) || !IsVisible(item.m_class) ||
           !(item.m_rAdvance > 0) || !measure.m_fAny ||
           measure.m_rPen + item.m_rKerning + item.m_rAdvance <= m_input.m_rWidth + Tolerance;
}

void TextLayout::AddToLine(Measure& measure, unsigned int nItem) {
    Item& item = m_items[nItem];
    if (nItem > measure.m_line.m_nFirst) {
        measure.m_rPen += item.m_rKerning;
    }
    item.m_rPen = measure.m_rPen;
    measure.m_rPen += item.m_rAdvance;
    if (item.m_class == CharacterClass::Tab) {
        measure.m_fAny = true;
        if (m_input.m_rTabWidth > 0) {
            // Stops narrower than the tolerance make no difference, but could make the quotient overflow.
            RealFloat const rWidth = std::max(m_input.m_rTabWidth, Tolerance);
            measure.m_rPen = (std::floor((measure.m_rPen + Tolerance) / rWidth) + 1) * rWidth;
        }
    } else if (item.m_class == CharacterClass::Space) {
        measure.m_fAny = true;
    } else if (IsVisible(item.m_class)) {
        measure.m_fAny = true;
        measure.m_line.m_nVisibleEnd = nItem + 1;
        measure.m_line.m_rWidth = measure.m_rPen;
    }
}

bool TextLayout::GroupGlyphs() {
    m_groups.Clear();
    m_nBlanks = 0;
    for (Line const& line : m_lines) {
        for (unsigned int nItem = line.m_nFirst; nItem < line.m_nVisibleEnd; ++nItem) {
            if (m_items[nItem].m_pGlyph && !GroupGlyph(m_items[nItem])) {
                return false;
            }
        }
    }
    return true;
}

bool TextLayout::GroupGlyph(Item& item) {
    Glyph const& glyph = *item.m_pGlyph;
    if (m_input.m_fMeshes && !glyph.m_fImage) {
        return glyph.m_nMesh < 0 || m_groups.Add(nullptr, false, item.m_nGroup);
    }
    bool const fEmpty = glyph.m_nWidth == 0 || glyph.m_nHeight == 0;
    if (glyph.m_pTexture && !fEmpty) {
        return m_groups.Add(glyph.m_pTexture.Get(), glyph.m_fImage, item.m_nGroup);
    }
    // A glyph with a size but no texture would be drawn with another glyph's: it is not even underlined.
    if (fEmpty && m_input.m_fUnderlined && glyph.m_nAdvance > 0) {
        item.m_nGroup = BlankGroup;
        ++m_nBlanks;
    }
    return true;
}

/**
 * Finds room for the instances of each group and returns how many there are in all. Blanks follow the glyphs
 * of the first group that is underlined: a batch's first glyph has to have its texture.
 */
unsigned int TextLayout::PlaceGroups() {
    unsigned int nCount = 0;
    m_nBlankGroup = NoGroup;
    for (unsigned int nGroup = 0; nGroup < m_groups.GetCount(); ++nGroup) {
        m_groups[nGroup].m_nNext = nCount;
        nCount += m_groups[nGroup].m_nCount;
        if (m_nBlankGroup == NoGroup && m_nBlanks != 0 && !m_groups[nGroup].m_fImage) {
            m_nBlankGroup = nGroup;
            m_nNextBlank = nCount;
            nCount += m_nBlanks;
        }
    }
    return nCount;
}

void TextLayout::AddBatches(List<GlyphBatch>& batches) {
    batches.Clear();
    for (unsigned int nGroup = 0; nGroup < m_groups.GetCount(); ++nGroup) {
        GlyphBatch batch;
        batch.m_nFirst = m_groups[nGroup].m_nNext;
        batch.m_nCount = m_groups[nGroup].m_nCount + (nGroup == m_nBlankGroup ? m_nBlanks : 0);
        batches.Append(batch);
    }
}

void TextLayout::Fill(ColorT<RealFloat> const* pColors, List<GlyphInstance>& instances) {
    m_bounds = RectangleT<RealFloat>();
    if (instances.IsEmpty()) {
        return;
    }
    RealFloat const rDistance = m_input.m_rLineDistance;
    RealFloat const rFirst = GetFirstBaseline(m_input.m_rAscent + m_input.m_rDescent +
                                              rDistance * static_cast<RealFloat>(m_lines.GetCount() - 1));
    RealFloat const rInfinity = std::numeric_limits<RealFloat>::infinity();
    m_bounds = RectangleT<RealFloat>(rInfinity, rInfinity, -rInfinity, -rInfinity);
    for (unsigned int nLine = 0; nLine < m_lines.GetCount(); ++nLine) {
        RealFloat const rBaseline = ToWholePixels(rFirst - rDistance * static_cast<RealFloat>(nLine));
        Placement placement = PlaceLine(m_lines[nLine], rBaseline);
        RealFloat const rEnd = placement.m_rStart + placement.m_rWidth;
        Include(std::min(placement.m_rStart, rEnd), rBaseline - m_input.m_rDescent,
                std::max(placement.m_rStart, rEnd), rBaseline + m_input.m_rAscent);
        FillLine(m_lines[nLine], placement, pColors, instances);
    }
}

/** The first baseline of a block of lines that is `rBlock` high. */
RealFloat TextLayout::GetFirstBaseline(RealFloat rBlock) const {
    switch (m_input.m_nVerticalAlignment) {
    case VerticalAlignment::Middle:
        return (m_input.m_rHeight + rBlock) / 2 - m_input.m_rAscent;
    case VerticalAlignment::Bottom:
        return rBlock - m_input.m_rAscent;
    case VerticalAlignment::Baseline:
        return 0;
    default:
        return m_input.m_rHeight - m_input.m_rAscent;
    }
}

TextLayout::Placement TextLayout::PlaceLine(Line const& line, RealFloat rBaseline) const {
    Placement placement{0, rBaseline, line.m_rWidth, 0, line.m_nFirst};
    RealFloat const rRoom = m_input.m_rWidth - line.m_rWidth;
    switch (m_input.m_nHorizontalAlignment) {
    case HorizontalAlignment::Center:
        placement.m_rStart = ToWholePixels(rRoom / 2);
        break;
    case HorizontalAlignment::Right:
        placement.m_rStart = ToWholePixels(rRoom);
        break;
    case HorizontalAlignment::Justify:
        if (!line.m_fLast && rRoom > 0) {
            Justify(line, placement);
        }
        break;
    default:
        break;
    }
    return placement;
}

/** Widens the spaces behind the line's last tab only: wider ones before a tab would push it off its stop. */
void TextLayout::Justify(Line const& line, Placement& placement) const {
    unsigned int nSpaces = 0;
    unsigned int nItem = line.m_nVisibleEnd;
    for (; nItem > line.m_nFirst && m_items[nItem - 1].m_class != CharacterClass::Tab; --nItem) {
        nSpaces += m_items[nItem - 1].m_fWidens ? 1 : 0;
    }
    if (nSpaces != 0) {
        placement.m_nFirstWidened = nItem;
        placement.m_rWidening = (m_input.m_rWidth - line.m_rWidth) / static_cast<RealFloat>(nSpaces);
        placement.m_rWidth = m_input.m_rWidth;
    }
}

void TextLayout::FillLine(Line const& line, Placement const& placement, ColorT<RealFloat> const* pColors,
                          List<GlyphInstance>& instances) {
    RealFloat rWidened = 0;
    for (unsigned int nItem = line.m_nFirst; nItem < line.m_nVisibleEnd; ++nItem) {
        Item const& item = m_items[nItem];
        unsigned int* const pPlace = GetPlace(item);
        if (pPlace) {
            Glyph const& glyph = *item.m_pGlyph;
            GlyphInstance& instance = instances[(*pPlace)++];
            instance.m_pGlyph = &glyph;
            instance.m_rX = ToWholePixels(placement.m_rStart + item.m_rPen + rWidened) +
                            static_cast<RealFloat>(glyph.m_nOffsetX);
            instance.m_rY = placement.m_rBaseline - static_cast<RealFloat>(glyph.m_nOffsetY);
            std::copy(pColors, pColors + 4, instance.m_colors);
            Include(instance.m_rX, instance.m_rY, instance.m_rX + static_cast<RealFloat>(glyph.m_nWidth),
                    instance.m_rY + static_cast<RealFloat>(glyph.m_nHeight));
        }
        if (item.m_fWidens && nItem >= placement.m_nFirstWidened) {
            rWidened += placement.m_rWidening;
        }
    }
}

/** Where the item's instance is to be written; null when it has none. */
unsigned int* TextLayout::GetPlace(Item const& item) {
    if (item.m_nGroup == BlankGroup) {
        return m_nBlankGroup != NoGroup ? &m_nNextBlank : nullptr;
    }
    return item.m_nGroup != NoGroup ? &m_groups[item.m_nGroup].m_nNext : nullptr;
}

void TextLayout::Include(RealFloat rLeft, RealFloat rBottom, RealFloat rRight, RealFloat rTop) {
    m_bounds.left = std::min(m_bounds.left, rLeft);
    m_bounds.top = std::min(m_bounds.top, rBottom);
    m_bounds.right = std::max(m_bounds.right, rRight);
    m_bounds.bottom = std::max(m_bounds.bottom, rTop);
}

unsigned int TextLayout::GetByteSize() const {
    return static_cast<unsigned int>(sizeof(*this) + m_items.GetCapacity() * sizeof(Item) +
                                     m_lines.GetCapacity() * sizeof(Line) +
                                     m_sFreeText.GetLength() * sizeof(char16_t)) +
           m_groups.GetByteSize();
}

} // namespace trevik::kelvo
