#include "play/Schema.h"

#include "play/AlphaTestGroup.h"
#include "play/Backend.h"
#include "scene/SceneSchema.h"

#include <cstdio>

namespace kelvokit::player {

int PrintSchema(Options const& options) {
    Backend backend;
    trevik::kelvo::Fault fault;
    if (!backend.Load(options.backend, fault)) {
        std::fprintf(stderr, "kelvo-player: %s\n", fault.GetText().c_str());
        return ExitDevice;
    }
    RegisterAlphaTestGroup(backend);
    std::fputs(trevik::kelvo::assets::MakeSceneSchema(backend.GetRegistry()).c_str(), stdout);
    return ExitSuccess;
}

} // namespace kelvokit::player
