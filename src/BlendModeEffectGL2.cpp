#include "BlendModeEffectGL2.h"

#include "FixedStreams.h"
#include "GlState.h"
#include "GraphicsDeviceGL2.h"
#include "ProgramBuilder.h"
#include "ShaderCatalogue.h"
#include "ShaderSources.h"
#include "UniformNames.h"

namespace trevik::kelvo {

namespace {

using Source = StringLiteral<UTF16Encoding>;

constexpr Source ColorDodgeFragment(uR"(precision mediump float;
uniform sampler2D sTexture;
uniform vec4 vColor;
varying vec2 vTexture;
void main() {
    vec4 t = texture2D(sTexture, vTexture);
    gl_FragColor = vec4(t.a / (vec3(1.0) - min(vec3(0.5), t.rgb)), t.a);
}
)");

constexpr Source MultiplyFragment(uR"(precision mediump float;
uniform sampler2D sTexture;
uniform vec4 vColor;
varying vec2 vTexture;
void main() {
    vec4 t = texture2D(sTexture, vTexture);
    gl_FragColor = vec4(t.rgb * t.a, t.a);
}
)");

// Screen's, and exclusion's as well.
constexpr Source FadedFragment(uR"(precision mediump float;
uniform sampler2D sTexture;
uniform vec4 vColor;
varying vec2 vTexture;
void main() {
    gl_FragColor = texture2D(sTexture, vTexture) * vColor.a;
}
)");

// The exact ones. Coverage is the texture's alpha times the sprite's opacity.

// Multiply's, screen's and invert's: what is not covered stays as it is.
constexpr Source CoveredFragment(uR"(precision mediump float;
uniform sampler2D sTexture;
uniform vec4 vColor;
varying vec2 vTexture;
void main() {
    vec4 t = texture2D(sTexture, vTexture) * vColor;
    gl_FragColor = vec4(t.rgb * t.a, t.a);
}
)");

// What is added to the colour below is a share of that colour; GL takes no share above 1.
constexpr Source ExactDodgeFragment(uR"(precision mediump float;
uniform sampler2D sTexture;
uniform vec4 vColor;
varying vec2 vTexture;
void main() {
    vec4 t = texture2D(sTexture, vTexture) * vColor;
    vec3 c = min(vec3(0.5), t.rgb);
    gl_FragColor = vec4(t.a * c / (vec3(1.0) - c), t.a);
}
)");

/** GL's blend factors of the colours. */
struct Factors {
    GLenum source;
    GLenum destination;
};

constexpr Factors GetFactors(int nBlendMode) {
    switch (nBlendMode) {
    case BlendMode::Additive:
        return {GL_SRC_ALPHA, GL_ONE};
    case BlendMode::Multiply:
    case BlendMode::ColorDodge: // its program gives 1 / (1 - colour)
        return {GL_DST_COLOR, GL_ONE_MINUS_SRC_ALPHA};
    case BlendMode::Screen:
        return {GL_ONE_MINUS_DST_COLOR, GL_ONE};
    case BlendMode::Invert:
        return {GL_ONE_MINUS_DST_COLOR, GL_ONE_MINUS_SRC_COLOR};
    default: // Normal, and values without a name
        return {GL_SRC_ALPHA, GL_ONE_MINUS_SRC_ALPHA};
    }
}

constexpr Factors GetExactFactors(int nBlendMode) {
    return nBlendMode == BlendMode::ColorDodge ? Factors{GL_DST_COLOR, GL_ONE} : GetFactors(nBlendMode);
}

} // namespace

void VertexAttribSetup_BlendMode_ColorDodge(ShaderProgramGL2* pProgram) {
    NamePositionAndTexture(pProgram);
}

void VertexAttribSetup_BlendMode_Multiply(ShaderProgramGL2* pProgram) {
    NamePositionAndTexture(pProgram);
}

void VertexAttribSetup_BlendMode_Screen(ShaderProgramGL2* pProgram) {
    NamePositionAndTexture(pProgram);
}

void VertexAttribSetup_BlendMode_Exclusion(ShaderProgramGL2* pProgram) {
    NamePositionAndTexture(pProgram);
}

bool BlendModeResourceGL2::Init(GraphicsDevice& device) {
    struct Program {
        Ref<ShaderProgramGL2>& pProgram;
        ProgramParts parts;
    } const programs[] = {
        {m_colorDodgeProgram,
         {ColorDodgeFragment, ShaderSources::TexturedVertex, VertexAttribSetup_BlendMode_ColorDodge}},
        {m_multiplyProgram,
         {MultiplyFragment, ShaderSources::TexturedVertex, VertexAttribSetup_BlendMode_Multiply}},
        {m_screenProgram, {FadedFragment, ShaderSources::TexturedVertex, VertexAttribSetup_BlendMode_Screen}},
        {m_exclusionProgram,
         {FadedFragment, ShaderSources::TexturedVertex, VertexAttribSetup_BlendMode_Exclusion}},
    };
    for (Program const& program : programs) {
        program.pProgram = BuildProgram(program.parts);
        if (!program.pProgram) {
            return false;
        }
    }
    return !static_cast<GraphicsDeviceGL2&>(device).HasExactEffects() || PrepareExact();
}

/** Builds what exact effects draw with, once; false, which is traced, where it does not compile. */
bool BlendModeResourceGL2::PrepareExact() {
    if (!m_fExactAsked) {
        m_fExactAsked = true;
        m_coveredProgram =
            BuildProgram({CoveredFragment, ShaderSources::TexturedVertex, NamePositionAndTexture});
        m_exactDodgeProgram =
            BuildProgram({ExactDodgeFragment, ShaderSources::TexturedVertex, NamePositionAndTexture});
    }
    return m_coveredProgram && m_exactDodgeProgram;
}

BlendModeEffectGL2::BlendModeEffectGL2() = default;

BlendModeEffectGL2::BlendModeEffectGL2(BlendModeEffectGL2 const& other) = default;

BlendModeEffectGL2::~BlendModeEffectGL2() = default;

bool BlendModeEffectGL2::InternalInit(EffectResource* pResource) {
    m_pResource = Ref(static_cast<BlendModeResourceGL2*>(pResource));
    return true;
}

ShaderProgramGL2* BlendModeEffectGL2::ChooseProgram(GraphicsDeviceGL2& device, int nBlendMode) const {
    switch (nBlendMode) {
    case BlendMode::Screen:
        return m_pResource->m_screenProgram.Get();
    case BlendMode::ColorDodge:
        return m_pResource->m_colorDodgeProgram.Get();
    case BlendMode::Multiply:
        return m_pResource->m_multiplyProgram.Get();
    default:
        return device.GetShader(ShaderId::Textured);
    }
}

ShaderProgramGL2* BlendModeEffectGL2::ChooseExactProgram(GraphicsDeviceGL2& device, int nBlendMode) const {
    if (!m_pResource->PrepareExact()) {
        return nullptr;
    }
    switch (nBlendMode) {
    case BlendMode::Multiply:
    case BlendMode::Screen:
    case BlendMode::Invert:
        return m_pResource->m_coveredProgram.Get();
    case BlendMode::ColorDodge:
        return m_pResource->m_exactDodgeProgram.Get();
    default:
        return device.GetShader(ShaderId::Textured);
    }
}

bool BlendModeEffectGL2::OverrideDrawSprite(GraphicsDevice& device, Sprite& sprite, RealFloat opacity) {
    SpriteGL2& spriteGL2 = static_cast<SpriteGL2&>(sprite);
    TextureGL2* const pTexture = GetDrawableTexture(spriteGL2);
    if (!pTexture || !Prepare(device)) {
        return false;
    }
    GraphicsDeviceGL2& deviceGL2 = static_cast<GraphicsDeviceGL2&>(device);
    int const nBlendMode = sprite.GetBlendModeProperty().GetValue();
    bool const fExact = deviceGL2.HasExactEffects();
    ShaderProgramGL2* const pProgram =
        fExact ? ChooseExactProgram(deviceGL2, nBlendMode) : ChooseProgram(deviceGL2, nBlendMode);
    if (!pProgram) {
        return false; // the device is not up: the sprite draws nothing either
    }
    ShaderProgramGL2& program = *pProgram;
    Vector2T<RealFloat> textureCoords[4];
    (fExact ? SetFloatStreams : SetFixedStreams)(spriteGL2, textureCoords);
    deviceGL2.SetActiveShader(&program);
    program.SetSampler(UniformNames::sTexture, pTexture, 0);
    if (fExact) {
        Matrix4T<RealFloat> worldToView{Uninitialized()};
        deviceGL2.GetModelViewProjection(worldToView);
        program.SetParameter(ShaderType::Vertex, UniformNames::mWorldToView, worldToView);
    } else {
        // No projection: none of the programs declares the second matrix, and the first lacks it. Intended
        // (blend-mode-no-projection).
        program.SetParameter(ShaderType::Vertex, UniformNames::mWorldToView, deviceGL2.GetModelViewMatrix());
        program.SetParameter(ShaderType::Vertex, UniformNames::mViewToViewport, deviceGL2.ProjectionMatrix());
    }
    program.SetParameter(ShaderType::Fragment, UniformNames::vColor, Vector4T<RealFloat>(1, 1, 1, opacity));
    Factors const factors = fExact ? GetExactFactors(nBlendMode) : GetFactors(nBlendMode);
    GlState::SetBlend(factors.source, factors.destination);
    glDrawArrays(GL_TRIANGLE_STRIP, 0, 4);
    return true;
}

} // namespace trevik::kelvo
