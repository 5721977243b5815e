// How the device is brought up, moved to another window, presents and goes.

#include "DeviceTest.h"
#include "ShaderCatalogue.h"
#include "trevik/kelvo/Window.h"

#include <system/window.h>

#include <cstdlib>

namespace {

using namespace kelvokit::recording;
using namespace trevik;
using namespace trevik::kelvo;

using Window = WindowT<ANativeWindow>;

class DeviceInit : public DeviceTest {
protected:
    bool InitializeDevice(DeviceFormat::Enum format = DeviceFormat::RGBA8888, void* pWindow = nullptr) {
        return Device().Initialize(pWindow, format, SizeT<int>(640, 480));
    }
};

TEST_F(DeviceInit, GivesEglTheNativeBaseOfTheWindow) {
    Window window;
    ASSERT_TRUE(InitializeDevice(DeviceFormat::RGBA8888, &window));
    EXPECT_FALSE(Device().IsAlphaTestEnabled());
    ANativeWindow* const pNative = &window;
    ASSERT_NE(static_cast<void*>(pNative), static_cast<void*>(&window))
        << "the base needs no conversion here";
    EXPECT_EQ(LastCall("eglCreateWindowSurface").Pointer(2), pNative);
    ASSERT_TRUE(Device().Reset(nullptr));
    EXPECT_EQ(LastCall("eglCreateWindowSurface").Pointer(2), nullptr);
}

TEST_F(DeviceInit, AsksForTheSizesOfEachOtherFormat) {
    struct Case {
        int format;
        char const* sizes;
        bool warning;
    };
    constexpr char const* Rgb565 =
        "*EGL_BUFFER_SIZE, 16, EGL_RED_SIZE, 5, EGL_GREEN_SIZE, 6, EGL_BLUE_SIZE, 5, "
        "EGL_ALPHA_SIZE, 0, EGL_DEPTH_SIZE, 16, EGL_STENCIL_SIZE, 4, EGL_NONE*";
    constexpr char const* Rgb888 =
        "*EGL_BUFFER_SIZE, 24, EGL_RED_SIZE, 8, EGL_GREEN_SIZE, 8, EGL_BLUE_SIZE, 8, "
        "EGL_ALPHA_SIZE, 0, EGL_DEPTH_SIZE, 16, EGL_STENCIL_SIZE, 4, EGL_NONE*";
    Case const cases[] = {
        {0, Rgb565, false}, {1, Rgb888, false}, {2, Rgb888, false}, {4, Rgb565, true}, {-1, Rgb565, true}};
    for (Case const& test : cases) {
        SCOPED_TRACE(test.format);
        Reset();
        m_diagnostics.Forget();
        // Without a display EGL refuses, but it has been asked.
        EXPECT_FALSE(Device().ChooseEGLConfig(static_cast<DeviceFormat::Enum>(test.format)));
        EXPECT_EQ(Count("eglChooseConfig(" + std::string(test.sizes) + ")"), 1u)
            << Lines("eglChooseConfig")[0];
        Strings const messages = m_diagnostics.Messages();
        EXPECT_EQ(!messages.empty() && messages[0] == "Invalid surface format, fallback to RGB565!",
                  test.warning);
    }
}

TEST_F(DeviceInit, TakesTheExactConfigOrElseEglsFirst) {
    struct Case {
        char const* name;
        std::vector<Config> configs;
        int chosen;
        std::size_t asked;
    };
    Config const exact{8, 8, 8, 8, 16, 4};
    Config const deeper{8, 8, 8, 8, 24, 4};
    Config const wider{10, 10, 10, 8, 16, 4};
    Config const moreStencil{8, 8, 8, 8, 16, 8};
    Case const cases[] = {
        {"the first is exact", {exact, deeper}, 0, 6},
        {"depth, colour and stencil all have to fit", {deeper, wider, moreStencil, exact}, 3, 24},
        {"none is exact", {moreStencil, wider, deeper}, 0, 18}};
    for (Case const& test : cases) {
        SCOPED_TRACE(test.name);
        Reset();
        SetConfigs(test.configs);
        GraphicsDeviceGL2 device;
        ASSERT_TRUE(device.Initialize(nullptr, DeviceFormat::RGBA8888, SizeT<int>(8, 8)));
        EXPECT_EQ(Count("eglGetConfigAttrib"), test.asked);
        EXPECT_EQ(Count("eglCreateWindowSurface(display, config" + std::to_string(test.chosen) + ", *)"), 1u);
        EXPECT_EQ(Count("eglCreateContext(display, config" + std::to_string(test.chosen) + ", *)"), 1u);
    }
}

TEST_F(DeviceInit, GivesUpWhenRgb565IsMissingTooUnlessItWasAskedFor) {
    SetConfigs({});
    EXPECT_FALSE(InitializeDevice(DeviceFormat::RGBA8888));
    EXPECT_EQ(Count("eglChooseConfig"), 2u);
    EXPECT_EQ(Count("eglCreateWindowSurface"), 0u);
    // Asked for itself, there is no second try, and EGL is left to judge the config that there is.
    Clear();
    static_cast<void>(InitializeDevice(DeviceFormat::RGB565));
    EXPECT_EQ(Count("eglChooseConfig"), 1u);
    EXPECT_EQ(Lines("eglCreateWindowSurface"), Strings{"eglCreateWindowSurface(display, NULL, NULL, NULL)"});
}

TEST_F(DeviceInit, ASecondStartKeepsTheDisplayAndTurnsTheDepthTestOff) {
    ASSERT_TRUE(InitializeDevice());
    Device().SetDepthTestEnabled(true);
    ASSERT_TRUE(InitializeDevice());
    EXPECT_FALSE(Device().IsDepthTestEnabled());
    EXPECT_EQ(Count("eglGetDisplay"), 1u);
    EXPECT_EQ(Count("eglInitialize"), 2u);
    EXPECT_EQ(Count("eglCreateWindowSurface"), 2u);
}

TEST_F(DeviceInit, ClearResetsTheAlphaTestAndTheActiveProgram) {
    BringUp();
    Device().SetAlphaTestEnabled(true);
    Device().SetActiveShader(Device().GetShader(ShaderId::Solid));
    Clear();
    Device().Clear();
    EXPECT_CALLS("glClear(GL_COLOR_BUFFER_BIT | GL_DEPTH_BUFFER_BIT | GL_STENCIL_BUFFER_BIT)",
                 "glDisableVertexAttribArray(0)", "glUseProgram(0)");
    EXPECT_FALSE(Device().IsAlphaTestEnabled());
}

TEST_F(DeviceInit, ExtensionsAreLookedUpUntilTheFirstIsFoundAndWrapped) {
    // What they are kept in outlives devices: this runs in a process of its own.
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    auto const create = [] {
        static int s_buffer = 0;
        return GraphicsDeviceGL2::eglCreateImageKHR(GetEglState().display, EGL_NO_CONTEXT,
                                                    EGL_NATIVE_BUFFER_ANDROID, &s_buffer, nullptr);
    };
    auto const destroy = [] { return GraphicsDeviceGL2::eglDestroyImageKHR(nullptr, nullptr); };
    EXPECT_EXIT(
        {
            EXPECT_EQ(create(), EGL_NO_IMAGE_KHR);
            SetProcAddress("eglCreateImageKHR", false);
            ASSERT_TRUE(InitializeDevice());
            EXPECT_TRUE(
                CallsInOrder({"glDisable(GL_DEPTH_TEST)", "eglGetProcAddress(\"eglCreateImageKHR\")"}));
            EXPECT_EQ(m_diagnostics.Messages().back(), "Couldn't find eglCreateImageKHR");
            SetProcAddress("eglCreateImageKHR", true);
            SetProcAddress("eglDestroyImageKHR", false);
            m_diagnostics.Forget();
            GraphicsDeviceGL2::InitializeExtensions();
            EXPECT_EQ(m_diagnostics.Messages(), Strings{"Couldn't find eglDestroyImageKHR"});
            Clear();
            GraphicsDeviceGL2::InitializeExtensions();
            EXPECT_NE(create(), EGL_NO_IMAGE_KHR);
            EXPECT_EQ(destroy(), static_cast<EGLBoolean>(EGL_FALSE));
            EXPECT_CALLS("eglCreateImageKHR(display, EGL_NO_CONTEXT, EGL_NATIVE_BUFFER_ANDROID, *, NULL)");
            std::_Exit(HasFailure() ? 1 : 0);
        },
        ::testing::ExitedWithCode(0), "");
}

} // namespace
