#include "DirectionalBlurEffectGL2.h"

#include "FixedStreams.h"
#include "GlState.h"
#include "GraphicsDeviceGL2.h"
#include "ProgramBuilder.h"
#include "UniformNames.h"

#include <cmath>

namespace trevik::kelvo {

namespace {

using Source = StringLiteral<UTF16Encoding>;

constexpr Source SmearVertex(uR"(attribute vec4 vInPosition;
attribute vec2 vInTexture;
uniform mat4 mWorldToView;
uniform mat4 mViewToViewport;
uniform mat4 mTextureScale;
varying vec2 vTexture;
void main() {
    gl_Position = mViewToViewport * mWorldToView * vInPosition;
    vTexture = (mTextureScale * vec4(vInTexture, 0.0, 1.0)).xy;
}
)");

// Nine taps along the direction, a quarter of the offset apart, on two rows of the texture even without an
// offset: intended (directional-blur-two-rows).
constexpr Source SmearFragment(uR"(precision mediump float;
uniform sampler2D sTexture;
uniform vec4 vColor;
uniform vec2 vOffset;
uniform vec2 vTextureScale;
varying vec2 vTexture;
vec4 tap(vec2 place) {
    return texture2D(sTexture, vTexture + place + vTextureScale) +
           texture2D(sTexture, vTexture + place - vTextureScale);
}
void main() {
    vec2 step = vOffset / 4.0;
    vec4 sum = 0.06 * (tap(-4.0 * step) + tap(4.0 * step)) + 0.09 * (tap(-3.0 * step) + tap(3.0 * step)) +
               0.12 * (tap(-2.0 * step) + tap(2.0 * step)) + 0.15 * (tap(-step) + tap(step)) +
               0.16 * tap(vec2(0.0, 0.0));
    gl_FragColor = sum * 0.5 * vColor;
}
)");

/** The identity with x and y scaled. */
Matrix4T<RealFloat> MakeScale(RealFloat x, RealFloat y) {
    Matrix4T<RealFloat> scale;
    scale[0] = x;
    scale[5] = y;
    return scale;
}

} // namespace

void VertexAttribSetup_DirectionalBlurEffect(ShaderProgramGL2* pProgram) {
    NamePositionAndTexture(pProgram);
}

bool DirectionalBlurResourceGL2::Init(GraphicsDevice&) {
    m_program = BuildProgram({SmearFragment, SmearVertex, VertexAttribSetup_DirectionalBlurEffect});
    return static_cast<bool>(m_program);
}

DirectionalBlurEffectGL2::DirectionalBlurEffectGL2() = default;

DirectionalBlurEffectGL2::DirectionalBlurEffectGL2(DirectionalBlurEffectGL2 const& other) = default;

DirectionalBlurEffectGL2::~DirectionalBlurEffectGL2() = default;

bool DirectionalBlurEffectGL2::InternalInit(EffectResource* pResource) {
    m_pResource = Ref(static_cast<DirectionalBlurResourceGL2*>(pResource));
    return true;
}

bool DirectionalBlurEffectGL2::OverrideDrawSprite(GraphicsDevice& device, Sprite& sprite, RealFloat opacity) {
    SpriteGL2& spriteGL2 = static_cast<SpriteGL2&>(sprite);
    TextureGL2* const pTexture = GetDrawableTexture(spriteGL2);
    if (!pTexture || !Prepare(device)) {
        return false;
    }
    GraphicsDeviceGL2& deviceGL2 = static_cast<GraphicsDeviceGL2&>(device);
    ShaderProgramGL2& program = *m_pResource->m_program;
    Vector2T<RealFloat> textureCoords[4];
    SetFixedStreams(spriteGL2, textureCoords);
    deviceGL2.SetActiveShader(&program);
    program.SetSampler(UniformNames::sTexture, pTexture, 0);
    SetParameters(deviceGL2, *pTexture, opacity);
    bool const fAdditive = sprite.GetBlendModeProperty().GetValue() == BlendMode::Additive;
    GlState::SetBlend(GL_SRC_ALPHA, fAdditive ? GL_ONE : GL_ONE_MINUS_SRC_ALPHA);
    glDrawArrays(GL_TRIANGLE_STRIP, 0, 4);
    return true;
}

/** Sets the program's uniforms: quad and texture area grow by the reach, in texture coordinates, centred. */
void DirectionalBlurEffectGL2::SetParameters(GraphicsDeviceGL2& device, TextureGL2 const& texture,
                                             RealFloat opacity) const {
    ShaderProgramGL2& program = *m_pResource->m_program;
    RealFloat const width = static_cast<RealFloat>(texture.GetAllocatedWidth());
    RealFloat const height = static_cast<RealFloat>(texture.GetAllocatedHeight());
    RealFloat const amount = m_amount.GetValue();
    Vector3T<RealFloat> const& direction = m_direction.GetValue();
    Vector2T<RealFloat> const reach(std::fabs(direction.x) * amount / width,
                                    std::fabs(direction.y) * amount / height);
    Matrix4T<RealFloat> const scale = MakeScale(1 + reach.x, 1 + reach.y);
    Matrix4T<RealFloat> shift;
    shift[12] = RealFloat(-0.5) * reach.x;
    shift[13] = RealFloat(-0.5) * reach.y;
    // Scaled about the middle of the view: intended (directional-blur-centre).
    program.SetParameter(ShaderType::Vertex, UniformNames::mWorldToView, device.GetModelViewMatrix() * scale);
    program.SetParameter(ShaderType::Vertex, UniformNames::mViewToViewport, device.ProjectionMatrix());
    program.SetParameter(ShaderType::Vertex, UniformNames::mTextureScale, scale * shift);
    program.SetParameter(ShaderType::Fragment, UniformNames::vColor, Vector4T<RealFloat>(1, 1, 1, opacity));
    program.SetParameter(ShaderType::Fragment, UniformNames::vOffset, reach);
    program.SetParameter(ShaderType::Fragment, UniformNames::vTextureScale,
                         Vector2T<RealFloat>(1 / width, 1 / height));
}

} // namespace trevik::kelvo
