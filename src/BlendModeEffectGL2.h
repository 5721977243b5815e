#pragma once

#include "Export.h"
#include "trevik/Ref.h"
#include "trevik/kelvo/BlendModeEffect.h"
#include "trevik/kelvo/EffectResource.h"

namespace trevik::kelvo {

/** What all BlendModeEffectGL2 objects of a device share. */
class KELVO_EXPORT BlendModeResourceGL2 : public EffectResource {
public:
    /**
     * False, traced: this version has no programs for the effect, so it stays uninitialised and draws
     * nothing.
     */
    bool Init(GraphicsDevice& device) override;
};

/** Draws sprites in blend modes other than the plain one. */
class KELVO_EXPORT BlendModeEffectGL2 : public BlendModeEffect {
public:
    TREVIK_EFFECT_REFLECTION(BlendModeEffectGL2, BlendModeEffect, "BlendModeResource")

    BlendModeEffectGL2();
    BlendModeEffectGL2(BlendModeEffectGL2 const& other);
    ~BlendModeEffectGL2() override;

    bool InternalInit(EffectResource* pResource) override;

private:
    Ref<BlendModeResourceGL2> m_pResource;
};

} // namespace trevik::kelvo
