#pragma once

#include "trevik/List.h"
#include "trevik/Rectangle.h"
#include "trevik/Size.h"
#include "trevik/StringEncoded.h"
#include "trevik/Vector.h"
#include "trevik/kelvo/Property.h"

namespace trevik::kelvo::assets {

/** Names a type to a generic function. */
template <class T>
struct TypeTag {
    typedef T Type; ///< the type
};

/** Calls `function` with the TypeTag of what properties of a type hold; false where no C++ type is known. */
template <class Function>
bool DispatchType(PropertyType::Enum type, Function const& function) {
    switch (type) {
    case PropertyType::Bool:
        return function(TypeTag<bool>()), true;
    case PropertyType::Int:
        return function(TypeTag<int>()), true;
    case PropertyType::Real:
        return function(TypeTag<RealFloat>()), true;
    case PropertyType::Vector2:
        return function(TypeTag<Vector2T<RealFloat>>()), true;
    case PropertyType::Vector3:
        return function(TypeTag<Vector3T<RealFloat>>()), true;
    case PropertyType::Rectangle:
        return function(TypeTag<RectangleT<RealFloat>>()), true;
    case PropertyType::Color:
        return function(TypeTag<ColorT<RealFloat>>()), true;
    case PropertyType::SizeInt:
        return function(TypeTag<SizeT<int>>()), true;
    case PropertyType::SizeReal:
        return function(TypeTag<SizeT<RealFloat>>()), true;
    case PropertyType::String:
        return function(TypeTag<StringEncoded<UTF16Encoding>>()), true;
    case PropertyType::PairList:
        return function(TypeTag<List<Vector2T<int>>>()), true;
    case PropertyType::Unknown:
    case PropertyType::Other:
        break;
    }
    return false;
}

} // namespace trevik::kelvo::assets
