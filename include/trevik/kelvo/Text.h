#pragma once

#include "trevik/Export.h"
#include "trevik/Rectangle.h"
#include "trevik/kelvo/Font.h"
#include "trevik/kelvo/HostProperties.h"
#include "trevik/kelvo/Sprite.h"
#include "trevik/kelvo/TransformNode.h"

namespace trevik::kelvo {

/** A node that lays a string out in glyphs of a font, in batches of one texture each. */
class TREVIK_API Text : public TransformNode {
public:
    TREVIK_CLASS_ID(Text, TransformNode)

    Text();
    Text(Text const& other);
    ~Text() override;

    void Emit(MemoryTracer* pTracer) override;
    void RegisterProperties() override;
    /** Lets an effect draw the text (Effect::OverrideDrawText), or else draws the glyph batches. */
    void InternalRender(GraphicsDevice& device) override;
    void InternalSelect(GraphicsDevice& device) override;
    bool InternalSave(Serializer& serializer) override;
    bool InternalLoad(Deserializer& deserializer) override;

    /** Draws a batch of pre-rendered glyph images, faded per corner. Render thread. */
    virtual void RenderImageBatch(GraphicsDevice& device, List<GlyphInstance> const& instances,
                                  GlyphBatch const& batch, ColorT<RealFloat> const& color) = 0;

    /**
     * The laid-out text's bounds in node space: least x and y (left, top), greatest x and y (right, bottom).
     * All 0 while there are no glyphs.
     */
    void GetTextRenderRect(RectangleT<RealFloat>& rectangle);

    StringProperty& GetTextProperty() { return m_text; }
    SizeRealProperty& GetBoxProperty() { return m_box; }
    SizeRealProperty& GetFontSizeProperty() { return m_fontSize; }
    Font* GetFont() const { return m_pFont.Get(); }
    void SetFont(Font* pFont) { m_pFont = pFont; }
    Sprite* GetBackground() const { return m_pBackgroundSprite.Get(); }
    void SetBackground(Sprite* pSprite) { m_pBackgroundSprite = pSprite; }

protected:
    StringProperty m_text;       ///< "Text", empty
    SizeRealProperty m_box;      ///< "Box": width and height that lines are wrapped and aligned in, 0 = none
    SizeRealProperty m_fontSize; ///< "FontSize": node units per em in both directions, 0 = the font's own
    Ref<Font> m_pFont;
    Ref<Sprite> m_pBackgroundSprite;
    List<GlyphInstance> m_instances;
    List<GlyphBatch> m_batches;
};

} // namespace trevik::kelvo
