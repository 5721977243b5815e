// Varies: what nodes are, how many there are, whether they lie side by side or below each other, and which of
// them move. Constant: eight textures in turn, a driver whose functions are empty. Prints the time per node
// of the host's update and of the render walk with the back end's share.

#include "BenchScene.h"
#include "Timing.h"

#include <algorithm>
#include <cstdio>

namespace bench = kelvokit::bench;

namespace {

struct Case {
    char const* m_pName;
    unsigned int m_nNodes;
    unsigned int m_nLevels;
    bench::Moving m_moving;
    bench::NodeKind m_kind = bench::NodeKind::Sprite;
};

constexpr Case Cases[] = {
    {"wide, all move", 100, 1, bench::Moving::All},
    {"wide, all move", 1000, 1, bench::Moving::All},
    {"wide, all move", 10000, 1, bench::Moving::All},
    {"wide, all move", 100000, 1, bench::Moving::All},
    {"wide, none moves", 100, 1, bench::Moving::None},
    {"wide, none moves", 1000, 1, bench::Moving::None},
    {"wide, none moves", 10000, 1, bench::Moving::None},
    {"wide, none moves", 100000, 1, bench::Moving::None},
    {"1000 levels, all move", 1000, 1000, bench::Moving::All},
    {"1000 levels, the top moves", 1000, 1000, bench::Moving::Topmost},
    {"1000 levels, none moves", 1000, 1000, bench::Moving::None},
    {"10 levels, the top moves", 10000, 10, bench::Moving::Topmost},
    {"nine-patches, all move", 1000, 1, bench::Moving::All, bench::NodeKind::NinePatch},
    {"timelines, all move", 100, 1, bench::Moving::All, bench::NodeKind::Timeline},
    {"timelines, all move", 1000, 1, bench::Moving::All, bench::NodeKind::Timeline},
    {"timelines, all move", 10000, 1, bench::Moving::All, bench::NodeKind::Timeline},
    {"timelines, 1000 levels", 1000, 1000, bench::Moving::All, bench::NodeKind::Timeline},
    {"timelines, none moves", 1000, 1, bench::Moving::None, bench::NodeKind::Timeline},
    {"timelines, 1000 levels, still", 1000, 1000, bench::Moving::None, bench::NodeKind::Timeline},
};

void MeasureCase(bench::Backend& backend, Case const& measured) {
    bench::SceneOptions options;
    options.m_nNodes = measured.m_nNodes;
    options.m_kind = measured.m_kind;
    options.m_nLevels = measured.m_nLevels;
    options.m_moving = measured.m_moving;
    bench::BenchScene scene(backend, options);
    for (unsigned int nFrame = 0; nFrame < 10; ++nFrame) {
        scene.RunFrame(nFrame);
    }
    unsigned int const nRuns = std::clamp(5000000u / measured.m_nNodes, 100u, 20000u);
    // The two are timed apart over the same frames: what one leaves in the caches is not what the other finds
    // in them.
    bench::Spread const update =
        bench::Measure(nRuns, measured.m_nNodes, [&](unsigned int nFrame) { scene.Update(nFrame); });
    bench::Spread const render =
        bench::Measure(nRuns, measured.m_nNodes, [&](unsigned int) { scene.Render(); });
    std::printf("%-28s %8u %12.1f %8.1f %12.1f %8.1f\n", measured.m_pName, measured.m_nNodes, update.m_median,
                update.m_p95, render.m_median, render.m_p95);
}

} // namespace

int main() {
    bench::Backend backend;
    if (!backend.Initialize(nullptr, 640, 360)) {
        return 1;
    }
    std::printf("%-28s %8s %12s %8s %12s %8s\n", "scene", "nodes", "update ns", "p95", "render ns", "p95");
    for (Case const& measured : Cases) {
        MeasureCase(backend, measured);
    }
    return 0;
}
