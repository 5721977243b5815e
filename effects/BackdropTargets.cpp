#include "BackdropTargets.h"

#include "GlState.h"
#include "ProgramBuilder.h"
#include "RenderThread.h"
#include "ShaderSources.h"
#include "UniformNames.h"
#include "trevik/Debug.h"

#include <GLES2/gl2.h>

#include <algorithm>
#include <cmath>

namespace trevik::kelvo::effects {

namespace {

using Source = StringLiteral<UTF16Encoding>;
using Name = StringEncoded<UTF16Encoding>;

constexpr Source BlurFragment(uR"(#ifdef GL_FRAGMENT_PRECISION_HIGH
precision highp float;
#else
precision mediump float;
#endif
uniform sampler2D sTexture;
uniform vec2 vOffset;
uniform vec4 vNear;
uniform vec4 vFar;
varying vec2 vTexture;
vec4 pair(float steps) {
    return texture2D(sTexture, vTexture + steps * vOffset) + texture2D(sTexture, vTexture - steps * vOffset);
}
void main() {
    gl_FragColor = vNear.x * texture2D(sTexture, vTexture) + vNear.y * pair(1.0) + vNear.z * pair(2.0) +
                   vNear.w * pair(3.0) + vFar.x * pair(4.0) + vFar.y * pair(5.0) + vFar.z * pair(6.0) +
                   vFar.w * pair(7.0);
}
)");

constexpr Source DrawVertex(uR"(attribute vec4 vInPosition;
uniform mat4 mWorldToView;
varying vec3 vPlace;
void main() {
    gl_Position = mWorldToView * vInPosition;
    vPlace = gl_Position.xyw;
}
)");

// The picture is taken from where in the viewport a pixel is.
constexpr Source DrawFragment(uR"(#ifdef GL_FRAGMENT_PRECISION_HIGH
precision highp float;
#else
precision mediump float;
#endif
uniform sampler2D sTexture;
uniform vec2 vTextureScale;
varying vec3 vPlace;
void main() {
    gl_FragColor = texture2D(sTexture, (vPlace.xy / vPlace.z * 0.5 + 0.5) * vTextureScale);
}
)");

void NamePosition(ShaderProgramGL2* pProgram) {
    pProgram->SetVertexAttributeIndex(Name::FromLiteral(u"vInPosition"), VertexAttributeIndex::Position);
}

Name const& NearName() {
    static Name const s_sName = Name::FromLiteral(u"vNear");
    return s_sName;
}

Name const& FarName() {
    static Name const s_sName = Name::FromLiteral(u"vFar");
    return s_sName;
}

RealFloat ToReal(int nValue) {
    return static_cast<RealFloat>(nValue);
}

/** An area, so many times as large, of a picture of this size. */
PixelArea Scale(PixelArea const& area, int nFactor, int nWidth, int nHeight) {
    return {std::min(area.left * nFactor, nWidth), std::min(area.bottom * nFactor, nHeight),
            std::min(area.right * nFactor, nWidth), std::min(area.top * nFactor, nHeight)};
}

/** The area and so many pixels around it, within a picture of this size. */
PixelArea Grow(PixelArea const& area, int nPixels, int nWidth, int nHeight) {
    return {std::max(area.left - nPixels, 0), std::max(area.bottom - nPixels, 0),
            std::min(area.right + nPixels, nWidth), std::min(area.top + nPixels, nHeight)};
}

/**
 * Draws an area of the target with the active program; `u` and `v` are what a pixel of the target is in
 * texture coordinates.
 */
void DrawArea(PixelArea const& area, FramebufferGL2 const& target, RealFloat u, RealFloat v) {
    RealFloat const x = 2 / ToReal(target.GetWidth());
    RealFloat const y = 2 / ToReal(target.GetHeight());
    Vector2T<RealFloat> positions[4];
    Vector2T<RealFloat> textureCoords[4];
    for (int i = 0; i < 4; ++i) {
        RealFloat const column = ToReal(i < 2 ? area.left : area.right);
        RealFloat const row = ToReal(i % 2 == 0 ? area.bottom : area.top);
        positions[i] = Vector2T<RealFloat>(column * x - 1, row * y - 1);
        textureCoords[i] = Vector2T<RealFloat>(column * u, row * v);
    }
    GlState::SetVertexArray(VertexAttributeIndex::Position, positions);
    GlState::SetVertexArray(VertexAttributeIndex::Texture, textureCoords);
    glDrawArrays(GL_TRIANGLE_STRIP, 0, 4);
}

/** The pixels of the viewport that a sprite may cover; all of them where it reaches behind the eye. */
PixelArea FindArea(Matrix4T<RealFloat> const& toClip, Vector3T<RealFloat> const* pCorners, int nWidth,
                   int nHeight) {
    RealFloat low[2] = {1, 1};
    RealFloat high[2] = {-1, -1};
    for (int i = 0; i < 4; ++i) {
        Vector4T<RealFloat> const clip =
            toClip * Vector4T<RealFloat>(pCorners[i].x, pCorners[i].y, pCorners[i].z, 1);
        if (!(clip.w > 0)) {
            return {0, 0, nWidth, nHeight};
        }
        RealFloat const place[2] = {clip.x / clip.w, clip.y / clip.w};
        for (int axis = 0; axis < 2; ++axis) {
            RealFloat const within = std::max(RealFloat(-1), std::min(RealFloat(1), place[axis]));
            low[axis] = std::min(low[axis], within);
            high[axis] = std::max(high[axis], within);
        }
    }
    auto const toPixel = [](RealFloat place, int nSize) { return (place + 1) / 2 * ToReal(nSize); };
    return {static_cast<int>(std::floor(toPixel(low[0], nWidth))),
            static_cast<int>(std::floor(toPixel(low[1], nHeight))),
            static_cast<int>(std::ceil(toPixel(high[0], nWidth))),
            static_cast<int>(std::ceil(toPixel(high[1], nHeight)))};
}

/** Draws take what the program gives, whatever was there. */
void ReplaceColors() {
    glBlendFuncSeparate(GL_ONE, GL_ZERO, GL_ONE, GL_ZERO);
    glBlendEquationSeparate(GL_FUNC_ADD, GL_FUNC_ADD);
}

/** Draws mix all channels with what was there, so much of them. */
void MixColors(RealFloat share) {
    glBlendColor(0, 0, 0, share);
    glBlendFuncSeparate(GL_CONSTANT_ALPHA, GL_ONE_MINUS_CONSTANT_ALPHA, GL_CONSTANT_ALPHA,
                        GL_ONE_MINUS_CONSTANT_ALPHA);
    glBlendEquationSeparate(GL_FUNC_ADD, GL_FUNC_ADD);
}

} // namespace

BlurSteps::BlurSteps(RealFloat radius) {
    // Squares of standard deviations add up. Each halving takes the mean of two pixels (a quarter, in pixels
    // of before), and enlarging goes evenly from pixel to pixel (a sixth, in pixels of what is left).
    constexpr RealFloat Widest = RealFloat(2.3); // that the neighbours hold nearly all of
    RealFloat const wanted = radius * radius / 4;
    RealFloat left = 0;
    for (m_nHalvings = 1;; ++m_nHalvings) {
        RealFloat const square = ToReal(1 << (2 * m_nHalvings));
        left = (wanted - (square - 1) / 12) / square - RealFloat(1) / 6;
        if (m_nHalvings == 1 && left < 0) {
            m_share = wanted / (RealFloat(0.25) + RealFloat(4) / 6);
        }
        if (!(left > Widest * Widest) || m_nHalvings == MostHalvings) {
            break;
        }
    }
    left = std::min(Widest * Widest, left);
    RealFloat sum = 0;
    for (int i = 0; i <= Neighbours; ++i) {
        m_weights[i] = i == 0 ? 1 : left > 0 ? std::exp(-ToReal(i * i) / (2 * left)) : 0;
        sum += i == 0 ? m_weights[i] : 2 * m_weights[i];
    }
    for (RealFloat& weight : m_weights) {
        weight /= sum;
    }
}

bool CopyTexture::Fit(GLenum format, int nWidth, int nHeight) {
    if (nWidth == m_nWidth && nHeight == m_nHeight) {
        return m_nName != 0;
    }
    Release();
    m_nWidth = nWidth;
    m_nHeight = nHeight;
    m_nContext = GraphicsDeviceGL2::GetContextNumber();
    constexpr int MostErrors = 16; // of earlier draws; a lost context may have errors without end
    for (int i = 0; i < MostErrors && glGetError() != GL_NO_ERROR; ++i) {}
    glGenTextures(1, &m_nName);
    GlState::SelectTextureUnit(0);
    GlState::BindTexture(GL_TEXTURE_2D, m_nName);
    glTexImage2D(GL_TEXTURE_2D, 0, static_cast<GLint>(format), nWidth, nHeight, 0, format, GL_UNSIGNED_BYTE,
                 nullptr);
    GlState::SetTextureFilter(GL_TEXTURE_2D, GL_LINEAR);
    glCopyTexSubImage2D(GL_TEXTURE_2D, 0, 0, 0, 0, 0, 1, 1); // whether the target in use can be copied
    GlState::BindTexture(GL_TEXTURE_2D, 0);
    if (m_nName != 0 && glGetError() == GL_NO_ERROR) {
        return true;
    }
    Debug::TraceFormat(TraceLevel::Error,
                       u"[kelvo] %d x %d pixels cannot be copied from the target: nothing is blurred", nWidth,
                       nHeight);
    Release();
    return false;
}

void CopyTexture::Copy(PixelArea const& area, int nX, int nY) const {
    GlState::SelectTextureUnit(0);
    GlState::BindTexture(GL_TEXTURE_2D, m_nName);
    glCopyTexSubImage2D(GL_TEXTURE_2D, 0, area.left, area.bottom, nX + area.left, nY + area.bottom,
                        area.right - area.left, area.top - area.bottom);
    GlState::BindTexture(GL_TEXTURE_2D, 0);
}

void CopyTexture::Release() {
    if (m_nName != 0) {
        GLuint const nName = m_nName;
        m_nName = 0;
        static_cast<void>(DoInContext(m_nContext, [nName] { glDeleteTextures(1, &nName); }));
    }
}

BackdropTargets::BackdropTargets() = default;

BackdropTargets::~BackdropTargets() = default;

bool BackdropTargets::Init(GraphicsDevice&) {
    m_halveProgram =
        BuildProgram({ShaderSources::PostProcessFragment, ShaderSources::QuadVertex, NamePositionAndTexture});
    m_blurProgram = BuildProgram({BlurFragment, ShaderSources::QuadVertex, NamePositionAndTexture});
    m_drawProgram = BuildProgram({DrawFragment, DrawVertex, NamePosition});
    return m_halveProgram && m_blurProgram && m_drawProgram;
}

bool BackdropTargets::Reserve(int nHalvings) {
    GLint nAlphaBits = 0;
    glGetIntegerv(GL_ALPHA_BITS, &nAlphaBits);
    glGetIntegerv(GL_VIEWPORT, m_viewport);
    glGetIntegerv(GL_FRAMEBUFFER_BINDING, &m_nOuterName);
    m_fAlpha = nAlphaBits > 0;
    bool const fCopy =
        m_copies[m_fAlpha ? 1 : 0].Fit(m_fAlpha ? GL_RGBA : GL_RGB, m_viewport[2], m_viewport[3]);
    bool const fTargets = fCopy && MakeTargets(nHalvings);
    GlState::BindFramebuffer(static_cast<GLuint>(m_nOuterName)); // the making of targets leaves none bound
    return fTargets;
}

bool BackdropTargets::MakeTargets(int nHalvings) {
    int nWidth = m_viewport[2];
    int nHeight = m_viewport[3];
    for (int i = 0; i < nHalvings; ++i) {
        nWidth = (nWidth + 1) / 2;
        nHeight = (nHeight + 1) / 2;
        bool const fLast = i + 1 == nHalvings;
        if (!m_halves[i].Fit(nWidth, nHeight) || (fLast && !m_blurred[i].Fit(nWidth, nHeight))) {
            return false;
        }
    }
    return true;
}

void BackdropTargets::Draw(GraphicsDeviceGL2& device, Vector3T<RealFloat> const* pCorners,
                           BlurSteps const& steps, RealFloat opacity) {
    if (!Reserve(steps.m_nHalvings)) {
        return;
    }
    Matrix4T<RealFloat> const toClip = device.GetModelViewMatrix() * device.GetProjectionMatrix();
    PixelArea const area = FindArea(toClip, pCorners, m_viewport[2], m_viewport[3]);
    if (area.left >= area.right || area.bottom >= area.top) {
        return;
    }
    Blur(device, area, steps);
    GlState::BindFramebuffer(static_cast<GLuint>(m_nOuterName));
    DrawOver(device, pCorners, toClip, steps, opacity);
}

/** Leaves an area of the target in use, blurred, in the last one of the halves. */
void BackdropTargets::Blur(GraphicsDeviceGL2& device, PixelArea const& area, BlurSteps const& steps) {
    int const nLast = steps.m_nHalvings - 1;
    int const nScale = 1 << steps.m_nHalvings;
    FrameTarget const& last = m_halves[nLast];
    int const nWidth = last.GetFramebuffer().GetWidth();
    int const nHeight = last.GetFramebuffer().GetHeight();
    // In pixels of the last half: what is drawn at full size takes one more, and the blur its neighbours.
    PixelArea const small = {area.left / nScale, area.bottom / nScale, (area.right + nScale - 1) / nScale,
                             (area.top + nScale - 1) / nScale};
    PixelArea const drawn = Grow(small, 1, nWidth, nHeight);
    PixelArea const read = Grow(drawn, BlurSteps::Neighbours, nWidth, nHeight);

    CopyTexture const& copy = m_copies[m_fAlpha ? 1 : 0];
    copy.Copy(Scale(read, nScale, m_viewport[2], m_viewport[3]), m_viewport[0], m_viewport[1]);
    ReplaceColors();
    device.SetActiveShader(m_halveProgram.Get());
    int nBeforeWidth = m_viewport[2];
    int nBeforeHeight = m_viewport[3];
    int nFactor = nScale;
    for (int i = 0; i <= nLast; ++i) {
        nFactor /= 2;
        FramebufferGL2& half = m_halves[i].GetFramebuffer();
        TextureGL2* const pBefore = i == 0 ? nullptr : m_halves[i - 1].GetFramebuffer().GetColorTexture();
        half.Bind();
        m_halveProgram->SetSampler(UniformNames::sColor, pBefore, i == 0 ? copy.GetName() : 0);
        DrawArea(Scale(read, nFactor, half.GetWidth(), half.GetHeight()), half, 2 / ToReal(nBeforeWidth),
                 2 / ToReal(nBeforeHeight));
        half.Unbind(nullptr);
        nBeforeWidth = half.GetWidth();
        nBeforeHeight = half.GetHeight();
    }
    device.SetActiveShader(m_blurProgram.Get());
    RealFloat const* const pWeights = steps.m_weights;
    m_blurProgram->SetParameter(ShaderType::Fragment, NearName(),
                                Vector4T<RealFloat>(pWeights[0], pWeights[1], pWeights[2], pWeights[3]));
    m_blurProgram->SetParameter(ShaderType::Fragment, FarName(),
                                Vector4T<RealFloat>(pWeights[4], pWeights[5], pWeights[6], pWeights[7]));
    PixelArea const across = {drawn.left, read.bottom, drawn.right, read.top};
    BlurAlong(device, last, m_blurred[nLast], across, 1 / ToReal(nWidth), 0);
    BlurAlong(device, m_blurred[nLast], last, drawn, 0, 1 / ToReal(nHeight));
}

/** One pass of the active blur program. */
void BackdropTargets::BlurAlong(GraphicsDeviceGL2& device, FrameTarget const& from, FrameTarget const& to,
                                PixelArea const& area, RealFloat stepX, RealFloat stepY) {
    FramebufferGL2& target = to.GetFramebuffer();
    // No texture of the pass before may be drawn into.
    device.SetActiveShader(m_blurProgram.Get());
    target.Bind();
    m_blurProgram->SetSampler(UniformNames::sTexture, from.GetFramebuffer().GetColorTexture(), 0);
    m_blurProgram->SetParameter(ShaderType::Fragment, UniformNames::vOffset,
                                Vector2T<RealFloat>(stepX, stepY));
    DrawArea(area, target, 1 / ToReal(target.GetWidth()), 1 / ToReal(target.GetHeight()));
    target.Unbind(nullptr);
    device.SetActiveShader(nullptr);
}

void BackdropTargets::DrawOver(GraphicsDeviceGL2& device, Vector3T<RealFloat> const* pCorners,
                               Matrix4T<RealFloat> const& toClip, BlurSteps const& steps,
                               RealFloat opacity) const {
    FramebufferGL2 const& blurred = m_halves[steps.m_nHalvings - 1].GetFramebuffer();
    RealFloat const scale = ToReal(1 << steps.m_nHalvings);
    device.SetActiveShader(m_drawProgram.Get());
    m_drawProgram->SetSampler(UniformNames::sTexture, blurred.GetColorTexture(), 0);
    m_drawProgram->SetParameter(ShaderType::Vertex, UniformNames::mWorldToView, toClip);
    m_drawProgram->SetParameter(
        ShaderType::Fragment, UniformNames::vTextureScale,
        Vector2T<RealFloat>(ToReal(m_viewport[2]) / (scale * ToReal(blurred.GetWidth())),
                            ToReal(m_viewport[3]) / (scale * ToReal(blurred.GetHeight()))));
    MixColors(opacity * steps.m_share);
    GlState::SetVertexArray(VertexAttributeIndex::Position, pCorners);
    GlState::SetDepthWrite(false); // the sprite itself comes next, at the same depth
    glDrawArrays(GL_TRIANGLE_STRIP, 0, 4);
    GlState::SetDepthWrite(true);
    device.SetActiveShader(nullptr);
    GlState::SetPlainBlend();
}

} // namespace trevik::kelvo::effects
