#pragma once

#include "trevik/Export.h"
#include "trevik/Rectangle.h"
#include "trevik/kelvo/Font.h"
#include "trevik/kelvo/HostProperties.h"
#include "trevik/kelvo/Sprite.h"
#include "trevik/kelvo/TransformNode.h"

namespace trevik::kelvo {

class PolygonalFont;
class TextLayout;
struct TextLayoutInput;

/** Where the lines of a text stand between the left and right edge of its box. */
struct HorizontalAlignment {
    enum Enum {
        Left = 0,
        Center = 1,
        Right = 2,
        Justify = 3 ///< spaces of all lines but a paragraph's last are widened to fill the box
    };
};

/** Where the lines of a text stand between the top and bottom edge of its box. */
struct VerticalAlignment {
    enum Enum {
        Top = 0,
        Middle = 1,
        Bottom = 2,
        Baseline = 3 ///< the first line's baseline lies on the box's bottom edge
    };
};

/**
 * A node that lays a string out in glyphs of a font, in batches of one texture each.
 *
 * Lines lie in the box from (0, 0) to "Box" in node space, y up; a side of 0 makes the box a line or point
 * that the text is aligned at, beyond which it extends. Lines end at line feeds (also behind a carriage
 * return) and at line and paragraph separators, and, when the box is wider than 0, where the next word does
 * not fit: words break after spaces, hyphens within words, zero-width spaces and between ideographs or kana,
 * and a word that is wider than the box anywhere. Spaces and tabs at the end of a line count for nothing.
 * Tabs go to the next multiple of the tab width.
 *
 * Code points that the font lacks show its U+FFFD or else its "?", or nothing, and so do units that form no
 * code point; spaces of other kinds look like U+0020 then. Control characters and invisible marks show
 * nothing. Text runs from left to right. Lines, baselines and glyphs lie on whole font pixels.
 *
 * The layout is made anew at the next update, or earlier when it is asked for or drawn, after something that
 * it depends on has changed; colours alone leave the glyphs where they are. Measures that are not finite
 * count as their initial values, negative sides of the box as 0. Without memory for a new layout the text
 * keeps the one that it has, or shows nothing when its font has changed; that is traced, and it tries again
 * at the next update.
 */
class TREVIK_API Text : public TransformNode {
public:
    TREVIK_CLASS_ID(Text, TransformNode)

    Text();
    Text(Text const& other);
    ~Text() override;

    void Emit(MemoryTracer* pTracer) override;
    void RegisterProperties() override;
    /** Lays the text out where that is due, before anything is drawn. */
    void InternalUpdate(GraphicsDevice& device, RealFloat const& frame, RealFloat const& delta,
                        bool fForce) override;
    /**
     * Lets an effect draw the text (Effect::OverrideDrawText), or else draws first the shadows, then the
     * glyphs of its batches: image glyphs by RenderImageBatch (they cast no shadow), those of polygonal fonts
     * one by one, all others by the font. The device's transform is scaled to font pixels meanwhile; for a
     * glyph of a polygonal font, which is drawn without a projection of its own, it leads from the pen
     * position all the way to clip space.
     */
    void InternalRender(GraphicsDevice& device) override;
    void InternalSelect(GraphicsDevice& device) override;
    bool InternalSave(Serializer& serializer) override;
    bool InternalLoad(Deserializer& deserializer) override;

    /** Draws a batch of pre-rendered glyph images, faded per corner. Render thread. */
    virtual void RenderImageBatch(GraphicsDevice& device, List<GlyphInstance> const& instances,
                                  GlyphBatch const& batch, ColorT<RealFloat> const& color) = 0;

    /**
     * The laid-out text's bounds in node space: least x and y (left, top), greatest x and y (right, bottom).
     * They span the lines, from each one's first pen position to its last and from ascent to descent, and all
     * glyphs that reach further. All 0 while there are no glyphs.
     */
    void GetTextRenderRect(RectangleT<RealFloat>& rectangle);
    /** Lays the text out now if that is due, and gives its glyphs their current colours. */
    void UpdateLayout();
    /** How often the text has been laid out. */
    unsigned int GetLayoutCount() const { return m_nLayouts; }
    /** Lines of the last layout. */
    unsigned int GetLineCount() const { return m_nLines; }

    StringProperty& GetTextProperty() { return m_text; }
    /**
     * Sets "Text" to so many units, in storage that the text keeps: one that is updated in between, and has
     * been as long before, allocates nothing. False, with nothing changed, without memory.
     */
    bool SetText(char16_t const* pText, unsigned int nLength);
    SizeRealProperty& GetBoxProperty() { return m_box; }
    SizeRealProperty& GetFontSizeProperty() { return m_fontSize; }
    /**
     * Width and height of GetTextRenderRect. Written by the layout, which notifies of it whenever that
     * rectangle has changed in any way; not saved. A new background is notified of, too.
     */
    SizeRealProperty& GetRenderSizeProperty() { return m_renderSize; }
    IntProperty& GetHorizontalAlignmentProperty() { return m_horizontalAlignment; }
    IntProperty& GetVerticalAlignmentProperty() { return m_verticalAlignment; }
    BoolProperty& GetWordWrapProperty() { return m_wordWrap; }
    RealProperty& GetLineSpacingProperty() { return m_lineSpacing; }
    RealProperty& GetLetterSpacingProperty() { return m_letterSpacing; }
    RealProperty& GetTabWidthProperty() { return m_tabWidth; }
    BoolProperty& GetKerningProperty() { return m_kerning; }
    ColorProperty& GetColorProperty() { return m_color; }
    ColorProperty& GetBottomLeftColorProperty() { return m_bottomLeftColor; }
    ColorProperty& GetTopLeftColorProperty() { return m_topLeftColor; }
    ColorProperty& GetBottomRightColorProperty() { return m_bottomRightColor; }
    ColorProperty& GetTopRightColorProperty() { return m_topRightColor; }
    BoolProperty& GetShadowProperty() { return m_shadow; }
    Vector3Property& GetShadowOffsetProperty() { return m_shadowOffset; }
    ColorProperty& GetShadowColorProperty() { return m_shadowColor; }

    /** The font, held by reference; it may be shared and change. */
    Font* GetFont() const { return m_pFont.Get(); }
    /** Draws with this font from now on, null for none. */
    void SetFont(Font* pFont);
    /** A sprite that is drawn behind the text, fitted to it; held by reference, not a child. */
    Sprite* GetBackground() const { return m_pBackgroundSprite.Get(); }
    /**
     * Notifies of "RenderSize", so that handlers that fit the sprite to it fit the new one. A sprite that
     * keeps the text alive, such as an ancestor, and one that would lie too deep (Node::MaximumDepth) are
     * refused (traced).
     */
    void SetBackground(Sprite* pSprite);

protected:
    StringProperty m_text;         ///< "Text", empty
    SizeRealProperty m_box;        ///< "Box": width and height, node units, that lines lie in, (0, 0)
    SizeRealProperty m_fontSize;   ///< "FontSize": node units per em in both directions, 0 = the font's own
    SizeRealProperty m_renderSize; ///< see GetRenderSizeProperty
    IntProperty m_horizontalAlignment; ///< "HorizontalAlignment", HorizontalAlignment::Left
    IntProperty m_verticalAlignment;   ///< "VerticalAlignment", VerticalAlignment::Top
    BoolProperty m_wordWrap;           ///< "WordWrap": lines end where the box does, true
    RealProperty m_lineSpacing;        ///< "LineSpacing": multiplies the distance of baselines, 1
    RealProperty m_letterSpacing;      ///< "LetterSpacing": node units added to every advance, 0
    RealProperty m_tabWidth;           ///< "TabWidth": node units between tab stops, 0 = four ems
    BoolProperty m_kerning;            ///< "Kerning": the font's kerning is used, true
    ColorProperty m_color;             ///< "Color": of all glyphs' corners, opaque white
    ColorProperty m_bottomLeftColor;   ///< "BottomLeftColor", multiplied with "Color", opaque white
    ColorProperty m_topLeftColor;      ///< "TopLeftColor", likewise
    ColorProperty m_bottomRightColor;  ///< "BottomRightColor", likewise
    ColorProperty m_topRightColor;     ///< "TopRightColor", likewise
    BoolProperty m_shadow;             ///< "Shadow", false
    Vector3Property m_shadowOffset;    ///< "ShadowOffset", node units, (2, -2, 0)
    ColorProperty m_shadowColor;       ///< "ShadowColor", black, half transparent

    Ref<Font> m_pFont;               ///< see GetFont
    Ref<Sprite> m_pBackgroundSprite; ///< to be read only: SetBackground keeps account of it
    List<GlyphInstance> m_instances; ///< in font pixels
    List<GlyphBatch> m_batches;      ///< of one texture each; none is empty

private:
    enum TextMarks : unsigned short {
        LayoutMark = FirstDerivedMark,   ///< of everything that the layout depends on
        ColorMark = 2 * FirstDerivedMark ///< of "Color" and the corners' colours
    };

    void SetTextMarks();
    void TakeBackground(Sprite* pSprite);
    bool IsLayoutDue() const;
    bool IsLayoutBound() const;
    bool TakeColors();
    void Recolor();
    bool LayOut();
    void DropGlyphs();
    void GetLayoutInput(TextLayoutInput& input) const;
    bool ReplaceLayout(TextLayoutInput const& input);
    void SetRenderRectangle(RectangleT<RealFloat> const& rectangle);
    void RenderBatches(GraphicsDevice& device, bool fShadow);
    void RenderMeshes(GraphicsDevice& device, GlyphBatch const& batch, bool fShadow);
    Vector3T<RealFloat> GetPixelShadowOffset() const;

    PolygonalFont* m_pPolygonalFont = nullptr; ///< the font, if it is one
    TextLayout* m_pLayout = nullptr;           ///< owned; null before the first layout
    unsigned int m_nLayouts = 0;
    unsigned int m_nLines = 0;
    unsigned int m_nFontRevision = 0; ///< and whether it was underlined, when it was last looked at
    bool m_fFontUnderlined = false;
    bool m_fShortOfMemory = false;         ///< there was none for the last layout
    Vector2T<RealFloat> m_pixelSize{1, 1}; ///< of the layout's font pixels, node units
    RectangleT<RealFloat> m_renderRectangle;
    ColorT<RealFloat> m_cornerColors[4]; ///< that the instances have
};

} // namespace trevik::kelvo
