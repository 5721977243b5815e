#include "ShaderProgramGL2.h"

#include "GlState.h"
#include "trevik/Debug.h"

namespace trevik::kelvo {

namespace {

using Text16 = StringEncoded<UTF16Encoding>;
using Text8 = StringEncoded<UTF8Encoding>;

} // namespace

ShaderProgramGL2::ShaderProgramGL2() = default;

ShaderProgramGL2::~ShaderProgramGL2() {
    if (m_ppActive) {
        *m_ppActive = nullptr;
        Unbind();
    }
    Cleanup();
}

void ShaderProgramGL2::SetSource(ShaderType::Enum type, Text16 const& sSource) {
    (type == ShaderType::Vertex ? m_sVertexSource : m_sFragmentSource) = sSource;
}

void ShaderProgramGL2::SetBinary(void const* pData, int nSize) {
    m_pBinary = pData;
    m_nBinarySize = nSize;
}

void ShaderProgramGL2::SetVertexAttributeIndex(Text16 const& sName, VertexAttributeIndex::Enum index) {
    m_attributeNames[index] = sName;
}

bool ShaderProgramGL2::Compile() {
    GLboolean fCompiler = GL_FALSE;
    glGetBooleanv(GL_SHADER_COMPILER, &fCompiler);
    // Made before anything is checked, and kept by the early ways out: intended (compile-keeps-program).
    m_nProgram = glCreateProgram();
    if (m_pBinary && m_nBinarySize != 0) {
        return false; // intended (binaries-not-loaded)
    }
    if (!fCompiler || m_sVertexSource.IsEmpty() || m_sFragmentSource.IsEmpty()) {
        return false;
    }
    m_nFragmentShader = glCreateShader(GL_FRAGMENT_SHADER);
    m_nVertexShader = glCreateShader(GL_VERTEX_SHADER);
    CompileStage(m_nVertexShader, m_sVertexSource);
    CompileStage(m_nFragmentShader, m_sFragmentSource);
    glAttachShader(m_nProgram, m_nVertexShader);
    glAttachShader(m_nProgram, m_nFragmentShader);
    BindAttributeLocations();
    glLinkProgram(m_nProgram);
    GLint nLinked = GL_FALSE;
    glGetProgramiv(m_nProgram, GL_LINK_STATUS, &nLinked);
    if (nLinked == GL_FALSE) {
        TraceLinkLog();
        TraceCompileLog(m_nVertexShader, u"[kelvo] Compiling vertex shader failed:\n%hs\n");
        TraceCompileLog(m_nFragmentShader, u"[kelvo] Compiling fragment shader failed:\n%hs\n");
        Cleanup();
        return false;
    }
    GLint nUnits = 0;
    glGetIntegerv(GL_MAX_TEXTURE_IMAGE_UNITS, &nUnits);
    // Without memory there are no units, and no sampler gets one.
    unsigned int const nCount = nUnits > 0 ? static_cast<unsigned int>(nUnits) : 0;
    if (!m_samplers.Resize(nCount)) {
        m_samplers.Clear();
    }
    return true;
}

void ShaderProgramGL2::CompileStage(unsigned int nShader, Text16 const& sSource) {
    Text8 const sText(sSource);
    char const* const pText = sText.GetData();
    glShaderSource(nShader, 1, &pText, nullptr);
    glCompileShader(nShader);
}

void ShaderProgramGL2::BindAttributeLocations() {
    for (unsigned int i = 0; i < VertexAttributeIndex::Count; ++i) {
        if (!m_attributeNames[i].IsEmpty()) {
            glBindAttribLocation(m_nProgram, i, Text8(m_attributeNames[i]).GetData());
        }
    }
}

void ShaderProgramGL2::TraceLinkLog() const {
    GLint nLength = 0;
    glGetProgramiv(m_nProgram, GL_INFO_LOG_LENGTH, &nLength);
    List<char> log;
    if (nLength > 1 && log.Resize(static_cast<unsigned int>(nLength))) {
        glGetProgramInfoLog(m_nProgram, nLength, nullptr, log.GetData());
        Debug::TraceFormat(TraceLevel::Error, u"[kelvo] glLinkProgram failed:\n%hs\n", log.GetData());
    }
}

void ShaderProgramGL2::TraceCompileLog(unsigned int nShader, char16_t const* pFormat) {
    if (nShader == 0) {
        return;
    }
    GLint nCompiled = GL_FALSE;
    glGetShaderiv(nShader, GL_COMPILE_STATUS, &nCompiled);
    if (nCompiled != GL_FALSE) {
        return;
    }
    GLint nLength = 0;
    glGetShaderiv(nShader, GL_INFO_LOG_LENGTH, &nLength);
    List<char> log;
    if (nLength > 1 && log.Resize(static_cast<unsigned int>(nLength))) {
        // The log is asked of the shader as if it were a program: intended (stage-log-query). Drivers refuse,
        // and the text stays empty.
        glGetProgramInfoLog(nShader, nLength, nullptr, log.GetData());
        Debug::TraceFormat(TraceLevel::Error, pFormat, log.GetData());
    }
}

void ShaderProgramGL2::Bind() {
    if (m_fBound) {
        return;
    }
    GlState::UseProgram(m_nProgram);
    for (unsigned int i = 0; i < VertexAttributeIndex::Count; ++i) {
        if (!m_attributeNames[i].IsEmpty()) {
            GlState::SetVertexArrayEnabled(i, true);
        }
    }
    m_fBound = true;
}

void ShaderProgramGL2::Unbind() {
    if (!m_fBound) {
        return;
    }
    for (unsigned int i = 0; i < VertexAttributeIndex::Count; ++i) {
        if (!m_attributeNames[i].IsEmpty()) {
            GlState::SetVertexArrayEnabled(i, false);
        }
    }
    for (unsigned int i = 0; i < m_samplers.GetCount(); ++i) {
        if (TextureGL2* const pTexture = m_samplers[i].m_pTexture.Get()) {
            GlState::SelectTextureUnit(i);
            GlState::BindTexture(pTexture->GetGLTextureType(), 0);
        }
    }
    GlState::UseProgram(0);
    m_fBound = false;
}

int ShaderProgramGL2::GetUniformLocation(Text16 const& sName) {
    int const nLocation = FindLocation(sName);
    return nLocation == NotAsked ? -1 : nLocation;
}

/**
 * Asked of GL once, whatever becomes of the program: intended (uniform-locations-kept). NotAsked without
 * memory for the name that GL takes.
 */
int ShaderProgramGL2::FindLocation(Text16 const& sName) {
    for (UniformLocation const& uniform : m_uniforms) {
        if (uniform.m_sName == sName) {
            return uniform.m_nLocation;
        }
    }
    Text8 const sAsked(sName);
    if (sAsked.IsEmpty() && !sName.IsEmpty()) {
        return NotAsked;
    }
    int const nLocation = glGetUniformLocation(m_nProgram, sAsked.GetData());
    m_uniforms.Append(UniformLocation{sName, nLocation});
    return nLocation;
}

int ShaderProgramGL2::FillSlot(UniformSlot::Enum slot, Text16 const& sName) {
    m_slotLocations[slot] = FindLocation(sName);
    return m_slotLocations[slot] == NotAsked ? -1 : m_slotLocations[slot];
}

unsigned int ShaderProgramGL2::FindUnit(Text16 const& sName) {
    unsigned int const nUnits = m_samplers.GetCount();
    unsigned int nFree = nUnits;
    for (unsigned int i = 0; i < nUnits; ++i) {
        if (m_samplers[i].m_sName == sName) {
            return i;
        }
        if (nFree == nUnits && m_samplers[i].m_sName.IsEmpty()) {
            nFree = i;
        }
    }
    if (nFree != nUnits) {
        m_samplers[nFree].m_sName = sName;
    }
    return nFree;
}

void ShaderProgramGL2::TraceNoUnit() {
    Debug::TraceFormat(TraceLevel::Error, u"[kelvo] Maximum number of texture units exceeded!\n");
}

void ShaderProgramGL2::Cleanup() {
    if (m_nVertexShader != 0) {
        glDeleteShader(m_nVertexShader);
        m_nVertexShader = 0;
    }
    if (m_nFragmentShader != 0) {
        glDeleteShader(m_nFragmentShader);
        m_nFragmentShader = 0;
    }
    if (m_nProgram != 0) {
        glDeleteProgram(m_nProgram);
        m_nProgram = 0;
    }
}

} // namespace trevik::kelvo
