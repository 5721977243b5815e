#include "play/Authoring.h"

#include "command/Output.h"
#include "command/StandardInput.h"
#include "file/FileBytes.h"
#include "play/AlphaTestGroup.h"
#include "play/Backend.h"
#include "scene/SceneFormatter.h"
#include "scene/SceneReader.h"
#include "scene/SceneSchema.h"

#include <cstdint>
#include <cstdio>
#include <vector>

namespace kelvokit::player {

using trevik::kelvo::Fault;
namespace assets = trevik::kelvo::assets;

namespace {

bool LoadClasses(Backend& backend, Options const& options, Fault& fault) {
    bool const fLoaded = backend.Load(options.backend, fault);
    if (fLoaded) {
        RegisterAlphaTestGroup(backend);
    }
    return fLoaded;
}

} // namespace

int PrintSchema(Options const& options) {
    Backend backend;
    Fault fault;
    if (!LoadClasses(backend, options, fault)) {
        return Complain(ExitDevice, fault.GetText());
    }
    std::fputs(assets::MakeSceneSchema(backend.GetRegistry()).c_str(), stdout);
    return ExitSuccess;
}

int PrintFormattedScene(Options const& options) {
    Backend backend;
    Fault fault;
    if (!LoadClasses(backend, options, fault)) {
        return Complain(ExitDevice, fault.GetText());
    }
    std::vector<std::uint8_t> bytes;
    std::string formatted;
    bool const fInput = options.formatScene == "-";
    std::string const name = fInput ? "standard input" : options.formatScene;
    if (!(fInput ? ReadStandardInput(bytes, fault)
                 : assets::ReadFile(name, assets::MaximumSceneBytes, bytes, fault)) ||
        !assets::FormatScene({bytes.data(), bytes.size()}, name, backend.GetRegistry(), formatted, fault)) {
        return Complain(ExitBadFile, fault.GetText());
    }
    std::fputs(formatted.c_str(), stdout);
    return ExitSuccess;
}

} // namespace kelvokit::player
