#pragma once

#include "scene/SceneNotes.h"
#include "trevik/ClassRegistry.h"
#include "trevik/kelvo/Node.h"

#include <string>

namespace kelvokit::player {

/**
 * What a person may want to know of a node, in lines: its class and name and where the scene file has it,
 * then the properties whose values now are not those of a new node, by the names and in the order of their
 * class.
 */
std::string GetNodeText(trevik::kelvo::Node& node, trevik::kelvo::assets::SceneNotes const& notes,
                        trevik::ClassRegistry const& registry);

} // namespace kelvokit::player
