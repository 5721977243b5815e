#include "ExpectCalls.h"

#include <dlfcn.h>

#include <stdexcept>
#include <thread>

namespace recording = kelvokit::recording;

// The recording driver's own tests: the other recorded tests are worth as much as what it notes and answers.

namespace {

using namespace kelvokit::recording;
using Strings = std::vector<std::string>;

class RecordingDriver : public recording::Test {
protected:
    struct Egl {
        EGLDisplay display = EGL_NO_DISPLAY;
        EGLConfig config = nullptr;
        EGLSurface surface = EGL_NO_SURFACE;
        EGLContext context = EGL_NO_CONTEXT;
    };

    static Egl Open() {
        static EGLint const s_version[] = {EGL_CONTEXT_CLIENT_VERSION, 2, EGL_NONE};
        Egl egl;
        EGLint count = 0;
        egl.display = eglGetDisplay(EGL_DEFAULT_DISPLAY);
        eglInitialize(egl.display, nullptr, nullptr);
        eglChooseConfig(egl.display, nullptr, &egl.config, 1, &count);
        egl.surface = eglCreateWindowSurface(egl.display, egl.config, 0, nullptr);
        egl.context = eglCreateContext(egl.display, egl.config, EGL_NO_CONTEXT, s_version);
        eglMakeCurrent(egl.display, egl.surface, egl.surface, egl.context);
        return egl;
    }
};

TEST_F(RecordingDriver, StandsInForEveryFunctionOfTheSystemLibraries) {
    Dl_info own = {};
    ASSERT_NE(dladdr(reinterpret_cast<void*>(&recording::Reset), &own), 0);
    char const* const names[] = {
#define ENTRY(result, name, ...) #name,
#define ENTRY0(result, name) #name,
#define EXTENSION(result, name, ...)
#include "EntryPoints.def"
#undef ENTRY
#undef ENTRY0
#undef EXTENSION
    };
    for (char const* name : names) {
        Dl_info found = {};
        void* address = dlsym(RTLD_DEFAULT, name);
        ASSERT_NE(address, nullptr) << name;
        ASSERT_NE(dladdr(address, &found), 0) << name;
        EXPECT_STREQ(found.dli_fname, own.dli_fname) << name;
    }
}

struct Misuse {
    char const* what;
    void (*call)();
    GLenum error;
};

Misuse const g_misuses[] = {
    {"ProgramLogOfShader", [] { glGetProgramInfoLog(glCreateShader(GL_VERTEX_SHADER), 0, nullptr, nullptr); },
     GL_INVALID_OPERATION},
    {"UseOfUnlinkedProgram", [] { glUseProgram(glCreateProgram()); }, GL_INVALID_OPERATION},
    {"TextureTooLarge",
     [] { glTexImage2D(GL_TEXTURE_2D, 0, GL_RGB, 5000, 1, 0, GL_RGB, GL_UNSIGNED_BYTE, nullptr); },
     GL_INVALID_VALUE},
    {"CompressedSizeWrong",
     [] { glCompressedTexImage2D(GL_TEXTURE_2D, 0, GL_ETC1_RGB8_OES, 4, 4, 0, 9, "123456789"); },
     GL_INVALID_VALUE},
    {"DrawIntoIncompleteFramebuffer",
     [] {
         glBindFramebuffer(GL_FRAMEBUFFER, 1);
         glDrawArrays(GL_TRIANGLES, 0, 3);
     },
     GL_INVALID_FRAMEBUFFER_OPERATION},
    {"FirstErrorStays",
     [] {
         SetError(GL_INVALID_VALUE);
         glEnable(GL_TEXTURE_2D);
         Clear();
         glViewport(0, 0, -1, 1);
     },
     GL_INVALID_VALUE},
};

TEST_F(RecordingDriver, MisuseRaisesItsErrorOnceAndIsNoted) {
    for (Misuse const& misuse : g_misuses) {
        SCOPED_TRACE(misuse.what);
        Reset();
        misuse.call();
        EXPECT_EQ(glGetError(), misuse.error);
        EXPECT_EQ(glGetError(), static_cast<GLenum>(GL_NO_ERROR));
        ASSERT_EQ(Errors().size(), 1u);
        std::string const suffix = " -> " + EnumName(misuse.error);
        EXPECT_EQ(Errors()[0].substr(Errors()[0].size() - suffix.size()), suffix);
    }
}

TEST_F(RecordingDriver, FailsTheCallsItIsToldTo) {
    FailAt("glBindTexture", 2);
    glBindTexture(GL_TEXTURE_2D, 1);
    glBindTexture(GL_TEXTURE_2D, 2);
    EXPECT_EQ(GetState().textures[0], 1u) << "a failed call has no effect";
    glBindTexture(GL_TEXTURE_2D, 3);
    EXPECT_EQ(GetState().textures[0], 3u);
    EXPECT_EQ(Errors(), Strings{"glBindTexture(GL_TEXTURE_2D, 2) -> GL_OUT_OF_MEMORY"});
    EXPECT_THROW(Fail("glLinkprogram"), std::invalid_argument);
}

TEST_F(RecordingDriver, EachContextHasAStateOfItsOwn) {
    SetWindowSize(320, 200);
    Egl const first = Open();
    EXPECT_EQ(GetState().viewport, (std::array<GLint, 4>{0, 0, 320, 200}));
    glEnable(GL_BLEND);
    Egl const second = Open();
    EXPECT_FALSE(GetState().IsEnabled(GL_BLEND));
    eglMakeCurrent(first.display, first.surface, first.surface, first.context);
    EXPECT_TRUE(GetState().IsEnabled(GL_BLEND));
    EGLBoolean stolen = EGL_TRUE;
    std::thread([&] {
        stolen = eglMakeCurrent(first.display, first.surface, first.surface, first.context);
    }).join();
    EXPECT_EQ(stolen, static_cast<EGLBoolean>(EGL_FALSE)) << "it is current on another thread";
    EXPECT_NE(first.context, second.context);
}

} // namespace
