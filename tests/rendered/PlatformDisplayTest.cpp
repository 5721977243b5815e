#include "EglProgram.h"
#include "kelvo_test/Threads.h"

#include <dlfcn.h>
#include <kelvo_desktop/Display.h>

#include <cstdlib>
#include <string>

namespace kelvokit::test {
namespace {

/** Each test leaves the choice of platform as the environment has it. */
class PlatformDisplay : public testing::Test {
protected:
    void TearDown() override {
        unsetenv("KELVO_EGL_PLATFORM");
        desktop::SelectPlatform(nullptr);
    }
    static std::string Description() { return desktop::DescribeDisplay(); }
    static bool Begins(std::string const& text, char const* with) { return text.rfind(with, 0) == 0; }
};

TEST_F(PlatformDisplay, IsHandedOutUninitialisedAndComesBackAfterTermination) {
    for (char const* platform : {"surfaceless", "device", "surfaceless"}) {
        SCOPED_TRACE(platform);
        ASSERT_TRUE(desktop::SelectPlatform(platform));
        EGLDisplay const display = eglGetDisplay(EGL_DEFAULT_DISPLAY);
        ASSERT_NE(display, EGL_NO_DISPLAY);
        EXPECT_EQ(eglGetError(), EGL_SUCCESS);
        EXPECT_EQ(eglGetDisplay(EGL_DEFAULT_DISPLAY), display);
        EXPECT_EQ(ErrorOf(eglQueryString(display, EGL_VENDOR)), EGL_NOT_INITIALIZED);
        EGLint nCount = 0;
        EXPECT_EQ(ErrorOf(eglChooseConfig(display, nullptr, nullptr, 0, &nCount)), EGL_NOT_INITIALIZED);
        EGLint nMajor = 0;
        EGLint nMinor = 0;
        ASSERT_TRUE(eglInitialize(display, &nMajor, &nMinor));
        EXPECT_TRUE(nMajor == 1 && nMinor >= 4);
        EXPECT_NE(Description().find(eglQueryString(display, EGL_VENDOR)), std::string::npos)
            << Description();
        ASSERT_TRUE(eglTerminate(display));
    }
}

TEST_F(PlatformDisplay, IsStartedAheadOnAnotherThreadForWhoInitialisesItLater) {
    for (char const* platform : {"device:0", "surfaceless", "device:0"}) { // at last one known already
        SCOPED_TRACE(platform);
        ASSERT_TRUE(desktop::SelectPlatform(platform));
        void* pStarted = nullptr;
        RunOnThreads(1, [&](int) {
            pStarted = desktop::StartDisplay();
            EXPECT_EQ(eglGetCurrentContext(), EGL_NO_CONTEXT);
        });
        ASSERT_NE(pStarted, nullptr);
        EXPECT_EQ(eglGetDisplay(EGL_DEFAULT_DISPLAY), pStarted);
        EXPECT_NE(eglQueryString(pStarted, EGL_VENDOR), nullptr);
        EXPECT_TRUE(eglInitialize(pStarted, nullptr, nullptr));
        EXPECT_EQ(desktop::StartDisplay(), pStarted);
        ASSERT_TRUE(eglTerminate(pStarted));
        EXPECT_EQ(ErrorOf(eglQueryString(pStarted, EGL_VENDOR)), EGL_NOT_INITIALIZED);
    }
    setenv("KELVO_EGL_PLATFORM", "device:999", 1);
    ASSERT_TRUE(desktop::SelectPlatform(nullptr));
    EXPECT_EQ(desktop::StartDisplay(), nullptr);
    EXPECT_EQ(eglGetDisplay(EGL_DEFAULT_DISPLAY), EGL_NO_DISPLAY);
}

TEST_F(PlatformDisplay, ChoosingDoesNotTerminateOneInUse) {
    EGLDisplay const display = eglGetDisplay(EGL_DEFAULT_DISPLAY);
    ASSERT_TRUE(eglInitialize(display, nullptr, nullptr));
    EGLint nConfigs = 0, nLater = -1;
    EXPECT_TRUE(eglChooseConfig(display, nullptr, nullptr, 0, &nConfigs));
    EXPECT_TRUE(desktop::SelectPlatform("device"));
    eglGetDisplay(EGL_DEFAULT_DISPLAY);
    EXPECT_TRUE(eglChooseConfig(display, nullptr, nullptr, 0, &nLater));
    EXPECT_EQ(nLater, nConfigs) << "windows are still offered";
    EXPECT_TRUE(desktop::SelectPlatform("surfaceless"));
    eglGetDisplay(EGL_DEFAULT_DISPLAY);
    EXPECT_TRUE(desktop::SelectPlatform(nullptr));
    EXPECT_EQ(eglGetDisplay(EGL_DEFAULT_DISPLAY), display);
    EXPECT_NE(eglQueryString(display, EGL_VENDOR), nullptr);
    eglTerminate(display);
    // Nor one that another library uses by the driver itself.
    void* const pDriver = dlopen("libEGL.so.1", RTLD_NOW | RTLD_LOCAL);
    auto const initialize = reinterpret_cast<decltype(&eglInitialize)>(dlsym(pDriver, "eglInitialize"));
    ASSERT_TRUE(initialize(display, nullptr, nullptr));
    for (char const* platform : {"device:0", "surfaceless", ""}) {
        EXPECT_TRUE(desktop::SelectPlatform(platform));
        eglGetDisplay(EGL_DEFAULT_DISPLAY);
    }
    EXPECT_NE(eglQueryString(display, EGL_VENDOR), nullptr);
    eglTerminate(display);
}

TEST_F(PlatformDisplay, PlatformIsChosenByTheProgramBeforeTheEnvironment) {
    setenv("KELVO_EGL_PLATFORM", "surfaceless", 1);
    EGLDisplay const surfaceless = eglGetDisplay(EGL_DEFAULT_DISPLAY);
    EXPECT_NE(surfaceless, EGL_NO_DISPLAY);
    EXPECT_TRUE(Begins(Description(), "surfaceless: ")) << Description();
    setenv("KELVO_EGL_PLATFORM", "device:0", 1);
    EGLDisplay const device = eglGetDisplay(EGL_DEFAULT_DISPLAY);
    EXPECT_NE(device, EGL_NO_DISPLAY);
    EXPECT_NE(device, surfaceless);
    EXPECT_TRUE(Begins(Description(), "device:0: ")) << Description();
    EXPECT_TRUE(desktop::SelectPlatform("surfaceless"));
    EXPECT_EQ(eglGetDisplay(EGL_DEFAULT_DISPLAY), surfaceless);
    EXPECT_TRUE(desktop::SelectPlatform(""));
    EXPECT_EQ(eglGetDisplay(EGL_DEFAULT_DISPLAY), device);
}

TEST_F(PlatformDisplay, ThereIsNoneForAWishThatCannotBeMet) {
    for (char const* platform : {"x12", "device:", "device:-1", "device:1x", "device:99999", "Surfaceless"}) {
        EXPECT_FALSE(desktop::SelectPlatform(platform)) << platform;
    }
    EXPECT_TRUE(desktop::SelectPlatform("device:9999") && desktop::SelectPlatform(nullptr));
    for (char const* platform : {"device:99", "x12"}) {
        setenv("KELVO_EGL_PLATFORM", platform, 1);
        EXPECT_EQ(eglGetDisplay(EGL_DEFAULT_DISPLAY), EGL_NO_DISPLAY) << platform;
        EXPECT_EQ(eglGetError(), EGL_SUCCESS);
        EXPECT_TRUE(Begins(Description(), "none: ")) << Description();
    }
    EXPECT_NE(Description().find("x12"), std::string::npos) << Description();
    EXPECT_EQ(ErrorOf(eglInitialize(EGL_NO_DISPLAY, nullptr, nullptr)), EGL_BAD_DISPLAY);
}

/**
 * Counts the configurations for windows of a display that the driver and not the layer gave out; -1 on
 * failure.
 */
int CountConfigsOfForeignDisplay() {
    if (!desktop::SelectPlatform("device:0") || eglGetDisplay(EGL_DEFAULT_DISPLAY) == EGL_NO_DISPLAY) {
        return -1;
    }
    EGLDisplay const foreign =
        eglGetPlatformDisplay(EGL_PLATFORM_SURFACELESS_MESA, EGL_DEFAULT_DISPLAY, nullptr);
    EGLint nConfigs = -1;
    if (!eglInitialize(foreign, nullptr, nullptr) ||
        !eglChooseConfig(foreign, nullptr, nullptr, 0, &nConfigs)) {
        return -1;
    }
    return nConfigs;
}

TEST_F(PlatformDisplay, OneFromTheDriverItselfIsLeftAsItIs) {
    // In a process of its own, where no other test had the layer give out this very display.
    testing::FLAGS_gtest_death_test_style = "threadsafe";
    EXPECT_EXIT(std::_Exit(CountConfigsOfForeignDisplay()), testing::ExitedWithCode(0), "");
}

TEST_F(PlatformDisplay, EveryFunctionIsFoundByNameAsItIsByLinking) {
    EXPECT_EQ(reinterpret_cast<void*>(eglGetProcAddress("eglCreateWindowSurface")),
              reinterpret_cast<void*>(&eglCreateWindowSurface));
    EXPECT_EQ(reinterpret_cast<void*>(eglGetProcAddress("eglWaitSync")),
              reinterpret_cast<void*>(&eglWaitSync));
    EXPECT_NE(eglGetProcAddress("glDrawArrays"), nullptr);
}

using PlatformImage = EglProgram;

TEST_F(PlatformImage, OfAndroidsBuffersIsRefusedAndOthersAreTheDrivers) {
    auto const destroySync =
        reinterpret_cast<PFNEGLDESTROYSYNCKHRPROC>(eglGetProcAddress("eglDestroySyncKHR"));
    constexpr EGLenum NativeBufferAndroid = 0x3140;
    int something = 0;
    EXPECT_EQ(ErrorOf(eglCreateImage(m_display, EGL_NO_CONTEXT, NativeBufferAndroid, &something, nullptr)),
              EGL_BAD_PARAMETER);
    // After a success of the layer's own, too, an extension's error is the driver's.
    EGLint nConfigs = 0;
    EXPECT_TRUE(eglGetConfigs(m_display, nullptr, 0, &nConfigs));
    EXPECT_EQ(ErrorOf(destroySync(m_display, EGL_NO_SYNC_KHR)), EGL_BAD_PARAMETER);

    desktop::OffscreenWindow window(4, 4);
    StartDrawing(Config(), window);
    GLuint texture = 0;
    glGenTextures(1, &texture);
    glBindTexture(GL_TEXTURE_2D, texture);
    glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MIN_FILTER, GL_LINEAR);
    glTexImage2D(GL_TEXTURE_2D, 0, GL_RGBA, 4, 4, 0, GL_RGBA, GL_UNSIGNED_BYTE, nullptr);
    auto const buffer = reinterpret_cast<EGLClientBuffer>(std::uintptr_t(texture));
    EGLImage const image =
        eglCreateImage(m_display, eglGetCurrentContext(), EGL_GL_TEXTURE_2D_KHR, buffer, nullptr);
    EXPECT_EQ(ErrorOf(image), EGL_SUCCESS);
    EXPECT_TRUE(eglDestroyImage(m_display, image));
}

} // namespace
} // namespace kelvokit::test
