#pragma once

#include "trevik/Color.h"
#include "trevik/Encoding.h"
#include "trevik/Size.h"
#include "trevik/StringEncoded.h"
#include "trevik/Types.h"
#include "trevik/Vector.h"
#include "trevik/kelvo/ExtendedProperty.h"

namespace trevik::kelvo {

// Properties of value types that need nothing of their own.
typedef ExtendedProperty<bool> BoolProperty; ///< a sampled one holds its value until the next frame
typedef ExtendedProperty<int> IntProperty;   ///< between frames truncated toward zero
typedef ExtendedProperty<SizeT<int>> SizeIntProperty;
typedef ExtendedProperty<SizeT<RealFloat>> SizeRealProperty;
typedef ExtendedProperty<Vector2T<RealFloat>> Vector2Property;
typedef ExtendedProperty<ColorT<RealFloat>> ColorProperty;
typedef BaseProperty<StringEncoded<UTF16Encoding>> StringProperty; ///< not sampled; saved as UTF-16 units

} // namespace trevik::kelvo
