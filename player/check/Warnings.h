#pragma once

#include "command/Options.h"
#include "kelvo_host/Scene.h"
#include "scene/SceneNotes.h"

#include <string>
#include <vector>

namespace kelvokit::player {

/**
 * Warnings that depend on how a scene is played: on the options, and on the surface. `source` is the scene's
 * name in messages, `notes` are what its reading has told.
 */
std::vector<trevik::kelvo::assets::SceneWarning>
FindPlayWarnings(Options const& options, trevik::kelvo::Scene const& scene, std::string const& source,
                 trevik::kelvo::assets::SceneNotes const& notes);

/**
 * Says on stderr what of a scene will not be drawn as it is written, as far as the options want to know. With
 * --strict returns ExitBadFile when there is any of that, else ExitSuccess. `scene` has its own settings
 * still; `notes` take up the warnings that depend on how it is played.
 */
int TellWarnings(Options const& options, trevik::kelvo::Scene const& scene,
                 trevik::kelvo::assets::SceneNotes& notes);

} // namespace kelvokit::player
