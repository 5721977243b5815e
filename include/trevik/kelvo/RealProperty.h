#pragma once

#include "trevik/Export.h"
#include "trevik/Types.h"
#include "trevik/kelvo/ExtendedProperty.h"

namespace trevik::kelvo {

/** An animatable number. */
class TREVIK_API RealProperty : public ExtendedProperty<RealFloat> {
public:
    using ExtendedProperty<RealFloat>::ExtendedProperty;
    ~RealProperty() override;
};

} // namespace trevik::kelvo
