#pragma once

#include "trevik/ClassRegistry.h"

#include <string>

namespace trevik::kelvo::assets {

/**
 * What a scene file may say, as a JSON schema (draft 7) that editors complete and check by. It comes from the
 * tables that the file is read by and from what the classes of `registry` register; classes that it does not
 * have are none. What no schema can tell stays with the reader: names of what the scene itself defines,
 * files, and what one value means for another. Ends in a line's end.
 */
std::string MakeSceneSchema(ClassRegistry const& registry);

} // namespace trevik::kelvo::assets
