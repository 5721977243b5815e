#include "kelvo_effects/BackdropBlurEffect.h"

#include "BackdropTargets.h"
#include "SpriteGL2.h"

namespace trevik::kelvo::effects {

BackdropBlurEffect::BackdropBlurEffect() = default;

// A copy fetches the shared targets itself, at its first use.
BackdropBlurEffect::BackdropBlurEffect(BackdropBlurEffect const& other)
    : Effect(other), m_radius(other.m_radius) {}

BackdropBlurEffect::~BackdropBlurEffect() = default;

void BackdropBlurEffect::RegisterProperties() {
    Effect::RegisterProperties();
    m_properties.Register(u"Radius", &m_radius);
}

bool BackdropBlurEffect::InternalInit(EffectResource* pResource) {
    m_pTargets = Ref(static_cast<BackdropTargets*>(pResource));
    return m_pTargets->Reserve(BlurSteps(m_radius.GetValue()).m_nHalvings);
}

bool BackdropBlurEffect::OverrideDrawSprite(GraphicsDevice& device, Sprite& sprite, RealFloat opacity) {
    auto& spriteGL2 = static_cast<SpriteGL2&>(sprite);
    RealFloat const radius = m_radius.GetValue();
    if (radius > 0 && spriteGL2.GetVertices().GetCount() == 4 && Prepare(device)) {
        m_pTargets->Draw(static_cast<GraphicsDeviceGL2&>(device), spriteGL2.GetVertices().GetData(),
                         BlurSteps(radius), opacity);
    }
    return false;
}

} // namespace trevik::kelvo::effects
