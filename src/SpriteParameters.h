#pragma once

#include "GraphicsDeviceGL2.h"
#include "ShaderProgramGL2.h"
#include "SpriteGL2.h"
#include "TextureGL2.h"
#include "UniformNames.h"

/** The parameters that sprites and nine-patches set at each draw; inline in both. */
namespace trevik::kelvo {

inline void SpriteGL2::SetTextureSamplers(ShaderProgramGL2& program, TextureGL2* pTexture) {
    program.SetSampler(UniformNames::sTexture, pTexture, 0);
    if (__builtin_expect(pTexture->GetFormat() == TextureFormat::ETC1_RGBA, false)) {
        SetAlphaSampler(program, *pTexture);
    }
}

inline void SpriteGL2::SetColorParameter(GraphicsDeviceGL2& device, ShaderProgramGL2& program,
                                         bool fTextured) {
    Vector4T<RealFloat> color(1, 1, 1, m_rEffectiveOpacity);
    if (__builtin_expect(device.IsHighlightEnabled(), false)) {
        ColorT<RealFloat> const highlight = device.GetHighlightColor(m_rEffectiveOpacity);
        color = Vector4T<RealFloat>(highlight.r, highlight.g, highlight.b, highlight.a);
    } else if (!fTextured) {
        Vector3T<RealFloat> const& own = m_color.GetValue();
        color = Vector4T<RealFloat>(own.x, own.y, own.z, m_rEffectiveOpacity);
    }
    program.SetParameter(ShaderType::Fragment, UniformNames::vColor, color);
}

inline void SpriteGL2::SetTransformParameter(GraphicsDeviceGL2& device, ShaderProgramGL2& program) {
    Matrix4T<RealFloat> worldToView{Uninitialized()};
    device.GetModelViewProjection(worldToView);
    program.SetParameter(ShaderType::Vertex, UniformNames::mWorldToView, worldToView);
}

} // namespace trevik::kelvo
