#include "GaussianBlurEffectGL2.h"

#include "GraphicsDeviceGL2.h"
#include "ProgramBuilder.h"
#include "ShaderSources.h"
#include "UniformNames.h"

#include <new>

namespace trevik::kelvo {

namespace {

using Source = StringLiteral<UTF16Encoding>;

// Nine taps whose weights sum up to 1.
constexpr Source BlurFragment(uR"(precision mediump float;
uniform sampler2D sColor;
uniform vec2 vOffset1;
uniform vec2 vOffset2;
uniform vec2 vOffset3;
uniform vec2 vOffset4;
varying vec2 vTexture;
vec4 pair(vec2 offset) {
    return texture2D(sColor, vTexture + offset) + texture2D(sColor, vTexture - offset);
}
void main() {
    gl_FragColor = 0.16 * texture2D(sColor, vTexture) + 0.15 * pair(vOffset1) + 0.12 * pair(vOffset2) +
                   0.09 * pair(vOffset3) + 0.06 * pair(vOffset4);
}
)");

constexpr Source BlendFragment(uR"(precision mediump float;
uniform sampler2D sBlur;
uniform sampler2D sSharp;
uniform float blendFactor;
varying vec2 vTexture;
void main() {
    gl_FragColor = texture2D(sSharp, vTexture) * (1.0 - blendFactor) + texture2D(sBlur, vTexture) * blendFactor;
}
)");

} // namespace

void VertexAttribSetup_GaussianBlurEffect_Blur(ShaderProgramGL2* pProgram) {
    NamePositionAndTexture(pProgram);
}

void VertexAttribSetup_GaussianBlurEffect_Blend(ShaderProgramGL2* pProgram) {
    NamePositionAndTexture(pProgram);
}

bool GaussianBlurResourceGL2::Init(GraphicsDevice& device) {
    RectangleT<int> const viewport = device.GetViewport();
    int const nWidth = viewport.GetWidth();
    int const nHeight = viewport.GetHeight();
    if (!CreateTargets(nWidth / 2, nHeight / 2)) {
        return false;
    }
    m_blurProgram =
        BuildProgram({BlurFragment, ShaderSources::QuadVertex, VertexAttribSetup_GaussianBlurEffect_Blur});
    if (!m_blurProgram) {
        return false;
    }
    m_blendProgram =
        BuildProgram({BlendFragment, ShaderSources::QuadVertex, VertexAttribSetup_GaussianBlurEffect_Blend});
    m_texelWidth = 1.0f / static_cast<float>(nWidth);
    m_texelHeight = 1.0f / static_cast<float>(nHeight);
    return static_cast<bool>(m_blendProgram);
}

bool GaussianBlurResourceGL2::CreateTargets(int nWidth, int nHeight) {
    // 16 bits of colour: intended (targets-565).
    FramebufferGL2::InitParams const params = {nWidth, nHeight, false, false, TextureFormat::RGB565};
    for (Ref<FramebufferGL2>* const pTarget : {&m_blurTargetA, &m_blurTargetB}) {
        *pTarget = Ref(new (std::nothrow) FramebufferGL2);
        if (!*pTarget || !(*pTarget)->Create(params)) {
            return false;
        }
    }
    return true;
}

GaussianBlurEffectGL2::GaussianBlurEffectGL2() = default;

GaussianBlurEffectGL2::GaussianBlurEffectGL2(GaussianBlurEffectGL2 const& other) = default;

GaussianBlurEffectGL2::~GaussianBlurEffectGL2() = default;

bool GaussianBlurEffectGL2::InternalInit(EffectResource* pResource) {
    m_pResource = Ref(static_cast<GaussianBlurResourceGL2*>(pResource));
    return true;
}

bool GaussianBlurEffectGL2::IsWanted(GraphicsDeviceGL2& device) const {
    return static_cast<double>(m_amount.GetValue()) > 0.0 && device.GetBackTargetBuffer();
}

void GaussianBlurEffectGL2::PreRender(GraphicsDevice& device) {
    GraphicsDeviceGL2& deviceGL2 = static_cast<GraphicsDeviceGL2&>(device);
    if (IsWanted(deviceGL2) && Prepare(device)) {
        deviceGL2.SwapTargetBuffers(false);
    }
}

void GaussianBlurEffectGL2::PostRender(GraphicsDevice& device) {
    GraphicsDeviceGL2& deviceGL2 = static_cast<GraphicsDeviceGL2&>(device);
    if (!IsWanted(deviceGL2) || !m_pResource) {
        return;
    }
    RealFloat const amount = m_amount.GetValue();
    FramebufferGL2& targetA = *m_pResource->m_blurTargetA;
    FramebufferGL2& targetB = *m_pResource->m_blurTargetB;

    deviceGL2.SwapTargetBuffers(false);
    FramebufferGL2* const pFront = deviceGL2.GetFrontTargetBuffer();
    // The vertical pass comes first, and steps are texels of the whole viewport at half its size: intended
    // (blur-vertical-first).
    deviceGL2.SetActiveShader(m_pResource->m_blurProgram.Get());
    pFront->Unbind(&targetA);
    Blur(deviceGL2, deviceGL2.GetBackTargetBuffer()->GetColorTexture(), 0,
         m_pResource->m_texelHeight * amount);
    targetA.Unbind(&targetB);
    Blur(deviceGL2, targetA.GetColorTexture(), m_pResource->m_texelWidth * amount, 0);
    deviceGL2.SetActiveShader(nullptr);
    targetB.Unbind(nullptr);
    Composite(deviceGL2, amount);
}

/** Draws the source over the bound target with the bound blur program, taps that many steps apart. */
void GaussianBlurEffectGL2::Blur(GraphicsDeviceGL2& device, TextureGL2* pSource, float stepX,
                                 float stepY) const {
    ShaderProgramGL2& program = *m_pResource->m_blurProgram;
    program.SetSampler(UniformNames::sColor, pSource, 0);
    auto const setOffset = [&](auto const& sName, float steps) {
        program.SetParameter(ShaderType::Fragment, sName, Vector2T<float>(stepX * steps, stepY * steps));
    };
    setOffset(UniformNames::vOffset1, 1);
    setOffset(UniformNames::vOffset2, 2);
    setOffset(UniformNames::vOffset3, 3);
    setOffset(UniformNames::vOffset4, 4);
    device.RenderFullscreenQuad();
}

void GaussianBlurEffectGL2::Composite(GraphicsDeviceGL2& device, RealFloat amount) const {
    ShaderProgramGL2& program = *m_pResource->m_blendProgram;
    device.SetActiveShader(&program);
    program.SetParameter(ShaderType::Fragment, UniformNames::blendFactor,
                         amount < RealFloat(1) ? amount : RealFloat(1));
    program.SetSampler(UniformNames::sBlur, m_pResource->m_blurTargetB->GetColorTexture(), 0);
    program.SetSampler(UniformNames::sSharp, device.GetBackTargetBuffer()->GetColorTexture(), 0);
    device.RenderFullscreenQuad();
    device.SetActiveShader(nullptr);
}

} // namespace trevik::kelvo
