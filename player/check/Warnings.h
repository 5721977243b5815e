#pragma once

#include "command/Options.h"
#include "kelvo_host/Scene.h"
#include "scene/SceneNotes.h"

#include <string>
#include <vector>

namespace kelvokit::player {

/**
 * Warnings that depend on how a scene is played: on the options, and on the surface. `source` is the scene's
 * name in messages.
 */
std::vector<trevik::kelvo::assets::SceneWarning>
FindPlayWarnings(Options const& options, trevik::kelvo::Scene const& scene, std::string const& source);

/**
 * Says on stderr what of a scene will not be drawn as it is written, as far as the options want to know. With
 * --strict returns ExitBadFile when there is any of that, else ExitSuccess. `scene` has its own settings
 * still.
 */
int TellWarnings(Options const& options, trevik::kelvo::Scene const& scene,
                 trevik::kelvo::assets::SceneNotes const& notes);

} // namespace kelvokit::player
