#pragma once

#include "trevik/kelvo/BaseProperty.h"

namespace trevik::kelvo {

/** Base of the properties of plain values; its operations are BaseProperty's. */
template <class T>
class ExtendedProperty : public BaseProperty<T> {
public:
    using BaseProperty<T>::BaseProperty;
};

} // namespace trevik::kelvo
