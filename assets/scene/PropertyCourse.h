#pragma once

#include "trevik/kelvo/BaseProperty.h"
#include "trevik/kelvo/PropertyList.h"
#include "trevik/kelvo/SampleController.h"
#include "trevik/kelvo/TransformNode.h"

#include <optional>
#include <string>

namespace trevik::kelvo::assets {

// What a property of a scene that has been built is in all of its frames.

/** The samples that drive a property; null when its value stays. */
template <class T>
SampleController<T> const* GetSamples(BaseProperty<T> const& property) {
    unsigned int const nCount = property.GetControllerCount();
    return nCount == 0 ? nullptr
                       : dynamic_cast<SampleController<T> const*>(property.GetController(nCount - 1));
}

/** Calls `visit` with the values that a property takes, until it answers true; whether it did. */
template <class T, class Visit>
bool TakesValue(BaseProperty<T> const& property, Visit visit) {
    SampleController<T> const* const pSamples = GetSamples(property);
    if (!pSamples) {
        return visit(property.GetValue());
    }
    for (unsigned int n = 0; n < pSamples->GetSampleCount(); ++n) {
        if (visit(pSamples->GetSample(n))) {
            return true;
        }
    }
    return false;
}

/** The value of a property that nothing drives. */
template <class T>
std::optional<T> GetFixed(BaseProperty<T> const& property) {
    return property.GetControllerCount() == 0 ? std::optional<T>(property.GetValue()) : std::nullopt;
}

/** Whether a number is above a limit in some frame; so it is where only playing would tell. */
inline bool EverExceeds(BaseProperty<RealFloat> const& property, RealFloat limit) {
    bool const fKnown = property.GetControllerCount() == 0 || GetSamples(property);
    return !fKnown || TakesValue(property, [limit](RealFloat number) { return number > limit; });
}

/** Whether a node's own properties hide it, with all that is below it, in every frame. */
inline bool IsNeverVisible(Node& node) {
    TransformNode* const pNode = node.GetTransformNode();
    if (!pNode) {
        return false;
    }
    BaseProperty<bool> const& visible = pNode->GetVisibleProperty();
    bool const fKnown = visible.GetControllerCount() == 0 || GetSamples(visible);
    return (fKnown && !TakesValue(visible, [](bool fVisible) { return fVisible; })) ||
           !EverExceeds(pNode->GetOpacityProperty(), 0);
}

/** The name under which a property is registered; empty when only its id is known. */
inline std::string GetEntryName(PropertyList::Entry const& entry) {
    char16_t const* const pName = entry.m_pDescriptor->m_pName;
    String8 const name{pName ? String16(pName) : String16()};
    return std::string(name.GetData(), name.GetLength());
}

/** The property of this name and type among some; null when there is none. The name may be its hash. */
template <class T>
BaseProperty<T>* FindProperty(PropertyList& properties, unsigned int nID) {
    PropertyList::Found const pEntry = properties.Find(nID);
    bool const fFits = pEntry && pEntry->m_pDescriptor->m_type == PropertyTypeOf<T>::value;
    return fFits ? static_cast<BaseProperty<T>*>(pEntry->m_pProperty) : nullptr;
}
template <class T>
BaseProperty<T>* FindProperty(PropertyList& properties, char const* pName) {
    return FindProperty<T>(properties, HashName(pName));
}

} // namespace trevik::kelvo::assets
