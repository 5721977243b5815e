#include "egl/GlFunctions.h"

#include "egl/EglDriver.h"

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

} // namespace

GlFunctions const& Gl() {
    static GlFunctions const s_gl = LoadGl();
    return s_gl;
}

int EsVersion() {
    static char const s_prefix[] = "OpenGL ES ";
    if (!Gl().glGetString || !Gl().glReadPixels) {
        return 0;
    }
    auto const* version = reinterpret_cast<char const*>(Gl().glGetString(GL_VERSION));
    if (!version || std::strncmp(version, s_prefix, sizeof s_prefix - 1) != 0) {
        return 0;
    }
    int const nMajor = version[sizeof s_prefix - 1] - '0';
    return nMajor >= 2 && nMajor <= 9 ? nMajor : 0;
}

bool IsEs31() {
    int const nMajor = EsVersion();
    GLint nMinor = 0;
    if (nMajor == 3) {
        Gl().glGetIntegerv(GL_MINOR_VERSION, &nMinor);
    }
    return nMajor > 3 || nMinor > 0;
}

} // namespace kelvokit::desktop
