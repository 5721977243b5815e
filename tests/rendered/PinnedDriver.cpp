// Leak reports name whoever allocated, and suppressions go by that name. EGL unloads its driver when the last
// display terminates, long before the report at exit, so under a leak checker the driver is loaded once and
// kept.

#if defined(__has_feature)
#if __has_feature(address_sanitizer)
#define KELVO_PIN_DRIVER
#endif
#elif defined(__SANITIZE_ADDRESS__)
#define KELVO_PIN_DRIVER
#endif

#ifdef KELVO_PIN_DRIVER

#include <EGL/egl.h>
#include <EGL/eglext.h>
#include <dlfcn.h>
#include <gtest/gtest.h>
#include <link.h>

#include <string>
#include <vector>

namespace kelvo::test {
namespace {

class PinnedDriver : public testing::Environment {
public:
    void SetUp() override {
        // Mesa's, and not by way of the layer's choice, which is for the tests to make.
        EGLDisplay const display =
            eglGetPlatformDisplay(EGL_PLATFORM_SURFACELESS_MESA, EGL_DEFAULT_DISPLAY, nullptr);
        if (!eglInitialize(display, nullptr, nullptr))
            return;
        // Listed first: loading takes the lock that is held while listing.
        std::vector<std::string> libraries;
        dl_iterate_phdr(
            [](dl_phdr_info* library, std::size_t, void* list) {
                static_cast<std::vector<std::string>*>(list)->push_back(library->dlpi_name);
                return 0;
            },
            &libraries);
        for (std::string const& sLibrary : libraries)
            dlopen(sLibrary.c_str(), RTLD_NOW | RTLD_NOLOAD | RTLD_NODELETE);
        eglTerminate(display);
    }
};

testing::Environment* const g_pPinnedDriver = testing::AddGlobalTestEnvironment(new PinnedDriver);

} // namespace
} // namespace kelvo::test

#endif
