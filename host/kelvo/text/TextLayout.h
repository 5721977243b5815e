#pragma once

#include "TextCharacters.h"
#include "TextGroups.h"
#include "trevik/Encoding.h"
#include "trevik/List.h"
#include "trevik/Rectangle.h"
#include "trevik/StringEncoded.h"
#include "trevik/Types.h"
#include "trevik/kelvo/Glyph.h"

namespace trevik::kelvo {

class Font;

/** Everything that a layout depends on. All numbers are finite. */
struct TextLayoutInput {
    StringEncoded<UTF16Encoding> m_sText;
    Font* m_pFont = nullptr;
    unsigned int m_nFontRevision = 0;
    bool m_fMeshes = false;     ///< the font's glyphs are meshes
    bool m_fUnderlined = false; ///< its glyphs are underlined, even those that show nothing themselves
    RealFloat m_rScaleX = 1;    ///< from font pixels to node units, above 0
    RealFloat m_rScaleY = 1;
    RealFloat m_rWidth = 0; ///< of the box; all that follows is in font pixels
    RealFloat m_rHeight = 0;
    RealFloat m_rLetterSpacing = 0;
    RealFloat m_rTabWidth = 0; ///< tabs do not move the pen unless it is above 0
    RealFloat m_rAscent = 0;
    RealFloat m_rDescent = 0;
    RealFloat m_rLineDistance = 0; ///< from baseline to baseline
    int m_nHorizontalAlignment = 0;
    int m_nVerticalAlignment = 0;
    bool m_fWordWrap = true;
    bool m_fKerning = true;

    bool operator==(TextLayoutInput const& other) const;
};

/**
 * Makes glyph instances and batches of a text, in time that grows with its length only. Keeps its working
 * storage, so that making another layout that needs no more room allocates nothing.
 */
class TextLayout {
public:
    /** Whether the last layout has succeeded and was made from this input. */
    bool IsMadeFrom(TextLayoutInput const& input) const { return m_fMade && m_input == input; }
    /** From now on no layout has been made. */
    void Forget() { m_fMade = false; }
    /**
     * Replaces instances and batches by those of a new layout, with the four colours at the corners of all
     * glyphs. False, with these and the layout's measures unchanged, when out of memory. Glyphs that the font
     * lacks are asked for first (GlyphSource).
     */
    bool Make(TextLayoutInput const& input, ColorT<RealFloat> const* pColors, List<GlyphInstance>& instances,
              List<GlyphBatch>& batches);

    /** Least x and y, greatest x and y of lines and glyphs, in font pixels; all 0 without glyphs. */
    RectangleT<RealFloat> const& GetBounds() const { return m_bounds; }
    unsigned int GetLineCount() const { return m_nLines; }
    /** The font's revision that the last layout was made from, the glyphs included that it has asked for. */
    unsigned int GetFontRevision() const { return m_input.m_nFontRevision; }
    unsigned int GetByteSize() const;
    /** For its user: a string whose storage is kept for another text. */
    StringEncoded<UTF16Encoding>& GetFreeText() { return m_sFreeText; }

private:
    /** A character. */
    struct Item {
        Glyph const* m_pGlyph; ///< null when it shows nothing
        RealFloat m_rAdvance;  ///< with the letter spacing
        RealFloat m_rKerning;  ///< before it, unless it begins a line
        RealFloat m_rPen;      ///< from the line's start
        unsigned int m_nGroup;
        CharacterClass m_class;
        bool m_fBreakBefore; ///< a line may end before it
        bool m_fWidens;      ///< it gets wider in justified lines
    };
    /**
     * Items from m_nFirst on; those from m_nVisibleEnd on are spaces and the like, which count for nothing.
     */
    struct Line {
        unsigned int m_nFirst;
        unsigned int m_nVisibleEnd;
        RealFloat m_rWidth; ///< up to m_nVisibleEnd
        bool m_fLast;       ///< of its paragraph
    };
    /** A line as far as it has been measured. */
    struct Measure {
        Line m_line;
        RealFloat m_rPen;
        bool m_fAny; ///< there is something in it, if only spaces
    };

    /** Where a line goes. */
    struct Placement {
        RealFloat m_rStart; ///< whole pixels
        RealFloat m_rBaseline;
        RealFloat m_rWidth;
        RealFloat m_rWidening;        ///< of each space
        unsigned int m_nFirstWidened; ///< spaces before that item stay as they are
    };

    bool ReadCharacters();
    bool ReadMissingGlyphs();
    void ReadGlyph(Item& item, unsigned int nCodePoint);
    Glyph const* FindGlyph(unsigned int nCodePoint, CharacterClass characterClass);
    Glyph const* FindFallback();
    bool BreakLines();
    unsigned int MeasureLine(unsigned int nFirst, Line& line);
    void AddToLine(Measure& measure, unsigned int nItem);
    bool Fits(Measure const& measure, Item const& item) const;
    bool GroupGlyphs();
    bool GroupGlyph(Item& item);
    unsigned int PlaceGroups();
    void AddBatches(List<GlyphBatch>& batches);
    void Fill(ColorT<RealFloat> const* pColors, List<GlyphInstance>& instances);
    RealFloat GetFirstBaseline(RealFloat rBlock) const;
    Placement PlaceLine(Line const& line, RealFloat rBaseline) const;
    void Justify(Line const& line, Placement& placement) const;
    void FillLine(Line const& line, Placement const& placement, ColorT<RealFloat> const* pColors,
                  List<GlyphInstance>& instances);
    unsigned int* GetPlace(Item const& item);
    void Include(RealFloat rLeft, RealFloat rBottom, RealFloat rRight, RealFloat rTop);

    TextLayoutInput m_input;
    bool m_fMade = false;
    unsigned int m_nLines = 0;
    RectangleT<RealFloat> m_bounds;

    StringEncoded<UTF16Encoding> m_sFreeText; ///< see GetFreeText

    // What Make works with.
    List<Item> m_items;
    List<Line> m_lines;
    TextGroups m_groups;
    unsigned int m_nBlanks = 0;     ///< items that are only underlined
    unsigned int m_nBlankGroup = 0; ///< the group that they are drawn with
    unsigned int m_nNextBlank = 0;
    Glyph const* m_pLast = nullptr;     ///< the glyph before, for kerning
    Glyph const* m_pFallback = nullptr; ///< for code points without a glyph
    bool m_fFallbackFound = false;      ///< it has been looked for
    bool m_fMissing = false;            ///< there is a code point without a glyph
};

} // namespace trevik::kelvo
