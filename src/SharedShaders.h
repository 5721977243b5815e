#pragma once

#include "trevik/Encoding.h"
#include "trevik/StringEncoded.h"

/** Vertex shaders of more than one program. */
namespace trevik::kelvo {

/** Textured corners, which mWorldToView takes to clip space. */
inline constexpr StringLiteral<UTF16Encoding> TexturedVertex(uR"(attribute vec4 vInPosition;
attribute vec2 vInTexture;
uniform mat4 mWorldToView;
varying vec2 vTexture;
void main() {
    gl_Position = mWorldToView * vInPosition;
    vTexture = vInTexture;
}
)");

/** Textured corners in clip space. */
inline constexpr StringLiteral<UTF16Encoding> QuadVertex(uR"(attribute vec4 vInPosition;
attribute vec2 vInTexture;
varying vec2 vTexture;
void main() {
    gl_Position = vInPosition;
    vTexture = vInTexture;
}
)");

} // namespace trevik::kelvo
