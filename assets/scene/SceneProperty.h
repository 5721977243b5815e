#pragma once

#include "scene/JsonCursor.h"
#include "scene/SceneAnimation.h"
#include "trevik/kelvo/PropertyList.h"

#include <string>

namespace trevik::kelvo::assets {

/**
 * Gives the property registered under `name` what stands at `place`: a value of the property's type, or an
 * animation (see AnimationReader). Throws a Fault; the property is unchanged then.
 */
void ReadProperty(JsonCursor const& place, std::string const& name, PropertyList::Entry const& entry,
                  AnimationReader const& animations);

/**
 * The names of the components that a property of this name and type can be given one by one, such as "x" in
 * "Position.x"; none for others.
 */
std::vector<std::string> GetComponentNames(std::string const& name, PropertyType::Enum type);

/**
 * Gives a property those of its components that `place`, an object, has members for ("Position.x"), each with
 * a number or an animation; the others keep their value. Throws a Fault; the property is unchanged then.
 */
void ReadComponents(JsonCursor const& place, std::string const& name, PropertyList::Entry const& entry,
                    AnimationReader const& animations);

} // namespace trevik::kelvo::assets
