// What leak checking and ThreadSanitizer need where a test runs over a GL driver; nothing in a build without.

#if defined(__has_feature)
#if __has_feature(address_sanitizer)
#define KELVO_LEAK_CHECKING
#endif
#if __has_feature(thread_sanitizer)
#define KELVO_THREAD_CHECKING
#endif
#else
#ifdef __SANITIZE_ADDRESS__
#define KELVO_LEAK_CHECKING
#endif
#ifdef __SANITIZE_THREAD__
#define KELVO_THREAD_CHECKING
#endif
#endif

#ifdef KELVO_THREAD_CHECKING
// A driver locks by means that the checker does not see: what it does by itself is not looked at.
extern "C" __attribute__((visibility("default"))) char const* __tsan_default_options() {
    return "ignore_noninstrumented_modules=1";
}
#endif

#ifdef KELVO_LEAK_CHECKING

#include <EGL/egl.h>
#include <EGL/eglext.h>
#include <dlfcn.h>
#include <gtest/gtest.h>
#include <link.h>

#include <string>
#include <vector>

// The checker follows thread-local storage of libraries loaded later by guessing at the C library's
// bookkeeping. With a driver's it guesses wrong now and then, and crashes while it looks for leaks; without,
// it finds them all the same.
extern "C" __attribute__((visibility("default"))) char const* __asan_default_options() {
    return "intercept_tls_get_addr=0";
}

namespace kelvokit::test {
namespace {

/** Leak reports name the library that allocated, and suppressions go by that name. EGL unloads its driver
   when the last display terminates, long before the report at exit; so the driver is loaded once and kept. */
class PinnedDriver : public testing::Environment {
public:
    void SetUp() override {
        // Mesa's, and not by way of the layer's choice, which is for the tests to make.
        EGLDisplay const display =
            eglGetPlatformDisplay(EGL_PLATFORM_SURFACELESS_MESA, EGL_DEFAULT_DISPLAY, nullptr);
        if (!eglInitialize(display, nullptr, nullptr)) {
            return;
        }
        // Listed first: loading takes the lock that is held while listing.
        std::vector<std::string> libraries;
        dl_iterate_phdr(
            [](dl_phdr_info* library, std::size_t, void* list) {
                static_cast<std::vector<std::string>*>(list)->push_back(library->dlpi_name);
                return 0;
            },
            &libraries);
        for (std::string const& sLibrary : libraries) {
            dlopen(sLibrary.c_str(), RTLD_NOW | RTLD_NOLOAD | RTLD_NODELETE);
        }
        eglTerminate(display);
    }
};

testing::Environment* const g_pPinnedDriver = testing::AddGlobalTestEnvironment(new PinnedDriver);

} // namespace
} // namespace kelvokit::test

#endif
