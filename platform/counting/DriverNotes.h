#pragma once

#include "kelvo_counting/Counting.h"

#include <EGL/egl.h>
#include <GLES2/gl2.h>

#include <array>
#include <map>
#include <set>
#include <string>
#include <utility>

namespace kelvokit::counting {

/** The sources that a program has been linked from. */
struct ProgramSource {
    std::string sVertex;
    std::string sFragment;
};

struct TargetSize {
    GLsizei nWidth = 0;
    GLsizei nHeight = 0;
};

/** Triangles, or else lines or points: that many times a draw may write a pixel. */
GLsizei CountPrimitives(GLenum nMode, GLsizei nVertices);

/** What of the context has been seen in the calls: GL does not tell all of it. */
class DriverNotes {
public:
    /** Counts a draw of so many vertices. */
    void NoteDraw(GLenum nMode, GLsizei nVertices);
    void NoteProgram(GLuint nProgram);
    void NoteTextureUnit(GLenum nUnit) { m_nUnit = nUnit; }
    void NoteTexture(GLenum nTarget, GLuint nTexture);
    void NoteDeletedTextures(GLsizei nTextures, GLuint const* pTextures);
    void NoteBlending(GLenum nCapability, bool fEnabled);
    void NoteBlendFunction(std::array<GLenum, 4> const& function);
    void NoteBlendEquation(std::array<GLenum, 2> const& equation);
    void NoteBlendColor(std::array<GLfloat, 4> const& color);

    /** Keeps the sources of the shaders that are attached. */
    void NoteLinking(GLuint nProgram);
    void NoteDeletedProgram(GLuint nProgram) { m_sources.erase(nProgram); }
    /** Of the image that the texture or renderbuffer in use gets. */
    void NoteTextureSize(GLenum nTarget, GLint nLevel, TargetSize const& size);
    void NoteRenderbufferSize(TargetSize const& size);

    /** Keeps the error flag, so that calls of this library's own can be made. */
    void HoldError();
    /** Drops the errors that they have raised. */
    static void DropErrors();
    /** As glGetError. */
    GLenum TakeError();

    Counts counts;

    /** Null when it has not been linked. */
    ProgramSource const* FindSource(GLuint nProgram) const;
    /** Of what a framebuffer's colour is attached to; no size where it is not known. */
    TargetSize GetColorSize() const;

private:
    template <class State>
    void NoteBlend(State& state, State const& value);

    GLenum m_nHeldError = GL_NO_ERROR;
    GLuint m_nProgram = 0;
    GLenum m_nUnit = GL_TEXTURE0;
    std::map<std::pair<GLenum, GLenum>, GLuint> m_textures; ///< by unit and target
    bool m_fBlending = false;
    std::array<GLenum, 4> m_blendFunction{GL_ONE, GL_ZERO, GL_ONE, GL_ZERO};
    std::array<GLenum, 2> m_blendEquation{GL_FUNC_ADD, GL_FUNC_ADD};
    std::array<GLfloat, 4> m_blendColor{};
    std::map<GLuint, ProgramSource> m_sources;
    std::map<GLuint, TargetSize> m_textureSizes; ///< of level 0
    std::map<GLuint, TargetSize> m_renderbufferSizes;
};

DriverNotes& TheNotes();

} // namespace kelvokit::counting
