#include "scene/InitialValues.h"

#include "scene/PropertyDispatch.h"
#include "trevik/kelvo/BaseProperty.h"
#include "trevik/kelvo/Camera.h"
#include "trevik/kelvo/PropertyList.h"
#include "trevik/kelvo/Sprite.h"
#include "trevik/kelvo/Text.h"
#include "trevik/kelvo/Timeline.h"

#include <map>

namespace trevik::kelvo::assets {

namespace {

class Restorer {
public:
    explicit Restorer(ClassRegistry const& registry) : m_registry(registry) {}

    void Restore(Node& node) {
        PropertyList const& properties = node.GetProperties();
        for (unsigned int nEntry = 0; nEntry < properties.GetCount(); ++nEntry) {
            PropertyList::Entry const entry = properties.GetEntry(nEntry);
            if (!entry.m_pDescriptor->m_pfnIsAnimated ||
                entry.m_pDescriptor->m_pfnIsAnimated(entry.m_pProperty)) {
                Restore(entry, GetNew(node));
            }
        }
        if (node.IsKindOf(Timeline::ClassID)) {
            RestoreHeld(static_cast<Timeline&>(node).GetCamera());
        } else if (node.IsKindOf(Text::ClassID)) {
            RestoreHeld(static_cast<Text&>(node).GetBackground());
        }
        for (Node* const pChild : node.GetChildren()) {
            Restore(*pChild);
        }
    }

private:
    void RestoreHeld(Node* pHeld) {
        if (pHeld && !pHeld->GetParent()) {
            Restore(*pHeld);
        }
    }

    static void Restore(PropertyList::Entry const& entry, Node* pNew) {
        PropertyList::Found const found =
            pNew ? pNew->GetProperties().Find(entry.m_pDescriptor->m_nID) : PropertyList::Found();
        if (!found) {
            return;
        }
        DispatchType(entry.m_pDescriptor->m_type, [&](auto tag) {
            typedef BaseProperty<typename decltype(tag)::Type> Typed;
            if (Typed::IsAnimated(entry.m_pProperty)) {
                static_cast<Typed*>(entry.m_pProperty)->Assign(*static_cast<Typed*>(found->m_pProperty));
            }
        });
    }

    /** A node of the same class as it is when it is new; null when that cannot be had. */
    Node* GetNew(Node& node) {
        unsigned int const nClassID = node.GetFactoryClassID();
        Ref<Node>& pNew = m_new[nClassID];
        if (!pNew && nClassID == TransformNode::ClassID) {
            pNew = Ref<Node>(new TransformNode); // the host's own: no back end registers it
        } else if (!pNew) {
            pNew = Ref(static_cast<Node*>(m_registry.Create(nClassID, ObjectKind::Node)));
        }
        return pNew.Get();
    }

    ClassRegistry const& m_registry;
    std::map<unsigned int, Ref<Node>> m_new; ///< by class, made when first needed
};

} // namespace

void RestoreInitialValues(Node& root, ClassRegistry const& registry) {
    Restorer(registry).Restore(root);
}

} // namespace trevik::kelvo::assets
