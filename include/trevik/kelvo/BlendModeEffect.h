#pragma once

#include "trevik/Export.h"
#include "trevik/kelvo/Effect.h"

namespace trevik::kelvo {

/** Draws sprites whose blend mode is not the plain one (see BlendMode). */
class TREVIK_API BlendModeEffect : public Effect {
public:
    TREVIK_CLASS_ID(BlendModeEffect, Effect)

    BlendModeEffect();
    BlendModeEffect(BlendModeEffect const& other);
    ~BlendModeEffect() override;

    /** Enters "BlendMode" and the properties of the base. */
    void RegisterProperties() override;
};

} // namespace trevik::kelvo
