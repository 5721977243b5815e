// The functions themselves. Each does the same: it is counted, and hands its arguments on to the driver's.
// What some have to do beside that stands in `Before` and `After`.

#include "CoverageRecorder.h"
#include "DriverFunctions.h"
#include "DriverNotes.h"

#include <cstring>
#include <type_traits>

namespace kelvokit::counting {

namespace {

using Recorder = Coverage::Recorder;

struct AroundNothing {
    template <class... Arguments>
    static void Before(Arguments...) {}
    template <class... Arguments>
    static void After(Arguments...) {}
};

/** What a function has to do beside being counted: as a rule nothing. */
template <Function>
struct Around : AroundNothing {};

// The parameters of a macro that are part of a declaration take no parentheses.
// NOLINTBEGIN(bugprone-macro-parentheses)
#define BEFORE(name, ...)                                                                                    \
    template <>                                                                                              \
    struct Around<Function::name> : AroundNothing {                                                          \
        static void Before(__VA_ARGS__);                                                                     \
    };                                                                                                       \
    void Around<Function::name>::Before(__VA_ARGS__)
#define AFTER(name, ...)                                                                                     \
    template <>                                                                                              \
    struct Around<Function::name> : AroundNothing {                                                          \
        static void After(__VA_ARGS__);                                                                      \
    };                                                                                                       \
    void Around<Function::name>::After(__VA_ARGS__)
// NOLINTEND(bugprone-macro-parentheses)

BEFORE(glUseProgram, GLuint nProgram) {
    TheNotes().NoteProgram(nProgram);
}

BEFORE(glActiveTexture, GLenum nUnit) {
    TheNotes().NoteTextureUnit(nUnit);
}

BEFORE(glBindTexture, GLenum nTarget, GLuint nTexture) {
    TheNotes().NoteTexture(nTarget, nTexture);
}

BEFORE(glDeleteTextures, GLsizei nTextures, GLuint const* pTextures) {
    TheNotes().NoteDeletedTextures(nTextures, pTextures);
}

BEFORE(glEnable, GLenum nCapability) {
    TheNotes().NoteBlending(nCapability, true);
}

BEFORE(glDisable, GLenum nCapability) {
    TheNotes().NoteBlending(nCapability, false);
}

BEFORE(glBlendFunc, GLenum nSource, GLenum nDestination) {
    TheNotes().NoteBlendFunction({nSource, nDestination, nSource, nDestination});
}

BEFORE(glBlendFuncSeparate, GLenum nSource, GLenum nDestination, GLenum nSourceAlpha,
       GLenum nDestinationAlpha) {
    TheNotes().NoteBlendFunction({nSource, nDestination, nSourceAlpha, nDestinationAlpha});
}

BEFORE(glBlendEquation, GLenum nEquation) {
    TheNotes().NoteBlendEquation({nEquation, nEquation});
}

BEFORE(glBlendEquationSeparate, GLenum nEquation, GLenum nEquationAlpha) {
    TheNotes().NoteBlendEquation({nEquation, nEquationAlpha});
}

BEFORE(glBlendColor, GLfloat rRed, GLfloat rGreen, GLfloat rBlue, GLfloat rAlpha) {
    TheNotes().NoteBlendColor({rRed, rGreen, rBlue, rAlpha});
}

BEFORE(glLinkProgram, GLuint nProgram) {
    TheNotes().NoteLinking(nProgram);
    if (Recorder* const pRecorder = Recorder::Get()) {
        pRecorder->ForgetProgram(nProgram);
    }
}

BEFORE(glDeleteProgram, GLuint nProgram) {
    TheNotes().NoteDeletedProgram(nProgram);
    if (Recorder* const pRecorder = Recorder::Get()) {
        pRecorder->ForgetProgram(nProgram);
    }
}

BEFORE(glDeleteFramebuffers, GLsizei nFramebuffers, GLuint const* pFramebuffers) {
    if (Recorder* const pRecorder = Recorder::Get()) {
        pRecorder->ForgetFramebuffers(nFramebuffers, pFramebuffers);
    }
}

AFTER(glTexImage2D, GLenum nTarget, GLint nLevel, GLint, GLsizei nWidth, GLsizei nHeight, GLint, GLenum,
      GLenum, void const*) {
    TheNotes().NoteTextureSize(nTarget, nLevel, {nWidth, nHeight});
}

AFTER(glCopyTexImage2D, GLenum nTarget, GLint nLevel, GLenum, GLint, GLint, GLsizei nWidth, GLsizei nHeight,
      GLint) {
    TheNotes().NoteTextureSize(nTarget, nLevel, {nWidth, nHeight});
}

AFTER(glRenderbufferStorage, GLenum, GLenum, GLsizei nWidth, GLsizei nHeight) {
    TheNotes().NoteRenderbufferSize({nWidth, nHeight});
}

AFTER(glClear, GLbitfield nBuffers) {
    if (Recorder* const pRecorder = Recorder::Get()) {
        pRecorder->RepeatClear(nBuffers);
    }
}

AFTER(glDrawArrays, GLenum nMode, GLint nFirst, GLsizei nVertices) {
    TheNotes().NoteDraw(nMode, nVertices);
    if (Recorder* const pRecorder = Recorder::Get()) {
        pRecorder->RepeatDraw(CountPrimitives(nMode, nVertices),
                              [=] { Gl().glDrawArrays(nMode, nFirst, nVertices); });
    }
}

AFTER(glDrawElements, GLenum nMode, GLsizei nVertices, GLenum nType, void const* pIndices) {
    TheNotes().NoteDraw(nMode, nVertices);
    if (Recorder* const pRecorder = Recorder::Get()) {
        pRecorder->RepeatDraw(CountPrimitives(nMode, nVertices),
                              [=] { Gl().glDrawElements(nMode, nVertices, nType, pIndices); });
    }
}

template <Function function>
void Count() {
    Counts& counts = TheNotes().counts;
    ++counts.calls[static_cast<unsigned int>(function)];
    ++counts.nCalls;
}

template <Function function, class Call, class... Arguments>
auto Answer(Call call, Arguments... arguments) {
    if constexpr (function == Function::glGetError) {
        return TheNotes().TakeError(); // which may have been held back
    } else {
        return call(arguments...);
    }
}

/** Does what is to be done after a call, also when it answers. */
template <Function function, class Call, class... Arguments>
auto HandOn(Call call, Arguments... arguments) {
    Count<function>();
    Around<function>::Before(arguments...);
    if constexpr (std::is_void_v<decltype(call(arguments...))>) {
        call(arguments...);
        Around<function>::After(arguments...);
    } else {
        auto const answer = Answer<function>(call, arguments...);
        Around<function>::After(arguments...);
        return answer;
    }
}

using Procedure = __eglMustCastToProperFunctionPointerType;

PFNGLEGLIMAGETARGETTEXTURE2DOESPROC g_pfnImageTarget = nullptr;

void ImageTargetTexture2D(GLenum nTarget, GLeglImageOES image) {
    HandOn<Function::ImageTarget>(g_pfnImageTarget, nTarget, image);
}

struct NamedProcedure {
    char const* pName;
    Procedure pfnOwn;
};

NamedProcedure const Procedures[] = {
#define ENTRY(result, name, ...) {#name, reinterpret_cast<Procedure>(&::name)},
#define ENTRY0(result, name) {#name, reinterpret_cast<Procedure>(&::name)},
#define EXTENSION(result, name, ...)
#include "EntryPoints.def"
#undef ENTRY
#undef ENTRY0
#undef EXTENSION
};

/** What stands in front of the driver's function of this name: nothing as a rule. */
Procedure FindOwn(char const* pName, Procedure pfnDriver) {
    if (std::strcmp(pName, "glEGLImageTargetTexture2DOES") == 0) {
        g_pfnImageTarget = reinterpret_cast<PFNGLEGLIMAGETARGETTEXTURE2DOESPROC>(pfnDriver);
        return reinterpret_cast<Procedure>(&ImageTargetTexture2D);
    }
    for (NamedProcedure const& own : Procedures) {
        if (std::strcmp(own.pName, pName) == 0) {
            return own.pfnOwn;
        }
    }
    return pfnDriver;
}

} // namespace

} // namespace kelvokit::counting

using kelvokit::counting::Function;
using kelvokit::counting::Gl;

#define ENTRY(result, name, ...)                                                                             \
    extern "C" result name(KELVO_PARAMETERS(__VA_ARGS__)) {                                                  \
        return kelvokit::counting::HandOn<Function::name>(Gl().name, KELVO_NAMES(__VA_ARGS__));              \
    }
#define ENTRY0(result, name)                                                                                 \
    extern "C" result name() {                                                                               \
        return kelvokit::counting::HandOn<Function::name>(Gl().name);                                        \
    }
#define EXTENSION(result, name, ...)
#include "EntryPoints.def"
#undef ENTRY
#undef ENTRY0
#undef EXTENSION

extern "C" kelvokit::counting::Procedure eglGetProcAddress(char const* pName) {
    auto const pfnNext = Gl().eglGetProcAddress;
    kelvokit::counting::Procedure const pfnDriver = pfnNext ? pfnNext(pName) : nullptr;
    return pfnDriver ? kelvokit::counting::FindOwn(pName, pfnDriver) : nullptr;
}
