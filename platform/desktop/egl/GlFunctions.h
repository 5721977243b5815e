#pragma once

#include <GLES3/gl31.h>
#include <GLES2/gl2ext.h>

namespace kelvokit::desktop {

#define KELVO_GL_FUNCTIONS(F)                                                                                \
    F(glBindBuffer)                                                                                          \
    F(glBindFramebuffer)                                                                                     \
    F(glBindTexture)                                                                                         \
    F(glCheckFramebufferStatus)                                                                              \
    F(glDeleteFramebuffers)                                                                                  \
    F(glDeleteTextures)                                                                                      \
    F(glFinish)                                                                                              \
    F(glFlush)                                                                                               \
    F(glFramebufferTexture2D)                                                                                \
    F(glGenFramebuffers)                                                                                     \
    F(glGenTextures)                                                                                         \
    F(glGetError)                                                                                            \
    F(glGetIntegerv)                                                                                         \
    F(glGetString)                                                                                           \
    F(glGetTexLevelParameteriv)                                                                              \
    F(glGetTexParameterfv)                                                                                   \
    F(glIsTexture)                                                                                           \
    F(glPixelStorei)                                                                                         \
    F(glReadBuffer)                                                                                          \
    F(glReadPixels)                                                                                          \
    F(glTexImage2D)                                                                                          \
    F(glTexParameterf)                                                                                       \
    F(glTexParameteri)                                                                                       \
    F(glTexSubImage2D)

/**
 * The few GL functions needed, from the driver: the layer itself links no GL, so it can serve programs of
 * any. A member is null where the driver lacks the function.
 */
struct GlFunctions {
// A declared name takes no parentheses. NOLINTNEXTLINE(bugprone-macro-parentheses)
#define KELVO_MEMBER(name) decltype(&::name) name;
    KELVO_GL_FUNCTIONS(KELVO_MEMBER)
#undef KELVO_MEMBER
    PFNGLREADBUFFERNVPROC glReadBufferNV;
    PFNGLEGLIMAGETARGETTEXTURE2DOESPROC glEGLImageTargetTexture2DOES;
};

/** Looked up by the first call. Any thread. */
GlFunctions const& Gl();

/**
 * Major version of the current OpenGL ES context, which may be above the one asked for; 0 when it is none
 * from 2 on.
 */
int EsVersion();
/** Whether OpenGL ES 3.1 is current, or a later version. */
bool IsEs31();
/**
 * Whether OpenGL ES 3.2 or a later version is current, in a context of the plain kind: none for debugging,
 * for instance. Leaves the context as it is, of whatever API it may be.
 */
bool IsPlainEs32();
/**
 * Whether GL functions may be called by a thread that may have no context, and do nothing and answer 0 then.
 * GL leaves that open; those of the library that passes calls on to the drivers of several vendors do so.
 */
bool HasAnswerWithoutContext();

} // namespace kelvokit::desktop
