#pragma once

#include "trevik/List.h"
#include "trevik/kelvo/BaseProperty.h"

namespace trevik::kelvo {

/**
 * A property whose value is a list of plain elements. "Value" holds the elements' bytes, in order; a length
 * that is no whole number of elements fails the load. Its sample controller is inert.
 */
template <class T>
class ListProperty : public BaseProperty<List<T>> {
public:
    using BaseProperty<List<T>>::BaseProperty;
};

} // namespace trevik::kelvo
