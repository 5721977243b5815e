#include "GraphicsDeviceGL2.h"

#include "ProgramBuilder.h"
#include "ShaderCatalogue.h"
#include "ShaderSources.h"
#include "UniformNames.h"
#include "trevik/Ref.h"
#include "trevik/ScopeCounter.h"

#include <new>

namespace trevik::kelvo {

namespace {

using Name = StringEncoded<UTF16Encoding>;

struct CatalogueEntry {
    ShaderId::Enum id;
    ProgramParts parts;
};

constexpr CatalogueEntry Catalogue[] = {
    {ShaderId::Textured,
     {ShaderSources::TexturedFragment, ShaderSources::TexturedVertex, VertexAttribSetup_Default}},
    {ShaderId::Solid,
     {ShaderSources::SolidFragment, ShaderSources::SolidVertex, VertexAttribSetup_DefaultNoTex}},
    {ShaderId::PostProcess,
     {ShaderSources::PostProcessFragment, ShaderSources::QuadVertex, VertexAttribSetup_DefaultPost}},
    {ShaderId::AlphaTested,
     {ShaderSources::AlphaTestedFragment, ShaderSources::TexturedVertex, VertexAttribSetup_DefaultAlphaTest}},
    {ShaderId::Text, {ShaderSources::TextFragment, ShaderSources::TextVertex, VertexAttribSetup_Text}},
    {ShaderId::TextUnderline,
     {ShaderSources::TextUnderlineFragment, ShaderSources::TextUnderlineVertex,
      VertexAttribSetup_TextUnderline}},
    {ShaderId::TextImage,
     {ShaderSources::TextImageFragment, ShaderSources::TextImageVertex, VertexAttribSetup_TextImage}},
    {ShaderId::SeparateAlpha,
     {ShaderSources::SeparateAlphaFragment, ShaderSources::SeparateAlphaVertex,
      VertexAttribSetup_Default_RGBA_ETC1}},
    {ShaderId::SeparateAlphaTested,
     {ShaderSources::SeparateAlphaTestedFragment, ShaderSources::SeparateAlphaVertex,
      VertexAttribSetup_DefaultAlphaTest_RGBA_ETC1}},
    {ShaderId::TexturedEdges,
     {ShaderSources::TexturedEdgesFragment, ShaderSources::TexturedEdgesVertex, VertexAttribSetup_AALine}},
    {ShaderId::SolidEdges,
     {ShaderSources::SolidEdgesFragment, ShaderSources::SolidEdgesVertex, VertexAttribSetup_AALine_Solid}},
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
        RegisterShader(programs[i].Get(), Catalogue[i].id);
        if (!m_shaders.Holds(programs[i].Get())) {
            return false; // no memory for the table
        }
    }
    for (Ref<ShaderProgramGL2> const& pProgram : programs) {
        if (!pProgram->Compile()) {
            return false;
        }
    }
    // mWorldToView leads to clip space already: the matrix that these programs apply after it stays the
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
    m_pPostProcessShader = Ref<ShaderProgramGL2>(pProgram);
}

} // namespace trevik::kelvo
