#pragma once

#include "trevik/Color.h"
#include "trevik/Types.h"

#include <GLES2/gl2.h>

#include <cstddef>

/**
 * Every change that this library makes to the state of its GL context, each by one name: which calls it
 * makes, who sets it, and who relies on it. The calls are made each time: nothing is remembered here. Draws,
 * clears, uniforms, uploads, and what a framebuffer or a program consists of are no state of the context and
 * stand where they are needed. Render thread, with the device's context current. Nothing is answered: GL
 * notes an error where it refuses.
 */
namespace trevik::kelvo::GlState {

/** One of GL's switches. Calls glEnable or glDisable. For the functions below, which name the switches. */
inline void SetSwitch(GLenum name, bool fOn) {
    if (fOn) {
        glEnable(name);
    } else {
        glDisable(name);
    }
}

// Blending.

/** Calls glEnable(GL_BLEND). Set once, when the device starts; all draws rely on it. */
inline void EnableBlending() {
    SetSwitch(GL_BLEND, true);
}

/**
 * What happens to the colours of source and target; their alpha always adds up as coverage. Calls
 * glBlendFuncSeparate and glBlendEquationSeparate. Set by each draw of a blend mode or a directional blur.
 * Underlines, edges, masks, polygonal glyphs and full-screen quads set nothing and blend as the draw before.
 */
inline void SetBlend(GLenum source, GLenum destination) {
    glBlendFuncSeparate(source, destination, GL_ONE, GL_ONE_MINUS_SRC_ALPHA);
    glBlendEquationSeparate(GL_FUNC_ADD, GL_FUNC_ADD);
}

/** SetBlend for straight alpha: what every draw of a sprite, a nine-patch, glyphs or glyph images sets. */
inline void SetPlainBlend() {
    SetBlend(GL_SRC_ALPHA, GL_ONE_MINUS_SRC_ALPHA);
}

// What is drawn where.

/**
 * Pixels of the target, y up. Calls glViewport. Set by the device's SetViewport; a framebuffer sets its own
 * size while it is bound and puts back what was there. All draws rely on it.
 */
inline void SetViewport(GLint nX, GLint nY, GLsizei nWidth, GLsizei nHeight) {
    glViewport(nX, nY, nWidth, nHeight);
}

/** Calls glDisable(GL_SCISSOR_TEST). Set once, when the device starts; draws and clears rely on it. */
inline void DisableScissorTest() {
    SetSwitch(GL_SCISSOR_TEST, false);
}

/**
 * Calls glDisable(GL_CULL_FACE). Set once, when the device starts; nodes that are mirrored or seen from
 * behind rely on it.
 */
inline void DisableCulling() {
    SetSwitch(GL_CULL_FACE, false);
}

/** Calls glFrontFace(GL_CCW). Set once, when the device starts; nothing relies on it without culling. */
inline void SetFrontFaceCounterClockwise() {
    glFrontFace(GL_CCW);
}

/** Pixels. Calls glLineWidth. Set by antialiased edges, which alone draw lines; it stays afterwards. */
inline void SetLineWidth(GLfloat rWidth) {
    glLineWidth(rWidth);
}

// Depth.

/**
 * Calls glEnable or glDisable(GL_DEPTH_TEST). Set off when the device starts, then by its
 * SetDepthTestEnabled, which timelines call and which remembers what it has set; all draws rely on it.
 */
inline void SetDepthTest(bool fOn) {
    SetSwitch(GL_DEPTH_TEST, fOn);
}

/**
 * Whether draws and clears write depth. Calls glDepthMask. Off while masks are drawn, on again after them,
 * as it is from the start of the context; Clear and depth-tested draws rely on it.
 */
inline void SetDepthWrite(bool fOn) {
    glDepthMask(fOn ? GL_TRUE : GL_FALSE);
}

// Colour.

/** Calls glClearColor. Set by the device: opaque black at its start, then by SetClearColor. */
inline void SetClearColor(ColorT<RealFloat> const& color) {
    glClearColor(color.r, color.g, color.b, color.a);
}

/**
 * Whether draws and clears write red, green, blue and alpha. Calls glColorMask. Off while masks are drawn, on
 * again after them, as it is from the start of the context; Clear and all draws rely on it.
 */
inline void SetColorWrite(bool fOn) {
    GLboolean const fWrite = fOn ? GL_TRUE : GL_FALSE;
    glColorMask(fWrite, fWrite, fWrite, fWrite);
}

// Stencil: its values count the masks that a pixel lies inside of.

/** Calls glClearStencil(0). Set once, when the device starts; masks count from there after each Clear. */
inline void SetClearStencilToZero() {
    glClearStencil(0);
}

/**
 * Calls glEnable or glDisable(GL_STENCIL_TEST). Off when the device starts; on from the outermost masks'
 * beginning to their end; draws without masks rely on its being off.
 */
inline void SetStencilTest(bool fOn) {
    SetSwitch(GL_STENCIL_TEST, fOn);
}

/**
 * Lets draws pass where the stencil value is the level, and change it there as `change` says, such as
 * GL_INCR; GL_KEEP changes nothing. Calls glStencilFunc and glStencilOp. Set by masks, before and after they
 * are drawn; draws inside of masks rely on it. It stays after the last mask, without a test.
 */
inline void SetStencilLevel(unsigned int nLevel, GLenum change) {
    constexpr GLuint AllBits = 0xFFFFFFFF;
    glStencilFunc(GL_EQUAL, static_cast<GLint>(nLevel), AllBits);
    glStencilOp(GL_KEEP, change, change);
}

// Framebuffers.

/**
 * 0 is the window's. Calls glBindFramebuffer. Set by framebuffers when they are made, bound, let go of or
 * destroyed; all draws, clears and reads rely on it.
 */
inline void BindFramebuffer(GLuint nName) {
    glBindFramebuffer(GL_FRAMEBUFFER, nName);
}

/** Calls glBindRenderbuffer. Set by framebuffers while they make their storage, and 0 otherwise. */
inline void BindRenderbuffer(GLuint nName) {
    glBindRenderbuffer(GL_RENDERBUFFER, nName);
}

// Programs and vertices.

/**
 * 0 is none. Calls glUseProgram. Set by programs as the device makes them active or none; uniforms and draws
 * rely on it.
 */
inline void UseProgram(GLuint nName) {
    glUseProgram(nName);
}

/**
 * Whether an attribute comes from its vertex array. Calls glEnableVertexAttribArray or
 * glDisableVertexAttribArray. Set by a program for its own attributes, on while it is bound; draws rely on
 * all other ones being off.
 */
inline void SetVertexArrayEnabled(GLuint nAttribute, bool fOn) {
    if (fOn) {
        glEnableVertexAttribArray(nAttribute);
    } else {
        glDisableVertexAttribArray(nAttribute);
    }
}

/**
 * Where an attribute's values come from: vectors, colours or numbers of floats in the caller's memory, which
 * have to live until the draw. Calls glVertexAttribPointer, and relies on no array buffer being bound:
 * nothing binds one. Set before each draw, for all attributes of its program; the others stay as they
 * are.
 * @param nStride bytes from one value to the next; 0: they follow each other.
 */
template <class Value>
inline void SetVertexArray(GLuint nAttribute, Value const* pValues, GLsizei nStride = 0) {
    constexpr std::size_t ComponentBytes = sizeof(GLfloat);
    constexpr GLint ComponentCount = sizeof(Value) / ComponentBytes;
    static_assert(sizeof(Value) == ComponentCount * ComponentBytes && ComponentCount <= 4, "floats alone");
    glVertexAttribPointer(nAttribute, ComponentCount, GL_FLOAT, GL_FALSE, nStride, pValues);
}

/**
 * The same, but each float's bits are taken for a fixed-point number of 16 integer bits: intended
 * (fixed-point-streams). Set by blend modes and directional blurs.
 */
template <class Value>
inline void SetFixedPointVertexArray(GLuint nAttribute, Value const* pValues) {
    constexpr GLint ComponentCount = sizeof(Value) / sizeof(GLfixed);
    glVertexAttribPointer(nAttribute, ComponentCount, GL_FIXED, GL_FALSE, 0, pValues);
}

// Textures.

/**
 * The unit that textures are bound to. Calls glActiveTexture. Set by programs, before each texture that they
 * bind. The last one stays selected, and a new texture is bound there while it is filled.
 */
inline void SelectTextureUnit(unsigned int nUnit) {
    glActiveTexture(GL_TEXTURE0 + nUnit);
}

/**
 * Binds a texture, or with 0 none, to the selected unit. Calls glBindTexture. Set by samplers for their draw,
 * and for a new texture while it is filled; draws rely on the units of their program alone.
 */
inline void BindTexture(GLenum target, GLuint nName) {
    glBindTexture(target, nName);
}

/**
 * How the bound texture is sampled: with this filter, smaller and larger, and its border texels beyond its
 * borders. Calls glTexParameteri four times. Set once for each texture, as it is made; it belongs to the
 * texture.
 */
inline void SetTextureFilter(GLenum target, GLint nFilter) {
    glTexParameteri(target, GL_TEXTURE_MIN_FILTER, nFilter);
    glTexParameteri(target, GL_TEXTURE_MAG_FILTER, nFilter);
    glTexParameteri(target, GL_TEXTURE_WRAP_S, GL_CLAMP_TO_EDGE);
    glTexParameteri(target, GL_TEXTURE_WRAP_T, GL_CLAMP_TO_EDGE);
}

/**
 * Calls glDisable(GL_TEXTURE_2D), a switch that OpenGL ES 2 does not have: nothing changes, and
 * GL_INVALID_ENUM stays behind: intended (masks-untextured-error). Called for masks and for sprites without a
 * texture; nothing relies on it.
 */
inline void DisableFixedFunctionTexture() {
    SetSwitch(GL_TEXTURE_2D, false);
}

// Rows of pixels.

/**
 * While it lives, GL takes or gives rows of pixels without gaps. The alignment is the application's: rows of
 * a multiple of 8 bytes have no gaps at any, and nothing is called; around others the alignment is read, set
 * to 1 and put back. Calls glGetIntegerv and glPixelStorei. Set around uploads and reads, which rely on it.
 */
class PixelAlignment {
public:
    /** For uploads GL_UNPACK_ALIGNMENT, for reads GL_PACK_ALIGNMENT; and the bytes of a row. */
    PixelAlignment(GLenum name, unsigned long long nRowBytes) : m_name(nRowBytes % 8 != 0 ? name : 0) {
        if (m_name != 0) {
            glGetIntegerv(m_name, &m_nBefore);
            glPixelStorei(m_name, 1);
        }
    }
    ~PixelAlignment() {
        if (m_name != 0) {
            glPixelStorei(m_name, m_nBefore);
        }
    }
    PixelAlignment(PixelAlignment const&) = delete;
    PixelAlignment& operator=(PixelAlignment const&) = delete;

private:
    GLenum m_name;
    GLint m_nBefore = 4; ///< GL's own
};

} // namespace trevik::kelvo::GlState
