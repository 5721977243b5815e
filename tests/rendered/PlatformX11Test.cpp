#include "EglProgram.h"

#include <kelvo_desktop/Display.h>

#include <dlfcn.h>

#include <chrono>
#include <cstdlib>
#include <thread>

namespace kelvo::test {
namespace {

/** The few functions of libX11 that the test needs, found at run time: the build does not need X11. */
struct Xlib {
    void* m_pLibrary = dlopen("libX11.so.6", RTLD_NOW | RTLD_LOCAL);
    void* (*XOpenDisplay)(char const*) = Find("XOpenDisplay");
    int (*XCloseDisplay)(void*) = Find("XCloseDisplay");
    unsigned long (*XDefaultRootWindow)(void*) = Find("XDefaultRootWindow");
    unsigned long (*XCreateSimpleWindow)(void*, unsigned long, int, int, unsigned, unsigned, unsigned,
                                         unsigned long, unsigned long) = Find("XCreateSimpleWindow");
    int (*XMapWindow)(void*, unsigned long) = Find("XMapWindow");
    int (*XSync)(void*, int) = Find("XSync");
    void* (*XGetImage)(void*, unsigned long, int, int, unsigned, unsigned, unsigned long,
                       int) = Find("XGetImage");
    unsigned long (*XGetPixel)(void*, int, int) = Find("XGetPixel");
    int (*XDestroyImage)(void*) = Find("XDestroyImage");

private:
    /** Becomes whatever function pointer it initialises. */
    struct Symbol {
        void* address;
        template <class Function>
        operator Function*() const {
            return reinterpret_cast<Function*>(address);
        }
    };
    Symbol Find(char const* name) const { return {m_pLibrary ? dlsym(m_pLibrary, name) : nullptr}; }
};

class PlatformX11 : public EglProgram {
protected:
    void SetUp() override {
        m_pServer = std::getenv("DISPLAY") && m_x.XOpenDisplay ? m_x.XOpenDisplay(nullptr) : nullptr;
        if (!m_pServer)
            GTEST_SKIP() << "no X server";
        ASSERT_TRUE(desktop::SelectPlatform("x11"));
        EglProgram::SetUp();
    }
    void TearDown() override {
        if (!m_pServer)
            return;
        EglProgram::TearDown();
        desktop::SelectPlatform(nullptr);
        m_x.XCloseDisplay(m_pServer);
    }

    unsigned long MakeXWindow(unsigned width, unsigned height) const {
        unsigned long const id = m_x.XCreateSimpleWindow(m_pServer, m_x.XDefaultRootWindow(m_pServer), 0, 0,
                                                         width, height, 0, 0, 0);
        m_x.XMapWindow(m_pServer, id);
        m_x.XSync(m_pServer, 0);
        return id;
    }

    /** What a window of the server shows now. */
    Image Shown(unsigned long id, int width, int height) const {
        constexpr int ZPixmap = 2;
        Image shown(width, height);
        void* const picture = m_x.XGetImage(m_pServer, id, 0, 0, width, height, ~0ul, ZPixmap);
        if (!picture)
            return shown;
        for (int y = 0; y < height; ++y) {
            for (int x = 0; x < width; ++x) {
                unsigned long const colour = m_x.XGetPixel(picture, x, y);
                shown.At(x, y) = {std::uint8_t(colour >> 16), std::uint8_t(colour >> 8), std::uint8_t(colour),
                                  255};
            }
        }
        m_x.XDestroyImage(picture);
        return shown;
    }

    Xlib m_x;
    void* m_pServer = nullptr;
};

TEST_F(PlatformX11, WindowShowsTheFrameThatIsAlsoCaptured) {
    int const nWidth = 37;
    int const nHeight = 23;
    unsigned long const id = MakeXWindow(nWidth, nHeight);
    ANativeWindow window;
    desktop::InitialiseX11(window, id, nWidth, nHeight);
    window.capture = true;
    EGLSurface const surface = StartDrawing(Config({8, 8, 8, 0}), window);
    Clear({255, 0, 0, 255});
    glEnable(GL_SCISSOR_TEST);
    glScissor(0, 0, 5, 2); // lower left
    Clear({0, 255, 0, 255});
    ASSERT_TRUE(eglSwapBuffers(m_display, surface));

    Image expected(nWidth, nHeight, {255, 0, 0, 255});
    expected.Fill(0, nHeight - 2, 5, 2, {0, 255, 0, 255});
    EXPECT_TRUE(CompareImages(FrameOf(window), expected, {}, "captured"));

    // The server draws when it comes to it, and no call on this connection waits for the driver's.
    Image shown = Shown(id, nWidth, nHeight);
    for (int nTry = 0; nTry < 500 && shown.At(0, 0) != expected.At(0, 0); ++nTry) {
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
        shown = Shown(id, nWidth, nHeight);
    }
    EXPECT_TRUE(CompareImages(shown, expected, {}, "shown"));
}

TEST_F(PlatformX11, OffscreenWindowsWorkBesideRealOnes) {
    desktop::OffscreenWindow window(5, 4);
    window.SetCapture(true);
    EGLSurface const surface = StartDrawing(Config(), window);
    Clear({0, 0, 255, 255});
    ASSERT_TRUE(eglSwapBuffers(m_display, surface));
    EXPECT_TRUE(CompareImages(FrameOf(window), Image(5, 4, {0, 0, 255, 255})));
}

} // namespace
} // namespace kelvo::test
