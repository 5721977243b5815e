#include "kelvo_effects/GroupOpacityEffect.h"

#include "GroupTargets.h"

namespace trevik::kelvo::effects {

GroupOpacityEffect::GroupOpacityEffect() : m_opacity(RealFloat(1)) {}

// A copy fetches the shared targets itself, at its first use.
GroupOpacityEffect::GroupOpacityEffect(GroupOpacityEffect const& other)
    : Effect(other), m_opacity(other.m_opacity) {}

GroupOpacityEffect::~GroupOpacityEffect() = default;

void GroupOpacityEffect::RegisterProperties() {
    Effect::RegisterProperties();
    m_properties.Register(u"Opacity", &m_opacity);
}

bool GroupOpacityEffect::InternalInit(EffectResource* pResource) {
    m_pTargets = Ref(static_cast<GroupTargets*>(pResource));
    return m_pTargets->Reserve();
}

void GroupOpacityEffect::PreRender(GraphicsDevice& device) {
    if (m_opacity.GetValue() < 1 && Prepare(device) &&
        m_pTargets->Begin(static_cast<GraphicsDeviceGL2&>(device))) {
        ++m_nOpen;
    }
}

void GroupOpacityEffect::PostRender(GraphicsDevice& device) {
    if (m_nOpen != 0) {
        --m_nOpen;
        m_pTargets->End(static_cast<GraphicsDeviceGL2&>(device), m_opacity.GetValue());
    }
}

} // namespace trevik::kelvo::effects
