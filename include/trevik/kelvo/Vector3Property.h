#pragma once

#include "trevik/Export.h"
#include "trevik/Types.h"
#include "trevik/Vector.h"
#include "trevik/kelvo/ExtendedProperty.h"

namespace trevik::kelvo {

/** An animatable position, direction, scale or opaque colour. */
class TREVIK_API Vector3Property : public ExtendedProperty<Vector3T<RealFloat>> {
public:
    using ExtendedProperty<Vector3T<RealFloat>>::ExtendedProperty;
    ~Vector3Property() override;
};

} // namespace trevik::kelvo
