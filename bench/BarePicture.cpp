// What a driver needs for itself before there is a first picture: a program of EGL and OpenGL ES calls alone
// that makes a context, compiles the built-in programs, draws with those two that examples/showcase draws
// with, and reads the picture back. Constant: the size of the picture and of the textures.
// bench/first-picture times whole processes of it.

#include "ShaderSources.h"

#include <EGL/egl.h>
#include <EGL/eglext.h>
#include <GLES2/gl2.h>
#include <GLES2/gl2ext.h>

#include <cstdint>
#include <cstdio>
#include <string>
#include <vector>

namespace {

namespace sources = trevik::kelvo::ShaderSources;

constexpr int Width = 640;
constexpr int Height = 360;
constexpr int TextureSide = 128;

struct Program {
    sources::Source fragment;
    sources::Source vertex;
};

constexpr Program Programs[] = {
    {sources::TexturedFragment, sources::TexturedVertex},
    {sources::SeparateAlphaFragment, sources::SeparateAlphaVertex}, // drawn with up to here
    {sources::SolidFragment, sources::SolidVertex},
    {sources::PostProcessFragment, sources::QuadVertex},
    {sources::AlphaTestedFragment, sources::TexturedVertex},
    {sources::TextFragment, sources::TextVertex},
    {sources::TextUnderlineFragment, sources::TextUnderlineVertex},
    {sources::TextImageFragment, sources::TextImageVertex},
    {sources::SeparateAlphaTestedFragment, sources::SeparateAlphaVertex},
    {sources::TexturedEdgesFragment, sources::TexturedEdgesVertex},
    {sources::SolidEdgesFragment, sources::SolidEdgesVertex},
};

bool Begin() {
    auto const platformDisplay =
        reinterpret_cast<PFNEGLGETPLATFORMDISPLAYEXTPROC>(eglGetProcAddress("eglGetPlatformDisplayEXT"));
    EGLDisplay const display =
        platformDisplay ? platformDisplay(EGL_PLATFORM_SURFACELESS_MESA, EGL_DEFAULT_DISPLAY, nullptr)
                        : eglGetDisplay(EGL_DEFAULT_DISPLAY);
    EGLint const configAttributes[] = {EGL_RENDERABLE_TYPE,
                                       EGL_OPENGL_ES2_BIT,
                                       EGL_SURFACE_TYPE,
                                       EGL_PBUFFER_BIT,
                                       EGL_RED_SIZE,
                                       8,
                                       EGL_GREEN_SIZE,
                                       8,
                                       EGL_BLUE_SIZE,
                                       8,
                                       EGL_DEPTH_SIZE,
                                       16,
                                       EGL_STENCIL_SIZE,
                                       4,
                                       EGL_NONE};
    EGLint const contextAttributes[] = {EGL_CONTEXT_CLIENT_VERSION, 2, EGL_NONE};
    EGLint const surfaceAttributes[] = {EGL_WIDTH, Width, EGL_HEIGHT, Height, EGL_NONE};
    EGLConfig config = nullptr;
    EGLint nConfigs = 0;
    if (!eglInitialize(display, nullptr, nullptr) ||
        !eglChooseConfig(display, configAttributes, &config, 1, &nConfigs) || nConfigs < 1) {
        return false;
    }
    EGLSurface const surface = eglCreatePbufferSurface(display, config, surfaceAttributes);
    EGLContext const context = eglCreateContext(display, config, EGL_NO_CONTEXT, contextAttributes);
    return eglMakeCurrent(display, surface, surface, context);
}

void Attach(GLuint program, GLenum type, sources::Source source) {
    std::string text;
    for (unsigned int n = 0; n < source.GetLength(); ++n) {
        text += static_cast<char>(source.GetData()[n]); // they are ASCII
    }
    char const* const pText = text.c_str();
    GLuint const shader = glCreateShader(type);
    glShaderSource(shader, 1, &pText, nullptr);
    glCompileShader(shader);
    glAttachShader(program, shader);
}

GLuint Compile(Program const& parts) {
    GLuint const program = glCreateProgram();
    Attach(program, GL_VERTEX_SHADER, parts.vertex);
    Attach(program, GL_FRAGMENT_SHADER, parts.fragment);
    glBindAttribLocation(program, 0, "vInPosition");
    glBindAttribLocation(program, 1, "vInTexture");
    glLinkProgram(program);
    return program;
}

void MakeTexture(GLenum unit, bool fEtc1) {
    std::vector<std::uint8_t> const pixels(std::size_t{4} * TextureSide * TextureSide, 0x7F);
    GLuint texture = 0;
    glGenTextures(1, &texture);
    glActiveTexture(unit);
    glBindTexture(GL_TEXTURE_2D, texture);
    glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MIN_FILTER, GL_LINEAR);
    glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_WRAP_S, GL_CLAMP_TO_EDGE);
    glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_WRAP_T, GL_CLAMP_TO_EDGE);
    if (fEtc1) {
        glCompressedTexImage2D(GL_TEXTURE_2D, 0, GL_ETC1_RGB8_OES, TextureSide, TextureSide, 0,
                               TextureSide * TextureSide / 2, pixels.data());
    } else {
        glTexImage2D(GL_TEXTURE_2D, 0, GL_RGBA, TextureSide, TextureSide, 0, GL_RGBA, GL_UNSIGNED_BYTE,
                     pixels.data());
    }
}

void SetMatrix(GLuint program, char const* pName) {
    GLfloat const identity[] = {1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1};
    glUniformMatrix4fv(glGetUniformLocation(program, pName), 1, GL_FALSE, identity);
}

/** A rectangle in the middle, `rSize` of the picture's size. */
void Draw(GLuint program, GLfloat rSize) {
    GLfloat const corners[] = {-rSize, -rSize, rSize, -rSize, -rSize, rSize, rSize, rSize};
    glUseProgram(program);
    SetMatrix(program, "mWorldToView");
    SetMatrix(program, "mViewToViewport");
    glUniform4f(glGetUniformLocation(program, "vColor"), 1, 1, 1, 1);
    glUniform1i(glGetUniformLocation(program, "sTextureA"), 1);
    for (GLuint const nAttribute : {0u, 1u}) {
        glEnableVertexAttribArray(nAttribute);
        glVertexAttribPointer(nAttribute, 2, GL_FLOAT, GL_FALSE, 0, corners);
    }
    glDrawArrays(GL_TRIANGLE_STRIP, 0, 4);
}

} // namespace

int main() {
    if (!Begin()) {
        std::fprintf(stderr, "no context: EGL error 0x%x\n", static_cast<unsigned int>(eglGetError()));
        return 1;
    }
    std::vector<GLuint> programs;
    for (Program const& program : Programs) {
        programs.push_back(Compile(program));
    }
    glEnable(GL_BLEND);
    glBlendFunc(GL_SRC_ALPHA, GL_ONE_MINUS_SRC_ALPHA);
    glClear(GL_COLOR_BUFFER_BIT | GL_DEPTH_BUFFER_BIT | GL_STENCIL_BUFFER_BIT);
    MakeTexture(GL_TEXTURE0, false);
    Draw(programs[0], 1);
    MakeTexture(GL_TEXTURE1, true);
    MakeTexture(GL_TEXTURE0, true);
    Draw(programs[1], 0.25F); // as large as the scene's planet
    std::vector<std::uint8_t> pixels(std::size_t{4} * Width * Height);
    glReadPixels(0, 0, Width, Height, GL_RGBA, GL_UNSIGNED_BYTE, pixels.data());
    GLenum const nError = glGetError();
    if (nError != GL_NO_ERROR) {
        std::fprintf(stderr, "GL error 0x%x\n", nError);
    }
    return nError == GL_NO_ERROR ? 0 : 1;
}
