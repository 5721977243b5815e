#pragma once

#include "scene/JsonCursor.h"
#include "trevik/Color.h"
#include "trevik/List.h"
#include "trevik/Rectangle.h"
#include "trevik/Size.h"
#include "trevik/StringEncoded.h"
#include "trevik/Vector.h"
#include "trevik/kelvo/PropertyType.h"

#include <string>
#include <vector>

namespace trevik::kelvo::assets {

/** Far from where single precision ends, so that what is computed from numbers stays finite, too. */
constexpr double LargestNumber = 1e9;

// What scene files write for single values of properties. `name` is the property's. All throw a Fault.

void ReadValue(JsonCursor const& place, std::string const& name, bool& value);
void ReadValue(JsonCursor const& place, std::string const& name, int& value);
void ReadValue(JsonCursor const& place, std::string const& name, RealFloat& value);
void ReadValue(JsonCursor const& place, std::string const& name, Vector2T<RealFloat>& value);
void ReadValue(JsonCursor const& place, std::string const& name, Vector3T<RealFloat>& value);
void ReadValue(JsonCursor const& place, std::string const& name, RectangleT<RealFloat>& value);
void ReadValue(JsonCursor const& place, std::string const& name, ColorT<RealFloat>& value);
void ReadValue(JsonCursor const& place, std::string const& name, SizeT<int>& value);
void ReadValue(JsonCursor const& place, std::string const& name, SizeT<RealFloat>& value);
void ReadValue(JsonCursor const& place, std::string const& name, StringEncoded<UTF16Encoding>& value);
void ReadValue(JsonCursor const& place, std::string const& name, List<Vector2T<int>>& value);

/** The names that the whole numbers of a property have; none for most. */
std::vector<std::string> GetValueNames(std::string const& property);

/** 3 numbers, or 2 and the third is `z`. */
Vector3T<RealFloat> ReadVector3(JsonCursor const& place, RealFloat z = 0);

/**
 * What a scene file writes for a property of this name and type, for messages and the format's description.
 */
std::string DescribeValue(std::string const& name, PropertyType::Enum type);

/** Whether a property is a colour; vectors of red, green and blue are known by their names alone. */
bool IsColorName(std::string const& name);

} // namespace trevik::kelvo::assets
