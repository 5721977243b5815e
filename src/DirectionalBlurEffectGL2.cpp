#include "DirectionalBlurEffectGL2.h"

#include "FixedStreams.h"
#include "GlState.h"
#include "GraphicsDeviceGL2.h"
#include "ProgramBuilder.h"
#include "ShaderSources.h"
#include "UniformNames.h"

#include <algorithm>
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

// The exact one. Colours are summed up with their alpha, which is 0 outside of the picture. The weights fall
// evenly to both ends and add up to 1.
constexpr Source ExactFragment(uR"(#ifdef GL_FRAGMENT_PRECISION_HIGH
precision highp float;
#else
precision mediump float;
#endif
uniform sampler2D sTexture;
uniform vec4 vColor;
uniform vec4 vPicture;
uniform vec2 vOffset;
varying vec2 vTexture;
void main() {
    vec4 sum = vec4(0.0);
    for (int i = -16; i <= 16; ++i) {
        vec2 place = vTexture + float(i) / 16.0 * vOffset;
        vec2 inside = step(vPicture.xy, place) * step(place, vPicture.zw);
        vec4 t = texture2D(sTexture, place);
        sum += (17.0 - abs(float(i))) / 289.0 * inside.x * inside.y * vec4(t.rgb * t.a, t.a);
    }
    gl_FragColor = sum * vColor.a;
}
)");

/** Where the picture lies in its texture: least and greatest u and v, as (u, v, u, v). */
StringEncoded<UTF16Encoding> const& GetPictureName() {
    static StringEncoded<UTF16Encoding> const s_sName =
        StringEncoded<UTF16Encoding>::FromLiteral(u"vPicture");
    return s_sName;
}

/** A sprite's corners with their texture coordinates, grown by the reach of a blur. */
struct GrownSprite {
    /** `reach` is in texels of the texture, along the sprite's axes. */
    GrownSprite(SpriteGL2& sprite, TextureGL2 const& texture, Vector2T<RealFloat> const& reach) {
        sprite.GetTextureCoords(textureCoords);
        // From the corner (0, 0) to the others: the sprite's axes, in its own space and in its texture's.
        Vector3T<RealFloat> const* const pCorners = sprite.GetVertices().GetData();
        Vector3T<RealFloat> const right = pCorners[2] - pCorners[0];
        Vector3T<RealFloat> const up = pCorners[1] - pCorners[0];
        RealFloat const u = textureCoords[2].x - textureCoords[0].x;
        RealFloat const v = textureCoords[1].y - textureCoords[0].y;
        picture = Vector4T<RealFloat>(std::min(textureCoords[0].x, textureCoords[2].x),
                                      std::min(textureCoords[0].y, textureCoords[1].y),
                                      std::max(textureCoords[0].x, textureCoords[2].x),
                                      std::max(textureCoords[0].y, textureCoords[1].y));
        offset = Vector2T<RealFloat>(
            std::copysign(reach.x / static_cast<RealFloat>(texture.GetAllocatedWidth()), u * reach.x),
            std::copysign(reach.y / static_cast<RealFloat>(texture.GetAllocatedHeight()), v * reach.y));
        // In sizes of the sprite, which are sizes of the picture as well.
        RealFloat const growX = std::fabs(offset.x / u);
        RealFloat const growY = std::fabs(offset.y / v);
        for (int i = 0; i < 4; ++i) {
            RealFloat const x = i < 2 ? -growX : growX;
            RealFloat const y = i % 2 == 0 ? -growY : growY;
            corners[i] = pCorners[i] + right * x + up * y;
            textureCoords[i].x += u * x;
            textureCoords[i].y += v * y;
        }
    }

    Vector3T<RealFloat> corners[4];
    Vector2T<RealFloat> textureCoords[4];
    Vector4T<RealFloat> picture; ///< as GetPictureName says
    Vector2T<RealFloat> offset;  ///< the reach in texture coordinates, with signs
};

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

bool DirectionalBlurResourceGL2::Init(GraphicsDevice& device) {
    m_program = BuildProgram({SmearFragment, SmearVertex, VertexAttribSetup_DirectionalBlurEffect});
    return m_program && (!static_cast<GraphicsDeviceGL2&>(device).HasExactEffects() || PrepareExact());
}

/** Builds what exact effects draw with, once; false, which is traced, where it does not compile. */
bool DirectionalBlurResourceGL2::PrepareExact() {
    if (!m_fExactAsked) {
        m_fExactAsked = true;
        m_exactProgram = BuildProgram({ExactFragment, ShaderSources::TexturedVertex, NamePositionAndTexture});
    }
    return static_cast<bool>(m_exactProgram);
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
    if (deviceGL2.HasExactEffects()) {
        if (!m_pResource->PrepareExact()) {
            return false;
        }
        DrawExactly(deviceGL2, spriteGL2, *pTexture, opacity);
        return true;
    }
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

void DirectionalBlurEffectGL2::DrawExactly(GraphicsDeviceGL2& device, SpriteGL2& sprite, TextureGL2& texture,
                                           RealFloat opacity) const {
    ShaderProgramGL2& program = *m_pResource->m_exactProgram;
    RealFloat const amount = m_amount.GetValue();
    Vector3T<RealFloat> const& direction = m_direction.GetValue();
    GrownSprite const grown(sprite, texture, Vector2T<RealFloat>(direction.x * amount, direction.y * amount));
    GlState::SetVertexArray(VertexAttributeIndex::Position, grown.corners);
    GlState::SetVertexArray(VertexAttributeIndex::Texture, grown.textureCoords);
    device.SetActiveShader(&program);
    program.SetSampler(UniformNames::sTexture, &texture, 0);
    Matrix4T<RealFloat> worldToView{Uninitialized()};
    device.GetModelViewProjection(worldToView);
    program.SetParameter(ShaderType::Vertex, UniformNames::mWorldToView, worldToView);
    program.SetParameter(ShaderType::Fragment, UniformNames::vColor, Vector4T<RealFloat>(1, 1, 1, opacity));
    program.SetParameter(ShaderType::Fragment, UniformNames::vOffset, grown.offset);
    program.SetParameter(ShaderType::Fragment, GetPictureName(), grown.picture);
    bool const fAdditive = sprite.GetBlendModeProperty().GetValue() == BlendMode::Additive;
    GlState::SetBlend(GL_ONE, fAdditive ? GL_ONE : GL_ONE_MINUS_SRC_ALPHA); // alpha is in the colours
    glDrawArrays(GL_TRIANGLE_STRIP, 0, 4);
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
