#include "play/SceneFile.h"

#include "command/Interrupt.h"
#include "command/Paths.h"
#include "command/StandardInput.h"
#include "scene/SceneReader.h"

#include <cstdint>
#include <vector>

namespace kelvokit::player {

using trevik::kelvo::Fault;
using trevik::kelvo::Scene;
using namespace trevik::kelvo::assets;

namespace {

int LoadStandardInput(Backend& backend, Scene& scene, Fault& fault, SceneNotes& notes) {
    std::vector<std::uint8_t> text;
    if (ReadStandardInput(text, fault) && ReadSceneText({text.data(), text.size()}, GetSceneName("-"), "",
                                                        backend.GetRegistry(), scene, fault, &notes)) {
        return ExitSuccess;
    }
    if (int const nSignal = GetInterrupt()) {
        notes = SceneNotes();
        // The text may end early because the program that prints it was interrupted, too.
        fault = Fault(std::string(), "interrupted");
        return ExitSignal + nSignal;
    }
    return ExitBadFile;
}

} // namespace

int LoadSceneFile(std::string const& path, Backend& backend, Scene& scene, Fault& fault, SceneNotes& notes) {
    if (path == "-") {
        return LoadStandardInput(backend, scene, fault, notes);
    }
    if (HasEnding(path, ".kelvo")) {
        notes = SceneNotes();
        notes.SetFiles({path});
        return scene.LoadFromFile(path.c_str(), backend.GetRegistry(), fault) ? ExitSuccess : ExitBadFile;
    }
    if (HasEnding(path, ".json")) {
        return ReadScene(path, backend.GetRegistry(), scene, fault, &notes) ? ExitSuccess : ExitBadFile;
    }
    fault = Fault(path, "a scene's name ends in .json or .kelvo");
    return ExitUsage;
}

std::vector<std::string> GetComplaints(Fault const& fault, SceneNotes const& notes) {
    std::vector<std::string> lines{fault.GetText()};
    SceneFaults const& faults = notes.GetFaults();
    for (std::size_t n = 1; n < faults.Get().size(); ++n) {
        lines.push_back(faults.Get()[n].GetText());
    }
    if (faults.HasMore()) {
        lines.push_back(notes.GetSource() + ": ... and more");
    }
    return lines;
}

} // namespace kelvokit::player
