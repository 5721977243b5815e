#include "trevik/kelvo/Text.h"

#include "TextLayout.h"
#include "kelvo/storage/NodeStorage.h"
#include "trevik/Debug.h"
#include "trevik/kelvo/Deserializer.h"
#include "trevik/kelvo/Effect.h"
#include "trevik/kelvo/GraphicsDevice.h"
#include "trevik/kelvo/MemoryTracer.h"
#include "trevik/kelvo/PolygonalFont.h"
#include "trevik/kelvo/Serializer.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <new>

namespace trevik::kelvo {

namespace {

ColorT<RealFloat> const White(1, 1, 1, 1);

/** Beyond this a number has no whole pixels any more. */
constexpr RealFloat MostPixels = 16777216;

RealFloat GetFinite(RealFloat rValue, RealFloat rInitial) {
    return std::isfinite(rValue) ? std::clamp(rValue, -MostPixels, MostPixels) : rInitial;
}

/** A length in font pixels; 0 when it is not finite. */
RealFloat ToPixels(RealFloat rLength, RealFloat rPixelSize) {
    return std::isfinite(rLength) ? GetFinite(rLength / rPixelSize, 0) : RealFloat(0);
}

/** Size of a font pixel in node units, above 0. */
RealFloat GetPixelSize(RealFloat rFontSize, RealFloat rPixelsPerEm, RealFloat rOwnFactor) {
    bool const fSized = rFontSize > 0 && rPixelsPerEm > 0;
    RealFloat const rSize = fSized ? rFontSize / rPixelsPerEm : rOwnFactor;
    return rSize > 0 && std::isfinite(rSize) ? rSize : RealFloat(1);
}

ColorT<RealFloat> Multiply(ColorT<RealFloat> const& a, ColorT<RealFloat> const& b) {
    return ColorT<RealFloat>(a.r * b.r, a.g * b.g, a.b * b.b, a.a * b.a);
}

/** The font that the current document node refers to; true, with `pFont` unchanged, when it names none. */
bool LoadFont(Deserializer& deserializer, Ref<Font>& pFont) {
    unsigned char const* pData = nullptr;
    unsigned long nLength = 0;
    if (!deserializer.FindAttribute(NodeID::Font, pData, nLength)) {
        return true;
    }
    int nFont = -1;
    deserializer.ReadValue(NodeID::Font, nFont);
    pFont = deserializer.GetFont(nFont);
    return pFont || deserializer.Fail(u"the document has no font %d", nFont);
}

} // namespace

Text::Text()
    : m_wordWrap(true), m_lineSpacing(1), m_kerning(true), m_color(White), m_bottomLeftColor(White),
      m_topLeftColor(White), m_bottomRightColor(White), m_topRightColor(White),
      m_shadowOffset(Vector3T<RealFloat>(2, -2, 0)),
      m_shadowColor(ColorT<RealFloat>(0, 0, 0, RealFloat(0.5))) {
    SetTextMarks();
}

Text::Text(Text const& other)
    : TransformNode(other), m_text(other.m_text), m_box(other.m_box), m_fontSize(other.m_fontSize),
      m_renderSize(other.m_renderSize), m_horizontalAlignment(other.m_horizontalAlignment),
      m_verticalAlignment(other.m_verticalAlignment), m_wordWrap(other.m_wordWrap),
      m_lineSpacing(other.m_lineSpacing), m_letterSpacing(other.m_letterSpacing),
      m_tabWidth(other.m_tabWidth), m_kerning(other.m_kerning), m_color(other.m_color),
      m_bottomLeftColor(other.m_bottomLeftColor), m_topLeftColor(other.m_topLeftColor),
      m_bottomRightColor(other.m_bottomRightColor), m_topRightColor(other.m_topRightColor),
      m_shadow(other.m_shadow), m_shadowOffset(other.m_shadowOffset), m_shadowColor(other.m_shadowColor),
      m_pFont(other.m_pFont), m_pPolygonalFont(other.m_pPolygonalFont) {
    SetTextMarks();                  // all of them are set, so the copy lays itself out
    if (other.m_pBackgroundSprite) { // a copy of its own: it is fitted to the text
        Ref<Sprite> const pTaken(static_cast<Sprite*>(other.m_pBackgroundSprite->CloneTree()));
        bool const fShort = !pTaken || PrepareHold(*pTaken);
        TakeBackground(fShort ? nullptr : pTaken.Get());
        m_properties.NoteShortage(fShort);
    }
}

Text::~Text() {
    TakeBackground(nullptr);
    delete m_pLayout;
}

void Text::SetTextMarks() {
    m_text.SetMarks(m_nMarks, LayoutMark);
    m_box.SetMarks(m_nMarks, LayoutMark);
    m_fontSize.SetMarks(m_nMarks, LayoutMark);
    m_horizontalAlignment.SetMarks(m_nMarks, LayoutMark);
    m_verticalAlignment.SetMarks(m_nMarks, LayoutMark);
    m_wordWrap.SetMarks(m_nMarks, LayoutMark);
    m_lineSpacing.SetMarks(m_nMarks, LayoutMark);
    m_letterSpacing.SetMarks(m_nMarks, LayoutMark);
    m_tabWidth.SetMarks(m_nMarks, LayoutMark);
    m_kerning.SetMarks(m_nMarks, LayoutMark);
    m_color.SetMarks(m_nMarks, ColorMark);
    m_bottomLeftColor.SetMarks(m_nMarks, ColorMark);
    m_topLeftColor.SetMarks(m_nMarks, ColorMark);
    m_bottomRightColor.SetMarks(m_nMarks, ColorMark);
    m_topRightColor.SetMarks(m_nMarks, ColorMark);
}

void Text::Emit(MemoryTracer* pTracer) {
    TransformNode::Emit(pTracer);
    pTracer->EmitAllocation(m_text.GetValue().GetLength() * static_cast<unsigned int>(sizeof(char16_t)),
                            MemoryType::Text);
    pTracer->EmitAllocation(m_instances.GetCapacity() * static_cast<unsigned int>(sizeof(GlyphInstance)),
                            MemoryType::Geometry);
    pTracer->EmitAllocation(m_batches.GetCapacity() * static_cast<unsigned int>(sizeof(GlyphBatch)),
                            MemoryType::Geometry);
    if (m_pLayout) {
        pTracer->EmitAllocation(m_pLayout->GetByteSize(), MemoryType::Geometry);
    }
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
    if (pFont == m_pFont.Get()) {
        return;
    }
    // The glyphs belong to the former font, and may be deleted with it. No event fires before there are new
    // ones.
    m_instances.Clear();
    m_batches.Clear();
    if (m_pLayout) {
        m_pLayout->Forget();
    }
    m_pFont = Ref(pFont);
    bool const fPolygonal = pFont && pFont->GetFactoryClassID() == PolygonalFont::FactoryClassID;
    m_pPolygonalFont = fPolygonal ? static_cast<PolygonalFont*>(pFont) : nullptr;
    m_nMarks |= LayoutMark;
}

void Text::SetBackground(Sprite* pSprite) {
    char16_t const* const pFault = pSprite ? PrepareHold(*pSprite) : nullptr;
    if (pFault) {
        Debug::TraceFormat(TraceLevel::Error, u"[kelvo] %s: no text can stand before a sprite that %s",
                           GetPath().GetData(), pFault);
        return;
    }
    TakeBackground(pSprite);
    m_renderSize.Notify(true);
}

void Text::TakeBackground(Sprite* pSprite) {
    Ref<Sprite> const pFormer(m_pBackgroundSprite);
    m_pBackgroundSprite = Ref(pSprite);
    NoteHeld(pSprite);
}

bool Text::SetText(char16_t const* pText, unsigned int nLength) {
    // The layout holds the text that it was made from: the storage is free at the update after the next one.
    // It is taken out meanwhile, since handlers of the change may set a text, too.
    String16 sText;
    if (m_pLayout) {
        sText.Swap(m_pLayout->GetFreeText());
    }
    bool const fAssigned = sText.Assign(pText, nLength);
    if (fAssigned && m_text.GetBinding()) {
        m_text.SetValue(sText);
    } else if (fAssigned) {
        String16 sFormer = m_text.GetValue();
        m_text.SetValue(sText);
        sText.Swap(sFormer);
    }
    if (m_pLayout) {
        sText.Swap(m_pLayout->GetFreeText());
    }
    return fAssigned;
}

inline bool Text::IsLayoutDue() const {
    return (m_nMarks & LayoutMark) != 0 ||
           (m_pFont && (m_pFont->GetRevision() != m_nFontRevision ||
                        m_pFont->GetUnderlineProperty().GetValue() != m_fFontUnderlined));
}

/** Whether a value that the layout depends on may change without its mark. */
bool Text::IsLayoutBound() const {
    return m_text.GetBinding() || m_box.GetBinding() || m_fontSize.GetBinding() ||
           m_horizontalAlignment.GetBinding() || m_verticalAlignment.GetBinding() ||
           m_wordWrap.GetBinding() || m_lineSpacing.GetBinding() || m_letterSpacing.GetBinding() ||
           m_tabWidth.GetBinding() || m_kerning.GetBinding();
}

void Text::UpdateLayout() {
    bool const fRecolored = (m_nMarks & ColorMark) != 0 && TakeColors();
    bool const fReplaced = IsLayoutDue() && LayOut();
    if (fRecolored && !fReplaced) {
        Recolor();
    }
}

/** Whether the colours of the glyphs' corners have changed. */
bool Text::TakeColors() {
    ColorT<RealFloat> const& color = m_color.GetValue();
    ColorT<RealFloat> const colors[4] = {
        Multiply(color, m_bottomLeftColor.GetValue()), Multiply(color, m_topLeftColor.GetValue()),
        Multiply(color, m_bottomRightColor.GetValue()), Multiply(color, m_topRightColor.GetValue())};
    if (!m_color.GetBinding() && !m_bottomLeftColor.GetBinding() && !m_topLeftColor.GetBinding() &&
        !m_bottomRightColor.GetBinding() && !m_topRightColor.GetBinding()) {
        m_nMarks &= ~unsigned(ColorMark);
    }
    bool const fChanged = !std::equal(colors, colors + 4, m_cornerColors);
    std::copy(colors, colors + 4, m_cornerColors);
    return fChanged;
}

void Text::Recolor() {
    for (GlyphInstance& instance : m_instances) {
        std::copy(m_cornerColors, m_cornerColors + 4, instance.m_colors);
    }
}

/**
 * Makes the layout again when values that it depends on have changed; whether the glyphs have been replaced.
 */
bool Text::LayOut() {
    if (!IsLayoutBound()) {
        m_nMarks &= ~unsigned(LayoutMark);
    }
    if (!m_pFont) {
        DropGlyphs();
        return true;
    }
    bool const fFontChanged = m_pFont->GetRevision() != m_nFontRevision;
    m_nFontRevision = m_pFont->GetRevision();
    m_fFontUnderlined = m_pFont->GetUnderlineProperty().GetValue();
    TextLayoutInput input;
    GetLayoutInput(input);
    if (m_pLayout && m_pLayout->IsMadeFrom(input)) {
        return false;
    }
    if (ReplaceLayout(input)) {
        return true;
    }
    m_nMarks |= LayoutMark; // tried again
    if (fFontChanged) {
        DropGlyphs(); // the font may have deleted them
    }
    if (!m_fShortOfMemory) {
        m_fShortOfMemory = true;
        Debug::TraceFormat(TraceLevel::Error, u"[kelvo] %s: no memory to lay the text out",
                           GetPath().GetData());
    }
    return false;
}

void Text::DropGlyphs() {
    m_instances.Clear();
    m_batches.Clear();
    m_nLines = 0;
    SetRenderRectangle(RectangleT<RealFloat>());
}

void Text::GetLayoutInput(TextLayoutInput& input) const {
    Font& font = *m_pFont;
    SizeT<RealFloat> const& fontSize = m_fontSize.GetValue();
    RealFloat const rTabWidth = m_tabWidth.GetValue();
    input.m_sText = m_text.GetValue();
    input.m_pFont = &font;
    input.m_nFontRevision = m_nFontRevision;
    input.m_fMeshes = m_pPolygonalFont != nullptr;
    input.m_fUnderlined = m_fFontUnderlined;
    input.m_rScaleX = GetPixelSize(fontSize.width, font.GetXPixelsPerEm(), font.GetScaleFactorX());
    input.m_rScaleY = GetPixelSize(fontSize.height, font.GetYPixelsPerEm(), font.GetScaleFactorY());
    input.m_rWidth = std::max(ToPixels(m_box.GetValue().width, input.m_rScaleX), RealFloat(0));
    input.m_rHeight = std::max(ToPixels(m_box.GetValue().height, input.m_rScaleY), RealFloat(0));
    input.m_rLetterSpacing = ToPixels(m_letterSpacing.GetValue(), input.m_rScaleX);
    input.m_rTabWidth = rTabWidth > 0 && std::isfinite(rTabWidth) ? ToPixels(rTabWidth, input.m_rScaleX)
                                                                  : GetFinite(4 * font.GetXPixelsPerEm(), 0);
    input.m_rAscent = GetFinite(font.GetAscent(), 0);
    input.m_rDescent = GetFinite(font.GetDescent(), 0);
    input.m_rLineDistance = (input.m_rAscent + input.m_rDescent + GetFinite(font.GetLeading(), 0)) *
                            GetFinite(m_lineSpacing.GetValue(), 1);
    input.m_nHorizontalAlignment = m_horizontalAlignment.GetValue();
    input.m_nVerticalAlignment = m_verticalAlignment.GetValue();
    input.m_fWordWrap = m_wordWrap.GetValue();
    input.m_fKerning = m_kerning.GetValue();
}

bool Text::ReplaceLayout(TextLayoutInput const& input) {
    if (!m_pLayout) {
        m_pLayout = new (std::nothrow) TextLayout;
    }
    bool const fMade = m_pLayout && m_pLayout->Make(input, m_cornerColors, m_instances, m_batches);
    if (m_pLayout) {
        m_nFontRevision = m_pLayout->GetFontRevision(); // it may have got glyphs for this text
    }
    if (!fMade) {
        return false;
    }
    m_fShortOfMemory = false;
    ++m_nLayouts;
    m_nLines = m_pLayout->GetLineCount();
    m_pixelSize = Vector2T<RealFloat>(input.m_rScaleX, input.m_rScaleY);
    RectangleT<RealFloat> const& bounds = m_pLayout->GetBounds();
    SetRenderRectangle(RectangleT<RealFloat>(bounds.left * m_pixelSize.x, bounds.top * m_pixelSize.y,
                                             bounds.right * m_pixelSize.x, bounds.bottom * m_pixelSize.y));
    return true;
}

void Text::SetRenderRectangle(RectangleT<RealFloat> const& rectangle) {
    if (rectangle != m_renderRectangle) {
        m_renderRectangle = rectangle;
        m_renderSize.SetValue(SizeT<RealFloat>(rectangle.GetWidth(), rectangle.GetHeight()));
    }
}

void Text::GetTextRenderRect(RectangleT<RealFloat>& rectangle) {
    UpdateLayout();
    rectangle = m_renderRectangle;
}

void Text::InternalUpdate(GraphicsDevice& device, RealFloat const& frame, RealFloat const& delta,
                          bool fForce) {
    TransformNode::InternalUpdate(device, frame, delta, fForce);
    UpdateLayout();
}

void Text::InternalRender(GraphicsDevice& device) {
    if (!m_pFont) {
        return;
    }
    UpdateLayout();
    bool const fDrawn = CallEach(
        m_effects, [this, &device](Effect& effect) { return effect.OverrideDrawText(device, *this); });
    if (fDrawn || m_batches.IsEmpty()) {
        return;
    }
    bool const fScaled = m_pixelSize != Vector2T<RealFloat>(1, 1);
    if (fScaled) {
        device.MergeTransformMatrix(
            Matrix4Scale(Vector3T<RealFloat>(m_pixelSize.x, m_pixelSize.y, RealFloat(1))));
    }
    if (m_shadow.GetValue()) {
        RenderBatches(device, true);
    }
    RenderBatches(device, false);
    if (fScaled) {
        device.PopTransformMatrix();
    }
}

void Text::RenderBatches(GraphicsDevice& device, bool fShadow) {
    ColorT<RealFloat> const color(1, 1, 1, GetOpacity());
    for (unsigned int nBatch = 0; nBatch < m_batches.GetCount(); ++nBatch) {
        GlyphBatch const& batch = m_batches[nBatch];
        if (m_instances[batch.m_nFirst].m_pGlyph->m_fImage) {
            if (!fShadow) {
                RenderImageBatch(device, m_instances, batch, color);
            }
        } else if (m_pPolygonalFont) {
            RenderMeshes(device, batch, fShadow);
        } else {
            m_pFont->RenderGlyphBatch(device, m_instances, batch, m_position.GetValue(), color, fShadow,
                                      GetPixelShadowOffset(), m_shadowColor.GetValue());
        }
    }
}

Vector3T<RealFloat> Text::GetPixelShadowOffset() const {
    Vector3T<RealFloat> const& offset = m_shadowOffset.GetValue();
    return Vector3T<RealFloat>(offset.x / m_pixelSize.x, offset.y / m_pixelSize.y, offset.z);
}

void Text::RenderMeshes(GraphicsDevice& device, GlyphBatch const& batch, bool fShadow) {
    ColorT<RealFloat> const& shadowColor = m_shadowColor.GetValue();
    // The glyphs are drawn by a program that knows no projection.
    Matrix4T<RealFloat> const toClipSpace = device.GetTransformMatrix() * device.GetProjectionMatrix();
    Vector3T<RealFloat> const offset = fShadow ? GetPixelShadowOffset() : Vector3T<RealFloat>();
    for (unsigned int nInstance = 0; nInstance < batch.m_nCount; ++nInstance) {
        GlyphInstance const& instance = m_instances[batch.m_nFirst + nInstance];
        Glyph const& glyph = *instance.m_pGlyph;
        Vector3T<RealFloat> const pen =
            Vector3T<RealFloat>(instance.m_rX - static_cast<RealFloat>(glyph.m_nOffsetX),
                                instance.m_rY + static_cast<RealFloat>(glyph.m_nOffsetY), 0) +
            offset;
        ColorT<RealFloat> color = instance.m_colors[0];
        color.a *= GetOpacity();
        if (fShadow) {
            color = ColorT<RealFloat>(shadowColor.r, shadowColor.g, shadowColor.b, shadowColor.a * color.a);
        }
        if (device.IsHighlightEnabled()) {
            color = device.GetHighlightColor(color.a);
        }
        device.PushTransformMatrix(Matrix4Translation(pen) * toClipSpace);
        m_pPolygonalFont->RenderGlyph(device, &glyph, Vector2T<RealFloat>(pen.x, pen.y), &color);
        device.PopTransformMatrix();
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
    if (!TransformNode::InternalSave(serializer) ||
        (m_pBackgroundSprite && !SaveNode(serializer, NodeID::Background, *m_pBackgroundSprite))) {
        return false;
    }
    if (!m_pFont) {
        return true;
    }
    int const nFont = serializer.GetFontIndex(m_pFont.Get());
    return nFont >= 0 && serializer.WriteValue(NodeID::Font, nFont);
}

bool Text::InternalLoad(Deserializer& deserializer) {
    Ref<Node> pNode;
    Ref<Font> pFont;
    if (!TransformNode::InternalLoad(deserializer) || !LoadFont(deserializer, pFont) ||
        !LoadOptionalNode(deserializer, NodeID::Background, pNode)) {
        return false;
    }
    if (pNode && !pNode->IsKindOf(Sprite::ClassID)) {
        return deserializer.Fail(u"its background is no sprite");
    }
    if (char16_t const* const pFault = pNode ? PrepareHold(*pNode) : nullptr) {
        return deserializer.Fail(u"its background %s", pFault);
    }
    if (pNode) {
        TakeBackground(static_cast<Sprite*>(pNode.Get()));
    }
    if (pFont) {
        SetFont(pFont.Get());
    }
    return true;
}

} // namespace trevik::kelvo
