#include "kelvo_test/AllocationCounter.h"

#include <atomic>
#include <cstdlib>

#if defined(__has_feature)
#if __has_feature(address_sanitizer) || __has_feature(thread_sanitizer) || __has_feature(memory_sanitizer)
#define KELVO_SANITIZED
#endif
#elif defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
#define KELVO_SANITIZED
#endif

namespace {

std::atomic<std::size_t> g_nAllocations{0};
std::atomic<std::size_t> g_nBytes{0};

void Count(std::size_t nBytes) {
    g_nAllocations.fetch_add(1, std::memory_order_relaxed);
    g_nBytes.fetch_add(nBytes, std::memory_order_relaxed);
}

} // namespace

std::size_t AllocationCount() {
    return g_nAllocations.load(std::memory_order_relaxed);
}

std::size_t AllocatedBytes() {
    return g_nBytes.load(std::memory_order_relaxed);
}

#ifndef KELVO_SANITIZED

// The C library's own allocator under the names that it keeps for this purpose; what comes from there goes
// back through the ordinary free.
extern "C" {

void* __libc_malloc(std::size_t size);
void* __libc_calloc(std::size_t count, std::size_t size);
void* __libc_realloc(void* memory, std::size_t size);
void* __libc_memalign(std::size_t alignment, std::size_t size);

void* malloc(std::size_t size) {
    Count(size);
    return __libc_malloc(size);
}

void* calloc(std::size_t count, std::size_t size) {
    Count(count * size);
    return __libc_calloc(count, size);
}

void* realloc(void* memory, std::size_t size) {
    Count(size);
    return __libc_realloc(memory, size);
}

void* aligned_alloc(std::size_t alignment, std::size_t size) {
    Count(size);
    return __libc_memalign(alignment, size);
}
}

#else

// Sanitizers have an allocator of their own, which calls this each time.
extern "C" __attribute__((visibility("default"))) void __sanitizer_malloc_hook(void const volatile*,
                                                                               std::size_t size) {
    Count(size);
}

#endif
