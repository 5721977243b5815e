#pragma once

#include "explain/NodeCosts.h"
#include "scene/SceneNotes.h"

#include <vector>

namespace kelvokit::player {

/**
 * The warnings of a scene by the place of the node that they are about, its effects, camera and background
 * included; those about no node, such as unused textures, are the root's.
 */
std::vector<std::vector<trevik::kelvo::assets::SceneWarning const*>>
FindWarnings(NodeCosts const& costs, trevik::kelvo::assets::SceneNotes const& notes);

} // namespace kelvokit::player
