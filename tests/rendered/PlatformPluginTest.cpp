#include "kelvo_test/Image.h"

#include <kelvo_desktop/OffscreenWindow.h>

#include <EGL/egl.h>
#include <dlfcn.h>
#include <gtest/gtest.h>

#include <string>

namespace kelvo::test {
namespace {

/** A plug-in linked against the system's EGL, loaded into this program, which is linked against the layer. */
class PlatformPlugin : public testing::Test {
protected:
    void SetUp() override {
        m_pPlugin = dlopen(KELVO_RENDERED_PLUGIN, RTLD_NOW | RTLD_LOCAL);
        ASSERT_TRUE(m_pPlugin) << dlerror();
    }
    template <class Function>
    Function* Find(char const* name) const {
        return reinterpret_cast<Function*>(dlsym(m_pPlugin, name));
    }
    // Stays loaded: leak reports are taken at exit and want its names.
    void* m_pPlugin = nullptr;
};

TEST_F(PlatformPlugin, CallsTheLayerInsteadOfTheEglItWasLinkedWith) {
    void* const address = Find<void*()>("AddressOfCreateWindowSurface")();
    Dl_info library = {};
    ASSERT_TRUE(dladdr(address, &library));
    EXPECT_NE(std::string(library.dli_fname).find("libkelvo_desktop"), std::string::npos)
        << library.dli_fname;
}

TEST_F(PlatformPlugin, DrawsIntoAWindowOfTheProgram) {
    desktop::OffscreenWindow window(9, 5);
    window.SetCapture(true);
    EXPECT_EQ(Find<EGLint(void*)>("DrawOrangeFrame")(static_cast<ANativeWindow*>(&window)), EGL_SUCCESS);
    desktop::FinishedFrame const& frame = window.LastFrame();
    ASSERT_EQ(frame.serial, 1u);
    EXPECT_TRUE(CompareImages(Image(frame.width, frame.height, frame.pixels.data()),
                              Image(9, 5, {255, 102, 0, 255})));
}

} // namespace
} // namespace kelvo::test
