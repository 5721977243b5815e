#pragma once

#include "trevik/Encoding.h"
#include "trevik/StringEncoded.h"

/**
 * The uniforms and samplers that several renderers set, under the names that they have in the shaders. Each
 * is one string for the whole library, so that a program finds a name that it knows by its address alone.
 */
namespace trevik::kelvo::UniformNames {

using Name = StringEncoded<UTF16Encoding>;

inline Name const sTexture = Name::FromLiteral(u"sTexture");
inline Name const sTextureA = Name::FromLiteral(u"sTextureA");
inline Name const sDistribution = Name::FromLiteral(u"sDistribution");
inline Name const sColor = Name::FromLiteral(u"sColor");
inline Name const sDepth = Name::FromLiteral(u"sDepth");
inline Name const vColor = Name::FromLiteral(u"vColor");
inline Name const mWorldToView = Name::FromLiteral(u"mWorldToView");
inline Name const mViewToViewport = Name::FromLiteral(u"mViewToViewport");
inline Name const fFade = Name::FromLiteral(u"fFade");
inline Name const fVPHeight = Name::FromLiteral(u"fVPHeight");

} // namespace trevik::kelvo::UniformNames
