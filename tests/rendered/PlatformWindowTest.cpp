#include "EglProgram.h"

#include <EGL/eglext.h>

#include <atomic>
#include <memory>
#include <new>
#include <thread>

namespace kelvo::test {
namespace {

using desktop::OffscreenWindow;

constexpr Pixel Red = {255, 0, 0, 255};
constexpr Pixel Blue = {0, 0, 255, 255};

using PlatformWindow = EglProgram;

TEST_F(PlatformWindow, WhatIsNoneIsRefused) {
    char const foreign[sizeof(ANativeWindow)] = {};
    ANativeWindow unprepared;
    unprepared.width = 8;
    unprepared.height = 8;
    OffscreenWindow flat(8, 0);
    OffscreenWindow negative(-1, 8);
    ANativeWindow x11; // no X server's display here
    desktop::InitialiseX11(x11, 0x400001, 8, 8);
    // A window that was overwritten by another object without being destroyed.
    alignas(ANativeWindow) unsigned char storage[sizeof(ANativeWindow)];
    auto* const overwritten = new (storage) ANativeWindow;
    desktop::InitialiseOffscreen(*overwritten, 8, 8);
    overwritten->magic = 0;

    struct Case {
        char const* name;
        void const* window;
    } const cases[] = {
        {"null", nullptr},
        {"a number such as an X11 id", reinterpret_cast<void*>(0x400001)},
        {"memory of something else", foreign},
        {"a window that was not prepared", &unprepared},
        {"a window without height", &flat},
        {"a window of negative width", &negative},
        {"an X11 window on an off-screen display", &x11},
        {"an overwritten window", overwritten},
    };
    for (Case const& each : cases) {
        SCOPED_TRACE(each.name);
        EXPECT_EQ(Surface(Config(), const_cast<void*>(each.window)), EGL_NO_SURFACE);
        EXPECT_EQ(eglGetError(), EGL_BAD_NATIVE_WINDOW);
        EXPECT_EQ(eglGetError(), EGL_SUCCESS);
    }
    overwritten->~ANativeWindow();
}

TEST_F(PlatformWindow, OtherBadArgumentsAreReportedAsEglSays) {
    OffscreenWindow window(8, 8);
    auto const native = reinterpret_cast<EGLNativeWindowType>(static_cast<ANativeWindow*>(&window));
    EGLint const width[] = {EGL_WIDTH, 8, EGL_NONE};
    EGLint const renderBuffer[] = {EGL_RENDER_BUFFER, EGL_WIDTH, EGL_NONE};
    OffscreenWindow wide(1 << 24, 1);

    EXPECT_EQ(eglCreateWindowSurface(EGL_NO_DISPLAY, Config(), native, nullptr), EGL_NO_SURFACE);
    EXPECT_EQ(eglGetError(), EGL_BAD_DISPLAY);
    EXPECT_EQ(eglCreateWindowSurface(m_display, nullptr, native, nullptr), EGL_NO_SURFACE);
    EXPECT_EQ(eglGetError(), EGL_BAD_CONFIG);
    for (EGLint const* attributes : {width, renderBuffer}) {
        EXPECT_EQ(eglCreateWindowSurface(m_display, Config(), native, attributes), EGL_NO_SURFACE);
        EXPECT_EQ(eglGetError(), EGL_BAD_ATTRIBUTE);
    }
    EXPECT_EQ(Surface(Config(), &wide), EGL_NO_SURFACE);
    EXPECT_EQ(eglGetError(), EGL_BAD_ALLOC);
    // None of this has taken the window.
    EXPECT_NE(Surface(Config(), &window), EGL_NO_SURFACE);
    EXPECT_EQ(eglGetError(), EGL_SUCCESS);
}

TEST_F(PlatformWindow, SurfaceTakesWindowAttributesAndAnswersAsAWindows) {
    OffscreenWindow window(37, 23);
    EGLAttrib const single[] = {EGL_RENDER_BUFFER, EGL_SINGLE_BUFFER, EGL_NONE};
    EGLSurface const surface = eglCreatePlatformWindowSurface(m_display, Config(), &window, single);
    ASSERT_NE(surface, EGL_NO_SURFACE);
    struct Case {
        EGLint nName;
        EGLint nExpected;
    } const cases[] = {
        {EGL_WIDTH, 37},           {EGL_HEIGHT, 23}, {EGL_CONFIG_ID, Attribute(Config(), EGL_CONFIG_ID)},
        {EGL_LARGEST_PBUFFER, -7}, // what was there: a window has no such attribute, which is no error
        {EGL_TEXTURE_FORMAT, -7},
    };
    for (Case const& each : cases) {
        EGLint nValue = -7;
        EXPECT_TRUE(eglQuerySurface(m_display, surface, each.nName, &nValue));
        EXPECT_EQ(nValue, each.nExpected) << std::hex << each.nName;
    }
}

TEST_F(PlatformWindow, HasOneSurfaceAtATimeAndANewSizeWithTheNext) {
    OffscreenWindow window(8, 6);
    window.SetCapture(true);
    EGLConfig const config = Config();
    EGLSurface const first = StartDrawing(config, window);
    EXPECT_EQ(Surface(config, &window), EGL_NO_SURFACE);
    EXPECT_EQ(eglGetError(), EGL_BAD_ALLOC);
    ASSERT_TRUE(eglDestroySurface(m_display, first));
    window.width = 5;
    window.height = 11;
    EGLSurface const second = Surface(config, &window);
    ASSERT_NE(second, EGL_NO_SURFACE);
    Bind(second);
    Clear(Blue);
    ASSERT_TRUE(eglSwapBuffers(m_display, second));
    EXPECT_TRUE(CompareImages(FrameOf(window), Image(5, 11, Blue)));
}

TEST_F(PlatformWindow, TwoShowTheirOwnFrames) {
    OffscreenWindow left(8, 6);
    OffscreenWindow right(3, 9);
    left.SetCapture(true);
    right.SetCapture(true);
    EGLConfig const config = Config();
    EGLSurface const leftSurface = StartDrawing(config, left);
    Clear(Red);
    EGLSurface const rightSurface = Surface(config, &right);
    Bind(rightSurface);
    Clear(Blue);
    ASSERT_TRUE(eglSwapBuffers(m_display, rightSurface));
    Bind(leftSurface);
    ASSERT_TRUE(eglSwapBuffers(m_display, leftSurface));
    EXPECT_TRUE(CompareImages(FrameOf(left), Image(8, 6, Red), {}, "left"));
    EXPECT_TRUE(CompareImages(FrameOf(right), Image(3, 9, Blue), {}, "right"));
}

TEST_F(PlatformWindow, TwoThreadsDrawTheirOwnAndHearOfTheirOwnErrors) {
    Pixel const colours[2] = {Red, Blue};
    Image frames[2];
    EGLint errors[2] = {};
    auto const draw = [&](int nThread) {
        OffscreenWindow window(8 + nThread, 6);
        window.SetCapture(true);
        EGLSurface const surface = StartDrawing(Config(), window);
        bool fSwapped = true;
        for (int nFrame = 0; nFrame < 20; ++nFrame) {
            Clear(colours[nThread]);
            fSwapped = fSwapped && eglSwapBuffers(m_display, surface);
        }
        EXPECT_TRUE(fSwapped);
        frames[nThread] = FrameOf(window);
        if (nThread == 1)
            Surface(Config(), nullptr);
        errors[nThread] = eglGetError();
        eglMakeCurrent(m_display, EGL_NO_SURFACE, EGL_NO_SURFACE, EGL_NO_CONTEXT);
    };
    std::thread first(draw, 0);
    std::thread second(draw, 1);
    first.join();
    second.join();
    EXPECT_TRUE(CompareImages(frames[0], Image(8, 6, Red), {}, "first"));
    EXPECT_TRUE(CompareImages(frames[1], Image(9, 6, Blue), {}, "second"));
    EXPECT_EQ(errors[0], EGL_SUCCESS);
    EXPECT_EQ(errors[1], EGL_BAD_NATIVE_WINDOW);
}

TEST_F(PlatformWindow, SwappedWithDamageShowsItsFrame) {
    OffscreenWindow window(8, 6);
    window.SetCapture(true);
    EGLSurface const surface = StartDrawing(Config(), window);
    unsigned long nFrames = 0;
    for (char const* name : {"eglSwapBuffersWithDamageKHR", "eglSwapBuffersWithDamageEXT"}) {
        auto const swap = reinterpret_cast<PFNEGLSWAPBUFFERSWITHDAMAGEKHRPROC>(eglGetProcAddress(name));
        if (!swap)
            continue;
        EGLint const all[] = {0, 0, 8, 6};
        EXPECT_TRUE(swap(m_display, surface, all, 1)) << name;
        EXPECT_EQ(window.LastFrame().serial, ++nFrames);
        EXPECT_FALSE(swap(m_display, surface, nullptr, 1));
        EXPECT_EQ(eglGetError(), EGL_BAD_PARAMETER);
    }
}

TEST_F(PlatformWindow, ThreadsSwapsEndWhenAnotherDestroysItOrTerminatesItsDisplay) {
    EGLDisplay const display = m_display;
    for (bool const fTerminate : {false, true}) {
        ASSERT_TRUE(eglInitialize(m_display, nullptr, nullptr));
        auto pWindow = std::make_unique<OffscreenWindow>(64, 64);
        std::atomic<int> nFrames{0};
        pWindow->SetCapture(true);
        pWindow->user = &nFrames;
        pWindow->frameFinished = [](ANativeWindow* which, desktop::FinishedFrame const& frame) {
            EXPECT_EQ(frame.pixels.size(), std::size_t(64 * 64 * 4));
            ++*static_cast<std::atomic<int>*>(which->user);
        };
        EGLint nError = EGL_SUCCESS;
        std::thread renderer([&] {
            EGLSurface const surface = StartDrawing(Config(), *pWindow);
            while (eglSwapBuffers(display, surface)) {}
            nError = eglGetError();
            eglReleaseThread();
        });
        while (nFrames < 3)
            std::this_thread::yield();
        if (fTerminate)
            eglTerminate(display);
        else
            pWindow.reset();
        renderer.join();
        EXPECT_EQ(nError, fTerminate ? EGL_NOT_INITIALIZED : EGL_BAD_NATIVE_WINDOW);
    }
}

TEST_F(PlatformWindow, SwapWantsTheCurrentDrawSurfaceOfALivingWindow) {
    OffscreenWindow current(8, 6);
    OffscreenWindow other(8, 6);
    EGLConfig const config = Config();
    EGLSurface const otherSurface = Surface(config, &other);
    EGLSurface surface = EGL_NO_SURFACE;
    {
        OffscreenWindow mortal(8, 6);
        surface = StartDrawing(config, mortal);
        EXPECT_FALSE(eglSwapBuffers(m_display, otherSurface));
        EXPECT_EQ(eglGetError(), EGL_BAD_SURFACE);
        EXPECT_FALSE(eglSwapBuffers(m_display, EGL_NO_SURFACE));
        EXPECT_EQ(eglGetError(), EGL_BAD_SURFACE);
        EXPECT_FALSE(eglSwapBuffers(EGL_NO_DISPLAY, surface));
        EXPECT_EQ(eglGetError(), EGL_BAD_DISPLAY);
        EXPECT_TRUE(eglSwapBuffers(m_display, surface));
        EXPECT_EQ(eglGetError(), EGL_SUCCESS);
        EXPECT_EQ(mortal.frameCount, 1u);
    }
    EXPECT_FALSE(eglSwapBuffers(m_display, surface));
    EXPECT_EQ(eglGetError(), EGL_BAD_NATIVE_WINDOW);
    EXPECT_EQ(other.frameCount, 0u);
    EXPECT_TRUE(eglDestroySurface(m_display, surface));
    EXPECT_FALSE(eglSwapBuffers(m_display, surface));
    EXPECT_EQ(eglGetError(), EGL_BAD_SURFACE);
}

TEST_F(PlatformWindow, PreparedAgainStartsAfresh) {
    OffscreenWindow window(4, 4);
    window.SetCapture(true);
    EGLSurface const surface = StartDrawing(Config(), window);
    ASSERT_TRUE(eglSwapBuffers(m_display, surface));
    desktop::InitialiseOffscreen(window, 6, 2);
    EXPECT_EQ(window.LastFrame().serial, 0u);
    EXPECT_FALSE(window.capture);
    // The old surface belonged to the window that was.
    EXPECT_FALSE(eglSwapBuffers(m_display, surface));
    EXPECT_EQ(eglGetError(), EGL_BAD_NATIVE_WINDOW);
    EXPECT_NE(Surface(Config(), &window), EGL_NO_SURFACE);
}

TEST_F(PlatformWindow, IsFreeAgainAfterItsDisplayTerminated) {
    OffscreenWindow window(4, 4);
    EGLSurface const surface = StartDrawing(Config(), window);
    eglMakeCurrent(m_display, EGL_NO_SURFACE, EGL_NO_SURFACE, EGL_NO_CONTEXT);
    ASSERT_TRUE(eglTerminate(m_display));
    EXPECT_FALSE(eglSwapBuffers(m_display, surface));
    EXPECT_EQ(eglGetError(), EGL_NOT_INITIALIZED);
    ASSERT_TRUE(eglInitialize(m_display, nullptr, nullptr));
    EXPECT_NE(Surface(Config(), &window), EGL_NO_SURFACE);
}

} // namespace
} // namespace kelvo::test
