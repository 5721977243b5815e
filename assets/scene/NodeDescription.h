#pragma once

#include "scene/SceneNotes.h"
#include "trevik/kelvo/Node.h"

#include <string>

namespace trevik::kelvo::assets {

/** The name of a node's class in scene files, such as "Sprite", whichever class of the back end it has. */
std::string GetSceneClassName(Node const& node);

/** A node for a person: its class, and its name where it has one, as in `Sprite "leaf 1"`. One line. */
std::string DescribeNode(Node const& node);

/**
 * The same with its place behind: `Sprite "leaf 1"  scene.json:12` for a node of the scene that `notes`
 * belongs to; for one without an origin, its path in the tree: `Sprite  /group/#0`.
 */
std::string DescribeNode(Node const& node, SceneNotes const& notes);

} // namespace trevik::kelvo::assets
