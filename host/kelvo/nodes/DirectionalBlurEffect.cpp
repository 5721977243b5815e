#include "trevik/kelvo/DirectionalBlurEffect.h"

namespace trevik::kelvo {

DirectionalBlurEffect::DirectionalBlurEffect() : m_direction(Vector3T<RealFloat>(1, 0, 0)) {}

DirectionalBlurEffect::DirectionalBlurEffect(DirectionalBlurEffect const& other)
    : Effect(other), m_direction(other.m_direction), m_amount(other.m_amount) {}

DirectionalBlurEffect::~DirectionalBlurEffect() = default;

void DirectionalBlurEffect::RegisterProperties() {
    Effect::RegisterProperties();
    m_properties.Register(u"BlurDirection", &m_direction);
    m_properties.Register(u"BlurAmount", &m_amount);
}

} // namespace trevik::kelvo
