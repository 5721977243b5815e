#include "DriverNotes.h"

#include "DriverFunctions.h"

#include <algorithm>
#include <vector>

namespace kelvokit::counting {

namespace {

bool HasTriangles(GLenum nMode) {
    return nMode == GL_TRIANGLES || nMode == GL_TRIANGLE_STRIP || nMode == GL_TRIANGLE_FAN;
}

std::string GetSource(GLuint nShader) {
    GLint nLength = 0;
    Gl().glGetShaderiv(nShader, GL_SHADER_SOURCE_LENGTH, &nLength);
    std::vector<GLchar> text(nLength > 0 ? static_cast<std::size_t>(nLength) : 1);
    GLsizei nWritten = 0;
    Gl().glGetShaderSource(nShader, static_cast<GLsizei>(text.size()), &nWritten, text.data());
    return std::string(text.data(), static_cast<std::size_t>(nWritten));
}

GLuint GetName(GLenum nBinding) {
    GLint nName = 0;
    Gl().glGetIntegerv(nBinding, &nName);
    return static_cast<GLuint>(nName);
}

template <class Sizes>
TargetSize FindSize(Sizes const& sizes, GLint nName) {
    auto const found = sizes.find(static_cast<GLuint>(nName));
    return found == sizes.end() ? TargetSize() : found->second;
}

} // namespace

GLsizei CountPrimitives(GLenum nMode, GLsizei nVertices) {
    if (!HasTriangles(nMode)) {
        return std::max(nVertices, 0); // at most
    }
    return std::max(nMode == GL_TRIANGLES ? nVertices / 3 : nVertices - 2, 0);
}

DriverNotes& TheNotes() {
    static DriverNotes& s_notes = *new DriverNotes; // for calls that come as late as they may
    return s_notes;
}

void DriverNotes::NoteDraw(GLenum nMode, GLsizei nVertices) {
    ++counts.nDraws;
    counts.nTriangles +=
        HasTriangles(nMode) ? static_cast<unsigned long long>(CountPrimitives(nMode, nVertices)) : 0;
}

void DriverNotes::NoteProgram(GLuint nProgram) {
    ++(nProgram == m_nProgram ? counts.nProgramRepetitions : counts.nProgramChanges);
    m_nProgram = nProgram;
}

void DriverNotes::NoteTexture(GLenum nTarget, GLuint nTexture) {
    GLuint& nBound = m_textures[{m_nUnit, nTarget}];
    ++(nTexture == nBound ? counts.nTextureRepetitions : counts.nTextureChanges);
    nBound = nTexture;
}

void DriverNotes::NoteDeletedTextures(GLsizei nTextures, GLuint const* pTextures) {
    std::set<GLuint> const deleted(pTextures, pTextures + (nTextures > 0 ? nTextures : 0));
    for (auto& bound : m_textures) {
        if (deleted.count(bound.second) > 0) {
            bound.second = 0;
        }
    }
    for (GLuint const nTexture : deleted) {
        m_textureSizes.erase(nTexture);
    }
}

template <class State>
void DriverNotes::NoteBlend(State& state, State const& value) {
    ++(state == value ? counts.nBlendRepetitions : counts.nBlendChanges);
    state = value;
}

void DriverNotes::NoteBlending(GLenum nCapability, bool fEnabled) {
    if (nCapability == GL_BLEND) {
        NoteBlend(m_fBlending, fEnabled);
    }
}

void DriverNotes::NoteBlendFunction(std::array<GLenum, 4> const& function) {
    NoteBlend(m_blendFunction, function);
}

void DriverNotes::NoteBlendEquation(std::array<GLenum, 2> const& equation) {
    NoteBlend(m_blendEquation, equation);
}

void DriverNotes::NoteBlendColor(std::array<GLfloat, 4> const& color) {
    NoteBlend(m_blendColor, color);
}

void DriverNotes::NoteLinking(GLuint nProgram) {
    std::array<GLuint, 2> shaders{};
    GLsizei nShaders = 0;
    Gl().glGetAttachedShaders(nProgram, static_cast<GLsizei>(shaders.size()), &nShaders, shaders.data());
    ProgramSource source;
    for (std::size_t n = 0; n < static_cast<std::size_t>(nShaders); ++n) {
        GLint nType = 0;
        Gl().glGetShaderiv(shaders[n], GL_SHADER_TYPE, &nType);
        (nType == GL_VERTEX_SHADER ? source.sVertex : source.sFragment) = GetSource(shaders[n]);
    }
    m_sources[nProgram] = source;
}

ProgramSource const* DriverNotes::FindSource(GLuint nProgram) const {
    auto const found = m_sources.find(nProgram);
    return found == m_sources.end() ? nullptr : &found->second;
}

void DriverNotes::HoldError() {
    GLenum const nError = Gl().glGetError();
    m_nHeldError = m_nHeldError == GL_NO_ERROR ? nError : m_nHeldError;
}

void DriverNotes::DropErrors() {
    constexpr int MostFlags = 16; // a lost context answers for ever
    for (int nFlag = 0; nFlag < MostFlags && Gl().glGetError() != GL_NO_ERROR; ++nFlag) {}
}

GLenum DriverNotes::TakeError() {
    GLenum const nHeld = m_nHeldError;
    m_nHeldError = GL_NO_ERROR;
    return nHeld == GL_NO_ERROR ? Gl().glGetError() : nHeld;
}

void DriverNotes::NoteTextureSize(GLenum nTarget, GLint nLevel, TargetSize const& size) {
    if (nTarget == GL_TEXTURE_2D && nLevel == 0) {
        m_textureSizes[GetName(GL_TEXTURE_BINDING_2D)] = size;
    }
}

void DriverNotes::NoteRenderbufferSize(TargetSize const& size) {
    m_renderbufferSizes[GetName(GL_RENDERBUFFER_BINDING)] = size;
}

TargetSize DriverNotes::GetColorSize() const {
    auto const ask = [](GLenum nWhat) {
        GLint nAnswer = 0;
        Gl().glGetFramebufferAttachmentParameteriv(GL_FRAMEBUFFER, GL_COLOR_ATTACHMENT0, nWhat, &nAnswer);
        return nAnswer;
    };
    GLint const nType = ask(GL_FRAMEBUFFER_ATTACHMENT_OBJECT_TYPE);
    if (nType == GL_NONE) {
        return TargetSize();
    }
    GLint const nName = ask(GL_FRAMEBUFFER_ATTACHMENT_OBJECT_NAME);
    return nType == GL_TEXTURE ? FindSize(m_textureSizes, nName) : FindSize(m_renderbufferSizes, nName);
}

} // namespace kelvokit::counting
