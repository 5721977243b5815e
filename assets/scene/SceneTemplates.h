#pragma once

#include "scene/JsonCursor.h"

namespace trevik::kelvo::assets {

/**
 * Puts in place what a scene file says once and uses often: reads the files under "include" and takes over
 * their templates, constants, textures and fonts; wherever an object has a "use", it becomes the node of the
 * template of that name; and texts "$name", and "${name}" within others, become the parameters and constants
 * of these names. Afterwards the root has none of "include", "constants" and "templates". A document that
 * has nothing of all that is only looked through. Throws a Fault.
 */
void ExpandTemplates(JsonSource& source);

} // namespace trevik::kelvo::assets
