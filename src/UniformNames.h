#pragma once

#include "trevik/Encoding.h"
#include "trevik/StringEncoded.h"

namespace trevik::kelvo {

/**
 * A name that renderers set at each draw, over literal storage. Its slot is its place in every program's
 * table of locations, where a program finds it without comparing names.
 */
template <unsigned int nSlot>
struct UniformName : StringEncoded<UTF16Encoding> {
    template <std::size_t nLength>
    constexpr explicit UniformName(char16_t const (&text)[nLength]) noexcept
        : StringEncoded<UTF16Encoding>(FromLiteral(text)) {}
};

/** The uniforms and samplers that several renderers set, under the names that they have in the shaders. */
namespace UniformNames {

inline UniformName<0> const sTexture(u"sTexture");
inline UniformName<1> const sTextureA(u"sTextureA");
inline UniformName<2> const sDistribution(u"sDistribution");
inline UniformName<3> const sColor(u"sColor");
inline UniformName<4> const sDepth(u"sDepth");
inline UniformName<5> const vColor(u"vColor");
inline UniformName<6> const mWorldToView(u"mWorldToView");
inline UniformName<7> const mViewToViewport(u"mViewToViewport");
inline UniformName<8> const fFade(u"fFade");
inline UniformName<9> const fVPHeight(u"fVPHeight");
inline UniformName<10> const vOffset(u"vOffset");
inline UniformName<11> const vOffset1(u"vOffset1");
inline UniformName<12> const vOffset2(u"vOffset2");
inline UniformName<13> const vOffset3(u"vOffset3");
inline UniformName<14> const vOffset4(u"vOffset4");
inline UniformName<15> const sBlur(u"sBlur");
inline UniformName<16> const sSharp(u"sSharp");
inline UniformName<17> const blendFactor(u"blendFactor");
inline UniformName<18> const vTextureScale(u"vTextureScale");
inline UniformName<19> const mTextureScale(u"mTextureScale");

/** Number of slots. */
constexpr unsigned int Count = 20;

} // namespace UniformNames

} // namespace trevik::kelvo
