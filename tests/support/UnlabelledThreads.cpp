#include <dlfcn.h>
#include <pthread.h>

#include <cstdio>
#include <cstdlib>

// A test that starts a thread and lacks the label "threads" would never run under ThreadSanitizer: it ends
// here.
extern "C" int pthread_create(pthread_t* pThread, pthread_attr_t const* pAttributes, void* (*pRun)(void*),
                              void* pData) {
    if (std::getenv("KELVO_TEST_WITHOUT_THREADS") != nullptr) {
        std::fputs("This test starts a thread: the filter THREADS of its suite has to match its name.\n",
                   stderr);
        std::abort();
    }
    static auto const s_pNext =
        reinterpret_cast<decltype(&pthread_create)>(dlsym(RTLD_NEXT, "pthread_create"));
    return s_pNext(pThread, pAttributes, pRun, pData);
}
