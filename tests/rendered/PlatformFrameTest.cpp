#include "EglProgram.h"

#include <GLES3/gl3.h>

#include <cstring>
#include <string>
#include <utility>

namespace kelvokit::test {
namespace {

using desktop::FinishedFrame;
using desktop::OffscreenWindow;
using PlatformFrame = EglProgram;

TEST_F(PlatformFrame, IsUprightAndTrueToTheColoursOfEachConfiguration) {
    struct {
        ColourSizes sizes;
        Tolerance tolerance;
    } const cases[] = {
        {{5, 6, 5, 0}, {9, 3, "a step of 31: drivers round either way"}},
        {{8, 8, 8, 0}, {1, 0.1, "rounding of exact values"}},
        {{8, 8, 8, 8}, {1, 0.1, "rounding of exact values"}},
    };
    for (auto const& test : cases) {
        SCOPED_TRACE(test.sizes.g);
        SCOPED_TRACE(test.sizes.a);
        CapturedWindow window(37, 24);
        EGLSurface const surface = StartDrawing(Config(test.sizes), window);
        // Each pixel has a colour that no other has.
        StartProgram(
            "precision highp float; void main() { vec2 p = floor(gl_FragCoord.xy);"
            "gl_FragColor = vec4(p.x * 6.0, p.y * 10.0, 250.0 - p.x * 3.0, 255.0 - p.y * 4.0) / 255.0; }");
        glDisable(GL_DITHER);
        glDrawArrays(GL_TRIANGLE_STRIP, 0, 4);
        Image const expected = MakeImage(37, 24, [&](int x, int y) {
            int const up = 23 - y; // as GL counts
            return Pixel{std::uint8_t(x * 6), std::uint8_t(up * 10), std::uint8_t(250 - x * 3),
                         std::uint8_t(test.sizes.a ? 255 - up * 4 : 255)};
        });
        EXPECT_TRUE(CompareImages(Present(surface, window), expected, test.tolerance));
        // The ends of channels, however small, are the ends of eight bits.
        for (Pixel const& colour : {Pixel{255, 0, 255, 255}, Pixel{0, 255, 0, 255}}) {
            Clear(colour);
            EXPECT_TRUE(CompareImages(Present(surface, window), Image(37, 24, colour)));
        }
    }
}

TEST_F(PlatformFrame, IsHandedToTheWindowWithItsNumberAndReusedStorage) {
    OffscreenWindow window(7, 4);
    std::vector<unsigned long> serials;
    window.user = &serials;
    window.frameFinished = [](ANativeWindow* which, FinishedFrame const& frame) {
        EXPECT_EQ(&frame, &desktop::LastFrame(*which));
        static_cast<std::vector<unsigned long>*>(which->user)->push_back(frame.serial);
    };
    EGLSurface const surface = StartDrawing(Config(), window);
    EXPECT_EQ(window.LastFrame().serial, 0u);
    EXPECT_TRUE(window.LastFrame().pixels.empty());

    std::vector<std::uint8_t const*> storage;
    for (bool const fCapture : {false, true, false, true}) {
        window.SetCapture(fCapture);
        Clear(fCapture ? Green : Red);
        ASSERT_TRUE(eglSwapBuffers(m_display, surface));
        EXPECT_EQ(window.LastFrame().pixels.empty(), !fCapture && storage.empty());
        if (fCapture) {
            storage.push_back(window.LastFrame().pixels.data());
        }
    }
    EXPECT_EQ(serials, (std::vector<unsigned long>{2, 4}));
    EXPECT_EQ(window.frameCount, 4u);
    EXPECT_EQ(storage[0], storage[1]);
    EXPECT_TRUE(CompareImages(FrameOf(window), Image(7, 4, Green)));
}

TEST_F(PlatformFrame, HandlerMayDestroyItsWindowAndThrow) {
    auto* const pWindow = new CapturedWindow(7, 4);
    pWindow->frameFinished = [](ANativeWindow* which, FinishedFrame const& frame) {
        EXPECT_EQ(frame.serial, 1u);
        delete static_cast<CapturedWindow*>(which);
        throw 1;
    };
    EGLSurface const surface = StartDrawing(Config(), *pWindow);
    EXPECT_EQ(ErrorOf(eglSwapBuffers(m_display, surface)), EGL_BAD_NATIVE_WINDOW);
}

TEST_F(PlatformFrame, LeavesTheProgramsStateAndItsErrorsAlone) {
    CapturedWindow window(5, 3);
    EGLSurface const surface = StartDrawing(Config(), window);
    Clear(Green);
    glEnable(GL_SCISSOR_TEST);
    glScissor(0, 0, 5, 1);
    Clear(Red);
    Image expected(5, 3, Green);
    expected.Fill(0, 2, 5, 1, Red);
    GLuint framebuffer = 0;
    glGenFramebuffers(1, &framebuffer);
    glBindFramebuffer(GL_FRAMEBUFFER, framebuffer); // incomplete: reading from it would be an error
    std::vector<std::pair<GLenum, GLint>> state = {{GL_FRAMEBUFFER_BINDING, GLint(framebuffer)},
                                                   {GL_PACK_ALIGNMENT, 8}};
    glPixelStorei(GL_PACK_ALIGNMENT, 8);
    std::string const sVersion = reinterpret_cast<char const*>(glGetString(GL_VERSION));
    if (sVersion.find("OpenGL ES 3") == 0) {
        auto const readBuffer = reinterpret_cast<void (*)(GLenum)>(eglGetProcAddress("glReadBuffer"));
        GLuint buffer = 0;
        glGenBuffers(1, &buffer);
        glBindBuffer(GL_PIXEL_PACK_BUFFER, buffer);
        readBuffer(GL_NONE); // of the bound framebuffer; then of the window's
        glBindFramebuffer(GL_READ_FRAMEBUFFER, 0);
        readBuffer(GL_NONE);
        glPixelStorei(GL_PACK_ROW_LENGTH, 11);
        glPixelStorei(GL_PACK_SKIP_PIXELS, 1);
        state.insert(state.end(), {{GL_PIXEL_PACK_BUFFER_BINDING, GLint(buffer)},
                                   {GL_READ_FRAMEBUFFER_BINDING, 0},
                                   {GL_READ_BUFFER, GL_NONE},
                                   {GL_PACK_ROW_LENGTH, 11},
                                   {GL_PACK_SKIP_PIXELS, 1}});
    }
    std::string const sExtensions = reinterpret_cast<char const*>(glGetString(GL_EXTENSIONS));
    // Those that older contexts have, too.
    for (auto const& [pExtension, nName] : {std::pair{"GL_NV_pack_subimage", GLenum(GL_PACK_SKIP_ROWS)},
                                            {"GL_ANGLE_pack_reverse_row_order", 0x93A4u}}) {
        if (sExtensions.find(pExtension) != std::string::npos) {
            glPixelStorei(nName, 1);
            state.push_back({nName, 1});
        }
    }
    ASSERT_EQ(glGetError(), GLenum(GL_NO_ERROR));
    glEnable(0xffff); // an error that the program has not looked at yet

    ASSERT_TRUE(eglSwapBuffers(m_display, surface));

    EXPECT_EQ(glGetError(), GLenum(GL_INVALID_ENUM));
    EXPECT_EQ(glGetError(), GLenum(GL_NO_ERROR));
    for (auto const& [nName, nExpected] : state) {
        GLint nValue = -1;
        glGetIntegerv(nName, &nValue);
        EXPECT_EQ(nValue, nExpected) << std::hex << nName;
    }
    EXPECT_TRUE(CompareImages(FrameOf(window), expected));
}

TEST_F(PlatformFrame, IsTheDrawSurfaceAlsoWhenAnotherIsRead) {
    CapturedWindow window(5, 3);
    OffscreenWindow source(9, 9);
    EGLSurface const readSurface = StartDrawing(Config(), source);
    Clear(Red);
    EGLSurface const surface = Surface(Config(), &window);
    ASSERT_TRUE(eglMakeCurrent(m_display, surface, readSurface, eglGetCurrentContext()));
    Clear(Green);
    EXPECT_TRUE(CompareImages(Present(surface, window), Image(5, 3, Green)));
    EXPECT_EQ(eglGetCurrentSurface(EGL_READ), readSurface);
}

TEST_F(PlatformFrame, OfAContextThatCannotBeReadIsAnErrorAndNotAnEmptyPicture) {
    OffscreenWindow window(5, 3);
    EGLConfig const config = Config();
    EGLSurface const surface = Surface(config, &window);
    ASSERT_TRUE(eglBindAPI(EGL_OPENGL_API));
    EGLContext const context = eglCreateContext(m_display, config, EGL_NO_CONTEXT, nullptr);
    ASSERT_TRUE(eglMakeCurrent(m_display, surface, surface, context));
    EXPECT_TRUE(eglSwapBuffers(m_display, surface));
    window.SetCapture(true);
    EXPECT_EQ(ErrorOf(eglSwapBuffers(m_display, surface)), EGL_BAD_CONTEXT);
    EXPECT_EQ(window.LastFrame().serial, 0u);
    eglMakeCurrent(m_display, EGL_NO_SURFACE, EGL_NO_SURFACE, EGL_NO_CONTEXT);
    eglBindAPI(EGL_OPENGL_ES_API);
}

} // namespace
} // namespace kelvokit::test
