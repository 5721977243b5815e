#include "GraphicsDeviceGL2.h"

#include "ProgramBuilder.h"
#include "ShaderCatalogue.h"
#include "SharedShaders.h"
#include "UniformNames.h"
#include "trevik/Ref.h"
#include "trevik/ScopeCounter.h"

#include <new>

namespace trevik::kelvo {

namespace {

using Source = StringLiteral<UTF16Encoding>;
using Name = StringEncoded<UTF16Encoding>;

// The vertex shaders. Where there is no mViewToViewport, mWorldToView alone takes positions to clip space.

constexpr Source SolidVertex(uR"(attribute vec4 vInPosition;
uniform mat4 mWorldToView;
void main() {
    gl_Position = mWorldToView * vInPosition;
}
)");

constexpr Source TextVertex(uR"(attribute vec4 vInPosition;
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

constexpr Source TextUnderlineVertex(uR"(attribute vec4 vInPosition;
attribute vec4 vInColor;
uniform mat4 mWorldToView;
uniform mat4 mViewToViewport;
varying vec4 vColor;
void main() {
    gl_Position = mViewToViewport * mWorldToView * vInPosition;
    vColor = vInColor;
}
)");

constexpr Source TextImageVertex(uR"(attribute vec4 vInPosition;
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

constexpr Source SeparateAlphaVertex(uR"(attribute vec4 vInPosition;
attribute vec2 vInTexture;
uniform mat4 mWorldToView;
uniform mat4 mViewToViewport;
varying vec2 vTexture;
void main() {
    gl_Position = mViewToViewport * mWorldToView * vInPosition;
    vTexture = vInTexture;
}
)");

constexpr Source TexturedEdgesVertex(uR"(attribute vec4 vInPosition;
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

constexpr Source SolidEdgesVertex(uR"(attribute vec4 vInPosition;
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

constexpr Source TexturedFragment(uR"(precision mediump float;
uniform sampler2D sTexture;
uniform vec4 vColor;
varying vec2 vTexture;
void main() {
    gl_FragColor = texture2D(sTexture, vTexture) * vColor;
}
)");

constexpr Source SolidFragment(uR"(precision mediump float;
uniform vec4 vColor;
void main() {
    gl_FragColor = vColor;
}
)");

// sDepth is bound and does not enter the result: intended (post-process-depth).
constexpr Source PostProcessFragment(uR"(precision mediump float;
uniform sampler2D sColor;
uniform sampler2D sDepth;
varying vec2 vTexture;
void main() {
    gl_FragColor = texture2D(sColor, vTexture);
}
)");

constexpr Source AlphaTestedFragment(uR"(precision mediump float;
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

constexpr Source TextFragment(uR"(precision mediump float;
uniform sampler2D sTexture;
uniform float fFade;
varying vec2 vTexture;
varying vec4 vColor;
void main() {
    vec4 tex = texture2D(sTexture, vTexture);
    gl_FragColor = vec4(vColor.r, vColor.g, vColor.b, vColor.a * tex.a * fFade);
}
)");

constexpr Source TextUnderlineFragment(uR"(precision mediump float;
uniform float fFade;
varying vec4 vColor;
void main() {
    gl_FragColor = vec4(vColor.rgb, vColor.a * fFade);
}
)");

constexpr Source TextImageFragment(uR"(precision mediump float;
uniform sampler2D sTexture;
uniform vec4 vColor;
varying vec2 vTexture;
varying float fFade;
void main() {
    vec4 tex = texture2D(sTexture, vTexture);
    gl_FragColor = vec4(tex.r, tex.g, tex.b, vColor.a * tex.a * fFade);
}
)");

constexpr Source SeparateAlphaFragment(uR"(precision mediump float;
uniform sampler2D sTexture;
uniform sampler2D sTextureA;
uniform vec4 vColor;
varying vec2 vTexture;
void main() {
    gl_FragColor = vec4(texture2D(sTexture, vTexture).rgb, texture2D(sTextureA, vTexture).r) * vColor;
}
)");

// The test takes the alpha of the colour texture, not that of the alpha texture: intended (etc1-alpha-test).
constexpr Source SeparateAlphaTestedFragment(uR"(precision mediump float;
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

constexpr Source TexturedEdgesFragment(
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

constexpr Source
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

struct CatalogueEntry {
    int nId;
    ProgramParts parts;
};

constexpr CatalogueEntry Catalogue[] = {
    {ShaderId::Textured, {TexturedFragment, TexturedVertex, VertexAttribSetup_Default}},
    {ShaderId::Solid, {SolidFragment, SolidVertex, VertexAttribSetup_DefaultNoTex}},
    {ShaderId::PostProcess, {PostProcessFragment, QuadVertex, VertexAttribSetup_DefaultPost}},
    {ShaderId::AlphaTested, {AlphaTestedFragment, TexturedVertex, VertexAttribSetup_DefaultAlphaTest}},
    {ShaderId::Text, {TextFragment, TextVertex, VertexAttribSetup_Text}},
    {ShaderId::TextUnderline, {TextUnderlineFragment, TextUnderlineVertex, VertexAttribSetup_TextUnderline}},
    {ShaderId::TextImage, {TextImageFragment, TextImageVertex, VertexAttribSetup_TextImage}},
    {ShaderId::SeparateAlpha,
     {SeparateAlphaFragment, SeparateAlphaVertex, VertexAttribSetup_Default_RGBA_ETC1}},
    {ShaderId::SeparateAlphaTested,
     {SeparateAlphaTestedFragment, SeparateAlphaVertex, VertexAttribSetup_DefaultAlphaTest_RGBA_ETC1}},
    {ShaderId::TexturedEdges, {TexturedEdgesFragment, TexturedEdgesVertex, VertexAttribSetup_AALine}},
    {ShaderId::SolidEdges, {SolidEdgesFragment, SolidEdgesVertex, VertexAttribSetup_AALine_Solid}},
};

constexpr unsigned int CatalogueCount = sizeof(Catalogue) / sizeof(Catalogue[0]);

void SetPosition(ShaderProgramGL2* pProgram) {
    pProgram->SetVertexAttributeIndex(Name::FromLiteral(u"vInPosition"), VertexAttributeIndex::Position);
}

void SetEdgeEquations(ShaderProgramGL2* pProgram) {
    pProgram->SetVertexAttributeIndex(Name::FromLiteral(u"vInE0"), VertexAttributeIndex::EdgeEquation0);
    pProgram->SetVertexAttributeIndex(Name::FromLiteral(u"vInE1"), VertexAttributeIndex::EdgeEquation1);
    pProgram->SetVertexAttributeIndex(Name::FromLiteral(u"vInE2"), VertexAttributeIndex::EdgeEquation2);
    pProgram->SetVertexAttributeIndex(Name::FromLiteral(u"vInE3"), VertexAttributeIndex::EdgeEquation3);
}

} // namespace

void VertexAttribSetup_Default(ShaderProgramGL2* pProgram) {
    NamePositionAndTexture(pProgram);
}

void VertexAttribSetup_DefaultNoTex(ShaderProgramGL2* pProgram) {
    SetPosition(pProgram);
}

void VertexAttribSetup_DefaultPost(ShaderProgramGL2* pProgram) {
    NamePositionAndTexture(pProgram);
}

void VertexAttribSetup_DefaultAlphaTest(ShaderProgramGL2* pProgram) {
    NamePositionAndTexture(pProgram);
}

void VertexAttribSetup_Text(ShaderProgramGL2* pProgram) {
    NamePositionAndTexture(pProgram);
    pProgram->SetVertexAttributeIndex(Name::FromLiteral(u"vInColor"), VertexAttributeIndex::Color);
}

void VertexAttribSetup_TextUnderline(ShaderProgramGL2* pProgram) {
    SetPosition(pProgram);
    pProgram->SetVertexAttributeIndex(Name::FromLiteral(u"vInColor"), VertexAttributeIndex::Color);
}

void VertexAttribSetup_TextImage(ShaderProgramGL2* pProgram) {
    NamePositionAndTexture(pProgram);
    pProgram->SetVertexAttributeIndex(Name::FromLiteral(u"fInFade"), VertexAttributeIndex::Fade);
}

void VertexAttribSetup_Default_RGBA_ETC1(ShaderProgramGL2* pProgram) {
    NamePositionAndTexture(pProgram);
}

void VertexAttribSetup_DefaultAlphaTest_RGBA_ETC1(ShaderProgramGL2* pProgram) {
    NamePositionAndTexture(pProgram);
}

void VertexAttribSetup_AALine(ShaderProgramGL2* pProgram) {
    NamePositionAndTexture(pProgram);
    SetEdgeEquations(pProgram);
}

void VertexAttribSetup_AALine_Solid(ShaderProgramGL2* pProgram) {
    SetPosition(pProgram);
    SetEdgeEquations(pProgram);
}

bool GraphicsDeviceGL2::InitializeShaders() {
    ScopeCounter const counter(ScopeCounter::ShaderInitialization, true);
    Ref<ShaderProgramGL2> programs[CatalogueCount];
    for (unsigned int i = 0; i < CatalogueCount; ++i) {
        programs[i] = CreateProgram(Catalogue[i].parts);
        if (!programs[i]) {
            return false;
        }
        RegisterShader(programs[i].Get(), Catalogue[i].nId);
        if (!m_shaders.Holds(programs[i].Get())) {
            return false; // no memory for the table
        }
    }
    for (Ref<ShaderProgramGL2> const& pProgram : programs) {
        if (!pProgram->Compile()) {
            return false;
        }
    }
    // Renderers give mWorldToView all the way to clip space; what some programs multiply in after it is the
    // identity.
    for (ShaderId::Enum const id : {ShaderId::TextUnderline, ShaderId::TextImage, ShaderId::SeparateAlpha,
                                    ShaderId::SeparateAlphaTested}) {
        ShaderProgramGL2* const pProgram = programs[ShaderId::Textured - id].Get();
        SetActiveShader(pProgram);
        pProgram->SetParameter(ShaderType::Vertex, UniformNames::mViewToViewport,
                               Matrix4T<RealFloat>::Identity);
    }
    SetActiveShader(nullptr);
    return true;
}

int GraphicsDeviceGL2::RegisterShader(ShaderProgramGL2* pProgram, int nId) {
    int const nIndex = m_shaders.Add(nId, pProgram);
    if (nIndex < 0) {
        return 0;
    }
    unsigned int const nPlace = 0u - static_cast<unsigned int>(nId);
    if (nPlace < BuiltInPlaces && !m_builtIn[nPlace]) { // the first one under an id counts
        m_builtIn[nPlace] = pProgram;
    }
    return nIndex;
}

void GraphicsDeviceGL2::ChangeActiveShader(ShaderProgramGL2* pProgram) {
    if (m_pActiveShader) {
        m_pActiveShader->m_ppActive = nullptr;
        m_pActiveShader->Unbind();
    }
    m_pActiveShader = pProgram;
    if (pProgram) {
        pProgram->m_ppActive = &m_pActiveShader;
        pProgram->Bind();
    }
}

void GraphicsDeviceGL2::SetPostProccessShader(ShaderProgramGL2* pProgram) {
    ShaderProgramGL2* const pBefore = m_pPostProcessShader;
    m_pPostProcessShader = pProgram;
    pProgram->AddReference();
    if (pBefore) {
        pBefore->ReleaseReference();
    }
}

} // namespace trevik::kelvo
