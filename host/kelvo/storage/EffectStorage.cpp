#include "EffectStorage.h"

#include "NodeStorage.h"
#include "trevik/ClassRegistry.h"
#include "trevik/kelvo/BlendModeEffect.h"
#include "trevik/kelvo/Deserializer.h"
#include "trevik/kelvo/DirectionalBlurEffect.h"
#include "trevik/kelvo/GaussianBlurEffect.h"
#include "trevik/kelvo/Mask.h"
#include "trevik/kelvo/Serializer.h"
#include "trevik/kelvo/TransformNode.h"

#include <new>

namespace trevik::kelvo {

namespace {

/** Factories go by the names of the host's classes; an effect that is none of these goes by its own. */
unsigned int GetFactoryID(Effect const& effect) {
    static constexpr unsigned int s_hostClasses[] = {
        GaussianBlurEffect::ClassID, DirectionalBlurEffect::ClassID, BlendModeEffect::ClassID};
    for (unsigned int nClassID : s_hostClasses) {
        if (effect.IsKindOf(nClassID)) {
            return nClassID;
        }
    }
    return effect.GetClassID();
}

/** Whether the node holds what it has just been given, as it does unless memory was short. */
bool IsHeld(Deserializer& deserializer, Referenced const& given) {
    return given.GetReferenceCount() > 1 || deserializer.Fail(u"memory is short");
}

/** Adds the mask that the current document node describes. */
bool LoadMask(Deserializer& deserializer, TransformNode& node) {
    Ref<Mask> const pMask(new (std::nothrow) Mask);
    if (!pMask || !pMask->Load(deserializer)) {
        return deserializer.Fail(u"a mask without whole triangles");
    }
    node.AddMask(pMask.Get());
    return IsHeld(deserializer, *pMask);
}

/** Adds the effect that the current document node describes. */
bool LoadEffect(Deserializer& deserializer, TransformNode& node) {
    unsigned int const nTypeID = deserializer.GetCurrentNode()->GetTypeID();
    // The id comes from a file: it may create an object that is no effect.
    Ref<Effect> const pEffect(
        static_cast<Effect*>(deserializer.GetRegistry().Create(nTypeID, ObjectKind::Effect)));
    if (!pEffect) {
        return deserializer.Fail(u"no class of effects is registered under the type id %u", nTypeID);
    }
    if (!pEffect->Load(deserializer)) {
        return deserializer.Fail(u"an effect's data does not fit");
    }
    node.AddEffect(pEffect.Get());
    return IsHeld(deserializer, *pEffect);
}

bool LoadEach(Deserializer& deserializer, unsigned int nTagID, TransformNode& node,
              bool (*pfnLoad)(Deserializer&, TransformNode&)) {
    unsigned int const nDepth = deserializer.GetDepth();
    for (unsigned int nChild = 0; nChild < deserializer.GetChildCount(); ++nChild) {
        if (deserializer.GetChildTagID(nChild) != nTagID) {
            continue;
        }
        bool const fLoaded = deserializer.PushChild(nChild) && pfnLoad(deserializer, node);
        deserializer.PopTo(nDepth);
        if (!fLoaded) {
            return false;
        }
    }
    return true;
}

} // namespace

bool SaveMasks(Serializer& serializer, List<Mask*> const& masks) {
    for (Mask const* pMask : masks) {
        if (!serializer.PushTag(NodeID::Mask, NodeID::Mask) || !pMask->Save(serializer)) {
            return false;
        }
        serializer.PopTag();
    }
    return true;
}

bool LoadMasks(Deserializer& deserializer, TransformNode& node) {
    return LoadEach(deserializer, NodeID::Mask, node, &LoadMask);
}

bool SaveEffects(Serializer& serializer, List<Effect*> const& effects) {
    for (Effect* pEffect : effects) {
        if (!serializer.PushTag(NodeID::Effect, GetFactoryID(*pEffect)) || !pEffect->Save(serializer)) {
            return false;
        }
        serializer.PopTag();
    }
    return true;
}

bool LoadEffects(Deserializer& deserializer, TransformNode& node) {
    return LoadEach(deserializer, NodeID::Effect, node, &LoadEffect);
}

} // namespace trevik::kelvo
