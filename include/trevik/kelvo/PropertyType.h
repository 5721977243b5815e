#pragma once

#include "trevik/Color.h"
#include "trevik/Encoding.h"
#include "trevik/List.h"
#include "trevik/Rectangle.h"
#include "trevik/Size.h"
#include "trevik/StringEncoded.h"
#include "trevik/Types.h"
#include "trevik/Vector.h"

namespace trevik::kelvo {

/** The value types that properties of this framework have. */
struct PropertyType {
    enum Enum {
        Unknown = 0,
        Bool,
        Int,
        Real,
        Vector2,
        Vector3,
        Rectangle,
        Color,
        SizeInt,
        SizeReal,
        String,
        PairList, ///< List<Vector2T<int>>
        Other     ///< a list or record that only its owner reads
    };
};

/** PropertyTypeOf<T>::value names T; PropertyType::Other for types without a name of their own. */
template <class T>
struct PropertyTypeOf {
    static constexpr PropertyType::Enum value = PropertyType::Other; ///< the name
};

#define TREVIK_PROPERTY_TYPE(T, E)                                                                           \
    template <>                                                                                              \
    struct PropertyTypeOf<T> {                                                                               \
        static constexpr PropertyType::Enum value = PropertyType::E;                                         \
    }
TREVIK_PROPERTY_TYPE(bool, Bool);
TREVIK_PROPERTY_TYPE(int, Int);
TREVIK_PROPERTY_TYPE(RealFloat, Real);
TREVIK_PROPERTY_TYPE(Vector2T<RealFloat>, Vector2);
TREVIK_PROPERTY_TYPE(Vector3T<RealFloat>, Vector3);
TREVIK_PROPERTY_TYPE(RectangleT<RealFloat>, Rectangle);
TREVIK_PROPERTY_TYPE(ColorT<RealFloat>, Color);
TREVIK_PROPERTY_TYPE(SizeT<int>, SizeInt);
TREVIK_PROPERTY_TYPE(SizeT<RealFloat>, SizeReal);
TREVIK_PROPERTY_TYPE(StringEncoded<UTF16Encoding>, String);
TREVIK_PROPERTY_TYPE(List<Vector2T<int>>, PairList);
#undef TREVIK_PROPERTY_TYPE

} // namespace trevik::kelvo
