#pragma once

#include "trevik/Export.h"
#include "trevik/Rectangle.h"
#include "trevik/Types.h"
#include "trevik/kelvo/ExtendedProperty.h"

namespace trevik::kelvo {

/** An animatable rectangle; each edge moves on its own. */
class TREVIK_API RectangleProperty : public ExtendedProperty<RectangleT<RealFloat>> {
public:
    using ExtendedProperty<RectangleT<RealFloat>>::ExtendedProperty;
    ~RectangleProperty() override;
};

} // namespace trevik::kelvo
