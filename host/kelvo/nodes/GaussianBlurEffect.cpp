#include "trevik/kelvo/GaussianBlurEffect.h"

namespace trevik::kelvo {

GaussianBlurEffect::GaussianBlurEffect() = default;

GaussianBlurEffect::GaussianBlurEffect(GaussianBlurEffect const& other)
    : Effect(other), m_amount(other.m_amount) {}

GaussianBlurEffect::~GaussianBlurEffect() = default;

void GaussianBlurEffect::RegisterProperties() {
    Effect::RegisterProperties();
    m_properties.Register(u"BlurAmount", &m_amount);
}

} // namespace trevik::kelvo
