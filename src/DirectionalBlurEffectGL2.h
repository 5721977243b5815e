#pragma once

#include "Export.h"
#include "trevik/Ref.h"
#include "trevik/kelvo/DirectionalBlurEffect.h"
#include "trevik/kelvo/EffectResource.h"

namespace trevik::kelvo {

/** What all DirectionalBlurEffectGL2 objects of a device share. */
class KELVO_EXPORT DirectionalBlurResourceGL2 : public EffectResource {
public:
    /**
     * False, traced: this version has no programs for the effect, so it stays uninitialised and draws
     * nothing.
     */
    bool Init(GraphicsDevice& device) override;
};

/** Draws a textured sprite smeared along a direction. */
class KELVO_EXPORT DirectionalBlurEffectGL2 : public DirectionalBlurEffect {
public:
    TREVIK_EFFECT_REFLECTION(DirectionalBlurEffectGL2, DirectionalBlurEffect, "DirectionalBlurResource")

    DirectionalBlurEffectGL2();
    DirectionalBlurEffectGL2(DirectionalBlurEffectGL2 const& other);
    ~DirectionalBlurEffectGL2() override;

    bool InternalInit(EffectResource* pResource) override;

private:
    Ref<DirectionalBlurResourceGL2> m_pResource;
};

} // namespace trevik::kelvo
