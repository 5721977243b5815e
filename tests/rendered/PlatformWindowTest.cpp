#include "EglProgram.h"

#include <EGL/eglext.h>

#include <atomic>
#include <memory>
#include <new>
#include <thread>
#include <utility>

namespace kelvokit::test {
namespace {

using desktop::OffscreenWindow;

using PlatformWindow = EglProgram;

TEST_F(PlatformWindow, WhatIsNoneIsRefused) {
    char const foreign[sizeof(ANativeWindow)] = {};
    ANativeWindow unprepared;
    unprepared.width = 8;
    unprepared.height = 8;
    OffscreenWindow flat(8, 0), negative(-1, 8);
    ANativeWindow x11; // no X server's display here
    desktop::InitialiseX11(x11, 0x400001, 8, 9);
    EXPECT_TRUE(x11.x11Window == 0x400001 && x11.width == 8 && x11.height == 9);
    // A window that was overwritten by another object without being destroyed.
    alignas(ANativeWindow) unsigned char storage[sizeof(ANativeWindow)];
    auto* const overwritten = new (storage) ANativeWindow;
    desktop::InitialiseOffscreen(*overwritten, 8, 8);
    overwritten->magic = 0;
    void const* const windows[] = {nullptr, reinterpret_cast<void*>(0x400001), // such as an X11 id
                                   foreign, &unprepared,
                                   &flat,   &negative,
                                   &x11,    overwritten};
    int n = 0;
    for (void const* window : windows) {
        EXPECT_EQ(ErrorOf(Surface(Config(), const_cast<void*>(window))), EGL_BAD_NATIVE_WINDOW) << n++;
        EXPECT_EQ(eglGetError(), EGL_SUCCESS);
    }
    overwritten->~ANativeWindow();
}

TEST_F(PlatformWindow, ArgumentsAndAttributesAreAnsweredAsEglSays) {
    OffscreenWindow window(37, 23);
    auto const native = reinterpret_cast<EGLNativeWindowType>(static_cast<ANativeWindow*>(&window));
    EGLint const renderBuffer[] = {EGL_RENDER_BUFFER, EGL_WIDTH, EGL_NONE};
    EGLAttrib wide[] = {EGL_RENDER_BUFFER, EGL_SINGLE_BUFFER, EGL_RENDER_BUFFER, EGL_BACK_BUFFER, EGL_NONE};
    OffscreenWindow tooWide(1 << 24, 1);
    auto const create = [&](EGLDisplay display, EGLConfig config, EGLint const* attributes) {
        return ErrorOf(eglCreateWindowSurface(display, config, native, attributes));
    };
    EXPECT_EQ(create(EGL_NO_DISPLAY, Config(), nullptr), EGL_BAD_DISPLAY);
    EXPECT_EQ(create(m_display, nullptr, nullptr), EGL_BAD_CONFIG);
    // As pixel buffers may have them, and one that nothing has.
    for (auto const& [nName, nValue] : {std::pair{EGL_WIDTH, 4},
                                        {EGL_HEIGHT, 4},
                                        {EGL_LARGEST_PBUFFER, EGL_FALSE},
                                        {EGL_MIPMAP_TEXTURE, EGL_FALSE},
                                        {EGL_TEXTURE_FORMAT, EGL_NO_TEXTURE},
                                        {EGL_TEXTURE_TARGET, EGL_NO_TEXTURE},
                                        {0x7777, 0}}) {
        EGLint const attributes[] = {nName, nValue, EGL_NONE};
        EXPECT_EQ(create(m_display, Config(), attributes), EGL_BAD_ATTRIBUTE) << std::hex << nName;
    }
    EXPECT_EQ(create(m_display, Config(), renderBuffer), EGL_BAD_ATTRIBUTE);
    EXPECT_EQ(ErrorOf(Surface(Config(), &tooWide)), EGL_BAD_ALLOC);
    if constexpr (sizeof(EGLAttrib) > sizeof(EGLint)) {
        wide[1] += EGLAttrib(1) << 8 * sizeof(EGLint);
        EXPECT_EQ(ErrorOf(eglCreatePlatformWindowSurface(m_display, Config(), &window, wide)),
                  EGL_BAD_ATTRIBUTE);
        wide[1] = EGL_SINGLE_BUFFER;
    }
    // None of this has taken the window.
    EGLSurface const surface = eglCreatePlatformWindowSurface(m_display, Config(), &window, wide);
    ASSERT_EQ(ErrorOf(surface), EGL_SUCCESS);
    struct {
        EGLint nName, nExpected;
    } const cases[] = {
        {EGL_WIDTH, 37},           {EGL_HEIGHT, 23}, {EGL_CONFIG_ID, Attribute(Config(), EGL_CONFIG_ID)},
        {EGL_LARGEST_PBUFFER, -7}, // what was there: a window has no such attribute, which is no error
        {EGL_TEXTURE_FORMAT, -7},
    };
    for (auto const& test : cases) {
        EGLint nValue = -7;
        EXPECT_TRUE(eglQuerySurface(m_display, surface, test.nName, &nValue));
        EXPECT_EQ(nValue, test.nExpected) << std::hex << test.nName;
    }
}

TEST_F(PlatformWindow, HasOneSurfaceAtATimeAndANewSizeWithTheNextBesideAnothers) {
    CapturedWindow window(8, 6), other(3, 9);
    EGLConfig const config = Config();
    EGLSurface const first = StartDrawing(config, window);
    EXPECT_EQ(ErrorOf(Surface(config, &window)), EGL_BAD_ALLOC);
    ASSERT_TRUE(eglDestroySurface(m_display, first));
    window.width = 5;
    window.height = 11;
    EGLSurface const second = Surface(config, &window);
    ASSERT_NE(second, EGL_NO_SURFACE);
    Bind(second);
    Clear(Blue);
    EGLSurface const otherSurface = Surface(config, &other);
    Bind(otherSurface);
    Clear(Red);
    EXPECT_TRUE(CompareImages(Present(otherSurface, other), Image(3, 9, Red)));
    Bind(second);
    EXPECT_TRUE(CompareImages(Present(second, window), Image(5, 11, Blue)));
}

TEST_F(PlatformWindow, SwappedWithDamageShowsItsFrame) {
    CapturedWindow window(8, 6);
    EGLSurface const surface = StartDrawing(Config(), window);
    unsigned long nFrames = 0;
    for (char const* name : {"eglSwapBuffersWithDamageKHR", "eglSwapBuffersWithDamageEXT"}) {
        if (auto const swap = reinterpret_cast<PFNEGLSWAPBUFFERSWITHDAMAGEKHRPROC>(eglGetProcAddress(name))) {
            EGLint const all[] = {0, 0, 8, 6};
            EXPECT_TRUE(swap(m_display, surface, all, 1)) << name;
            EXPECT_EQ(window.LastFrame().serial, ++nFrames);
            EXPECT_EQ(ErrorOf(swap(m_display, surface, nullptr, 1)), EGL_BAD_PARAMETER);
            EXPECT_TRUE(swap(m_display, surface, nullptr, 0)) << name;
            EXPECT_EQ(window.LastFrame().serial, ++nFrames);
        }
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
        while (nFrames < 3) {
            std::this_thread::yield();
        }
        if (fTerminate) {
            eglTerminate(display);
        } else {
            pWindow.reset();
        }
        renderer.join();
        EXPECT_EQ(nError, fTerminate ? EGL_NOT_INITIALIZED : EGL_BAD_NATIVE_WINDOW);
    }
}

TEST_F(PlatformWindow, SwapWantsTheCurrentDrawSurfaceOfALivingWindowAsPreparedAndOfItsDisplay) {
    OffscreenWindow other(8, 6);
    CapturedWindow again(4, 4);
    EGLSurface const otherSurface = Surface(Config(), &other);
    EGLSurface surface = EGL_NO_SURFACE;
    auto const swap = [&] { return ErrorOf(eglSwapBuffers(m_display, surface)); };
    {
        OffscreenWindow mortal(8, 6);
        surface = StartDrawing(Config(), mortal);
        EXPECT_EQ(ErrorOf(eglSwapBuffers(m_display, otherSurface)), EGL_BAD_SURFACE);
        EXPECT_EQ(ErrorOf(eglSwapBuffers(m_display, EGL_NO_SURFACE)), EGL_BAD_SURFACE);
        EXPECT_EQ(ErrorOf(eglSwapBuffers(EGL_NO_DISPLAY, surface)), EGL_BAD_DISPLAY);
        EXPECT_EQ(swap(), EGL_SUCCESS);
        EXPECT_EQ(mortal.frameCount, 1u);
    }
    EXPECT_EQ(swap(), EGL_BAD_NATIVE_WINDOW);
    EXPECT_EQ(other.frameCount, 0u);
    EXPECT_TRUE(eglDestroySurface(m_display, surface));
    EXPECT_EQ(swap(), EGL_BAD_SURFACE);

    surface = StartDrawing(Config(), again);
    EXPECT_EQ(swap(), EGL_SUCCESS);
    desktop::InitialiseOffscreen(again, 6, 2);
    EXPECT_EQ(again.LastFrame().serial, 0u);
    EXPECT_EQ(again.frameCount, 0u);
    EXPECT_FALSE(again.capture);
    EXPECT_EQ(swap(), EGL_BAD_NATIVE_WINDOW); // which was the former window's

    surface = StartDrawing(Config(), again);
    eglMakeCurrent(m_display, EGL_NO_SURFACE, EGL_NO_SURFACE, EGL_NO_CONTEXT);
    ASSERT_TRUE(eglTerminate(m_display));
    EXPECT_EQ(swap(), EGL_NOT_INITIALIZED);
    ASSERT_TRUE(eglInitialize(m_display, nullptr, nullptr));
    EXPECT_NE(Surface(Config(), &again), EGL_NO_SURFACE);
}

} // namespace
} // namespace kelvokit::test
