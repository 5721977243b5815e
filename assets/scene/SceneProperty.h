#pragma once

#include "scene/JsonCursor.h"
#include "trevik/kelvo/Interpolate.h"
#include "trevik/kelvo/PropertyList.h"

#include <string>

namespace trevik::kelvo::assets {

/** How much a scene may still ask for. */
struct SampleBudget {
    std::size_t nSamples = 1u << 22; ///< of all properties together
};

/** The longest animation of one property, in frames. */
constexpr unsigned int MaximumSamples = 100000;

/**
 * Gives the property registered under `name` what stands at `place`: a value of the property's type, or an
 * object with one value per frame ("samples") or with key frames ("keys"), which become one value per frame.
 * Throws a Fault; the property is unchanged then.
 */
void ReadProperty(JsonCursor const& place, std::string const& name, PropertyList::Entry const& entry,
                  SampleBudget& budget);

/** Whether what stands at `place` drives a property frame by frame. */
bool IsAnimation(JsonCursor const& place);

/** A colour: red, green, blue and, if asked for, alpha (1 unless given), as numbers or as "#rrggbb[aa]". */
ColorT<RealFloat> ReadColor(JsonCursor const& place, bool fAlpha);

/** 3 numbers. */
Vector3T<RealFloat> ReadVector3(JsonCursor const& place);

/** An easing function, or a time map, by its name. */
Interpolate::Function ReadEasing(JsonCursor const& place);

/**
 * What a scene file writes for a property of this name and type, for messages and the format's description.
 */
std::string DescribeValue(std::string const& name, PropertyType::Enum type);

} // namespace trevik::kelvo::assets
