#pragma once

#include "trevik/Export.h"
#include "trevik/kelvo/Effect.h"
#include "trevik/kelvo/RealProperty.h"
#include "trevik/kelvo/Vector3Property.h"

namespace trevik::kelvo {

/** Smears a textured sprite along a direction. Reach in texels is |direction| times the amount, per axis. */
class TREVIK_API DirectionalBlurEffect : public Effect {
public:
    TREVIK_CLASS_ID(DirectionalBlurEffect, Effect)

    DirectionalBlurEffect();
    DirectionalBlurEffect(DirectionalBlurEffect const& other);
    ~DirectionalBlurEffect() override;

    /** Enters the effect's properties. */
    void RegisterProperties() override;

    Vector3Property& GetDirectionProperty() { return m_direction; }
    RealProperty& GetAmountProperty() { return m_amount; }

protected:
    Vector3Property m_direction; ///< "BlurDirection", (1, 0, 0); z is not used
    RealProperty m_amount;       ///< "BlurAmount", 0
};

} // namespace trevik::kelvo
