#pragma once

#include "trevik/Encoding.h"
#include "trevik/StringEncoded.h"

namespace trevik::kelvo {

/**
 * Places in every program's table of locations, one for each of the names below: a program finds them there
 * without comparing names.
 */
struct UniformSlot {
    enum Enum : unsigned int {
        TextureSampler,
        AlphaSampler,
        DistributionSampler,
        ColorSampler,
        DepthSampler,
        Color,
        WorldToView,
        ViewToViewport,
        Fade,
        ViewportHeight,
        Offset,
        Offset1,
        Offset2,
        Offset3,
        Offset4,
        BlurSampler,
        SharpSampler,
        BlendFactor,
        TextureScale,
        TextureScaleMatrix,
        Count
    };
};

/** A name that renderers set at each draw, over literal storage, with its slot. */
template <UniformSlot::Enum slot>
struct UniformName : StringEncoded<UTF16Encoding> {
    template <std::size_t nLength>
    constexpr explicit UniformName(char16_t const (&text)[nLength]) noexcept
        : StringEncoded<UTF16Encoding>(FromLiteral(text)) {}
};

/** The uniforms and samplers that several renderers set, under the names that they have in the shaders. */
namespace UniformNames {

inline UniformName<UniformSlot::TextureSampler> const sTexture(u"sTexture");
inline UniformName<UniformSlot::AlphaSampler> const sTextureA(u"sTextureA");
inline UniformName<UniformSlot::DistributionSampler> const sDistribution(u"sDistribution");
inline UniformName<UniformSlot::ColorSampler> const sColor(u"sColor");
inline UniformName<UniformSlot::DepthSampler> const sDepth(u"sDepth");
inline UniformName<UniformSlot::Color> const vColor(u"vColor");
inline UniformName<UniformSlot::WorldToView> const mWorldToView(u"mWorldToView");
inline UniformName<UniformSlot::ViewToViewport> const mViewToViewport(u"mViewToViewport");
inline UniformName<UniformSlot::Fade> const fFade(u"fFade");
inline UniformName<UniformSlot::ViewportHeight> const fVPHeight(u"fVPHeight");
inline UniformName<UniformSlot::Offset> const vOffset(u"vOffset");
inline UniformName<UniformSlot::Offset1> const vOffset1(u"vOffset1");
inline UniformName<UniformSlot::Offset2> const vOffset2(u"vOffset2");
inline UniformName<UniformSlot::Offset3> const vOffset3(u"vOffset3");
inline UniformName<UniformSlot::Offset4> const vOffset4(u"vOffset4");
inline UniformName<UniformSlot::BlurSampler> const sBlur(u"sBlur");
inline UniformName<UniformSlot::SharpSampler> const sSharp(u"sSharp");
inline UniformName<UniformSlot::BlendFactor> const blendFactor(u"blendFactor");
inline UniformName<UniformSlot::TextureScale> const vTextureScale(u"vTextureScale");
inline UniformName<UniformSlot::TextureScaleMatrix> const mTextureScale(u"mTextureScale");

} // namespace UniformNames

} // namespace trevik::kelvo
