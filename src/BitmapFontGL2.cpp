#include "BitmapFontGL2.h"

#include "GlState.h"
#include "GlyphQuads.h"
#include "ShaderCatalogue.h"
#include "trevik/ScopeCounter.h"

#include <GLES2/gl2.h>

namespace trevik::kelvo {

namespace {

using Color = ColorT<RealFloat>;
using Vector = Vector3T<RealFloat>;

// The colours that corners are drawn in. Each has a loop over glyphs of its own, in which nothing is decided.

struct OwnColor {
    Color operator()(Color const& corner) const { return corner; }
};

/** The highlight colour with a corner's alpha, kept for the next corner: most have the same alpha. */
class HighlightColor {
public:
    explicit HighlightColor(GraphicsDevice const& device)
        : m_device(device), m_rOpacity(1), m_color(device.GetHighlightColor(1)) {}

    Color operator()(Color const& corner) { return OfOpacity(corner.a); }
    Color OfOpacity(RealFloat rOpacity) {
        if (__builtin_expect(rOpacity != m_rOpacity, false)) {
            m_rOpacity = rOpacity;
            m_color = m_device.GetHighlightColor(rOpacity);
        }
        return m_color;
    }

private:
    GraphicsDevice const& m_device;
    RealFloat m_rOpacity;
    Color m_color;
};

struct ShadowColor {
    Color operator()(Color const& corner) const {
        return Color(m_color.r, m_color.g, m_color.b, m_color.a * corner.a);
    }
    Color m_color;
};

/** The shadow of a highlighted corner: the colour's own alpha counts twice, intended (shadow-alpha-twice). */
class HighlightedShadowColor {
public:
    HighlightedShadowColor(GraphicsDevice const& device, RealFloat rShadowAlpha)
        : m_glyph(device), m_shadow(device), m_rShadowAlpha(rShadowAlpha) {}

    Color operator()(Color const& corner) {
        return m_shadow.OfOpacity(m_rShadowAlpha * m_glyph.OfOpacity(corner.a).a);
    }

private:
    HighlightColor m_glyph;
    HighlightColor m_shadow;
    RealFloat m_rShadowAlpha;
};

// How corners are moved. Only shadows have an offset: the loops of other batches add none.

struct NotMoved {
    void operator()(Vector*) const {}
};

struct Moved {
    void operator()(Vector* pPositions) const {
        for (unsigned int i = 0; i < GlyphQuads::VerticesPerGlyph; ++i) {
            pPositions[i] += m_offset;
        }
    }
    Vector m_offset;
};

/** How a batch is drawn: as itself or as its shadow. */
struct Look {
    GraphicsDevice const& m_device;
    bool m_fShadow;
    Vector const& m_shadowOffset;
    Color const& m_shadowColor;
};

/** Calls `fill(tint, move)` with the functions that change colours and positions for this look. */
template <class Fill>
inline void FillAs(Look const& look, Fill fill) {
    bool const fHighlight = look.m_device.IsHighlightEnabled();
    if (look.m_fShadow && fHighlight) {
        fill(HighlightedShadowColor(look.m_device, look.m_shadowColor.a), Moved{look.m_shadowOffset});
    } else if (look.m_fShadow) {
        fill(ShadowColor{look.m_shadowColor}, Moved{look.m_shadowOffset});
    } else if (fHighlight) {
        fill(HighlightColor(look.m_device), NotMoved());
    } else {
        fill(OwnColor(), NotMoved());
    }
}

template <class Tint>
inline void WriteColors(Color* pOut, Color const* pCorners, Tint& tint) {
    GlyphQuads::WriteQuad(pOut, tint(pCorners[0]), tint(pCorners[1]), tint(pCorners[2]), tint(pCorners[3]));
}

inline void WriteTextureCoords(Vector2T<RealFloat>* pOut, Glyph const& glyph) {
    RealFloat const* const t = glyph.m_textureRectangle;
    GlyphQuads::WriteQuad<Vector2T<RealFloat>>(pOut, {t[1], t[2]}, {t[1], t[0]}, {t[3], t[2]}, {t[3], t[0]});
}

/** An underline's properties in font pixels. */
struct Underline {
    /** The line below one glyph: from its pen position on, as long as its advance. */
    GlyphQuads::Box BoxOf(GlyphInstance const& instance, Glyph const& glyph) const {
        RealFloat const x = instance.m_rX - static_cast<RealFloat>(glyph.m_nOffsetX);
        RealFloat const y = instance.m_rY + static_cast<RealFloat>(glyph.m_nOffsetY) - m_rDepth;
        return {x, y, x + static_cast<RealFloat>(glyph.m_nAdvance), y + m_rThickness};
    }

    RealFloat m_rDepth; ///< from the baseline down to the lower edge
    RealFloat m_rThickness;
};

} // namespace

// Of all fonts, as large as the largest batch: intended (glyph-streams-kept).
List<Vector3T<RealFloat>> BitmapFontGL2::s_vVertices;
List<Vector2T<RealFloat>> BitmapFontGL2::s_vTextureCoords;
List<ColorT<RealFloat>> BitmapFontGL2::s_vColorValues;

BitmapFontGL2::BitmapFontGL2() = default;

BitmapFontGL2::~BitmapFontGL2() = default;

bool BitmapFontGL2::Initialize() {
    return Font::Initialize();
}

template <class Tint, class Move>
inline void BitmapFontGL2::FillGlyphs(GlyphInstance const* pInstance, unsigned int nCount, Tint tint,
                                      Move move) {
    Vector* pPositions = s_vVertices.GetData();
    Vector2T<RealFloat>* pTextureCoords = s_vTextureCoords.GetData();
    Color* pColors = s_vColorValues.GetData();
    for (GlyphInstance const* const pEnd = pInstance + nCount; pInstance != pEnd; ++pInstance) {
        Glyph const& glyph = *pInstance->m_pGlyph;
        GlyphQuads::WritePositions(pPositions, GlyphQuads::GlyphBox(*pInstance, glyph));
        move(pPositions);
        WriteTextureCoords(pTextureCoords, glyph);
        WriteColors(pColors, pInstance->m_colors, tint);
        pPositions += GlyphQuads::VerticesPerGlyph;
        pTextureCoords += GlyphQuads::VerticesPerGlyph;
        pColors += GlyphQuads::VerticesPerGlyph;
    }
}

template <class Tint, class Move>
inline void BitmapFontGL2::FillUnderlines(GlyphInstance const* pInstance, unsigned int nCount, Tint tint,
                                          Move move) const {
    RealFloat const rScale = static_cast<RealFloat>(m_underlineScale.GetValue());
    RealFloat const rThickness = m_underlineThickness.GetValue();
    Underline const underline{(m_underlinePosition.GetValue() + rThickness) * rScale, rThickness * rScale};
    Vector* pPositions = s_vVertices.GetData();
    Color* pColors = s_vColorValues.GetData();
    for (GlyphInstance const* const pEnd = pInstance + nCount; pInstance != pEnd; ++pInstance) {
        GlyphQuads::WritePositions(pPositions, underline.BoxOf(*pInstance, *pInstance->m_pGlyph));
        move(pPositions);
        WriteColors(pColors, pInstance->m_colors, tint);
        pPositions += GlyphQuads::VerticesPerGlyph;
        pColors += GlyphQuads::VerticesPerGlyph;
    }
}

void BitmapFontGL2::RenderGlyphBatch(GraphicsDevice& device, List<GlyphInstance> const& instances,
                                     GlyphBatch const& batch, Vector3T<RealFloat> const&,
                                     ColorT<RealFloat> const& color, bool fShadow,
                                     Vector3T<RealFloat> const& shadowOffset,
                                     ColorT<RealFloat> const& shadowColor) const {
    ScopeCounter const counter(ScopeCounter::GlyphBatch, true);
    GlyphInstance const* const pFirst = GlyphQuads::FindInstances(instances, batch);
    unsigned int const nVertices = batch.m_nCount * GlyphQuads::VerticesPerGlyph;
    if (!pFirst || !GlyphQuads::Grow(s_vVertices, nVertices) ||
        !GlyphQuads::Grow(s_vTextureCoords, nVertices) ||
        !GlyphQuads::Grow(s_vColorValues, nVertices, Color::Black)) {
        return;
    }
    GraphicsDeviceGL2& deviceGL2 = static_cast<GraphicsDeviceGL2&>(device);
    Look const look{device, fShadow, shadowOffset, shadowColor};
    FillAs(look, [&](auto tint, auto move) { FillGlyphs(pFirst, batch.m_nCount, tint, move); });
    // Of the colour the alpha alone, and no position: intended (glyph-batch-position).
    DrawGlyphs(deviceGL2, pFirst->m_pGlyph->m_pTexture.Get(), color.a, nVertices);
    if (m_underline.GetValue()) {
        // The texture coordinates stay as they are: the program of underlines has none.
        FillAs(look, [&](auto tint, auto move) { FillUnderlines(pFirst, batch.m_nCount, tint, move); });
        DrawUnderlines(deviceGL2, color.a, nVertices);
    }
}

void BitmapFontGL2::DrawGlyphs(GraphicsDeviceGL2& device, Texture* pTexture, RealFloat rFade,
                               unsigned int nVertices) {
    ShaderProgramGL2* const pProgram = device.GetShader(ShaderId::Text);
    device.SetActiveShader(pProgram);
    if (!pProgram) {
        return; // the device is not up
    }
    GlState::SetVertexArray(VertexAttributeIndex::Position, s_vVertices.GetData());
    GlState::SetVertexArray(VertexAttributeIndex::Texture, s_vTextureCoords.GetData());
    GlState::SetVertexArray(VertexAttributeIndex::Color, s_vColorValues.GetData());
    GlyphQuads::SetTextureSampler(*pProgram, pTexture);
    GlyphQuads::SetTransformParameter(device, *pProgram);
    pProgram->SetParameter(ShaderType::Fragment, UniformNames::fFade, rFade);
    GlState::SetPlainBlend();
    glDrawArrays(GL_TRIANGLES, 0, static_cast<GLsizei>(nVertices));
}

void BitmapFontGL2::DrawUnderlines(GraphicsDeviceGL2& device, RealFloat rFade, unsigned int nVertices) {
    // Its mViewToViewport is never set here: the identity that the device gave it stays, intended
    // (underline-second-matrix).
    ShaderProgramGL2* const pProgram = device.GetShader(ShaderId::TextUnderline);
    device.SetActiveShader(pProgram);
    if (!pProgram) {
        return; // the device is not up
    }
    GlState::SetVertexArray(VertexAttributeIndex::Position, s_vVertices.GetData());
    GlState::SetVertexArray(VertexAttributeIndex::Color, s_vColorValues.GetData());
    GlyphQuads::SetTransformParameter(device, *pProgram);
    pProgram->SetParameter(ShaderType::Fragment, UniformNames::fFade, rFade);
    glDrawArrays(GL_TRIANGLES, 0, static_cast<GLsizei>(nVertices));
}

} // namespace trevik::kelvo
