#include "ExpectCalls.h"

#include <dlfcn.h>

#include <stdexcept>
#include <thread>

// The recording driver's own tests: the other recorded tests are worth as much as what it notes and answers.

namespace {

using namespace recording;
using Strings = std::vector<std::string>;
using Floats = std::vector<float>;

class RecordingDriver : public recording::Test {
protected:
    static GLuint Compile(GLenum type, const char* source) {
        const GLuint shader = glCreateShader(type);
        glShaderSource(shader, 1, &source, nullptr);
        glCompileShader(shader);
        return shader;
    }

    /** Links a program whose fragment stage is the given source. */
    static GLuint Link(const char* fragment) {
        const GLuint program = glCreateProgram();
        glAttachShader(program, Compile(GL_VERTEX_SHADER, "void main() { gl_Position = vec4(1.0); }"));
        glAttachShader(program, Compile(GL_FRAGMENT_SHADER, fragment));
        glLinkProgram(program);
        return program;
    }

    /** Binds a fresh texture of one level. */
    static GLuint MakeTexture(GLsizei width, GLsizei height, GLenum format, GLenum type) {
        GLuint texture = 0;
        glGenTextures(1, &texture);
        glBindTexture(GL_TEXTURE_2D, texture);
        glTexImage2D(GL_TEXTURE_2D, 0, static_cast<GLint>(format), width, height, 0, format, type, nullptr);
        return texture;
    }

    struct Egl {
        EGLDisplay display = EGL_NO_DISPLAY;
        EGLConfig config = nullptr;
        EGLSurface surface = EGL_NO_SURFACE;
        EGLContext context = EGL_NO_CONTEXT;
    };

    static Egl Open() {
        static const EGLint s_version[] = {EGL_CONTEXT_CLIENT_VERSION, 2, EGL_NONE};
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
    const char* const names[] = {
#define ENTRY(result, name, ...) #name,
#define ENTRY0(result, name) #name,
#define EXTENSION(result, name, ...)
#include "EntryPoints.def"
#undef ENTRY
#undef ENTRY0
#undef EXTENSION
    };
    for (const char* name : names) {
        Dl_info found = {};
        void* address = dlsym(RTLD_DEFAULT, name);
        ASSERT_NE(address, nullptr) << name;
        ASSERT_NE(dladdr(address, &found), 0) << name;
        EXPECT_STREQ(found.dli_fname, own.dli_fname) << name;
    }
}

TEST_F(RecordingDriver, PatternsSelectByNameOrByLine) {
    glEnable(GL_BLEND);
    glDisable(GL_CULL_FACE);
    glEnable(GL_DEPTH_TEST);
    EXPECT_EQ(Count("glEnable"), 2u);
    EXPECT_EQ(Count("gl*able"), 3u);
    EXPECT_EQ(Count("gl*(GL_*E*)"), 3u);
    EXPECT_EQ(Count("glEnab"), 0u);
    EXPECT_EQ(IndexOf("glEnable", 1), 2);
    EXPECT_EQ(IndexOf("glEnable(GL_CULL_FACE)"), -1);
}

TEST_F(RecordingDriver, NotesThreadsAndContextsOfTheirOwn) {
    Open();
    glFlush();
    std::thread([] { glFinish(); }).join();
    EXPECT_EQ(LastCall("glFlush").thread, std::this_thread::get_id());
    EXPECT_NE(LastCall("glFinish").thread, std::this_thread::get_id());
    EXPECT_EQ(CallsWithoutContext(), Strings{"glFinish()"});
}

TEST_F(RecordingDriver, RecyclesNamesAndCountsObjects) {
    GLuint textures[3] = {};
    glGenTextures(3, textures);
    glBindTexture(GL_TEXTURE_2D, textures[1]);
    glDeleteTextures(1, &textures[1]);
    EXPECT_EQ(GetState().textures[0], 0u) << "a deleted texture is unbound";
    GLuint again = 0;
    glGenTextures(1, &again);
    EXPECT_EQ(again, textures[1]);
    EXPECT_EQ(LiveNames(Object::Texture), (std::vector<GLuint>{1, 2, 3}));
    EXPECT_EQ(Counts(Object::Texture).created, 4);
    EXPECT_EQ(Counts(Object::Texture).live, 3);
    EXPECT_FALSE(FindTexture(again)) << "a generated name is no texture before it is bound";
}

TEST_F(RecordingDriver, FramebuffersAreCompleteWhenTheirAttachmentsFit) {
    GLuint framebuffer = 0;
    glGenFramebuffers(1, &framebuffer);
    glBindFramebuffer(GL_FRAMEBUFFER, framebuffer);
    const auto status = [] { return glCheckFramebufferStatus(GL_FRAMEBUFFER); };
    const auto attach = [](GLenum point, GLuint texture) {
        glFramebufferTexture2D(GL_FRAMEBUFFER, point, GL_TEXTURE_2D, texture, 0);
    };
    EXPECT_EQ(status(), static_cast<GLenum>(GL_FRAMEBUFFER_INCOMPLETE_MISSING_ATTACHMENT));
    const GLuint color = MakeTexture(30, 20, GL_RGB, GL_UNSIGNED_SHORT_5_6_5);
    attach(GL_COLOR_ATTACHMENT0, color);
    EXPECT_EQ(status(), static_cast<GLenum>(GL_FRAMEBUFFER_COMPLETE));
    GLint red = 0;
    glGetIntegerv(GL_RED_BITS, &red);
    EXPECT_EQ(red, 5);
    attach(GL_DEPTH_ATTACHMENT, MakeTexture(20, 30, GL_DEPTH_STENCIL_OES, GL_UNSIGNED_INT_24_8_OES));
    EXPECT_EQ(status(), static_cast<GLenum>(GL_FRAMEBUFFER_INCOMPLETE_DIMENSIONS));
    attach(GL_DEPTH_ATTACHMENT, MakeTexture(30, 20, GL_RGBA, GL_UNSIGNED_BYTE));
    EXPECT_EQ(status(), static_cast<GLenum>(GL_FRAMEBUFFER_INCOMPLETE_ATTACHMENT));
    attach(GL_DEPTH_ATTACHMENT, 0);
    glDeleteTextures(1, &color);
    EXPECT_EQ(status(), static_cast<GLenum>(GL_FRAMEBUFFER_INCOMPLETE_MISSING_ATTACHMENT))
        << "a deleted texture is detached from the framebuffer that is bound";
    SetFramebufferStatus(GL_FRAMEBUFFER_UNSUPPORTED);
    EXPECT_EQ(status(), static_cast<GLenum>(GL_FRAMEBUFFER_UNSUPPORTED));
}

TEST_F(RecordingDriver, ReadPixelsKeepsRowsOfOddWidthAlignedAndNothingElse) {
    std::vector<std::uint8_t> pixels(12 + 9 + 1, 0xEE);
    glReadPixels(5, 7, 3, 2, GL_RGB, GL_UNSIGNED_BYTE, pixels.data());
    EXPECT_EQ(pixels[0], ReadPixelsPattern(5, 7, 0));
    EXPECT_EQ(pixels[8], ReadPixelsPattern(7, 7, 2));
    EXPECT_EQ(pixels[9], 0xEE) << "the padding of the row";
    EXPECT_EQ(pixels[12], ReadPixelsPattern(5, 8, 0));
    EXPECT_EQ(pixels[21], 0xEE) << "beyond the last pixel";
}

TEST_F(RecordingDriver, FindsActiveUniformsAndAttributesInTheSources) {
    const char* const vertex =
        "#define LATER uniform float fDefined;\n"
        "attribute vec4 aPosition; attribute highp vec2 aUnused, aTexture;\n"
        "/* uniform mat4 mComment; */ // uniform mat4 mLine;\n"
        "uniform mat4 mWorld;\n"
        "uniform lowp vec3 vLights[4], vTint;\n"
        "varying vec2 vTexture; void main() { vec4 c; c.vTint = 0.0;\n"
        "vTexture = aTexture + vLights[2].xy; gl_Position = mWorld * aPosition + mLine + mComment; }";
    const char* const fragment =
        "precision mediump float; uniform sampler2D sTexture, sDepth; uniform mat4 mWorld;\n"
        "uniform\nfloat\nfFade ; void main() { gl_FragColor = fFade * texture2D(sTexture, v); }";
    const GLuint program = glCreateProgram();
    glAttachShader(program, Compile(GL_VERTEX_SHADER, vertex));
    glAttachShader(program, Compile(GL_FRAGMENT_SHADER, fragment));
    glBindAttribLocation(program, 0, "aTexture");
    glLinkProgram(program);

    const GLint world = glGetUniformLocation(program, "mWorld");
    const GLint lights = glGetUniformLocation(program, "vLights");
    EXPECT_GE(world, 0);
    EXPECT_GE(lights, 0);
    EXPECT_EQ(glGetUniformLocation(program, "vLights[0]"), lights);
    EXPECT_EQ(glGetUniformLocation(program, "vLights[3]"), lights + 3);
    EXPECT_GE(glGetUniformLocation(program, "sTexture"), 0);
    EXPECT_GE(glGetUniformLocation(program, "fFade"), 0);
    for (const char* inactive : {"sDepth", "vTint", "fDefined", "mLine", "mComment", "vLights[4]", "LATER"})
        EXPECT_EQ(glGetUniformLocation(program, inactive), -1) << inactive;
    EXPECT_EQ(FindProgram(program)->uniforms.size(), 4u) << "mWorld is one uniform in two stages";
    EXPECT_EQ(glGetAttribLocation(program, "aTexture"), 0);
    EXPECT_EQ(glGetAttribLocation(program, "aPosition"), 1) << "the lowest location that is left";
    EXPECT_EQ(glGetAttribLocation(program, "aUnused"), -1);
}

TEST_F(RecordingDriver, UniformValuesBelongToTheirProgram) {
    const char* const source = "uniform mediump vec4 vColor; void main() { gl_FragColor = vColor; }";
    const GLuint first = Link(source);
    const GLuint second = Link(source);
    EXPECT_NE(UniformLocation(first, "vColor"), UniformLocation(second, "vColor"));

    glUseProgram(second);
    glUniform4f(UniformLocation(second, "vColor"), 1, 2, 3, 4);
    EXPECT_EQ(UniformValue(second, "vColor"), (Floats{1, 2, 3, 4}));
    EXPECT_EQ(UniformValue(first, "vColor"), (Floats{0, 0, 0, 0}));
    EXPECT_TRUE(Errors().empty());

    glUniform4f(UniformLocation(first, "vColor"), 1, 2, 3, 4);
    EXPECT_EQ(glGetError(), static_cast<GLenum>(GL_INVALID_OPERATION)) << "a location of another program";
}

TEST_F(RecordingDriver, DrawArraysSnapshotsTheVerticesDrawn) {
    float vertices[4][4] = {{9, 9, 9, 9}, {1, 2, 3, 9}, {4, 5, 6, 9}, {7, 8, 9, 9}};
    glEnableVertexAttribArray(0);
    glVertexAttribPointer(0, 3, GL_FLOAT, GL_FALSE, sizeof vertices[0], vertices);
    glVertexAttribPointer(5, 1, GL_FLOAT, GL_FALSE, 0, vertices);
    glDrawArrays(GL_LINES, 1, 2);
    vertices[1][0] = 100;

    const Draw draw = Draws().at(0);
    EXPECT_EQ(draw.Values(0), (Floats{1, 2, 3, 4, 5, 6})) << "strided, and as it was when drawn";
    EXPECT_EQ(draw.streams.count(5), 0u) << "an array that is not enabled";
}

struct Misuse {
    const char* what;
    void (*call)();
    GLenum error;
};

const Misuse g_misuses[] = {
    {"MipmapMagnification",
     [] { glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MAG_FILTER, GL_LINEAR_MIPMAP_LINEAR); }, GL_INVALID_ENUM},
    {"ProgramLogOfShader", [] { glGetProgramInfoLog(glCreateShader(GL_VERTEX_SHADER), 0, nullptr, nullptr); },
     GL_INVALID_OPERATION},
    {"UseOfUnlinkedProgram", [] { glUseProgram(glCreateProgram()); }, GL_INVALID_OPERATION},
    {"LuminanceFromAlpha",
     [] { glTexImage2D(GL_TEXTURE_2D, 0, GL_LUMINANCE, 1, 1, 0, GL_ALPHA, GL_UNSIGNED_SHORT, nullptr); },
     GL_INVALID_OPERATION},
    {"TextureTooLarge",
     [] { glTexImage2D(GL_TEXTURE_2D, 0, GL_RGB, 5000, 1, 0, GL_RGB, GL_UNSIGNED_BYTE, nullptr); },
     GL_INVALID_VALUE},
    {"CompressedSizeWrong",
     [] { glCompressedTexImage2D(GL_TEXTURE_2D, 0, GL_ETC1_RGB8_OES, 4, 4, 0, 9, "123456789"); },
     GL_INVALID_VALUE},
    {"AttachToWindow",
     [] { glFramebufferTexture2D(GL_FRAMEBUFFER, GL_COLOR_ATTACHMENT0, GL_TEXTURE_2D, 0, 0); },
     GL_INVALID_OPERATION},
    {"DrawIntoIncompleteFramebuffer",
     [] {
         glBindFramebuffer(GL_FRAMEBUFFER, 1);
         glDrawArrays(GL_TRIANGLES, 0, 3);
     },
     GL_INVALID_FRAMEBUFFER_OPERATION},
    {"LongIndices", [] { glDrawElements(GL_TRIANGLES, 0, GL_UNSIGNED_INT, nullptr); }, GL_INVALID_ENUM},
    {"AttributeOutOfRange", [] { glEnableVertexAttribArray(16); }, GL_INVALID_VALUE},
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
    for (const Misuse& misuse : g_misuses) {
        SCOPED_TRACE(misuse.what);
        Reset();
        misuse.call();
        EXPECT_EQ(glGetError(), misuse.error);
        EXPECT_EQ(glGetError(), static_cast<GLenum>(GL_NO_ERROR));
        ASSERT_EQ(Errors().size(), 1u);
        const std::string suffix = " -> " + EnumName(misuse.error);
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
    const Egl first = Open();
    EXPECT_EQ(GetState().viewport, (std::array<GLint, 4>{0, 0, 320, 200}));
    glEnable(GL_BLEND);
    const Egl second = Open();
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

TEST_F(RecordingDriver, WhatIsGoneOrTerminatedIsRefused) {
    const Egl egl = Open();
    eglMakeCurrent(egl.display, EGL_NO_SURFACE, EGL_NO_SURFACE, EGL_NO_CONTEXT);
    EXPECT_TRUE(eglDestroyContext(egl.display, egl.context));
    EXPECT_FALSE(eglDestroyContext(egl.display, egl.context));
    EXPECT_EQ(eglGetError(), EGL_BAD_CONTEXT);
    EXPECT_TRUE(eglTerminate(egl.display));
    EXPECT_FALSE(eglSwapBuffers(egl.display, egl.surface));
    EXPECT_EQ(eglGetError(), EGL_NOT_INITIALIZED);
}

} // namespace
