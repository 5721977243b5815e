// Varies: the kind and number of nodes, what changes in them, and the part of the frame that is counted.
// Constant: eight textures in turn, a driver whose functions are empty. Run under callgrind, which counts
// between start and stop.

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

/** What a scene consists of, by the name that it has on the command line. */
struct Kind {
    char const* m_pName;
    bench::NodeKind m_kind;
    bench::Moving m_moving;
    unsigned int m_nDriven;
    unsigned int m_nLevels;
};

constexpr unsigned int DrivenFour =
    bench::DrivenPosition | bench::DrivenTurn | bench::DrivenScale | bench::DrivenOpacity;
constexpr unsigned int DrivenFourTumbling =
    bench::DrivenPosition | bench::DrivenTumble | bench::DrivenScale | bench::DrivenOpacity;

constexpr Kind Kinds[] = {
    {"sprites", bench::NodeKind::Sprite, bench::Moving::All, bench::DrivenPosition, 1},
    {"nine-patches", bench::NodeKind::NinePatch, bench::Moving::All, bench::DrivenPosition, 1},
    {"timelines", bench::NodeKind::Timeline, bench::Moving::All, bench::DrivenPosition, 1},
    {"still", bench::NodeKind::Sprite, bench::Moving::None, 0, 1},
    {"still-trees", bench::NodeKind::Sprite, bench::Moving::None, 0, 100},
    {"still-timelines", bench::NodeKind::Timeline, bench::Moving::None, 0, 1},
    {"one-moving", bench::NodeKind::Sprite, bench::Moving::OneInAHundred, bench::DrivenPosition, 1},
    {"topmost-moving", bench::NodeKind::Sprite, bench::Moving::Topmost, bench::DrivenPosition, 100},
    {"fading", bench::NodeKind::Sprite, bench::Moving::All, bench::DrivenOpacity, 1},
    {"turning", bench::NodeKind::Sprite, bench::Moving::All, DrivenFour, 1},
    {"tumbling", bench::NodeKind::Sprite, bench::Moving::All, DrivenFourTumbling, 1}};

bool ParseKind(char const* pText, bench::SceneOptions& options) {
    for (Kind const& kind : Kinds) {
        if (std::strcmp(pText, kind.m_pName) == 0) {
            options.m_kind = kind.m_kind;
            options.m_moving = kind.m_moving;
            options.m_nDriven = kind.m_nDriven;
            options.m_nLevels = kind.m_nLevels;
            return true;
        }
    }
    return false;
}

int ShowUsage(char const* pProgram) {
    std::fprintf(stderr, "usage: %s KIND NODES FRAMES update|render|frame, where KIND is one of", pProgram);
    for (Kind const& kind : Kinds) {
        std::fprintf(stderr, " %s", kind.m_pName);
    }
    std::fprintf(stderr, "\n");
    return 2;
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
    if (argc != 5 || !ParseKind(argv[1], options) || !ParsePhase(argv[4], phase)) {
        return ShowUsage(argv[0]);
    }
    options.m_nNodes = static_cast<unsigned int>(std::atoi(argv[2]));
    unsigned int const nFrames = static_cast<unsigned int>(std::atoi(argv[3]));
    bench::Backend backend;
    if (!backend.Initialize(nullptr, 640, 360)) {
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
