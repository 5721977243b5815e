#include "ExpectCalls.h"
#include "kelvo_test/AllocationCounter.h"

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

    /** Links a program whose vertex stage uses `attributes` and whose fragment stage is the given source. */
    static GLuint Link(const char* fragment,
                       const char* vertex = "attribute vec4 a; void main() { gl_Position = a; }") {
        const GLuint program = glCreateProgram();
        glAttachShader(program, Compile(GL_VERTEX_SHADER, vertex));
        glAttachShader(program, Compile(GL_FRAGMENT_SHADER, fragment));
        glLinkProgram(program);
        return program;
    }

    static bool IsLinked(GLuint program) {
        GLint status = GL_FALSE;
        glGetProgramiv(program, GL_LINK_STATUS, &status);
        return status == GL_TRUE;
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

// ---- What is noted
// ---------------------------------------------------------------------------------------------

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

TEST_F(RecordingDriver, WritesEachKindOfArgumentByItsMeaning) {
    const GLuint program = Link("uniform mediump vec4 vColor; void main() { gl_FragColor = vColor; }");
    glUseProgram(program);
    const GLfloat color[] = {1, -0.0f, 0.25f, 1e-4f};
    const GLuint names[] = {7, 9};
    Clear();

    glBlendFuncSeparate(GL_SRC_ALPHA, GL_ONE_MINUS_SRC_ALPHA, GL_ONE, GL_ZERO);
    glClear(GL_COLOR_BUFFER_BIT | GL_STENCIL_BUFFER_BIT);
    glStencilFunc(GL_EQUAL, 1, 0xFFFFFFFFu);
    glStencilOp(GL_KEEP, GL_INCR, GL_ZERO);
    glColorMask(GL_TRUE, GL_FALSE, GL_TRUE, GL_FALSE);
    glActiveTexture(GL_TEXTURE3);
    glUniform4fv(glGetUniformLocation(program, "vColor"), 1, color);
    glUniform1f(-1, 2);
    glDeleteTextures(2, names);
    glVertexAttribPointer(0, 3, GL_FLOAT, GL_FALSE, 0, color);
    glVertexAttribPointer(1, 3, GL_FIXED, GL_TRUE, 12, nullptr);
    glDrawArrays(GL_TRIANGLE_STRIP, 0, 4);
    EXPECT_CALLS(
        "glBlendFuncSeparate(GL_SRC_ALPHA, GL_ONE_MINUS_SRC_ALPHA, GL_ONE, GL_ZERO)",
        "glClear(GL_COLOR_BUFFER_BIT | GL_STENCIL_BUFFER_BIT)", "glStencilFunc(GL_EQUAL, 1, 0xFFFFFFFF)",
        "glStencilOp(GL_KEEP, GL_INCR, GL_ZERO)", "glColorMask(GL_TRUE, GL_FALSE, GL_TRUE, GL_FALSE)",
        "glActiveTexture(GL_TEXTURE3)", "glGetUniformLocation(1, \"vColor\")",
        "glUniform4fv(vColor, 1, {1, 0, 0.25, 0.0001})", "glUniform1f(-1, 2)", "glDeleteTextures(2, {7, 9})",
        "glVertexAttribPointer(0, 3, GL_FLOAT, GL_FALSE, 0, *)",
        "glVertexAttribPointer(1, 3, GL_FIXED, GL_TRUE, 12, NULL)", "glDrawArrays(GL_TRIANGLE_STRIP, 0, 4)");
    EXPECT_EQ(LastCall("glVertexAttribPointer(0*").Pointer(5), color);
    EXPECT_EQ(LastCall("glUniform4fv").floats, Floats(color, color + 4));
}

TEST_F(RecordingDriver, WritesEglHandlesByTheirNumbers) {
    const Egl egl = Open();
    eglMakeCurrent(egl.display, EGL_NO_SURFACE, EGL_NO_SURFACE, EGL_NO_CONTEXT);
    EXPECT_EQ(Lines("eglCreate*"), (Strings{"eglCreateWindowSurface(display, config0, NULL, NULL)",
                                            "eglCreateContext(display, config0, EGL_NO_CONTEXT, "
                                            "{EGL_CONTEXT_CLIENT_VERSION, 2, EGL_NONE})"}));
    EXPECT_EQ(Lines("eglMakeCurrent"),
              (Strings{"eglMakeCurrent(display, surface1, surface1, context1)",
                       "eglMakeCurrent(display, EGL_NO_SURFACE, EGL_NO_SURFACE, EGL_NO_CONTEXT)"}));
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

TEST_F(RecordingDriver, ComparisonsOfCallsFailOnWhatDiffers) {
    glEnable(GL_BLEND);
    glFlush();
    glDisable(GL_BLEND);
    EXPECT_TRUE(CallsAre({"glEnable", "glFlush()", "glDisable(*)"}));
    EXPECT_FALSE(CallsAre({"glEnable", "glFlush()"}));
    EXPECT_FALSE(CallsAre({"glEnable", "glDisable", "glFlush"}));
    EXPECT_FALSE(CallsAre({"glEnable", "glFlush", "glDisable", "glFlush"}));
    EXPECT_TRUE(CallsInOrder({"glEnable", "glDisable"}));
    EXPECT_FALSE(CallsInOrder({"glDisable", "glEnable"}));
    EXPECT_FALSE(CallsInOrder({"glFlush", "glFlush"}));
    EXPECT_TRUE(CallsInclude({"glFlush", "glDisable"}));
    EXPECT_FALSE(CallsInclude({"glEnable", "glDisable"}));
    EXPECT_TRUE(CallsAre({"glEnable", "glDisable"}, CallsOf({"gl*able"})));
}

TEST_F(RecordingDriver, NotesThreadsAndContextsOfTheirOwn) {
    Open();
    glFlush();
    std::thread([] { glFinish(); }).join();
    EXPECT_EQ(LastCall("glFlush").thread, std::this_thread::get_id());
    EXPECT_NE(LastCall("glFinish").thread, std::this_thread::get_id());
    EXPECT_EQ(CallsWithoutContext(), Strings{"glFinish()"});
}

TEST_F(RecordingDriver, CallsFromSeveralThreadsAreAllNoted) {
    std::vector<std::thread> threads;
    for (int i = 0; i < 4; ++i)
        threads.emplace_back([] {
            for (int call = 0; call < 500; ++call) {
                GLuint texture = 0;
                glGenTextures(1, &texture);
                glDeleteTextures(1, &texture);
            }
        });
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_EQ(Count("glGenTextures"), 2000u);
    EXPECT_EQ(Counts(Object::Texture).deleted, 2000);
    EXPECT_EQ(Counts(Object::Texture).live, 0);
}

TEST_F(RecordingDriver, UnnotedCallsHaveTheirEffectWithoutAllocating) {
    const GLuint program = Link("uniform mediump vec4 vColor; void main() { gl_FragColor = vColor; }");
    const GLint location = glGetUniformLocation(program, "vColor");
    const float vertices[8] = {};
    glUseProgram(program);
    Clear();
    std::size_t allocations = 0;
    {
        const Unnoted unnoted;
        allocations = AllocationCount();
        glUniform4f(location, 1, 2, 3, 4);
        glEnableVertexAttribArray(0);
        glVertexAttribPointer(0, 2, GL_FLOAT, GL_FALSE, 0, vertices);
        glDrawArrays(GL_TRIANGLE_STRIP, 0, 4);
        allocations = AllocationCount() - allocations;
    }
    EXPECT_EQ(allocations, 0u);
    EXPECT_EQ(Count(), 0u);
    EXPECT_EQ(UniformValue(program, "vColor"), (Floats{1, 2, 3, 4}));
}

// ---- Objects
// ---------------------------------------------------------------------------------------------------

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

TEST_F(RecordingDriver, ShadersAndProgramsOutliveTheirDeletionWhileInUse) {
    const GLuint program = Link("void main() {}");
    const std::vector<GLuint> shaders = FindProgram(program)->shaders;
    glUseProgram(program);
    glDeleteProgram(program);
    glDeleteShader(shaders[0]);
    EXPECT_EQ(glIsProgram(program), GL_TRUE);
    EXPECT_EQ(glIsShader(shaders[0]), GL_TRUE);
    glUseProgram(0);
    EXPECT_EQ(glIsProgram(program), GL_FALSE);
    EXPECT_EQ(glIsShader(shaders[0]), GL_FALSE);
    EXPECT_EQ(glIsShader(shaders[1]), GL_TRUE) << "it was only attached";
}

TEST_F(RecordingDriver, UploadsKeepTheirBytes) {
    GLuint texture = 0;
    glGenTextures(1, &texture);
    glBindTexture(GL_TEXTURE_2D, texture);
    const std::uint8_t padded[] = {1, 2, 3, 0,
                                   5, 6, 7}; // rows of 3 bytes, 4 apart; the last one is not padded
    glTexImage2D(GL_TEXTURE_2D, 0, GL_ALPHA, 3, 2, 0, GL_ALPHA, GL_UNSIGNED_BYTE, padded);
    EXPECT_EQ(LastCall("glTexImage2D").bytes, std::vector<std::uint8_t>(padded, padded + 7));
    const std::uint8_t blocks[16] = {8, 9};
    glCompressedTexImage2D(GL_TEXTURE_2D, 1, GL_ETC1_RGB8_OES, 5, 3, 0, 16, blocks);
    const std::optional<Texture> held = FindTexture(texture);
    ASSERT_TRUE(held);
    EXPECT_EQ(held->levels.at(0).bytes.size(), 7u);
    EXPECT_EQ(held->levels.at(1).bytes, std::vector<std::uint8_t>(blocks, blocks + 16));
    EXPECT_EQ(held->levels.at(1).internalFormat, static_cast<GLenum>(GL_ETC1_RGB8_OES));
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

// ---- Programs
// --------------------------------------------------------------------------------------------------

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
    const char* const source = "uniform mediump vec4 vColor; uniform sampler2D s; uniform highp float f[3];"
                               "void main() { gl_FragColor = vColor + texture2D(s, v) * f[0]; }";
    const GLuint first = Link(source);
    const GLuint second = Link(source);
    EXPECT_NE(UniformLocation(first, "vColor"), UniformLocation(second, "vColor"));

    glUseProgram(second);
    glUniform4f(UniformLocation(second, "vColor"), 1, 2, 3, 4);
    glUniform1i(UniformLocation(second, "s"), 5);
    const GLfloat pair[] = {8, 9};
    glUniform1fv(UniformLocation(second, "f") + 1, 2, pair);
    EXPECT_EQ(UniformValue(second, "vColor"), (Floats{1, 2, 3, 4}));
    EXPECT_EQ(UniformValue(second, "s"), (Floats{5}));
    EXPECT_EQ(UniformValue(second, "f"), (Floats{0, 8, 9}));
    EXPECT_EQ(UniformValue(first, "vColor"), (Floats{0, 0, 0, 0}));
    EXPECT_TRUE(Errors().empty());

    glUniform4f(UniformLocation(first, "vColor"), 1, 2, 3, 4);
    EXPECT_EQ(glGetError(), static_cast<GLenum>(GL_INVALID_OPERATION)) << "a location of another program";
}

// ---- Draws
// -----------------------------------------------------------------------------------------------------

TEST_F(RecordingDriver, DrawArraysSnapshotsTheVerticesDrawn) {
    struct Vertex {
        float position[3];
        std::uint8_t color[4];
    };
    Vertex vertices[4] = {{{9, 9, 9}, {9, 9, 9, 9}},
                          {{1, 2, 3}, {0, 51, 102, 255}},
                          {{4, 5, 6}, {1, 2, 3, 4}},
                          {{7, 8, 9}, {255, 0, 0, 0}}};
    glEnableVertexAttribArray(0);
    glEnableVertexAttribArray(4);
    glVertexAttribPointer(0, 3, GL_FLOAT, GL_FALSE, sizeof(Vertex), vertices[0].position);
    glVertexAttribPointer(4, 4, GL_UNSIGNED_BYTE, GL_TRUE, sizeof(Vertex), vertices[0].color);
    glVertexAttribPointer(5, 1, GL_FLOAT, GL_FALSE, 0, vertices);
    glDrawArrays(GL_LINES, 1, 2);
    vertices[1].position[0] = 100;

    ASSERT_EQ(Draws().size(), 1u);
    const Draw draw = Draws()[0];
    EXPECT_EQ(draw.Values(0), (Floats{1, 2, 3, 4, 5, 6})) << "strided, and as it was when drawn";
    EXPECT_EQ(draw.streams.at(4).Vertex(0), (Floats{0, 0.2f, 0.4f, 1}));
    EXPECT_EQ(draw.streams.at(4).bytes, (std::vector<std::uint8_t>{0, 51, 102, 255, 1, 2, 3, 4}));
    EXPECT_EQ(draw.streams.count(5), 0u) << "an array that is not enabled";
}

TEST_F(RecordingDriver, DrawElementsFollowsIndicesFromClientMemoryAndFromBuffers) {
    const float positions[] = {0, 1, 10, 11, 20, 21, 30, 31};
    const GLushort indices[] = {3, 1, 1};
    glEnableVertexAttribArray(0);
    glVertexAttribPointer(0, 2, GL_FLOAT, GL_FALSE, 0, positions);
    glDrawElements(GL_TRIANGLES, 3, GL_UNSIGNED_SHORT, indices);

    GLuint buffers[2] = {};
    glGenBuffers(2, buffers);
    glBindBuffer(GL_ARRAY_BUFFER, buffers[0]);
    glBufferData(GL_ARRAY_BUFFER, sizeof positions, positions, GL_STATIC_DRAW);
    glBindBuffer(GL_ELEMENT_ARRAY_BUFFER, buffers[1]);
    glBufferData(GL_ELEMENT_ARRAY_BUFFER, sizeof indices, indices, GL_STATIC_DRAW);
    glVertexAttribPointer(0, 2, GL_FLOAT, GL_FALSE, 0, reinterpret_cast<const void*>(8));
    glDrawElements(GL_TRIANGLES, 2, GL_UNSIGNED_SHORT, reinterpret_cast<const void*>(2));

    ASSERT_EQ(Draws().size(), 2u);
    EXPECT_EQ(Draws()[0].indices, (std::vector<GLuint>{3, 1, 1}));
    EXPECT_EQ(Draws()[0].Values(0), (Floats{30, 31, 10, 11, 10, 11}));
    EXPECT_EQ(Draws()[1].indices, (std::vector<GLuint>{1, 1}));
    EXPECT_EQ(Draws()[1].Values(0), (Floats{20, 21, 20, 21})) << "offsets into both buffers";
    EXPECT_EQ(Draws()[1].streams.at(0).buffer, buffers[0]);
}

TEST_F(RecordingDriver, FixedPointStreamsShowBothReadings) {
    const float values[] = {0.5f, 640};
    glEnableVertexAttribArray(1);
    glVertexAttribPointer(1, 2, GL_FIXED, GL_FALSE, 0, values);
    glDrawArrays(GL_POINTS, 0, 1);
    const VertexStream stream = Draws()[0].streams.at(1);
    EXPECT_EQ(stream.RawFloats(), (Floats{0.5f, 640}));
    EXPECT_EQ(stream.values[0], 0x3F000000 / 65536.0f) << "what GL makes of the bits of 0.5";
}

TEST_F(RecordingDriver, DrawsKeepTheStateTheySaw) {
    const GLuint program = Link(
        "uniform sampler2D s; uniform mediump float f; void main() { gl_FragColor = f * texture2D(s, v); }");
    glUseProgram(program);
    glUniform1i(UniformLocation(program, "s"), 2);
    glUniform1f(UniformLocation(program, "f"), 0.5f);
    glActiveTexture(GL_TEXTURE2);
    const GLuint texture = MakeTexture(1, 1, GL_RGBA, GL_UNSIGNED_BYTE);
    glEnable(GL_STENCIL_TEST);
    glDrawArrays(GL_TRIANGLE_STRIP, 0, 4);
    glUniform1f(UniformLocation(program, "f"), 0.75f);
    glBindTexture(GL_TEXTURE_2D, 0);
    glDisable(GL_STENCIL_TEST);

    const Draw draw = Draws()[0];
    EXPECT_EQ(draw.Uniform("f"), (Floats{0.5f}));
    EXPECT_EQ(draw.Texture("s"), texture);
    EXPECT_TRUE(draw.state.IsEnabled(GL_STENCIL_TEST));
    EXPECT_FALSE(GetState().IsEnabled(GL_STENCIL_TEST));
}

// ---- Errors
// ----------------------------------------------------------------------------------------------------

struct Misuse {
    const char* what;
    void (*call)();
    GLenum error;
};

class RecordingDriverMisuse : public RecordingDriver, public ::testing::WithParamInterface<Misuse> {};

TEST_P(RecordingDriverMisuse, RaisesTheErrorOnceAndNotesIt) {
    GetParam().call();
    EXPECT_EQ(glGetError(), GetParam().error);
    EXPECT_EQ(glGetError(), static_cast<GLenum>(GL_NO_ERROR));
    ASSERT_EQ(Errors().size(), 1u);
    const std::string suffix = " -> " + EnumName(GetParam().error);
    EXPECT_EQ(Errors()[0].substr(Errors()[0].size() - suffix.size()), suffix);
}

const Misuse g_misuses[] = {
    {"TextureIsNoCapability", [] { glDisable(GL_TEXTURE_2D); }, GL_INVALID_ENUM},
    {"MipmapMagnification",
     [] { glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MAG_FILTER, GL_LINEAR_MIPMAP_LINEAR); }, GL_INVALID_ENUM},
    {"ProgramLogOfShader", [] { glGetProgramInfoLog(glCreateShader(GL_VERTEX_SHADER), 0, nullptr, nullptr); },
     GL_INVALID_OPERATION},
    {"ShaderStatusOfProgram",
     [] {
         GLint status = 0;
         glGetShaderiv(glCreateProgram(), GL_COMPILE_STATUS, &status);
     },
     GL_INVALID_OPERATION},
    {"UniformWithoutProgram", [] { glUniform1f(-1, 0); }, GL_INVALID_OPERATION},
    {"UseOfUnlinkedProgram", [] { glUseProgram(glCreateProgram()); }, GL_INVALID_OPERATION},
    {"UseOfNoProgram", [] { glUseProgram(99); }, GL_INVALID_VALUE},
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
    {"UnitOutOfRange", [] { glActiveTexture(GL_TEXTURE0 + 32); }, GL_INVALID_ENUM},
    {"NegativeViewport", [] { glViewport(0, 0, -1, 1); }, GL_INVALID_VALUE},
    {"FirstErrorStays",
     [] {
         SetError(GL_INVALID_VALUE);
         glEnable(GL_TEXTURE_2D);
         Clear();
         glViewport(0, 0, -1, 1);
     },
     GL_INVALID_VALUE},
};
INSTANTIATE_TEST_SUITE_P(, RecordingDriverMisuse, ::testing::ValuesIn(g_misuses),
                         [](const auto& info) { return info.param.what; });

TEST_F(RecordingDriver, MayBeDrawnWithWithoutAProgram) {
    glDrawArrays(GL_TRIANGLES, 0, 0);
    EXPECT_EQ(glGetError(), static_cast<GLenum>(GL_NO_ERROR));
    EXPECT_EQ(Draws().size(), 1u);
}

TEST_F(RecordingDriver, UniformsRefuseValuesOfAnotherType) {
    const GLuint program = Link(
        "uniform mediump vec3 v; uniform sampler2D s; void main() { gl_FragColor = v * texture2D(s, x); }");
    glUseProgram(program);
    glUniform4f(UniformLocation(program, "v"), 1, 1, 1, 1);
    glUniform1f(UniformLocation(program, "s"), 1);
    glUniform1i(UniformLocation(program, "s"), 32);
    EXPECT_EQ(Errors(), (Strings{"glUniform4f(v, 1, 1, 1, 1) -> GL_INVALID_OPERATION",
                                 "glUniform1f(s, 1) -> GL_INVALID_OPERATION",
                                 "glUniform1i(s, 32) -> GL_INVALID_VALUE"}));
}

// ---- What a test tells it
// --------------------------------------------------------------------------------------

TEST_F(RecordingDriver, FailsCallsByNameAndByNumber) {
    FailAt("glBindTexture", 2);
    Fail("eglInitialize", EGL_NOT_INITIALIZED);
    glBindTexture(GL_TEXTURE_2D, 1);
    glBindTexture(GL_TEXTURE_2D, 2);
    EXPECT_EQ(GetState().textures[0], 1u) << "a failed call has no effect";
    glBindTexture(GL_TEXTURE_2D, 3);
    EXPECT_EQ(GetState().textures[0], 3u);
    EXPECT_EQ(Errors(), Strings{"glBindTexture(GL_TEXTURE_2D, 2) -> GL_OUT_OF_MEMORY"});

    const EGLDisplay display = eglGetDisplay(EGL_DEFAULT_DISPLAY);
    for (int i = 0; i < 2; ++i) {
        EXPECT_EQ(eglInitialize(display, nullptr, nullptr), static_cast<EGLBoolean>(EGL_FALSE));
        EXPECT_EQ(eglGetError(), EGL_NOT_INITIALIZED);
        EXPECT_EQ(eglGetError(), EGL_SUCCESS);
    }
    Succeed("eglInitialize");
    EXPECT_EQ(eglInitialize(display, nullptr, nullptr), static_cast<EGLBoolean>(EGL_TRUE));
    EXPECT_THROW(Fail("glLinkprogram"), std::invalid_argument);
}

TEST_F(RecordingDriver, FailsToCompileAndLinkWithTheLogGiven) {
    FailCompile(GL_FRAGMENT_SHADER, "no good");
    const GLuint broken = Link("void main() {}");
    EXPECT_FALSE(IsLinked(broken));
    const std::vector<GLuint> shaders = FindProgram(broken)->shaders;
    EXPECT_TRUE(FindShader(shaders[0])->compiled);
    GLint length = 0;
    glGetShaderiv(shaders[1], GL_INFO_LOG_LENGTH, &length);
    EXPECT_EQ(length, 8) << "the terminator counts";
    char log[5] = {};
    glGetShaderInfoLog(shaders[1], sizeof log, nullptr, log);
    EXPECT_STREQ(log, "no g");

    Reset();
    FailLink("");
    const GLuint program = Link("void main() {}");
    EXPECT_FALSE(IsLinked(program));
    glGetProgramiv(program, GL_INFO_LOG_LENGTH, &length);
    EXPECT_EQ(length, 0);

    Reset();
    EXPECT_TRUE(IsLinked(Link("void main() {}")));
    EXPECT_FALSE(IsLinked(Link("void mane() {}")));
}

TEST_F(RecordingDriver, AnswersTheLimitsSet) {
    SetLimit(GL_MAX_TEXTURE_IMAGE_UNITS, 2);
    SetShaderCompiler(false);
    GLint units = 0;
    GLboolean compiler = GL_TRUE;
    glGetIntegerv(GL_MAX_TEXTURE_IMAGE_UNITS, &units);
    glGetBooleanv(GL_SHADER_COMPILER, &compiler);
    EXPECT_EQ(units, 2);
    EXPECT_EQ(compiler, GL_FALSE);
}

TEST_F(RecordingDriver, ChoosesAmongTheConfigsInTheirOrder) {
    SetConfigs({{8, 8, 8, 8, 24, 8}, {5, 6, 5, 0, 16, 4}, {8, 8, 8, 8, 16, 4}, {8, 8, 8, 8, 0, 0}});
    const EGLDisplay display = eglGetDisplay(EGL_DEFAULT_DISPLAY);
    eglInitialize(display, nullptr, nullptr);
    const EGLint wanted[] = {EGL_RED_SIZE, 8, EGL_DEPTH_SIZE, 16, EGL_NONE};
    EGLConfig configs[4] = {};
    EGLint count = -1;
    ASSERT_TRUE(eglChooseConfig(display, wanted, configs, 4, &count));
    ASSERT_EQ(count, 2);
    EXPECT_EQ(configs[0], ConfigHandle(0));
    EXPECT_EQ(configs[1], ConfigHandle(2));
    ASSERT_TRUE(eglChooseConfig(display, wanted, configs, 1, &count));
    EXPECT_EQ(count, 1) << "no more than the array holds";

    EGLint value = -1;
    FailConfigAttribute(2, EGL_DEPTH_SIZE);
    EXPECT_TRUE(eglGetConfigAttrib(display, ConfigHandle(2), EGL_GREEN_SIZE, &value));
    EXPECT_EQ(value, 8);
    EXPECT_FALSE(eglGetConfigAttrib(display, ConfigHandle(2), EGL_DEPTH_SIZE, &value));
    EXPECT_EQ(value, 8) << "a failed query writes nothing";
}

// ---- EGL
// -------------------------------------------------------------------------------------------------------

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

TEST_F(RecordingDriver, TearDownLeavesNothingCurrentAndNoObject) {
    const Egl egl = Open();
    eglSwapBuffers(egl.display, egl.surface);
    EXPECT_EQ(GetEglState().swaps, 1);
    eglMakeCurrent(egl.display, EGL_NO_SURFACE, EGL_NO_SURFACE, EGL_NO_CONTEXT);
    EXPECT_EQ(eglGetCurrentDisplay(), EGL_NO_DISPLAY);
    EXPECT_TRUE(eglDestroySurface(egl.display, egl.surface));
    EXPECT_TRUE(eglDestroyContext(egl.display, egl.context));
    EXPECT_FALSE(eglDestroyContext(egl.display, egl.context));
    EXPECT_EQ(eglGetError(), EGL_BAD_CONTEXT);
    EXPECT_TRUE(eglTerminate(egl.display));
    EXPECT_FALSE(eglSwapBuffers(egl.display, egl.surface));
    EXPECT_EQ(eglGetError(), EGL_NOT_INITIALIZED);
    EXPECT_EQ(Counts(Object::EglSurface).live, 0);
    EXPECT_EQ(Counts(Object::EglContext).live, 0);
}

TEST_F(RecordingDriver, ImagesComeFromProceduresThatCanBeMissing) {
    const Egl egl = Open();
    const auto create = reinterpret_cast<PFNEGLCREATEIMAGEKHRPROC>(eglGetProcAddress("eglCreateImageKHR"));
    const auto destroy = reinterpret_cast<PFNEGLDESTROYIMAGEKHRPROC>(eglGetProcAddress("eglDestroyImageKHR"));
    const auto target = reinterpret_cast<PFNGLEGLIMAGETARGETTEXTURE2DOESPROC>(
        eglGetProcAddress("glEGLImageTargetTexture2DOES"));
    ASSERT_TRUE(create && destroy && target);
    int buffer = 0;
    const EGLint attributes[] = {EGL_IMAGE_PRESERVED_KHR, EGL_TRUE, EGL_NONE, EGL_NONE};
    const EGLImageKHR image =
        create(egl.display, EGL_NO_CONTEXT, EGL_NATIVE_BUFFER_ANDROID, &buffer, attributes);
    ASSERT_NE(image, EGL_NO_IMAGE_KHR);
    EXPECT_EQ(LastCall("eglCreateImageKHR").line,
              "eglCreateImageKHR(display, EGL_NO_CONTEXT, EGL_NATIVE_BUFFER_ANDROID, "
              "*, {EGL_IMAGE_PRESERVED_KHR, EGL_TRUE, EGL_NONE})");
    const GLuint texture = MakeTexture(4, 4, GL_RGB, GL_UNSIGNED_BYTE);
    target(GL_TEXTURE_2D, image);
    EXPECT_EQ(FindTexture(texture)->image, image);
    EXPECT_TRUE(destroy(egl.display, image));
    EXPECT_FALSE(destroy(egl.display, image));
    EXPECT_EQ(Counts(Object::EglImage).live, 0);

    SetProcAddress("eglDestroyImageKHR", false);
    EXPECT_EQ(eglGetProcAddress("eglDestroyImageKHR"), nullptr);
    EXPECT_NE(eglGetProcAddress("eglCreateImageKHR"), nullptr);
    EXPECT_EQ(eglGetProcAddress("eglNoSuchThing"), nullptr);
}

TEST_F(RecordingDriver, ResetForgetsEverything) {
    const Egl egl = Open();
    glEnable(GL_BLEND);
    Link("void main() {}");
    Fail("glFlush");
    SetProcAddress("eglCreateImageKHR", false);
    Reset();
    EXPECT_EQ(Count(), 0u);
    EXPECT_EQ(eglGetCurrentContext(), EGL_NO_CONTEXT);
    EXPECT_FALSE(GetState().IsEnabled(GL_BLEND));
    EXPECT_TRUE(LiveNames(Object::Program).empty());
    EXPECT_NE(eglGetProcAddress("eglCreateImageKHR"), nullptr);
    glFlush();
    EXPECT_TRUE(Errors().empty());
    EXPECT_FALSE(eglSwapBuffers(egl.display, egl.surface));
}

} // namespace
