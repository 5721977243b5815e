#include "SpriteGL2.h"

#include "GlState.h"
#include "ShaderCatalogue.h"
#include "SpriteParameters.h"
#include "TexturedProgram.h"
#include "trevik/ScopeCounter.h"
#include "trevik/kelvo/Effect.h"

#include <GLES2/gl2.h>

#include <cstring>
#include <new>

namespace trevik::kelvo {

namespace {

/**
 * Keeps the first texel's neighbours out of a sprite whose texture has not been set yet; intended
 * (zero-edges-inset), on zero edges only.
 */
constexpr RealFloat TextureInset = 0.0001f;

} // namespace

SpriteGL2::SpriteGL2() = default;

SpriteGL2::SpriteGL2(SpriteGL2 const& other)
    : Sprite(other), m_vertices(other.m_vertices), m_textureCoords(other.m_textureCoords) {
    m_properties.NoteShortage(m_vertices.GetCount() != other.m_vertices.GetCount() ||
                              m_textureCoords.GetCount() != other.m_textureCoords.GetCount());
}

SpriteGL2::~SpriteGL2() = default;

bool SpriteGL2::Load(Deserializer& deserializer) {
    if (!Sprite::Load(deserializer)) {
        return false;
    }
    SizeT<int> const size = m_size.GetValue();
    RealFloat const rWidth = static_cast<RealFloat>(size.width);
    RealFloat const rHeight = static_cast<RealFloat>(size.height);
    List<Vector3T<RealFloat>> vertices;
    List<Vector2T<RealFloat>> textureCoords;
    if (!vertices.Reserve(4) || !textureCoords.Reserve(4)) {
        return false;
    }
    // Made here alone, whatever becomes of the size: intended (sprite-corners-by-load).
    vertices.Append(Vector3T<RealFloat>(0, 0, 0));
    vertices.Append(Vector3T<RealFloat>(0, rHeight, 0));
    vertices.Append(Vector3T<RealFloat>(rWidth, 0, 0));
    vertices.Append(Vector3T<RealFloat>(rWidth, rHeight, 0));
    textureCoords.Append(Vector2T<RealFloat>(TextureInset, 1));
    textureCoords.Append(Vector2T<RealFloat>(TextureInset, TextureInset));
    textureCoords.Append(Vector2T<RealFloat>(1, 1));
    textureCoords.Append(Vector2T<RealFloat>(1, TextureInset));
    m_vertices.Swap(vertices);
    m_textureCoords.Swap(textureCoords);
    return true;
}

void SpriteGL2::SetTexture(Texture* pTexture) {
    Sprite::SetTexture(pTexture);
    if (!m_pTexture || m_textureCoords.GetCount() != 4) {
        return;
    }
    // The sizes as they are now: intended (set-texture-moment).
    RealFloat const rU = static_cast<RealFloat>(m_pTexture->GetWidth()) /
                         static_cast<RealFloat>(m_pTexture->GetAllocatedWidth());
    RealFloat const rV = static_cast<RealFloat>(m_pTexture->GetHeight()) /
                         static_cast<RealFloat>(m_pTexture->GetAllocatedHeight());
    // Zero edges are exact here and inset in Load: intended (zero-edges-inset).
    m_textureCoords[0] = Vector2T<RealFloat>(0, rV);
    m_textureCoords[1] = Vector2T<RealFloat>(0, 0);
    m_textureCoords[2] = Vector2T<RealFloat>(rU, rV);
    m_textureCoords[3] = Vector2T<RealFloat>(rU, 0);
}

TextureGL2* SpriteGL2::GetTextureGL2() const {
    return static_cast<TextureGL2*>(m_pTexture.Get());
}

void SpriteGL2::GetTextureCoords(Vector2T<RealFloat>* pOut) {
    if (m_textureCoords.GetCount() != 4) {
        return;
    }
    Vector2T<RealFloat> const* const pCoords = m_textureCoords.GetData();
    if (m_pTexture && __builtin_expect(GetTextureGL2()->TextureGL2::IsPromoted(), false)) {
        // A surface holds its image the other way up: swapping the rows shows it upright.
        for (unsigned int i = 0; i < 4; ++i) {
            pOut[i] = pCoords[i ^ 1];
        }
    } else {
        std::memcpy(static_cast<void*>(pOut), pCoords, 4 * sizeof(*pOut));
    }
}

void SpriteGL2::InternalRender(GraphicsDevice& device) {
    // The counter has a function of its own, so that it takes no registers without profiling.
    if (__builtin_expect(ScopeCounter::IsProfiling(), false)) {
        DrawProfiled(static_cast<GraphicsDeviceGL2&>(device));
    } else {
        Draw(static_cast<GraphicsDeviceGL2&>(device));
    }
}

TREVIK_NOINLINE void SpriteGL2::DrawProfiled(GraphicsDeviceGL2& device) {
    ScopeCounter const counter(ScopeCounter::SpriteRender, true);
    Draw(device);
}

inline void SpriteGL2::Draw(GraphicsDeviceGL2& device) {
    // Loads into the cache what GL will read, while the matrices are multiplied.
    __builtin_prefetch(m_vertices.GetData());
    __builtin_prefetch(m_textureCoords.GetData());
    device.GraphicsDeviceGL2::SetCameraDepth(HasCameraDepth());
    device.LoadModelView(m_worldMatrix);
    device.PushMasks(m_masks);
    bool const fDrawn = __builtin_expect(!m_effects.IsEmpty(), false) && DrawWithEffects(device);
    if (!fDrawn && IsPlain()) {
        InternalRenderNonBlended(device);
    }
    device.PopMasks(m_masks);
}

/** Whether an effect has drawn the sprite. Not inline: most sprites have no effect and need no registers. */
TREVIK_NOINLINE bool SpriteGL2::DrawWithEffects(GraphicsDeviceGL2& device) {
    return CallEach(m_effects, [this, &device](Effect& effect) {
        return effect.OverrideDrawSprite(device, *this, m_rEffectiveOpacity);
    });
}

/** Room for four texture coordinates, which nothing is written into where it is not needed. */
struct SpriteGL2::CoordsStorage {
    alignas(Vector2T<RealFloat>) unsigned char m_bytes[4 * sizeof(Vector2T<RealFloat>)];
};

/** The four texture coordinates to draw with: those of the list, or, where others are needed, in `storage`.
 */
inline Vector2T<RealFloat> const* SpriteGL2::FindTextureCoords(CoordsStorage& storage) {
    if (__builtin_expect(m_textureCoords.GetCount() == 4, true) &&
        __builtin_expect(!GetTextureGL2()->TextureGL2::IsPromoted(), true)) {
        return m_textureCoords.GetData();
    }
    return CopyTextureCoords(storage);
}

/** Stores what GetTextureCoords writes, or zeros where it writes nothing. */
TREVIK_NOINLINE Vector2T<RealFloat> const* SpriteGL2::CopyTextureCoords(CoordsStorage& storage) {
    auto* const pCoords = reinterpret_cast<Vector2T<RealFloat>*>(storage.m_bytes);
    for (int i = 0; i < 4; ++i) {
        new (pCoords + i) Vector2T<RealFloat>;
    }
    GetTextureCoords(pCoords);
    return pCoords;
}

/** Not inline: few textures have their alpha separate. */
TREVIK_NOINLINE void SpriteGL2::SetAlphaSampler(ShaderProgramGL2& program, TextureGL2& texture) {
    program.SetSampler(UniformNames::sTextureA, &texture, texture.GetGLTextureAlpha());
}

void SpriteGL2::InternalRenderNonBlended(GraphicsDeviceGL2& device) {
    if (m_vertices.IsEmpty()) {
        return; // Never loaded: there is nothing that the driver could read.
    }
    CoordsStorage storage;
    GlState::SetVertexArray(VertexAttributeIndex::Position, m_vertices.GetData());
    TextureGL2* const pTexture = GetTextureGL2();
    ShaderProgramGL2* pProgram = nullptr;
    if (__builtin_expect(pTexture != nullptr, true)) {
        pTexture->PreRender();
        if (__builtin_expect(!m_textureCoords.IsEmpty(), true)) {
            GlState::SetVertexArray(VertexAttributeIndex::Texture, FindTextureCoords(storage));
        }
        bool const fPlainTexture = pTexture->GetGLTextureType() == GL_TEXTURE_2D;
        ShaderId::Enum const program =
            ChooseTexturedProgram(device.IsAlphaTestEnabled(), pTexture->GetFormat());
        pProgram = fPlainTexture ? device.GetShader(program) : nullptr;
        device.SetActiveShader(pProgram);
        if (__builtin_expect(pProgram == nullptr, false)) {
            return; // the device is not up
        }
        SetTextureSamplers(*pProgram, pTexture);
        SetColorParameter(device, *pProgram, true);
    } else {
        pProgram = device.GetShader(ShaderId::Solid);
        device.SetActiveShader(pProgram);
        if (__builtin_expect(pProgram == nullptr, false)) {
            return;
        }
        SetColorParameter(device, *pProgram, false);
        GlState::DisableFixedFunctionTexture();
    }
    GlState::SetPlainBlend();
    SetTransformParameter(device, *pProgram);
    glDrawArrays(GL_TRIANGLE_STRIP, 0, 4);
    if (__builtin_expect(IsAntialiased(), false)) {
        RenderAntialiasedEdges(device, pTexture);
    }
    if (pTexture != nullptr) {
        pTexture->PostRender();
    }
}

} // namespace trevik::kelvo
