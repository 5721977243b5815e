#include "egl/GlFunctions.h"

#include "egl/EglDriver.h"

#include <GLES3/gl32.h>
#include <dlfcn.h>

#include <cstring>

namespace kelvokit::desktop {

namespace {

GlFunctions LoadGl() {
    GlFunctions gl;
#define KELVO_LOAD(name) gl.name = DriverFunction<decltype(gl.name)>(#name);
    KELVO_GL_FUNCTIONS(KELVO_LOAD)
#undef KELVO_LOAD
    gl.glReadBufferNV = DriverFunction<PFNGLREADBUFFERNVPROC>("glReadBufferNV");
    gl.glEGLImageTargetTexture2DOES =
        DriverFunction<PFNGLEGLIMAGETARGETTEXTURE2DOESPROC>("glEGLImageTargetTexture2DOES");
    return gl;
}

/** Of a current OpenGL ES context from 2 on; zeros for all others. */
struct Version {
    int nMajor;
    int nMinor;
};

Version AskForVersion() {
    static char const s_prefix[] = "OpenGL ES ";
    if (!Gl().glGetString || !Gl().glReadPixels) {
        return {};
    }
    auto const* version = reinterpret_cast<char const*>(Gl().glGetString(GL_VERSION));
    if (!version || std::strncmp(version, s_prefix, sizeof s_prefix - 1) != 0) {
        return {};
    }
    char const* const number = version + sizeof s_prefix - 1; // such as "3.2", and what the vendor adds
    int const nMajor = number[0] - '0';
    if (nMajor < 2 || nMajor > 9) {
        return {};
    }
    return {nMajor, number[1] == '.' && number[2] >= '0' && number[2] <= '9' ? number[2] - '0' : 0};
}

/** Whether it is OpenGL ES 3 with this minor version, or a later one. */
bool IsAtLeast(Version const& version, int nMinor) {
    return version.nMajor > 3 || (version.nMajor == 3 && version.nMinor >= nMinor);
}

} // namespace

GlFunctions const& Gl() {
    static GlFunctions const s_gl = LoadGl();
    return s_gl;
}

int EsVersion() {
    return AskForVersion().nMajor;
}

bool IsEs31() {
    return IsAtLeast(AskForVersion(), 1);
}

bool IsPlainEs32() {
    if (!IsAtLeast(AskForVersion(), 2)) {
        return false; // where the flags are not known, it would be an error to ask for them
    }
    GLint nFlags = -1;
    Gl().glGetIntegerv(GL_CONTEXT_FLAGS, &nFlags);
    return nFlags == 0;
}

bool HasAnswerWithoutContext() {
    static bool const s_fAnswer = [] {
        Dl_info info = {};
        return dladdr(reinterpret_cast<void*>(Gl().glGetString), &info) != 0 && info.dli_fname &&
               std::strstr(info.dli_fname, "/libGLdispatch.so") != nullptr;
    }();
    return s_fAnswer;
}

} // namespace kelvokit::desktop
