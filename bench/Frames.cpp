// Varies: the number of sprites. Constant: textured sprites that all move, eight textures in turn, a driver
// whose functions are empty. Prints the time per sprite of a whole frame (host update, render walk, back end,
// present), and what all measured frames together allocated and had the driver make: nothing, or the run
// fails.

#include <malloc.h>

#include <algorithm>
#include <atomic>
#include <cstdio>
#include <cstdlib>

#include "BenchScene.h"
#include "NullDriver.h"
#include "Timing.h"

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

constexpr unsigned int WarmUpFrames = 10;

/** Measures a scene of this many sprites; whether its steady frames made nothing. */
bool MeasureFrames(bench::Backend& backend, unsigned int nSprites) {
    bench::SceneOptions options;
    options.m_nNodes = nSprites;
    bench::BenchScene scene(backend, options);
    for (unsigned int nFrame = 0; nFrame < WarmUpFrames; ++nFrame) {
        scene.RunFrame(nFrame);
    }
    unsigned int const nFrames = std::clamp(10000000u / nSprites, 100u, 20000u);
    NullDriverCounts const before = GetNullDriverCounts();
    unsigned long nAllocations = 0;
    // One frame without a clock or a list of times, so that only the frame's own allocations are seen.
    nAllocations = g_nAllocations;
    for (unsigned int nFrame = 0; nFrame < WarmUpFrames; ++nFrame) {
        scene.RunFrame(nFrame);
    }
    nAllocations = g_nAllocations - nAllocations;
    bench::Spread const spread =
        bench::Measure(nFrames, nSprites, [&](unsigned int nFrame) { scene.RunFrame(nFrame); });
    NullDriverCounts const after = GetNullDriverCounts();
    unsigned int const nMade = after.m_nObjects - before.m_nObjects + after.m_nLocations -
                               before.m_nLocations + after.m_nUploads - before.m_nUploads;
    std::printf("%9u %14.1f %10.1f %10.1f %14lu %14u\n", nSprites, spread.m_median, spread.m_p95,
                spread.m_p99, nAllocations, nMade);
    return nAllocations == 0 && nMade == 0;
}

} // namespace

int main() {
    bench::Backend backend;
    if (!backend.Initialize(nullptr, 640, 360)) {
        std::fprintf(stderr, "the device cannot be initialised\n");
        return 1;
    }
    std::printf("%9s %14s %10s %10s %14s %14s\n", "sprites", "ns per sprite", "p95", "p99", "allocations",
                "objects made");
    bool fSteady = true;
    for (unsigned int nSprites : {100u, 1000u, 10000u, 100000u}) {
        fSteady = MeasureFrames(backend, nSprites) && fSteady;
    }
    if (!fSteady) {
        std::fprintf(stderr, "a steady frame allocates, or makes the driver create something\n");
    }
    return fSteady ? 0 : 1;
}
