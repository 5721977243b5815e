#pragma once

#include "trevik/ClassRegistry.h"
#include "trevik/kelvo/Node.h"

namespace trevik::kelvo::assets {

/**
 * Gives each property of a tree's nodes that has a controller the value that it has in a new node of the
 * class. What a property held beside its controller is not saved either; it would show where it is read
 * before the controller has written, as cameras and texts with a background do.
 */
void RestoreInitialValues(Node& root, ClassRegistry const& registry);

} // namespace trevik::kelvo::assets
