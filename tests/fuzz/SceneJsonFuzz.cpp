// Reads hostile scene files. A scene is read whole or not at all, what is wrong is said in one line, and what
// has been read can be saved and loaded again.

#include "EntryPoints.h"
#include "FuzzChecks.h"
#include "kelvo_host/Scene.h"
#include "scene/SceneReader.h"

namespace fuzz = kelvokit::fuzz;

using namespace trevik;
using namespace trevik::kelvo;
using fuzz::Require;

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size) {
    fuzz::DropTraces();
    ClassRegistry registry;
    Initialize(&registry);
    Scene scene;
    Fault fault;
    assets::SceneNotes notes;
    if (assets::ReadSceneText({data, size}, "scene.json", KELVO_FUZZ_PICTURES, registry, scene, fault,
                              &notes)) {
        Require(scene.GetRoot() && fault.IsEmpty());
        fuzz::RequireSavesTheSame(scene, registry);
    } else {
        Require(!scene.GetRoot());
        for (Fault const& each : notes.GetFaults().Get()) {
            // Unless it is a file there that the scene includes.
            bool const fIncluded = each.GetText().rfind(KELVO_FUZZ_PICTURES, 0) == 0;
            fuzz::RequireMessage(each.GetText(), fIncluded ? KELVO_FUZZ_PICTURES : "scene.json:");
        }
        Require(fault.GetText() == notes.GetFaults().Get().at(0).GetText());
    }
    return 0;
}
