#pragma once

#include "trevik/Types.h"
#include "trevik/kelvo/ExtendedProperty.h"

namespace trevik::kelvo {

/** An animatable number. */
class RealProperty : public ExtendedProperty<RealFloat> {
public:
    using ExtendedProperty<RealFloat>::ExtendedProperty;
};

} // namespace trevik::kelvo
