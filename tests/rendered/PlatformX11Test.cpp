#include "EglProgram.h"

#include <dlfcn.h>
#include <kelvo_desktop/Display.h>

#include <chrono>
#include <cstdlib>
#include <thread>

namespace kelvokit::test {
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
        if (!m_pServer) {
            GTEST_SKIP() << "no X server";
        }
        ASSERT_TRUE(desktop::SelectPlatform("x11"));
        EglProgram::SetUp();
    }
    void TearDown() override {
        if (!m_pServer) {
            return;
        }
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
    Image Shown(unsigned long id, unsigned width, unsigned height) const {
        constexpr int ZPixmap = 2;
        void* const picture = m_x.XGetImage(m_pServer, id, 0, 0, width, height, ~0ul, ZPixmap);
        if (!picture) {
            return Image(int(width), int(height));
        }
        Image const shown = MakeImage(int(width), int(height), [&](int x, int y) {
            unsigned long const colour = m_x.XGetPixel(picture, x, y);
            return Pixel{std::uint8_t(colour >> 16), std::uint8_t(colour >> 8), std::uint8_t(colour)};
        });
        m_x.XDestroyImage(picture);
        return shown;
    }

    Xlib m_x;
    void* m_pServer = nullptr;
};

TEST_F(PlatformX11, WindowShowsTheFrameThatIsAlsoCapturedBesideOffscreenOnes) {
    unsigned long const id = MakeXWindow(37, 23);
    ANativeWindow window;
    desktop::InitialiseX11(window, id, 37, 23);
    window.capture = true;
    EGLSurface const surface = StartDrawing(Config({8, 8, 8, 0}), window);
    Clear(Red);
    glEnable(GL_SCISSOR_TEST);
    glScissor(0, 0, 5, 2); // lower left
    Clear(Green);
    Image expected(37, 23, Red);
    expected.Fill(0, 23 - 2, 5, 2, Green);
    EXPECT_TRUE(CompareImages(Present(surface, window), expected, {}, "captured"));
    // The server draws when it comes to it, and no call on this connection waits for the driver's.
    Image shown = Shown(id, 37, 23);
    for (int nTry = 0; nTry < 500 && shown.At(0, 0) != expected.At(0, 0); ++nTry) {
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
        shown = Shown(id, 37, 23);
    }
    EXPECT_TRUE(CompareImages(shown, expected, {}, "shown"));

    CapturedWindow offscreen(5, 4);
    EGLSurface const other = StartDrawing(Config(), offscreen);
    Clear(Blue);
    EXPECT_TRUE(CompareImages(Present(other, offscreen), Image(5, 4, Blue)));
}

} // namespace
} // namespace kelvokit::test
