#pragma once

#include "Export.h"
#include "ShaderProgramGL2.h"
#include "trevik/Ref.h"
#include "trevik/kelvo/BlendModeEffect.h"
#include "trevik/kelvo/EffectResource.h"

namespace trevik::kelvo {

class GraphicsDeviceGL2;

/** What all BlendModeEffectGL2 objects of a device share. */
class KELVO_EXPORT BlendModeResourceGL2 : public EffectResource {
public:
    /**
     * Builds the programs, those of exact effects only where the device has these on; otherwise the first
     * exact draw does. Calls what ShaderProgramGL2::Compile calls. Render thread. False at the first that
     * does not compile.
     */
    bool Init(GraphicsDevice& device) override;

private:
    friend class BlendModeEffectGL2;

    bool PrepareExact();

    Ref<ShaderProgramGL2> m_colorDodgeProgram;
    Ref<ShaderProgramGL2> m_multiplyProgram;
    Ref<ShaderProgramGL2> m_screenProgram;
    Ref<ShaderProgramGL2> m_exclusionProgram; ///< no blend mode selects it: intended (exclusion-unused)
    Ref<ShaderProgramGL2> m_coveredProgram;   ///< of exact effects: colours times coverage
    Ref<ShaderProgramGL2> m_exactDodgeProgram;
    bool m_fExactAsked = false; ///< the last two have been built, or could not be
};

/**
 * Draws textured sprites, in their place, in any blend mode: a program shapes the source, GL's blend factors
 * do the rest. The model-view matrix alone takes the corners to clip space, without a projection, and they go
 * to GL as fixed-point numbers, see SetFixedStreams: both intended (blend-mode-no-projection,
 * fixed-point-streams). With GraphicsDeviceGL2::SetExactEffects a sprite stands where it would without the
 * effect, and its alpha and its opacity count in every mode.
 */
class KELVO_EXPORT BlendModeEffectGL2 : public BlendModeEffect {
public:
    TREVIK_EFFECT_REFLECTION(BlendModeEffectGL2, BlendModeEffect, "BlendModeResource")

    BlendModeEffectGL2();
    BlendModeEffectGL2(BlendModeEffectGL2 const& other);
    ~BlendModeEffectGL2() override;

    /**
     * Draws a textured sprite in its place, with an opacity from 0 to 1. Calls glVertexAttribPointer (0 and
     * 1), what GraphicsDeviceGL2::SetActiveShader, ShaderProgramGL2::SetSampler and
     * ShaderProgramGL2::SetParameter call, glBlendFuncSeparate, glBlendEquationSeparate and glDrawArrays, and
     * the first time what BlendModeResourceGL2::Init calls. Render thread. False for a sprite without a
     * texture, which then draws itself if its mode is the plain one.
     */
    bool OverrideDrawSprite(GraphicsDevice& device, Sprite& sprite, RealFloat opacity) override;
    bool InternalInit(EffectResource* pResource) override;

private:
    ShaderProgramGL2* ChooseProgram(GraphicsDeviceGL2& device, int nBlendMode) const;
    ShaderProgramGL2* ChooseExactProgram(GraphicsDeviceGL2& device, int nBlendMode) const;

    Ref<BlendModeResourceGL2> m_pResource;
};

// Name a program's attributes at their locations.
KELVO_EXPORT void VertexAttribSetup_BlendMode_ColorDodge(ShaderProgramGL2* pProgram);
KELVO_EXPORT void VertexAttribSetup_BlendMode_Multiply(ShaderProgramGL2* pProgram);
KELVO_EXPORT void VertexAttribSetup_BlendMode_Screen(ShaderProgramGL2* pProgram);
KELVO_EXPORT void VertexAttribSetup_BlendMode_Exclusion(ShaderProgramGL2* pProgram);

} // namespace trevik::kelvo
