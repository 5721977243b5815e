#pragma once

#include "kelvo_host/Fault.h"
#include "trevik/Export.h"
#include "trevik/kelvo/Node.h"

#include <type_traits>

namespace trevik::kelvo {

namespace detail {

/** What FindNode and FindProperty have in common for all types. */
TREVIK_API Node* FindNode(Node& root, char const* pPath, unsigned int nClassID, Fault& fault);
TREVIK_API Property* FindProperty(Node& node, char const* pName, PropertyType::Enum type, Fault& fault);

/** What a property stores for a value that is written as T: a string for text, else the value itself. */
template <class T>
using StoredValue = std::conditional_t<std::is_convertible<T const&, char16_t const*>::value,
                                       StringEncoded<UTF16Encoding>, T>;

} // namespace detail

/**
 * The node of class T (Node for any) that a path leads to: names with "/" between them, UTF-8, each of a node
 * below the one before, as in "dialog/ok". Nodes in between may be left out, so that a path goes on leading
 * there when something is put around a part of it; the first name may be that of `root` itself. Of several
 * nodes it is the first one in drawing order. Null, with what is missing in `fault`, when there is none.
 * Allocates; keep the node rather than to look for it in each frame. Render thread.
 */
template <class T>
T* FindNode(Node& root, char const* pPath, Fault& fault) {
    return static_cast<T*>(detail::FindNode(root, pPath, T::ClassID, fault));
}

/**
 * A node's property with values of type T by the name that scene files use; of it, values, controllers and
 * changes can be had. Null, with the reason in `fault`, when the node has no such property, or one of another
 * type. Allocates nothing when it is there. Render thread.
 */
template <class T>
BaseProperty<T>* FindProperty(Node& node, char const* pName, Fault& fault) {
    static_assert(PropertyTypeOf<T>::value != PropertyType::Other,
                  "No property has values of this type: write 0.5f for a number, u\"...\" for text.");
    return static_cast<BaseProperty<T>*>(detail::FindProperty(node, pName, PropertyTypeOf<T>::value, fault));
}

/**
 * Gives a node's property a value that stays: an animation that the property has is taken from it. Values are
 * of the property's own type, such as 0.5f (not 0.5 or 1), true, a vector or a colour; of texts they may be
 * literals, u"OK". False, with the reason in `fault` and nothing changed, when there is no such property, or
 * it is of another type. Allocates nothing, but for texts. Render thread.
 */
template <class T>
bool SetProperty(Node& node, char const* pName, T const& value, Fault& fault) {
    BaseProperty<detail::StoredValue<T>>* const pProperty =
        FindProperty<detail::StoredValue<T>>(node, pName, fault);
    if (pProperty) {
        pProperty->RemoveControllers();
        pProperty->SetValue(value);
    }
    return pProperty != nullptr;
}

} // namespace trevik::kelvo
