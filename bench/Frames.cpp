// Varies: the number of sprites. Constant: textured sprites that all move, eight textures in turn, a driver
// whose functions are empty. Prints the time per sprite of a whole frame (host update, render walk, back end,
// present), and what all measured frames together allocated and had the driver make: nothing, or the run
// fails.

#include "Allocations.h"
#include "BenchScene.h"
#include "NullDriver.h"
#include "Timing.h"

#include <algorithm>
#include <cstdio>

namespace bench = kelvokit::bench;

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
    // One frame without a clock or a list of times, so that only the frame's own allocations are seen.
    unsigned long const nBefore = bench::GetAllocationCount();
    for (unsigned int nFrame = 0; nFrame < WarmUpFrames; ++nFrame) {
        scene.RunFrame(nFrame);
    }
    unsigned long const nAllocations = bench::GetAllocationCount() - nBefore;
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
