#pragma once

#include "kelvo_test/Image.h"

#include <EGL/egl.h>
#include <EGL/eglext.h>
#include <GLES2/gl2.h>
#include <gtest/gtest.h>
#include <kelvo_desktop/OffscreenWindow.h>

#include <vector>

namespace kelvokit::test {

/** Channel sizes of a configuration. */
struct ColourSizes {
    EGLint r;
    EGLint g;
    EGLint b;
    EGLint a;

    bool operator==(ColourSizes const& other) const {
        return r == other.r && g == other.g && b == other.b && a == other.a;
    }
};

/** A program that uses EGL and OpenGL ES bare, as any other would; a test's fixture. */
class EglProgram : public testing::Test {
protected:
    void SetUp() override;
    /** Takes everything down with the display. */
    void TearDown() override;

    EGLint Attribute(EGLConfig config, EGLint name) const;
    ColourSizes Sizes(EGLConfig config) const;
    /**
     * The first configuration of exactly these sizes that is offered for windows; null with a failure if none
     * is.
     */
    EGLConfig Config(ColourSizes sizes = {8, 8, 8, 8}) const;
    EGLSurface Surface(EGLConfig config, void* window) const;
    EGLContext Context(EGLConfig config) const;
    /** Makes surface and a new context of `config` for `window` and binds them. */
    EGLSurface StartDrawing(EGLConfig config, ANativeWindow& window) const;
    /** Binds the surface for reading and drawing to the context that is current. */
    void Bind(EGLSurface surface) const;
    void Clear(Pixel colour) const;
    /**
     * Makes a program current whose triangle strip of four vertices covers the window; its fragment shader
     * may take `place`, from (0, 0) in the upper left corner to (1, 1).
     */
    static void StartProgram(char const* fragmentSource);

    /** The frame that a swap shows. */
    Image Present(EGLSurface surface, ANativeWindow const& window) const;

    EGLDisplay m_display = EGL_NO_DISPLAY;
};

/** A window that keeps its frames. */
struct CapturedWindow : desktop::OffscreenWindow {
    CapturedWindow(int width, int height) : OffscreenWindowT(width, height) { SetCapture(true); }
};

/** The error of an EGL call by its result; -1 when the two contradict each other. */
template <class Result>
EGLint ErrorOf(Result result) {
    EGLint const nError = eglGetError();
    return (nError == EGL_SUCCESS) == bool(result) ? nError : -1;
}

constexpr Pixel Red = {255, 0, 0, 255};
constexpr Pixel Green = {0, 255, 0, 255};
constexpr Pixel Blue = {0, 0, 255, 255};

/** The last captured frame as an image. */
Image FrameOf(ANativeWindow const& window);

} // namespace kelvokit::test
