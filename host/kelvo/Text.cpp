#include "trevik/kelvo/Text.h"

#include "NodeStorage.h"
#include "trevik/kelvo/Deserializer.h"
#include "trevik/kelvo/Effect.h"
#include "trevik/kelvo/GraphicsDevice.h"
#include "trevik/kelvo/MemoryTracer.h"
#include "trevik/kelvo/Serializer.h"

namespace trevik::kelvo {

namespace {

ColorT<RealFloat> const White(1, 1, 1, 1);

} // namespace

Text::Text()
    : m_wordWrap(true), m_lineSpacing(1), m_kerning(true), m_color(White), m_bottomLeftColor(White),
      m_topLeftColor(White), m_bottomRightColor(White), m_topRightColor(White),
      m_shadowOffset(Vector3T<RealFloat>(2, -2, 0)),
      m_shadowColor(ColorT<RealFloat>(0, 0, 0, RealFloat(0.5))) {}

Text::Text(Text const& other)
    : TransformNode(other), m_text(other.m_text), m_box(other.m_box), m_fontSize(other.m_fontSize),
      m_renderSize(other.m_renderSize), m_horizontalAlignment(other.m_horizontalAlignment),
      m_verticalAlignment(other.m_verticalAlignment), m_wordWrap(other.m_wordWrap),
      m_lineSpacing(other.m_lineSpacing), m_letterSpacing(other.m_letterSpacing),
      m_tabWidth(other.m_tabWidth), m_kerning(other.m_kerning), m_color(other.m_color),
      m_bottomLeftColor(other.m_bottomLeftColor), m_topLeftColor(other.m_topLeftColor),
      m_bottomRightColor(other.m_bottomRightColor), m_topRightColor(other.m_topRightColor),
      m_shadow(other.m_shadow), m_shadowOffset(other.m_shadowOffset), m_shadowColor(other.m_shadowColor),
      m_pFont(other.m_pFont), m_instances(other.m_instances), m_batches(other.m_batches) {
    if (other.m_pBackgroundSprite) { // a copy of its own: it is fitted to the text
        m_pBackgroundSprite = static_cast<Sprite*>(other.m_pBackgroundSprite->CloneTree());
    }
}

Text::~Text() = default;

void Text::Emit(MemoryTracer* pTracer) {
    TransformNode::Emit(pTracer);
    pTracer->EmitAllocation(m_text.GetValue().GetLength() * static_cast<unsigned int>(sizeof(char16_t)),
                            MemoryType::Text);
    pTracer->EmitAllocation(m_instances.GetCount() * static_cast<unsigned int>(sizeof(GlyphInstance)),
                            MemoryType::Geometry);
    pTracer->EmitObject(m_pFont.Get());
    pTracer->EmitObject(m_pBackgroundSprite.Get());
}

void Text::RegisterProperties() {
    TransformNode::RegisterProperties();
    m_properties.Register(u"Text", &m_text);
    m_properties.Register(u"Box", &m_box);
    m_properties.Register(u"FontSize", &m_fontSize);
    m_properties.Register(u"HorizontalAlignment", &m_horizontalAlignment);
    m_properties.Register(u"VerticalAlignment", &m_verticalAlignment);
    m_properties.Register(u"WordWrap", &m_wordWrap);
    m_properties.Register(u"LineSpacing", &m_lineSpacing);
    m_properties.Register(u"LetterSpacing", &m_letterSpacing);
    m_properties.Register(u"TabWidth", &m_tabWidth);
    m_properties.Register(u"Kerning", &m_kerning);
    m_properties.Register(u"Color", &m_color);
    m_properties.Register(u"BottomLeftColor", &m_bottomLeftColor);
    m_properties.Register(u"TopLeftColor", &m_topLeftColor);
    m_properties.Register(u"BottomRightColor", &m_bottomRightColor);
    m_properties.Register(u"TopRightColor", &m_topRightColor);
    m_properties.Register(u"Shadow", &m_shadow);
    m_properties.Register(u"ShadowOffset", &m_shadowOffset);
    m_properties.Register(u"ShadowColor", &m_shadowColor);
}

void Text::SetFont(Font* pFont) {
    m_pFont = pFont;
}

void Text::UpdateLayout() {}

void Text::InternalUpdate(GraphicsDevice& device, RealFloat const& frame, RealFloat const& delta,
                          bool fForce) {
    TransformNode::InternalUpdate(device, frame, delta, fForce);
    UpdateLayout();
}

void Text::InternalRender(GraphicsDevice& device) {
    if (!m_pFont) {
        return;
    }
    for (unsigned int nEffect = 0; nEffect < m_effects.GetCount(); ++nEffect) {
        if (m_effects[nEffect]->OverrideDrawText(device, *this)) {
            return;
        }
    }
    ColorT<RealFloat> const color(1, 1, 1, GetOpacity());
    for (unsigned int nBatch = 0; nBatch < m_batches.GetCount(); ++nBatch) {
        m_pFont->RenderGlyphBatch(device, m_instances, m_batches[nBatch], m_position.GetValue(), color, false,
                                  Vector3T<RealFloat>(), ColorT<RealFloat>::None);
    }
}

void Text::InternalSelect(GraphicsDevice& device) {
    RectangleT<RealFloat> rectangle;
    GetTextRenderRect(rectangle);
    Vector2T<RealFloat> position;
    RealFloat distance = 0;
    if (IsRectangleSelected(device, rectangle, position, distance)) {
        device.PushSelected(this, position, distance);
    }
}

bool Text::InternalSave(Serializer& serializer) {
    return TransformNode::InternalSave(serializer) &&
           (!m_pBackgroundSprite || SaveNode(serializer, NodeID::Background, *m_pBackgroundSprite));
}

bool Text::InternalLoad(Deserializer& deserializer) {
    Ref<Node> pNode;
    if (!TransformNode::InternalLoad(deserializer) ||
        !LoadOptionalNode(deserializer, NodeID::Background, pNode)) {
        return false;
    }
    if (pNode && !pNode->IsKindOf(Sprite::ClassID)) {
        return deserializer.Fail(u"its background is no sprite");
    }
    if (pNode) {
        SetBackground(static_cast<Sprite*>(pNode.Get()));
    }
    return true;
}

void Text::GetTextRenderRect(RectangleT<RealFloat>& rectangle) {
    rectangle = RectangleT<RealFloat>();
    for (unsigned int nInstance = 0; nInstance < m_instances.GetCount(); ++nInstance) {
        GlyphInstance const& instance = m_instances[nInstance];
        RealFloat const right = instance.m_rX + static_cast<RealFloat>(instance.m_pGlyph->m_nWidth);
        RealFloat const bottom = instance.m_rY + static_cast<RealFloat>(instance.m_pGlyph->m_nHeight);
        bool const fFirst = nInstance == 0;
        rectangle.left = fFirst || instance.m_rX < rectangle.left ? instance.m_rX : rectangle.left;
        rectangle.top = fFirst || instance.m_rY < rectangle.top ? instance.m_rY : rectangle.top;
        rectangle.right = fFirst || right > rectangle.right ? right : rectangle.right;
        rectangle.bottom = fFirst || bottom > rectangle.bottom ? bottom : rectangle.bottom;
    }
}

} // namespace trevik::kelvo
