#include "GlTape.h"

#include "Allocations.h"

#include <dlfcn.h>

#include <cstdio>
#include <cstdlib>

namespace bench {

GlTape* GlTape::s_pRecording = nullptr;

namespace {

/** What every quad of this library has. */
constexpr std::size_t VertexCount = 4;

enum Function : unsigned int {
    ActiveTexture,
    BindFramebuffer,
    BindTexture,
    BlendEquationSeparate,
    BlendFuncSeparate,
    Clear,
    DisableVertexAttribArray,
    DrawArrays,
    EnableVertexAttribArray,
    GetIntegerv,
    Uniform1f,
    Uniform1i,
    Uniform2f,
    Uniform4f,
    UniformMatrix4fv,
    UseProgram,
    VertexAttribPointer,
    Viewport
};

/** GL's own function behind one that is defined below. */
template <class Pointer>
Pointer Find(char const* pName) {
    void* const pFunction = dlsym(RTLD_NEXT, pName);
    if (pFunction == nullptr) {
        std::fprintf(stderr, "benchmark: there is no %s\n", pName);
        std::exit(1);
    }
    return reinterpret_cast<Pointer>(pFunction);
}

struct Functions {
#define KELVO_FUNCTION(name) decltype(&gl##name) m_##name = Find<decltype(&gl##name)>("gl" #name)
    KELVO_FUNCTION(ActiveTexture);
    KELVO_FUNCTION(BindFramebuffer);
    KELVO_FUNCTION(BindTexture);
    KELVO_FUNCTION(BlendEquationSeparate);
    KELVO_FUNCTION(BlendFuncSeparate);
    KELVO_FUNCTION(Clear);
    KELVO_FUNCTION(DisableVertexAttribArray);
    KELVO_FUNCTION(DrawArrays);
    KELVO_FUNCTION(EnableVertexAttribArray);
    KELVO_FUNCTION(GetIntegerv);
    KELVO_FUNCTION(Uniform1f);
    KELVO_FUNCTION(Uniform1i);
    KELVO_FUNCTION(Uniform2f);
    KELVO_FUNCTION(Uniform4f);
    KELVO_FUNCTION(UniformMatrix4fv);
    KELVO_FUNCTION(UseProgram);
    KELVO_FUNCTION(VertexAttribPointer);
    KELVO_FUNCTION(Viewport);
#undef KELVO_FUNCTION
};

Functions const& Gl() {
    static Functions const s_functions;
    return s_functions;
}

void Note(Function function, GLuint a, GLuint b = 0, GLuint c = 0, GLuint d = 0) {
    if (GlTape* const pTape = GlTape::Recording()) {
        pTape->Note({function, {a, b, c, d}, {}, 0}, nullptr, 0);
    }
}

void NoteFloats(Function function, GLint nLocation, GLfloat x, GLfloat y = 0, GLfloat z = 0, GLfloat w = 0) {
    if (GlTape* const pTape = GlTape::Recording()) {
        pTape->Note({function, {static_cast<GLuint>(nLocation)}, {x, y, z, w}, 0}, nullptr, 0);
    }
}

void NoteValues(Function function, GLuint a, GLuint b, GLuint c, void const* pValues, std::size_t nValues) {
    if (GlTape* const pTape = GlTape::Recording()) {
        pTape->Note({function, {a, b, c}, {}, 0}, static_cast<GLfloat const*>(pValues), nValues);
    }
}

} // namespace

void GlTape::Note(Call call, GLfloat const* pValues, std::size_t nValues) {
    call.m_nValues = m_values.size();
    m_values.insert(m_values.end(), pValues, pValues + nValues);
    m_calls.push_back(call);
}

void GlTape::Play() const {
    Functions const& gl = Gl();
    GLint ignored[4];
    for (Call const& call : m_calls) {
        GLuint const* const i = call.m_integers;
        GLfloat const* const f = call.m_floats;
        GLfloat const* const pValues = m_values.data() + call.m_nValues;
        GLint const nLocation = static_cast<GLint>(i[0]);
        switch (call.m_nFunction) {
        case ActiveTexture:
            gl.m_ActiveTexture(i[0]);
            break;
        case BindFramebuffer:
            gl.m_BindFramebuffer(i[0], i[1]);
            break;
        case BindTexture:
            gl.m_BindTexture(i[0], i[1]);
            break;
        case BlendEquationSeparate:
            gl.m_BlendEquationSeparate(i[0], i[1]);
            break;
        case BlendFuncSeparate:
            gl.m_BlendFuncSeparate(i[0], i[1], i[2], i[3]);
            break;
        case Clear:
            gl.m_Clear(i[0]);
            break;
        case DisableVertexAttribArray:
            gl.m_DisableVertexAttribArray(i[0]);
            break;
        case DrawArrays:
            gl.m_DrawArrays(i[0], static_cast<GLint>(i[1]), static_cast<GLsizei>(i[2]));
            break;
        case EnableVertexAttribArray:
            gl.m_EnableVertexAttribArray(i[0]);
            break;
        case GetIntegerv:
            gl.m_GetIntegerv(i[0], ignored);
            break;
        case Uniform1f:
            gl.m_Uniform1f(nLocation, f[0]);
            break;
        case Uniform1i:
            gl.m_Uniform1i(nLocation, static_cast<GLint>(i[1]));
            break;
        case Uniform2f:
            gl.m_Uniform2f(nLocation, f[0], f[1]);
            break;
        case Uniform4f:
            gl.m_Uniform4f(nLocation, f[0], f[1], f[2], f[3]);
            break;
        case UniformMatrix4fv:
            gl.m_UniformMatrix4fv(nLocation, 1, GL_FALSE, pValues);
            break;
        case UseProgram:
            gl.m_UseProgram(i[0]);
            break;
        case VertexAttribPointer:
            gl.m_VertexAttribPointer(i[0], static_cast<GLint>(i[1]), i[2], GL_FALSE, 0, pValues);
            break;
        case Viewport:
            gl.m_Viewport(static_cast<GLint>(i[0]), static_cast<GLint>(i[1]), static_cast<GLsizei>(i[2]),
                          static_cast<GLsizei>(i[3]));
            break;
        default:
            break;
        }
    }
}

} // namespace bench

// What the library calls: notes, then GL's own.
extern "C" {

using namespace bench;

void glActiveTexture(GLenum unit) {
    Note(ActiveTexture, unit);
    UncountedAllocations const driversOwn;
    Gl().m_ActiveTexture(unit);
}

void glBindFramebuffer(GLenum target, GLuint nName) {
    Note(BindFramebuffer, target, nName);
    UncountedAllocations const driversOwn;
    Gl().m_BindFramebuffer(target, nName);
}

void glBindTexture(GLenum target, GLuint nName) {
    Note(BindTexture, target, nName);
    UncountedAllocations const driversOwn;
    Gl().m_BindTexture(target, nName);
}

void glBlendEquationSeparate(GLenum colour, GLenum alpha) {
    Note(BlendEquationSeparate, colour, alpha);
    UncountedAllocations const driversOwn;
    Gl().m_BlendEquationSeparate(colour, alpha);
}

void glBlendFuncSeparate(GLenum source, GLenum target, GLenum sourceAlpha, GLenum targetAlpha) {
    Note(BlendFuncSeparate, source, target, sourceAlpha, targetAlpha);
    UncountedAllocations const driversOwn;
    Gl().m_BlendFuncSeparate(source, target, sourceAlpha, targetAlpha);
}

void glClear(GLbitfield bits) {
    Note(Clear, bits);
    UncountedAllocations const driversOwn;
    Gl().m_Clear(bits);
}

void glDisableVertexAttribArray(GLuint nIndex) {
    Note(DisableVertexAttribArray, nIndex);
    UncountedAllocations const driversOwn;
    Gl().m_DisableVertexAttribArray(nIndex);
}

void glDrawArrays(GLenum mode, GLint nFirst, GLsizei nCount) {
    Note(DrawArrays, mode, static_cast<GLuint>(nFirst), static_cast<GLuint>(nCount));
    UncountedAllocations const driversOwn;
    Gl().m_DrawArrays(mode, nFirst, nCount);
}

void glEnableVertexAttribArray(GLuint nIndex) {
    Note(EnableVertexAttribArray, nIndex);
    UncountedAllocations const driversOwn;
    Gl().m_EnableVertexAttribArray(nIndex);
}

void glGetIntegerv(GLenum name, GLint* pValues) {
    Note(GetIntegerv, name);
    UncountedAllocations const driversOwn;
    Gl().m_GetIntegerv(name, pValues);
}

void glUniform1f(GLint nLocation, GLfloat x) {
    NoteFloats(Uniform1f, nLocation, x);
    UncountedAllocations const driversOwn;
    Gl().m_Uniform1f(nLocation, x);
}

void glUniform1i(GLint nLocation, GLint nValue) {
    Note(Uniform1i, static_cast<GLuint>(nLocation), static_cast<GLuint>(nValue));
    UncountedAllocations const driversOwn;
    Gl().m_Uniform1i(nLocation, nValue);
}

void glUniform2f(GLint nLocation, GLfloat x, GLfloat y) {
    NoteFloats(Uniform2f, nLocation, x, y);
    UncountedAllocations const driversOwn;
    Gl().m_Uniform2f(nLocation, x, y);
}

void glUniform4f(GLint nLocation, GLfloat x, GLfloat y, GLfloat z, GLfloat w) {
    NoteFloats(Uniform4f, nLocation, x, y, z, w);
    UncountedAllocations const driversOwn;
    Gl().m_Uniform4f(nLocation, x, y, z, w);
}

void glUniformMatrix4fv(GLint nLocation, GLsizei nCount, GLboolean fTranspose, GLfloat const* pValues) {
    NoteValues(UniformMatrix4fv, static_cast<GLuint>(nLocation), 0, 0, pValues, 16);
    UncountedAllocations const driversOwn;
    Gl().m_UniformMatrix4fv(nLocation, nCount, fTranspose, pValues);
}

void glUseProgram(GLuint nName) {
    Note(UseProgram, nName);
    UncountedAllocations const driversOwn;
    Gl().m_UseProgram(nName);
}

void glVertexAttribPointer(GLuint nIndex, GLint nSize, GLenum type, GLboolean fNormalized, GLsizei nStride,
                           void const* pData) {
    NoteValues(VertexAttribPointer, nIndex, static_cast<GLuint>(nSize), type, pData,
               VertexCount * static_cast<std::size_t>(nSize));
    UncountedAllocations const driversOwn;
    Gl().m_VertexAttribPointer(nIndex, nSize, type, fNormalized, nStride, pData);
}

void glViewport(GLint nX, GLint nY, GLsizei nWidth, GLsizei nHeight) {
    Note(Viewport, static_cast<GLuint>(nX), static_cast<GLuint>(nY), static_cast<GLuint>(nWidth),
         static_cast<GLuint>(nHeight));
    UncountedAllocations const driversOwn;
    Gl().m_Viewport(nX, nY, nWidth, nHeight);
}
}
