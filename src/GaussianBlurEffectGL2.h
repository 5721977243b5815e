#pragma once

#include "Export.h"
#include "trevik/Ref.h"
#include "trevik/kelvo/EffectResource.h"
#include "trevik/kelvo/GaussianBlurEffect.h"

namespace trevik::kelvo {

/** What all GaussianBlurEffectGL2 objects of a device share. */
class KELVO_EXPORT GaussianBlurResourceGL2 : public EffectResource {
public:
    /**
     * False, traced: this version has no programs for the effect, so it stays uninitialised and draws
     * nothing.
     */
    bool Init(GraphicsDevice& device) override;
};

/** Blurs what its node's subtree draws. */
class KELVO_EXPORT GaussianBlurEffectGL2 : public GaussianBlurEffect {
public:
    TREVIK_EFFECT_REFLECTION(GaussianBlurEffectGL2, GaussianBlurEffect, "GaussianBlurResource")

    GaussianBlurEffectGL2();
    GaussianBlurEffectGL2(GaussianBlurEffectGL2 const& other);
    ~GaussianBlurEffectGL2() override;

    bool InternalInit(EffectResource* pResource) override;

private:
    Ref<GaussianBlurResourceGL2> m_pResource;
};

} // namespace trevik::kelvo
