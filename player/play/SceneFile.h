#pragma once

#include "command/Options.h"
#include "kelvo_host/Scene.h"
#include "play/Backend.h"
#include "scene/SceneNotes.h"

#include <string>
#include <vector>

namespace kelvokit::player {

/** A scene and what there is to tell beside it. */
struct LoadedScene {
    trevik::kelvo::Scene scene;
    trevik::kelvo::assets::SceneNotes notes;
};

/**
 * Reads the scene at `path`: a .json or .kelvo file, or "-" for JSON from standard input. Returns
 * ExitSuccess, or with one line in `fault` the exit code and the scene as it was. `notes` becomes what there
 * is to tell beside the scene, also all that is wrong with it; of a .kelvo file that is the file's path
 * alone. Makes no GL calls: another thread may read a scene while one is drawn, and let go of it as long as
 * it has not been drawn.
 */
int LoadSceneFile(std::string const& path, Backend& backend, trevik::kelvo::Scene& scene,
                  trevik::kelvo::Fault& fault, trevik::kelvo::assets::SceneNotes& notes);

/** All that is wrong with a scene that could not be read, a line each; `fault` comes first. */
std::vector<std::string> GetComplaints(trevik::kelvo::Fault const& fault,
                                       trevik::kelvo::assets::SceneNotes const& notes);

} // namespace kelvokit::player
