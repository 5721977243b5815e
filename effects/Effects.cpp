#include "kelvo_effects/Effects.h"

#include "BackdropTargets.h"
#include "GroupTargets.h"
#include "kelvo_effects/BackdropBlurEffect.h"
#include "kelvo_effects/GroupOpacityEffect.h"
#include "trevik/ClassContainer.h"
#include "trevik/ClassRegistry.h"

#include <new>

namespace trevik::kelvo::effects {

namespace {

template <class T>
bool RegisterClass(ClassRegistry& registry, char const* pName) {
    return registry.AddClassContainer(new (std::nothrow) ClassContainerT<T>(HashName(pName)));
}

} // namespace

} // namespace trevik::kelvo::effects

extern "C" bool KelvoRegisterEffects(trevik::ClassRegistry* pRegistry) {
    using namespace trevik::kelvo::effects;
    return RegisterClass<GroupOpacityEffect>(*pRegistry, "GroupOpacityEffect") &&
           RegisterClass<GroupTargets>(*pRegistry, "GroupOpacityResource") &&
           RegisterClass<BackdropBlurEffect>(*pRegistry, "BackdropBlurEffect") &&
           RegisterClass<BackdropTargets>(*pRegistry, "BackdropBlurResource");
}
