#pragma once

#include "trevik/Export.h"
#include "trevik/Ref.h"
#include "trevik/kelvo/Effect.h"
#include "trevik/kelvo/RealProperty.h"

namespace trevik::kelvo::effects {

class BackdropTargets;

/**
 * Frosted glass: below its sprite, within the sprite's rectangle and masks, what has been drawn so far is
 * seen blurred; then the sprite is drawn over that, as ever, or by the next of its effects. The sprite's
 * opacity counts for both. On a timeline there is no effect: it has no shape. For devices of this project's
 * back end alone.
 */
class TREVIK_API BackdropBlurEffect : public Effect {
public:
    TREVIK_EFFECT_REFLECTION(BackdropBlurEffect, Effect, "BackdropBlurResource")

    BackdropBlurEffect();
    BackdropBlurEffect(BackdropBlurEffect const& other);
    ~BackdropBlurEffect() override;

    void RegisterProperties() override;

    /** Draws what is behind the sprite, blurred. Render thread. Always false: the sprite draws itself. */
    bool OverrideDrawSprite(GraphicsDevice& device, Sprite& sprite, RealFloat opacity) override;
    /** False where the driver cannot make what the blur takes; HasFailed is true then. */
    bool InternalInit(EffectResource* pResource) override;

    RealProperty& GetRadiusProperty() { return m_radius; }

private:
    RealProperty m_radius; ///< "Radius", how far an edge is blurred to each side: pixels, two sigmas; 0
    Ref<BackdropTargets> m_pTargets;
};

} // namespace trevik::kelvo::effects
