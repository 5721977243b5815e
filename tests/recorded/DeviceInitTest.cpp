// How the device is brought up, moved to another window, presents and goes.

#include "DeviceTest.h"

#include "CameraGL2.h"
#include "trevik/ScopeCounter.h"
#include "trevik/kelvo/Window.h"

#include <system/window.h>

#include <cstdlib>

namespace {

using namespace recording;
using namespace trevik;
using namespace trevik::kelvo;

constexpr int BadAlloc = 12291; // EGL_BAD_ALLOC, which the driver's failures leave behind

using Window = WindowT<ANativeWindow>;

class DeviceInit : public DeviceTest {
protected:
    bool InitializeDevice(DeviceFormat::Enum format = DeviceFormat::RGBA8888, void* pWindow = nullptr) {
        return Device().Initialize(pWindow, format, SizeT<int>(640, 480));
    }

    /** The errors, without the config sizes that are traced along the way. */
    Strings Complaints() const {
        Strings complaints;
        for (std::string const& message : m_diagnostics.Messages()) {
            if (message.compare(0, 4, "RGB=") != 0) {
                complaints.push_back(message);
            }
        }
        return complaints;
    }
};

TEST_F(DeviceInit, ConstructionAndDestructionCallNothing) {
    m_pDevice.reset();
    EXPECT_CALLS();
}

TEST_F(DeviceInit, BringsUpEglThenFixedStateThenTheProgramsThenTheRest) {
    ASSERT_TRUE(InitializeDevice());
    std::vector<Call> const calls = Calls();
    std::vector<Call> const start(calls.begin(), calls.begin() + 20);
    EXPECT_TRUE(CallsAre(
        {"eglGetDisplay(*)",
         "eglInitialize(display, *, *)",
         "eglChooseConfig(display, {EGL_RENDERABLE_TYPE, EGL_OPENGL_ES2_BIT, EGL_BUFFER_SIZE, 32, "
         "EGL_RED_SIZE, 8, "
         "EGL_GREEN_SIZE, 8, EGL_BLUE_SIZE, 8, EGL_ALPHA_SIZE, 8, EGL_DEPTH_SIZE, 16, EGL_STENCIL_SIZE, 4, "
         "EGL_NONE}, *, 64, *)",
         "eglGetConfigAttrib(display, config0, EGL_RED_SIZE, *)",
         "eglGetConfigAttrib(display, config0, EGL_GREEN_SIZE, *)",
         "eglGetConfigAttrib(display, config0, EGL_BLUE_SIZE, *)",
         "eglGetConfigAttrib(display, config0, EGL_ALPHA_SIZE, *)",
         "eglGetConfigAttrib(display, config0, EGL_DEPTH_SIZE, *)",
         "eglGetConfigAttrib(display, config0, EGL_STENCIL_SIZE, *)",
         "eglCreateWindowSurface(display, config0, NULL, NULL)",
         "eglCreateContext(display, config0, EGL_NO_CONTEXT, {EGL_CONTEXT_CLIENT_VERSION, 2, EGL_NONE})",
         "eglMakeCurrent(display, surface1, surface1, context1)",
         "glClearStencil(0)",
         "glDisable(GL_STENCIL_TEST)",
         "glDisable(GL_SCISSOR_TEST)",
         "glFrontFace(GL_CCW)",
         "glClearColor(0, 0, 0, 1)",
         "glDisable(GL_CULL_FACE)",
         "glEnable(GL_BLEND)",
         "glGetIntegerv(GL_MAX_TEXTURE_SIZE, *)"},
        start));
    EXPECT_LT(IndexOf("glUseProgram(0)"), IndexOf("glDisable(GL_DEPTH_TEST)"));
    EXPECT_EQ(calls[0].Pointer(0), EGL_DEFAULT_DISPLAY);
    EXPECT_TRUE(Errors().empty());
    EXPECT_FALSE(Device().IsDepthTestEnabled());
    EXPECT_EQ(Device().GetFormat(), DeviceFormat::RGBA8888);
    EXPECT_EQ(Device().GetSize(), SizeT<int>(640, 480));
    EXPECT_EQ(m_diagnostics.Messages(), Strings{"RGB=888 alpha=8 depth=16 stencil=4"});
}

TEST_F(DeviceInit, GivesEglTheNativeBaseOfTheWindow) {
    Window window;
    ASSERT_TRUE(InitializeDevice(DeviceFormat::RGBA8888, &window));
    ANativeWindow* const pNative = &window;
    ASSERT_NE(static_cast<void*>(pNative), static_cast<void*>(&window))
        << "the base needs no conversion here";
    EXPECT_EQ(LastCall("eglCreateWindowSurface").Pointer(2), pNative);
    Window other;
    ASSERT_TRUE(Device().Reset(&other));
    EXPECT_EQ(LastCall("eglCreateWindowSurface").Pointer(2), static_cast<ANativeWindow*>(&other));
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

TEST_F(DeviceInit, AConfigThatCannotBeAskedLeavesTheChoiceAsItWas) {
    FailConfigAttribute(0, EGL_GREEN_SIZE);
    static_cast<void>(InitializeDevice());
    // All six were asked, and the surface is made with no config at all.
    EXPECT_EQ(Count("eglGetConfigAttrib"), 6u);
    EXPECT_EQ(m_diagnostics.Messages().front(), "eglGetConfigAttrib failed!");
    EXPECT_EQ(Count("eglCreateWindowSurface(display, NULL, *)"), 1u);
    EXPECT_EQ(Count("eglChooseConfig"), 1u);
}

TEST_F(DeviceInit, FallsBackToRgb565) {
    SetConfigs({Config{5, 6, 5, 0, 16, 4}});
    ASSERT_TRUE(InitializeDevice(DeviceFormat::RGB888));
    EXPECT_EQ(m_diagnostics.Messages(),
              (Strings{"No matching EGL configs found!", "RGB=565 alpha=0 depth=16 stencil=4"}));
    EXPECT_EQ(Count("eglChooseConfig"), 2u);
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

TEST_F(DeviceInit, EachFailureIsTracedOnceStopsThereAndLeavesWhatGoesWithTheDevice) {
    struct Case {
        char const* function;
        char const* message; ///< without its prefix and what EGL says
        char const* end;
        char const* notCalled;
        Strings destruction;
    };
    std::string const release =
        "eglMakeCurrent(EGL_NO_DISPLAY, EGL_NO_SURFACE, EGL_NO_SURFACE, EGL_NO_CONTEXT)";
    std::string const withDisplay = "eglMakeCurrent(display, EGL_NO_SURFACE, EGL_NO_SURFACE, EGL_NO_CONTEXT)";
    std::string const surface = "eglDestroySurface(display, surface1)";
    std::string const context = "eglDestroyContext(display, context1)";
    std::string const terminate = "eglTerminate(display)";
    Case const cases[] = {
        {"eglGetDisplay", " failed:", "\n", "eglInitialize", {}},
        {"eglInitialize", " failed: 0 -", "\n", "eglChooseConfig", {release, terminate}},
        {"eglChooseConfig", " failed:", "", "eglCreateWindowSurface", {release, terminate}},
        {"eglCreateWindowSurface", " failed -", "\n", "eglCreateContext", {release, terminate}},
        {"eglCreateContext", " failed -", "\n", "eglMakeCurrent", {release, surface, terminate}},
        {"eglMakeCurrent",
         " failed: 0 -",
         "\n",
         "glClearStencil",
         {release, withDisplay, surface, context, terminate}}, // which still fails
    };
    for (Case const& test : cases) {
        SCOPED_TRACE(test.function);
        Reset();
        m_diagnostics.Forget();
        Fail(test.function);
        {
            GraphicsDeviceGL2 device;
            EXPECT_FALSE(device.Initialize(nullptr, DeviceFormat::RGBA8888, SizeT<int>(8, 8)));
            // A config is asked for once more, as RGB565.
            std::size_t const nTraced = std::string(test.function) == "eglChooseConfig" ? 2 : 1;
            EXPECT_EQ(Complaints(),
                      Strings(nTraced, std::string("[kelvo] ") + test.function + test.message +
                                           " eglGetError Returned: " + std::to_string(BadAlloc) + test.end));
            EXPECT_EQ(Count(test.notCalled), 0u);
            Clear();
        }
        EXPECT_TRUE(CallsAre(test.destruction));
    }
}

TEST_F(DeviceInit, AProgramThatDoesNotCompileStopsTheStartAfterEgl) {
    FailLink("no");
    EXPECT_FALSE(InitializeDevice());
    EXPECT_EQ(Complaints(), Strings{"[kelvo] glLinkProgram failed:\nno\n"});
    EXPECT_EQ(Count("eglGetProcAddress"), 0u);
    m_pDevice.reset();
    EXPECT_EQ(Counts(Object::Program).live, 0);
    EXPECT_EQ(Counts(Object::EglSurface).live, 0);
    EXPECT_EQ(Counts(Object::EglContext).live, 0);
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

TEST_F(DeviceInit, ResetMakesAnotherSurfaceCurrentAndKeepsTheOneBefore) {
    BringUp();
    ASSERT_TRUE(Device().Reset(nullptr));
    EXPECT_CALLS("eglCreateWindowSurface(display, config0, NULL, NULL)",
                 "eglMakeCurrent(display, surface2, surface2, context1)");
    Clear();
    Device().Present();
    EXPECT_CALLS("eglSwapBuffers(display, surface2)");
}

TEST_F(DeviceInit, ResetTracesItsFailuresWithoutAPrefix) {
    BringUp();
    Fail("eglCreateWindowSurface");
    EXPECT_FALSE(Device().Reset(nullptr));
    Succeed("eglCreateWindowSurface");
    Fail("eglMakeCurrent");
    EXPECT_FALSE(Device().Reset(nullptr));
    Succeed("eglMakeCurrent");
    EXPECT_EQ(m_diagnostics.Messages(),
              (Strings{"eglCreateWindowSurface failed - eglGetError Returned: 12291\n",
                       "eglMakeCurrent failed: 0 - eglGetError Returned: 12291\n"}));
}

TEST_F(DeviceInit, ResetOfTheRectangleIsTheBases) {
    BringUp();
    GraphicsDevice& device = Device();
    EXPECT_TRUE(device.Reset(RectangleT<int>(0, 0, 320, 200)));
    EXPECT_EQ(Count("egl*"), 0u);
    EXPECT_EQ(Device().GetSize(), SizeT<int>(320, 200));
}

TEST_F(DeviceInit, PresentSwapsAndIgnoresTheOutcome) {
    BringUp();
    Fail("eglSwapBuffers");
    Device().Present();
    EXPECT_CALLS("eglSwapBuffers(display, surface1)");
    EXPECT_TRUE(m_diagnostics.Messages().empty());
}

TEST_F(DeviceInit, StartProgramsAndPresentAreProfiledUnderTheirNumbers) {
    ScopeCounter::ResetFigures();
    ScopeCounter::SetProfiling(true);
    EXPECT_TRUE(InitializeDevice());
    Device().Present();
    Device().Present();
    EXPECT_EQ(ScopeCounter::GetTotals(9).nCalls, 1u);
    EXPECT_EQ(ScopeCounter::GetTotals(10).nCalls, 2u);
    EXPECT_EQ(ScopeCounter::GetTotals(11).nCalls, 1u);
    // A failure is counted, too.
    Fail("eglInitialize");
    EXPECT_FALSE(InitializeDevice());
    EXPECT_EQ(ScopeCounter::GetTotals(9).nCalls, 2u);
    EXPECT_EQ(ScopeCounter::GetTotals(11).nCalls, 1u);
    ScopeCounter::SetProfiling(false);
}

TEST_F(DeviceInit, DestructionReleasesGlObjectsBeforeTheContextGoes) {
    BringUp();
    TextureGL2* const pUsed = new TextureGL2; // only the program refers to it
    ASSERT_TRUE(pUsed->Replace(2, 2, TextureFormat::RGBA8888, nullptr, 0));
    Device().SetActiveShader(Device().GetShader(-1));
    Device().GetShader(-1)->SetSampler(u"sTexture", pUsed, 0);
    Ref<CameraGL2> const pCamera(new CameraGL2);
    Device().PushCamera(pCamera.Get());
    Clear();
    m_pDevice.reset();
    EXPECT_EQ(pCamera->GetReferenceCount(), 1);
    EXPECT_TRUE(
        CallsInOrder({"glDeleteProgram", "glDeleteTextures",
                      "eglMakeCurrent(EGL_NO_DISPLAY, EGL_NO_SURFACE, EGL_NO_SURFACE, EGL_NO_CONTEXT)",
                      "eglDestroySurface(display, surface1)", "eglDestroyContext(display, context1)",
                      "eglTerminate(display)"}));
    EXPECT_TRUE(CallsWithoutContext().empty());
    EXPECT_EQ(Counts(Object::Program).live, 0);
    EXPECT_EQ(Counts(Object::Shader).live, 0);
    EXPECT_EQ(Counts(Object::Texture).live, 0);
}

TEST_F(DeviceInit, ClearResetsTheAlphaTestAndTheActiveProgram) {
    BringUp();
    Device().SetAlphaTestEnabled(true);
    Device().SetActiveShader(Device().GetShader(-2));
    Clear();
    Device().Clear();
    EXPECT_CALLS("glClear(GL_COLOR_BUFFER_BIT | GL_DEPTH_BUFFER_BIT | GL_STENCIL_BUFFER_BIT)",
                 "glDisableVertexAttribArray(0)", "glUseProgram(0)");
    EXPECT_FALSE(Device().IsAlphaTestEnabled());
    Clear();
    Device().Clear();
    EXPECT_EQ(Calls().size(), 1u);
}

TEST_F(DeviceInit, SetsAndRecordsTheClearColour) {
    BringUp();
    Device().SetClearColor(ColorT<RealFloat>(0.25f, 0.5f, 0.75f, 1));
    EXPECT_CALLS("glClearColor(0.25, 0.5, 0.75, 1)");
    EXPECT_EQ(Device().GetClearColor(), ColorT<RealFloat>(0.25f, 0.5f, 0.75f, 1));
}

TEST_F(DeviceInit, TheFullScreenQuadCoversClipSpace) {
    BringUp();
    Device().SetActiveShader(Device().GetShader(-3));
    Clear();
    Device().RenderFullscreenQuad();
    EXPECT_CALLS("glVertexAttribPointer(0, 3, GL_FLOAT, GL_FALSE, 0, *)",
                 "glVertexAttribPointer(1, 2, GL_FLOAT, GL_FALSE, 0, *)",
                 "glDrawArrays(GL_TRIANGLE_STRIP, 0, 4)");
    EXPECT_EQ(Draws()[0].Values(0), (std::vector<float>{-1, -1, 0, -1, 1, 0, 1, -1, 0, 1, 1, 0}));
    EXPECT_EQ(Draws()[0].Values(1), (std::vector<float>{0, 0, 0, 1, 1, 0, 1, 1}));
}

/** What follows looks at statics that outlive devices: each runs in a process of its own. */
class DeviceExtensions : public DeviceInit {
protected:
    DeviceExtensions() { GTEST_FLAG_SET(death_test_style, "threadsafe"); }

    [[noreturn]] static void Leave() { std::_Exit(::testing::Test::HasFailure() ? 1 : 0); }
};

TEST_F(DeviceExtensions, AreLookedUpOnceAndWrapped) {
    EXPECT_EXIT(
        {
            EXPECT_EQ(GraphicsDeviceGL2::eglCreateImageKHR(nullptr, nullptr, 0, nullptr, nullptr),
                      EGL_NO_IMAGE_KHR);
            EXPECT_EQ(GraphicsDeviceGL2::eglDestroyImageKHR(nullptr, nullptr),
                      static_cast<EGLBoolean>(EGL_FALSE));
            EXPECT_CALLS();
            ASSERT_TRUE(InitializeDevice());
            EXPECT_TRUE(CallsInclude({"glDisable(GL_DEPTH_TEST)", "eglGetProcAddress(\"eglCreateImageKHR\")",
                                      "eglGetProcAddress(\"eglDestroyImageKHR\")"}));
            Clear();
            GraphicsDeviceGL2::InitializeExtensions();
            EXPECT_CALLS();
            EGLDisplay const display = GetEglState().display;
            static int s_buffer = 0;
            EGLImageKHR const image = GraphicsDeviceGL2::eglCreateImageKHR(
                display, EGL_NO_CONTEXT, EGL_NATIVE_BUFFER_ANDROID, &s_buffer, nullptr);
            EXPECT_NE(image, EGL_NO_IMAGE_KHR);
            EXPECT_EQ(GraphicsDeviceGL2::eglDestroyImageKHR(display, image),
                      static_cast<EGLBoolean>(EGL_TRUE));
            EXPECT_CALLS("eglCreateImageKHR(display, EGL_NO_CONTEXT, EGL_NATIVE_BUFFER_ANDROID, *, NULL)",
                         "eglDestroyImageKHR(display, image1)");
            Leave();
        },
        ::testing::ExitedWithCode(0), "");
}

TEST_F(DeviceExtensions, AFailedLookUpIsTracedAndTriedAgain) {
    EXPECT_EXIT(
        {
            SetProcAddress("eglCreateImageKHR", false);
            GraphicsDeviceGL2::InitializeExtensions();
            EXPECT_EQ(m_diagnostics.Messages(), Strings{"Couldn't find eglCreateImageKHR"});
            SetProcAddress("eglCreateImageKHR", true);
            SetProcAddress("eglDestroyImageKHR", false);
            m_diagnostics.Forget();
            GraphicsDeviceGL2::InitializeExtensions();
            EXPECT_EQ(m_diagnostics.Messages(), Strings{"Couldn't find eglDestroyImageKHR"});
            // The first function is there now, so nothing is looked up any more.
            GraphicsDeviceGL2::InitializeExtensions();
            EXPECT_CALLS(
                "eglGetProcAddress(\"eglCreateImageKHR\")", "eglGetProcAddress(\"eglDestroyImageKHR\")",
                "eglGetProcAddress(\"eglCreateImageKHR\")", "eglGetProcAddress(\"eglDestroyImageKHR\")");
            EXPECT_EQ(GraphicsDeviceGL2::eglDestroyImageKHR(nullptr, nullptr),
                      static_cast<EGLBoolean>(EGL_FALSE));
            Leave();
        },
        ::testing::ExitedWithCode(0), "");
}

} // namespace
