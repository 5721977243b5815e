#include "TextImageBackground.h"

#include "NinePatchSpriteGL2.h"
#include "TextGL2.h"
#include "TextureGL2.h"

namespace trevik::kelvo {

namespace {

typedef Vector3T<RealFloat> Vector;

Vector const Ones(1, 1, 1);

/** How far the sprite reaches beyond the text; 0 but for nine-patches. */
RectangleT<RealFloat> GetMargins(Sprite& sprite) {
    if (sprite.GetFactoryClassID() != HashName(u"NinePatchSprite")) {
        return RectangleT<RealFloat>();
    }
    return static_cast<NinePatchSpriteGL2&>(sprite).GetContentMargin();
}

/** Sets one component of a vector and fires the change event. */
void SetComponent(Vector3Property& property, RealFloat Vector::* pComponent, RealFloat value) {
    property.GetWritableValue().*pComponent = value;
    property.Notify(true);
}

/** 0 for a scale of 0, in which nothing can be seen. */
RealFloat DivideByScale(RealFloat value, RealFloat scale) {
    return scale == 0 ? RealFloat(0) : value / scale;
}

} // namespace

TextImageBackground::TextImageBackground(TextGL2* pText, Sprite* pSprite)
    : m_pSprite(pSprite), m_pText(pText) {
    ConnectPropertyEvent();
}

void TextImageBackground::ConnectPropertyEvent() {
    while (m_pText && m_nConnected < WatchedProperties && ConnectNext()) {
        ++m_nConnected;
    }
}

/** Connects to the first property that is not connected yet; false without memory. */
bool TextImageBackground::ConnectNext() {
    switch (m_nConnected) {
    case 0:
        return Connect(m_pText->GetBoxProperty(), &TextImageBackground::OnSizeChanged);
    case 1:
        return Connect(m_pText->GetScaleProperty(), &TextImageBackground::OnVectorChanged);
    case 2:
        return Connect(m_pText->GetStretchProperty(), &TextImageBackground::OnVectorChanged);
    case 3:
        return Connect(m_pText->GetPivotProperty(), &TextImageBackground::OnVectorChanged);
    default:
        return Connect(m_pText->GetRenderSizeProperty(), &TextImageBackground::OnSizeChanged);
    }
}

template <class T>
bool TextImageBackground::Connect(BaseProperty<T>& property,
                                  void (TextImageBackground::*pfnChanged)(T const&)) {
    return property.GetChangeEvent().Connect(member_function(this, pfnChanged));
}

void TextImageBackground::OnSizeChanged(SizeT<RealFloat> const&) {
    m_fDirty = true;
}

void TextImageBackground::OnVectorChanged(Vector const&) {
    m_fDirty = true;
}

void TextImageBackground::SetSprite(Sprite* pSprite) {
    if (pSprite != m_pSprite) {
        m_pSprite = pSprite;
        m_fDirty = true;
    }
}

bool TextImageBackground::UpdateSpriteProperty() {
    Texture* const pTexture = m_pText && m_pSprite ? m_pSprite->GetTexture() : nullptr;
    if (!pTexture) {
        return false;
    }
    RealFloat const width = static_cast<RealFloat>(pTexture->GetWidth());
    RealFloat const height = static_cast<RealFloat>(pTexture->GetHeight());
    if (!RebuildCorners(width, height)) {
        return false;
    }
    if (m_nConnected < WatchedProperties) {
        ConnectPropertyEvent();
        m_fDirty = true; // properties that are not connected change without notice
    }
    // Another text with the same sprite may have fitted it meanwhile; it stays so: intended
    // (background-of-two-texts).
    if (m_fDirty) {
        m_fDirty = false;
        FitSprite(width, height);
    }
    CopyProperties();
    SetSpriteSize(pTexture->GetWidth(), pTexture->GetHeight());
    return true;
}

bool TextImageBackground::RebuildCorners(RealFloat width, RealFloat height) {
    List<Vector>& vertices = static_cast<SpriteGL2*>(m_pSprite)->GetVertices();
    vertices.Clear();
    if (!vertices.Reserve(4)) {
        return false;
    }
    vertices.Append(Vector(0, 0, 0));
    vertices.Append(Vector(0, width, 0)); // the width upwards, too: intended (background-left-edge)
    vertices.Append(Vector(width, 0, 0));
    vertices.Append(Vector(width, height, 0));
    return true;
}

void TextImageBackground::FitSprite(RealFloat width, RealFloat height) {
    RectangleT<RealFloat> const margins = GetMargins(*m_pSprite);
    Vector const scale = m_pText->GetScaleProperty().GetValue();
    Vector const stretch = m_pText->GetStretchProperty().GetValue();
    RealFloat const scaleX = scale.x * stretch.x;
    RealFloat const scaleY = scale.y * stretch.y;
    RectangleT<RealFloat> fit;
    m_pText->GetTextRenderRect(fit);
    // Margins are not scaled: intended (background-margins).
    fit.left = fit.left * scaleX - margins.left;
    fit.right = fit.right * scaleX + margins.right;
    fit.top = fit.top * scaleY - margins.top;
    fit.bottom = fit.bottom * scaleY + margins.bottom;

    Vector3Property const fittedScale(
        Vector((fit.right - fit.left) / width, (fit.bottom - fit.top) / height, 1));
    m_pSprite->GetScaleProperty().Assign(fittedScale);

    Vector const& textPivot = m_pText->GetPivotProperty().GetValue();
    Vector3Property& pivot = m_pSprite->GetPivotProperty();
    Vector const spriteScale = m_pSprite->GetScaleProperty().GetValue();
    // The text's own pivot counts as it is, not scaled with the text: intended (background-pivot).
    SetComponent(pivot, &Vector::x, DivideByScale(textPivot.x + fit.left, spriteScale.x));
    SetComponent(pivot, &Vector::y, DivideByScale(textPivot.y + fit.top, spriteScale.y));
    SetComponent(pivot, &Vector::z, textPivot.z);
    m_pSprite->GetPositionProperty().Assign(m_pText->GetPositionProperty());
}

/**
 * The sprite is not the text's child: what a child would take over is copied, intended
 * (background-takes-over). The position is among it because it changes without a fit.
 */
void TextImageBackground::CopyProperties() {
    m_pSprite->GetPositionProperty().Assign(m_pText->GetPositionProperty());
    m_pSprite->GetRotationProperty().Assign(m_pText->GetRotationProperty());
    m_pSprite->GetOpacityProperty().Assign(m_pText->GetOpacityProperty());
    m_pSprite->GetVisibleProperty().Assign(m_pText->GetVisibleProperty());
    m_pSprite->GetDepthProperty().Assign(m_pText->GetDepthProperty());
    Vector3Property const unstretched(Ones);
    m_pSprite->GetStretchProperty().Assign(unstretched);
    m_pSprite->GetSelectableProperty().Assign(m_pText->GetSelectableProperty());
}

/** Fires the change event only for another size: a nine-patch rebuilds its grid then. */
void TextImageBackground::SetSpriteSize(int nWidth, int nHeight) {
    SizeT<int>& size = m_pSprite->GetSizeProperty().GetWritableValue();
    bool const fChanged = size != SizeT<int>(nWidth, nHeight);
    size.width = nWidth;
    size.height = nHeight;
    m_pSprite->GetSizeProperty().Notify(fChanged);
}

void TextImageBackground::InternalRenderSprite(GraphicsDevice& device) {
    if (m_pSprite && UpdateSpriteProperty()) {
        TransformNode::SharedParent const parent(*m_pSprite, *m_pText);
        m_pSprite->Update(device, RealFloat(0), RealFloat(0), true);
        m_pSprite->Render(device);
    }
}

} // namespace trevik::kelvo
