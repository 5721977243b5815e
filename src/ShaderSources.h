#pragma once

#include "trevik/Encoding.h"
#include "trevik/StringEncoded.h"

/**
 * The texts of the built-in programs, which the device's catalogue pairs; effects take their vertex shaders
 * from here, too, where one fits. A text that one effect alone has stands with that effect, whose code sets
 * its uniforms.
 */
namespace trevik::kelvo::ShaderSources {

using Source = StringLiteral<UTF16Encoding>;

// The vertex shaders. Where there is no mViewToViewport, mWorldToView alone takes positions to clip space.

/** Textured corners, which mWorldToView takes to clip space. */
inline constexpr Source TexturedVertex(uR"(attribute vec4 vInPosition;
attribute vec2 vInTexture;
uniform mat4 mWorldToView;
varying vec2 vTexture;
void main() {
    gl_Position = mWorldToView * vInPosition;
    vTexture = vInTexture;
}
)");

/** Textured corners in clip space. */
inline constexpr Source QuadVertex(uR"(attribute vec4 vInPosition;
attribute vec2 vInTexture;
varying vec2 vTexture;
void main() {
    gl_Position = vInPosition;
    vTexture = vInTexture;
}
)");

inline constexpr Source SolidVertex(uR"(attribute vec4 vInPosition;
uniform mat4 mWorldToView;
void main() {
    gl_Position = mWorldToView * vInPosition;
}
)");

inline constexpr Source TextVertex(uR"(attribute vec4 vInPosition;
attribute vec2 vInTexture;
attribute vec4 vInColor;
uniform mat4 mWorldToView;
varying vec2 vTexture;
varying vec4 vColor;
void main() {
    gl_Position = mWorldToView * vInPosition;
    vTexture = vInTexture;
    vColor = vInColor;
}
)");

inline constexpr Source TextUnderlineVertex(uR"(attribute vec4 vInPosition;
attribute vec4 vInColor;
uniform mat4 mWorldToView;
uniform mat4 mViewToViewport;
varying vec4 vColor;
void main() {
    gl_Position = mViewToViewport * mWorldToView * vInPosition;
    vColor = vInColor;
}
)");

inline constexpr Source TextImageVertex(uR"(attribute vec4 vInPosition;
attribute vec2 vInTexture;
attribute float fInFade;
uniform mat4 mWorldToView;
uniform mat4 mViewToViewport;
varying vec2 vTexture;
varying float fFade;
void main() {
    gl_Position = mViewToViewport * mWorldToView * vInPosition;
    vTexture = vInTexture;
    fFade = fInFade;
}
)");

inline constexpr Source SeparateAlphaVertex(uR"(attribute vec4 vInPosition;
attribute vec2 vInTexture;
uniform mat4 mWorldToView;
uniform mat4 mViewToViewport;
varying vec2 vTexture;
void main() {
    gl_Position = mViewToViewport * mWorldToView * vInPosition;
    vTexture = vInTexture;
}
)");

inline constexpr Source TexturedEdgesVertex(uR"(attribute vec4 vInPosition;
attribute vec2 vInTexture;
attribute vec3 vInE0;
attribute vec3 vInE1;
attribute vec3 vInE2;
attribute vec3 vInE3;
varying vec2 vTexture;
varying vec3 E0;
varying vec3 E1;
varying vec3 E2;
varying vec3 E3;
void main() {
    gl_Position = vInPosition;
    vTexture = vInTexture;
    E0 = vInE0;
    E1 = vInE1;
    E2 = vInE2;
    E3 = vInE3;
}
)");

inline constexpr Source SolidEdgesVertex(uR"(attribute vec4 vInPosition;
attribute vec3 vInE0;
attribute vec3 vInE1;
attribute vec3 vInE2;
attribute vec3 vInE3;
varying vec3 E0;
varying vec3 E1;
varying vec3 E2;
varying vec3 E3;
void main() {
    gl_Position = vInPosition;
    E0 = vInE0;
    E1 = vInE1;
    E2 = vInE2;
    E3 = vInE3;
}
)");

// The fragment shaders.

inline constexpr Source TexturedFragment(uR"(precision mediump float;
uniform sampler2D sTexture;
uniform vec4 vColor;
varying vec2 vTexture;
void main() {
    gl_FragColor = texture2D(sTexture, vTexture) * vColor;
}
)");

inline constexpr Source SolidFragment(uR"(precision mediump float;
uniform vec4 vColor;
void main() {
    gl_FragColor = vColor;
}
)");

// sDepth is bound and does not enter the result: intended (post-process-depth).
inline constexpr Source PostProcessFragment(uR"(precision mediump float;
uniform sampler2D sColor;
uniform sampler2D sDepth;
varying vec2 vTexture;
void main() {
    gl_FragColor = texture2D(sColor, vTexture);
}
)");

inline constexpr Source AlphaTestedFragment(uR"(precision mediump float;
uniform sampler2D sTexture;
uniform vec4 vColor;
varying vec2 vTexture;
void main() {
    vec4 tex = texture2D(sTexture, vTexture);
    if (tex.w < 0.1)
        discard;
    gl_FragColor = tex * vColor;
}
)");

inline constexpr Source TextFragment(uR"(precision mediump float;
uniform sampler2D sTexture;
uniform float fFade;
varying vec2 vTexture;
varying vec4 vColor;
void main() {
    vec4 tex = texture2D(sTexture, vTexture);
    gl_FragColor = vec4(vColor.r, vColor.g, vColor.b, vColor.a * tex.a * fFade);
}
)");

inline constexpr Source TextUnderlineFragment(uR"(precision mediump float;
uniform float fFade;
varying vec4 vColor;
void main() {
    gl_FragColor = vec4(vColor.rgb, vColor.a * fFade);
}
)");

inline constexpr Source TextImageFragment(uR"(precision mediump float;
uniform sampler2D sTexture;
uniform vec4 vColor;
varying vec2 vTexture;
varying float fFade;
void main() {
    vec4 tex = texture2D(sTexture, vTexture);
    gl_FragColor = vec4(tex.r, tex.g, tex.b, vColor.a * tex.a * fFade);
}
)");

inline constexpr Source SeparateAlphaFragment(uR"(precision mediump float;
uniform sampler2D sTexture;
uniform sampler2D sTextureA;
uniform vec4 vColor;
varying vec2 vTexture;
void main() {
    gl_FragColor = vec4(texture2D(sTexture, vTexture).rgb, texture2D(sTextureA, vTexture).r) * vColor;
}
)");

// The test takes the alpha of the colour texture, not that of the alpha texture: intended (etc1-alpha-test).
inline constexpr Source SeparateAlphaTestedFragment(uR"(precision mediump float;
uniform sampler2D sTexture;
uniform sampler2D sTextureA;
uniform vec4 vColor;
varying vec2 vTexture;
void main() {
    vec4 tex = texture2D(sTexture, vTexture);
    if (tex.w < 0.1)
        discard;
    gl_FragColor = vec4(tex.rgb, texture2D(sTextureA, vTexture).r) * vColor;
}
)");

// The coverage table is 0 for negative distances, so the fragments of the antialiased edges are not
// discarded: drawing them costs less. Window positions are taken with y down, as the edge equations are.

inline constexpr Source TexturedEdgesFragment(
    uR"(// Prefiltered lines: the coverage of a fragment by its distances from four edges.
precision mediump float;
uniform sampler2D sTexture;
uniform sampler2D sDistribution;
uniform float fVPHeight;
varying vec2 vTexture;
varying vec3 E0;
varying vec3 E1;
varying vec3 E2;
varying vec3 E3;
void main() {
    vec3 pos = vec3(gl_FragCoord.x, fVPHeight - gl_FragCoord.y, 1.0);
    float alphax = min(dot(E0, pos), dot(E2, pos));
    float alphay = min(dot(E1, pos), dot(E3, pos));
    float dist = texture2D(sDistribution, vec2(alphax, 0.5)).w * texture2D(sDistribution, vec2(alphay, 0.5)).w;
    gl_FragColor = texture2D(sTexture, vTexture) * vec4(1.0, 1.0, 1.0, dist);
}
)");

inline constexpr Source
    SolidEdgesFragment(uR"(// Prefiltered lines: the coverage of a fragment by its distances from four edges.
precision mediump float;
uniform vec4 vColor;
uniform sampler2D sDistribution;
uniform float fVPHeight;
varying vec3 E0;
varying vec3 E1;
varying vec3 E2;
varying vec3 E3;
void main() {
    vec3 pos = vec3(gl_FragCoord.x, fVPHeight - gl_FragCoord.y, 1.0);
    float alphax = min(dot(E0, pos), dot(E2, pos));
    float alphay = min(dot(E1, pos), dot(E3, pos));
    float dist = texture2D(sDistribution, vec2(alphax, 0.5)).w * texture2D(sDistribution, vec2(alphay, 0.5)).w;
    gl_FragColor = vColor * vec4(1.0, 1.0, 1.0, dist);
}
)");

} // namespace trevik::kelvo::ShaderSources
