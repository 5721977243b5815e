#include "TextGL2.h"

#include "GlState.h"
#include "GlyphQuads.h"
#include "ShaderCatalogue.h"
#include "TextImageBackground.h"
#include "trevik/ScopeCounter.h"

#include <GLES2/gl2.h>

#include <new>

namespace trevik::kelvo {

namespace {

/** The size of a texture's image, in texture coordinates; 0 without a texture. */
Vector2T<RealFloat> UsedPart(Texture const* pTexture) {
    if (!pTexture) {
        return Vector2T<RealFloat>();
    }
    return Vector2T<RealFloat>(static_cast<RealFloat>(pTexture->GetWidth()) /
                                   static_cast<RealFloat>(pTexture->GetAllocatedWidth()),
                               static_cast<RealFloat>(pTexture->GetHeight()) /
                                   static_cast<RealFloat>(pTexture->GetAllocatedHeight()));
}

} // namespace

List<Vector3T<RealFloat>> TextGL2::s_vVertices;
List<Vector2T<RealFloat>> TextGL2::s_vTextureCoords;
List<float> TextGL2::s_vFadeValues;

TextGL2::TextGL2() = default;

TextGL2::TextGL2(TextGL2 const& other) : Text(other) {}

TextGL2::~TextGL2() = default;

void TextGL2::RenderBackground(GraphicsDevice& device) {
    // The reference keeps the sprite while it is drawn: its effects may take it from the text.
    Ref<Sprite> const pSprite(GetBackground());
    if (pSprite) {
        RectangleT<RealFloat> rectangle;
        GetTextRenderRect(rectangle); // lays the text out, so that the fit knows its size
    }
    if (m_pBackground) {
        // The sprite of the last draw may have been deleted.
        m_pBackground->SetSprite(pSprite.Get());
    } else if (pSprite) {
        m_pBackground = Ref<TextImageBackground>(new (std::nothrow) TextImageBackground(this, pSprite.Get()));
    }
    if (m_pBackground) {
        m_pBackground->InternalRenderSprite(device);
    }
}

void TextGL2::InternalRender(GraphicsDevice& device) {
    ScopeCounter const counter(ScopeCounter::TextRender, true);
    RenderBackground(device);
    device.SetCameraDepth(m_depth.GetValue());
    Matrix4T<RealFloat> modelView;
    Matrix4Multiply(m_worldMatrix, static_cast<GraphicsDeviceGL2&>(device).ViewMatrix(), modelView);
    device.PushTransformMatrix(modelView);
    Text::InternalRender(device);
    device.PopTransformMatrix();
}

void TextGL2::FillImages(GlyphInstance const* pInstance, unsigned int nCount) {
    Vector3T<RealFloat>* pPositions = s_vVertices.GetData();
    Vector2T<RealFloat>* pTextureCoords = s_vTextureCoords.GetData();
    float* pFades = s_vFadeValues.GetData();
    Texture const* pTexture = nullptr;
    Vector2T<RealFloat> used;
    for (GlyphInstance const* const pEnd = pInstance + nCount; pInstance != pEnd; ++pInstance) {
        Glyph const& glyph = *pInstance->m_pGlyph;
        if (glyph.m_pTexture.Get() != pTexture) { // once for a batch, whose glyphs share a texture
            pTexture = glyph.m_pTexture.Get();
            used = UsedPart(pTexture);
        }
        GlyphQuads::WritePositions(pPositions, GlyphQuads::GlyphBox(*pInstance, glyph));
        // The image's first row is the upper one, where v is 0.
        GlyphQuads::WriteQuad<Vector2T<RealFloat>>(pTextureCoords, {0, used.y}, {0, 0}, used, {used.x, 0});
        ColorT<RealFloat> const* const pColors = pInstance->m_colors;
        GlyphQuads::WriteQuad<float>(pFades, pColors[0].a, pColors[1].a, pColors[2].a, pColors[3].a);
        pPositions += GlyphQuads::VerticesPerGlyph;
        pTextureCoords += GlyphQuads::VerticesPerGlyph;
        pFades += GlyphQuads::VerticesPerGlyph;
    }
}

void TextGL2::RenderImageBatch(GraphicsDevice& device, List<GlyphInstance> const& instances,
                               GlyphBatch const& batch, ColorT<RealFloat> const& color) {
    ScopeCounter const counter(ScopeCounter::GlyphBatch, true);
    GlyphInstance const* const pFirst = GlyphQuads::FindInstances(instances, batch);
    unsigned int const nVertices = batch.m_nCount * GlyphQuads::VerticesPerGlyph;
    if (!pFirst || !GlyphQuads::Grow(s_vVertices, nVertices) ||
        !GlyphQuads::Grow(s_vTextureCoords, nVertices) || !GlyphQuads::Grow(s_vFadeValues, nVertices)) {
        return;
    }
    FillImages(pFirst, batch.m_nCount);
    GraphicsDeviceGL2& deviceGL2 = static_cast<GraphicsDeviceGL2&>(device);
    ShaderProgramGL2* const pProgram = deviceGL2.GetShader(ShaderId::TextImage);
    deviceGL2.SetActiveShader(pProgram);
    if (!pProgram) {
        return; // the device is not up
    }
    GlState::SetVertexArray(VertexAttributeIndex::Position, s_vVertices.GetData());
    GlState::SetVertexArray(VertexAttributeIndex::Texture, s_vTextureCoords.GetData());
    GlState::SetVertexArray(VertexAttributeIndex::Fade, s_vFadeValues.GetData());
    GlyphQuads::SetTextureSampler(*pProgram, pFirst->m_pGlyph->m_pTexture.Get());
    GlyphQuads::SetTransformParameter(deviceGL2, *pProgram);
    // The program takes nothing but the alpha of it, so a highlight leaves an image its colours: intended
    // (glyph-image-highlight).
    ColorT<RealFloat> const drawn =
        device.IsHighlightEnabled() ? device.GetHighlightColor(color.a) : ColorT<RealFloat>(1, 1, 1, color.a);
    pProgram->SetParameter(ShaderType::Fragment, UniformNames::vColor,
                           Vector4T<RealFloat>(drawn.r, drawn.g, drawn.b, drawn.a));
    GlState::SetPlainBlend();
    glDrawArrays(GL_TRIANGLES, 0, static_cast<GLsizei>(nVertices));
}

} // namespace trevik::kelvo
