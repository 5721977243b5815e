#include "trevik/kelvo/BlendModeEffect.h"

namespace trevik::kelvo {

BlendModeEffect::BlendModeEffect() = default;

BlendModeEffect::BlendModeEffect(BlendModeEffect const& other) : Effect(other) {}

BlendModeEffect::~BlendModeEffect() = default;

void BlendModeEffect::RegisterProperties() {
    Effect::RegisterProperties();
}

} // namespace trevik::kelvo
