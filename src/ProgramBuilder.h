#pragma once

#include "ShaderProgramGL2.h"
#include "trevik/Ref.h"

#include <new>

namespace trevik::kelvo {

/** What a program is made of: sources over literal storage and the function that names its attributes. */
struct ProgramParts {
    StringLiteral<UTF16Encoding> m_fragment;
    StringLiteral<UTF16Encoding> m_vertex;
    void (*m_pfnSetup)(ShaderProgramGL2*);
};

/** A program with these parts, not compiled yet; null without memory. */
inline Ref<ShaderProgramGL2> CreateProgram(ProgramParts const& parts) {
    Ref<ShaderProgramGL2> pProgram(new (std::nothrow) ShaderProgramGL2);
    if (pProgram) {
        pProgram->SetSource(ShaderType::Fragment, parts.m_fragment);
        pProgram->SetSource(ShaderType::Vertex, parts.m_vertex);
        parts.m_pfnSetup(pProgram.Get());
    }
    return pProgram;
}

/** The same, compiled; null when that fails. Render thread. */
inline Ref<ShaderProgramGL2> BuildProgram(ProgramParts const& parts) {
    Ref<ShaderProgramGL2> pProgram = CreateProgram(parts);
    return pProgram && pProgram->Compile() ? pProgram : Ref<ShaderProgramGL2>();
}

/** Names the attributes of programs that take positions and texture coordinates. */
inline void NamePositionAndTexture(ShaderProgramGL2* pProgram) {
    pProgram->SetVertexAttributeIndex(StringEncoded<UTF16Encoding>::FromLiteral(u"vInPosition"),
                                      VertexAttributeIndex::Position);
    pProgram->SetVertexAttributeIndex(StringEncoded<UTF16Encoding>::FromLiteral(u"vInTexture"),
                                      VertexAttributeIndex::Texture);
}

} // namespace trevik::kelvo
