#pragma once

#include "trevik/Export.h"
#include "trevik/kelvo/Effect.h"
#include "trevik/kelvo/RealProperty.h"

namespace trevik::kelvo {

/** Blurs what the node's subtree draws by an animated amount: 0 or less none, 1 full, above 1 wider still. */
class TREVIK_API GaussianBlurEffect : public Effect {
public:
    TREVIK_CLASS_ID(GaussianBlurEffect, Effect)

    GaussianBlurEffect();
    GaussianBlurEffect(GaussianBlurEffect const& other);
    ~GaussianBlurEffect() override;

    /** Enters the effect's properties. */
    void RegisterProperties() override;

    RealProperty& GetAmountProperty() { return m_amount; }

protected:
    RealProperty m_amount; ///< "BlurAmount", 0
};

} // namespace trevik::kelvo
