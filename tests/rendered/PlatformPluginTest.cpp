#include "EglProgram.h"

#include <dlfcn.h>

#include <string>

namespace kelvokit::test {
namespace {

TEST(PlatformPlugin, LinkedWithTheSystemsEglDrawsByTheLayerIntoAWindowOfTheProgram) {
    // Stays loaded: leak reports are taken at exit and want its names.
    void* const pPlugin = dlopen(KELVO_RENDERED_PLUGIN, RTLD_NOW | RTLD_LOCAL);
    ASSERT_TRUE(pPlugin) << dlerror();
    auto const address = reinterpret_cast<void* (*)()>(dlsym(pPlugin, "AddressOfCreateWindowSurface"));
    auto const draw = reinterpret_cast<EGLint (*)(void*)>(dlsym(pPlugin, "DrawOrangeFrame"));
    Dl_info library = {};
    ASSERT_TRUE(dladdr(address(), &library));
    EXPECT_NE(std::string(library.dli_fname).find("libkelvo_desktop"), std::string::npos)
        << library.dli_fname;
    CapturedWindow window(9, 5);
    EXPECT_EQ(draw(static_cast<ANativeWindow*>(&window)), EGL_SUCCESS);
    EXPECT_TRUE(CompareImages(FrameOf(window), Image(9, 5, {255, 102, 0, 255})));
}

} // namespace
} // namespace kelvokit::test
