#pragma once

#include "trevik/Export.h"
#include "trevik/Ref.h"
#include "trevik/kelvo/Effect.h"
#include "trevik/kelvo/RealProperty.h"

namespace trevik::kelvo::effects {

class GroupTargets;

/**
 * Lets a timeline fade as one picture: what lies below it is drawn into a target of its own, and that over
 * what was drawn before. What is hidden inside stays hidden. At an opacity of 1 or more everything is drawn
 * as without the effect; on a sprite there is none. For devices of this project's back end alone.
 */
class TREVIK_API GroupOpacityEffect : public Effect {
public:
    TREVIK_EFFECT_REFLECTION(GroupOpacityEffect, Effect, "GroupOpacityResource")

    GroupOpacityEffect();
    GroupOpacityEffect(GroupOpacityEffect const& other);
    ~GroupOpacityEffect() override;

    void RegisterProperties() override;

    /** Binds a target of the viewport's size, all clear, for what is drawn next. Render thread. */
    void PreRender(GraphicsDevice& device) override;
    /** Draws what has been drawn since over what was bound before. Render thread. */
    void PostRender(GraphicsDevice& device) override;
    /**
     * False where the driver cannot make the target: what is below the timeline is drawn as without the
     * effect then, and HasFailed is true.
     */
    bool InternalInit(EffectResource* pResource) override;

    RealProperty& GetOpacityProperty() { return m_opacity; }

private:
    RealProperty m_opacity; ///< "Opacity", 1; what is below 0 counts as 0
    Ref<GroupTargets> m_pTargets;
    unsigned int m_nOpen = 0; ///< groups that PreRender has begun and PostRender has not ended
};

} // namespace trevik::kelvo::effects
