#include "EglProgram.h"

namespace kelvokit::test {

namespace {

void Attach(GLuint program, GLenum type, char const* source) {
    GLuint const shader = glCreateShader(type);
    glShaderSource(shader, 1, &source, nullptr);
    glCompileShader(shader);
    glAttachShader(program, shader);
}

} // namespace

void EglProgram::SetUp() {
    m_display = eglGetDisplay(EGL_DEFAULT_DISPLAY);
    ASSERT_NE(m_display, EGL_NO_DISPLAY);
    ASSERT_TRUE(eglInitialize(m_display, nullptr, nullptr));
}

void EglProgram::TearDown() {
    eglMakeCurrent(m_display, EGL_NO_SURFACE, EGL_NO_SURFACE, EGL_NO_CONTEXT);
    eglTerminate(m_display);
}

EGLint EglProgram::Attribute(EGLConfig config, EGLint name) const {
    EGLint nValue = -1;
    EXPECT_TRUE(eglGetConfigAttrib(m_display, config, name, &nValue));
    return nValue;
}

ColourSizes EglProgram::Sizes(EGLConfig config) const {
    return {Attribute(config, EGL_RED_SIZE), Attribute(config, EGL_GREEN_SIZE),
            Attribute(config, EGL_BLUE_SIZE), Attribute(config, EGL_ALPHA_SIZE)};
}

EGLConfig EglProgram::Config(ColourSizes sizes) const {
    EGLint const attributes[] = {
        EGL_RENDERABLE_TYPE, EGL_OPENGL_ES2_BIT, EGL_DEPTH_SIZE, 16, EGL_STENCIL_SIZE, 4, EGL_NONE};
    EGLConfig configs[64];
    EGLint nCount = 0;
    EXPECT_TRUE(eglChooseConfig(m_display, attributes, configs, 64, &nCount));
    for (EGLint n = 0; n < nCount; ++n) {
        if (Sizes(configs[n]) == sizes) {
            return configs[n];
        }
    }
    ADD_FAILURE() << "no configuration of sizes " << sizes.r << sizes.g << sizes.b << sizes.a;
    return nullptr;
}

EGLSurface EglProgram::Surface(EGLConfig config, void* window) const {
    return eglCreateWindowSurface(m_display, config, reinterpret_cast<EGLNativeWindowType>(window), nullptr);
}

EGLContext EglProgram::Context(EGLConfig config) const {
    EGLint const attributes[] = {EGL_CONTEXT_CLIENT_VERSION, 2, EGL_NONE};
    return eglCreateContext(m_display, config, EGL_NO_CONTEXT, attributes);
}

EGLSurface EglProgram::StartDrawing(EGLConfig config, ANativeWindow& window) const {
    EGLSurface const surface = Surface(config, &window);
    EXPECT_NE(surface, EGL_NO_SURFACE);
    EXPECT_TRUE(eglMakeCurrent(m_display, surface, surface, Context(config)));
    return surface;
}

void EglProgram::Bind(EGLSurface surface) const {
    ASSERT_TRUE(eglMakeCurrent(m_display, surface, surface, eglGetCurrentContext()));
}

void EglProgram::Clear(Pixel colour) const {
    glClearColor(colour.r / 255.0f, colour.g / 255.0f, colour.b / 255.0f, colour.a / 255.0f);
    glClear(GL_COLOR_BUFFER_BIT);
}

void EglProgram::StartProgram(char const* fragmentSource) {
    GLuint const program = glCreateProgram();
    Attach(program, GL_VERTEX_SHADER,
           "attribute vec2 position; varying vec2 place; void main() {"
           "place = vec2(0.5 + 0.5 * position.x, 0.5 - 0.5 * position.y);"
           "gl_Position = vec4(position, 0.0, 1.0); }");
    Attach(program, GL_FRAGMENT_SHADER, fragmentSource);
    glBindAttribLocation(program, 0, "position");
    glLinkProgram(program);
    glUseProgram(program);
    static constexpr float s_corners[] = {-1, -1, -1, 1, 1, -1, 1, 1};
    glVertexAttribPointer(0, 2, GL_FLOAT, GL_FALSE, 0, s_corners);
    glEnableVertexAttribArray(0);
    EXPECT_EQ(glGetError(), GLenum(GL_NO_ERROR));
}

Image EglProgram::Present(EGLSurface surface, ANativeWindow const& window) const {
    EXPECT_TRUE(eglSwapBuffers(m_display, surface));
    return FrameOf(window);
}

Image FrameOf(ANativeWindow const& window) {
    desktop::FinishedFrame const& frame = desktop::LastFrame(window);
    return Image(frame.width, frame.height, frame.pixels.data());
}

} // namespace kelvokit::test
