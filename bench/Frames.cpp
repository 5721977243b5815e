// Varies: the number of sprites. Constant: textured sprites that all move, eight textures in turn, a driver
// whose functions are empty. Prints time per sprite of a whole frame (host update, render walk, back end,
// present) and allocations.

#include <malloc.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <vector>

#include "BenchScene.h"

namespace {
std::atomic<unsigned long> g_nAllocations{0};
} // namespace

// Every allocation of the process passes here, whoever makes it.
extern "C" {
void* __libc_malloc(std::size_t);
void* __libc_calloc(std::size_t, std::size_t);
void* __libc_realloc(void*, std::size_t);

void* malloc(std::size_t nBytes) {
    g_nAllocations.fetch_add(1, std::memory_order_relaxed);
    return __libc_malloc(nBytes);
}

void* calloc(std::size_t nCount, std::size_t nBytes) {
    g_nAllocations.fetch_add(1, std::memory_order_relaxed);
    return __libc_calloc(nCount, nBytes);
}

void* realloc(void* pMemory, std::size_t nBytes) {
    g_nAllocations.fetch_add(1, std::memory_order_relaxed);
    return __libc_realloc(pMemory, nBytes);
}
}

namespace {

struct Figures {
    double m_median;
    double m_p95;
    double m_p99;
    unsigned long m_nAllocations;
};

Figures Measure(bench::Backend& backend, unsigned int nSprites) {
    bench::SceneOptions options;
    options.m_nSprites = nSprites;
    bench::BenchScene scene(backend, options);
    unsigned int const nFrames = std::clamp(4000000u / nSprites, 40u, 4000u);
    for (unsigned int nFrame = 0; nFrame < 10; ++nFrame) {
        scene.RunFrame(nFrame);
    }
    std::vector<double> times(nFrames);
    unsigned long const nBefore = g_nAllocations;
    for (unsigned int nFrame = 0; nFrame < nFrames; ++nFrame) {
        auto const start = std::chrono::steady_clock::now();
        scene.RunFrame(nFrame + 10);
        times[nFrame] =
            std::chrono::duration<double, std::nano>(std::chrono::steady_clock::now() - start).count();
    }
    unsigned long const nAllocations = g_nAllocations - nBefore;
    std::sort(times.begin(), times.end());
    auto const at = [&](double rFraction) {
        return times[static_cast<std::size_t>(rFraction * (nFrames - 1))] / nSprites;
    };
    return {at(0.5), at(0.95), at(0.99), nAllocations};
}

} // namespace

int main() {
    bench::Backend backend;
    if (!backend.Initialize(nullptr, 640, 360)) {
        std::fprintf(stderr, "the device cannot be initialised\n");
        return 1;
    }
    std::printf("%9s %14s %10s %10s %24s\n", "sprites", "ns per sprite", "p95", "p99",
                "allocations, all frames");
    for (unsigned int nSprites : {100u, 1000u, 10000u, 100000u}) {
        Figures const figures = Measure(backend, nSprites);
        std::printf("%9u %14.1f %10.1f %10.1f %24lu\n", nSprites, figures.m_median, figures.m_p95,
                    figures.m_p99, figures.m_nAllocations);
    }
    return 0;
}
