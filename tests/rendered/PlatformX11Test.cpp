#include "EglProgram.h"
#include "kelvo_test/XServer.h"

#include <kelvo_desktop/Display.h>
#include <kelvo_desktop/ScreenWindow.h>

#include <chrono>
#include <thread>

namespace kelvokit::test {
namespace {

class PlatformX11 : public EglProgram {
protected:
    void SetUp() override {
        if (!m_server.IsOpen()) {
            GTEST_SKIP() << "no X server";
        }
        ASSERT_TRUE(desktop::SelectPlatform("x11"));
        EglProgram::SetUp();
    }
    void TearDown() override {
        if (m_server.IsOpen()) {
            EglProgram::TearDown();
            desktop::SelectPlatform(nullptr);
        }
    }

    XServer m_server;
};

TEST_F(PlatformX11, WindowShowsTheFrameThatIsAlsoCapturedBesideOffscreenOnes) {
    unsigned long const id = m_server.MakeWindow(37, 23);
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
    Image shown = m_server.GetShown(id, 37, 23);
    for (int nTry = 0; nTry < 500 && shown.At(0, 0) != expected.At(0, 0); ++nTry) {
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
        shown = m_server.GetShown(id, 37, 23);
    }
    EXPECT_TRUE(CompareImages(shown, expected, {}, "shown"));

    CapturedWindow offscreen(5, 4);
    EGLSurface const other = StartDrawing(Config(), offscreen);
    Clear(Blue);
    EXPECT_TRUE(CompareImages(Present(other, offscreen), Image(5, 4, Blue)));
}

TEST(PlatformScreen, AWindowThatOpensItselfIsOnTheScreenUntilItIsClosed) {
    XServer const server;
    if (!server.IsOpen()) {
        GTEST_SKIP() << "no X server";
    }
    std::vector<unsigned long> const before = server.GetWindows();
    {
        desktop::ScreenWindowT<> window("Ein Fenster", 37, 23);
        EXPECT_TRUE(window.IsOnScreen());
        EXPECT_TRUE(window.IsOpen());
        unsigned long const id = server.GetWindows().back();
        EXPECT_EQ(window.GetBase()->x11Window, id);
        EXPECT_EQ(server.GetTitle(id), "Ein Fenster");
        server.AskToClose(id);
        EXPECT_FALSE(window.IsOpen());
        EXPECT_FALSE(window.IsOpen()) << "for good";
    }
    EXPECT_EQ(server.GetWindows(), before);
    desktop::SelectPlatform(nullptr);
}

} // namespace
} // namespace kelvokit::test
