// Varies: the kind and number of nodes and the part of the frame that is counted. Constant: textured sprites
// or nine-patches that all move, eight textures in turn, a driver whose functions are empty. Run under
// callgrind, which counts between start and stop.

#include "BenchScene.h"

#include <valgrind/callgrind.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace bench = kelvokit::bench;

namespace {

enum class Phase { Update, Render, Frame };

bool ParsePhase(char const* pText, Phase& phase) {
    if (std::strcmp(pText, "update") == 0) {
        phase = Phase::Update;
    } else if (std::strcmp(pText, "render") == 0) {
        phase = Phase::Render;
    } else if (std::strcmp(pText, "frame") == 0) {
        phase = Phase::Frame;
    } else {
        return false;
    }
    return true;
}

bool ParseKind(char const* pText, bench::NodeKind& kind) {
    if (std::strcmp(pText, "sprites") == 0) {
        kind = bench::NodeKind::Sprite;
    } else if (std::strcmp(pText, "nine-patches") == 0) {
        kind = bench::NodeKind::NinePatch;
    } else if (std::strcmp(pText, "timelines") == 0) {
        kind = bench::NodeKind::Timeline;
    } else {
        return false;
    }
    return true;
}

/** Runs one frame with counting on during `phase` alone. */
void RunCounted(bench::Backend& backend, bench::BenchScene& scene, Phase phase, unsigned int nFrame) {
    trevik::kelvo::GraphicsDevice& device = backend.GetDevice();
    if (phase == Phase::Frame) {
        CALLGRIND_START_INSTRUMENTATION;
        scene.RunFrame(nFrame);
        CALLGRIND_STOP_INSTRUMENTATION;
        return;
    }
    if (phase == Phase::Update) {
        CALLGRIND_START_INSTRUMENTATION;
    }
    scene.Update(nFrame);
    CALLGRIND_STOP_INSTRUMENTATION;
    device.Clear();
    if (phase == Phase::Render) {
        CALLGRIND_START_INSTRUMENTATION;
    }
    scene.Render();
    CALLGRIND_STOP_INSTRUMENTATION;
    device.Present();
}

} // namespace

int main(int argc, char** argv) {
    Phase phase = Phase::Frame;
    bench::SceneOptions options;
    if (argc != 5 || !ParseKind(argv[1], options.m_kind) || !ParsePhase(argv[4], phase)) {
        std::fprintf(stderr, "usage: %s sprites|nine-patches|timelines NODES FRAMES update|render|frame\n",
                     argv[0]);
        return 2;
    }
    options.m_nNodes = static_cast<unsigned int>(std::atoi(argv[2]));
    unsigned int const nFrames = static_cast<unsigned int>(std::atoi(argv[3]));
    bench::Backend backend;
    if (!backend.Initialize(nullptr, 640, 360)) {
        std::fprintf(stderr, "the device cannot be initialised\n");
        return 1;
    }
    bench::BenchScene scene(backend, options);
    for (unsigned int nFrame = 0; nFrame < 3; ++nFrame) {
        scene.RunFrame(nFrame);
    }
    for (unsigned int nFrame = 0; nFrame < nFrames; ++nFrame) {
        RunCounted(backend, scene, phase, nFrame + 3);
    }
    return 0;
}
