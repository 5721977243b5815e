#pragma once

#include "Export.h"
#include "ShaderProgramGL2.h"
#include "trevik/Ref.h"
#include "trevik/kelvo/DirectionalBlurEffect.h"
#include "trevik/kelvo/EffectResource.h"

namespace trevik::kelvo {

class GraphicsDeviceGL2;
class SpriteGL2;

/** What all DirectionalBlurEffectGL2 objects of a device share. */
class KELVO_EXPORT DirectionalBlurResourceGL2 : public EffectResource {
public:
    /**
     * Builds the program, that of exact effects only where the device has these on; otherwise the first exact
     * draw does. Calls what ShaderProgramGL2::Compile calls. Render thread. False when one does not compile.
     */
    bool Init(GraphicsDevice& device) override;

private:
    friend class DirectionalBlurEffectGL2;

    bool PrepareExact();

    Ref<ShaderProgramGL2> m_program;
    Ref<ShaderProgramGL2> m_exactProgram;
    bool m_fExactAsked = false; ///< the exact program has been built, or could not be
};

/**
 * Draws a textured sprite smeared along a direction, in its place, with 18 taps: nine along the direction, on
 * two rows one texel apart. The reach, |direction| times amount in texels, widens the quad as well. Corners
 * and texture coordinates go to GL as fixed-point numbers, see SetFixedStreams: intended
 * (fixed-point-streams). With GraphicsDeviceGL2::SetExactEffects the sprite stands where it would without the
 * effect, grows by the reach to each side, and is smeared with 33 taps along the direction's line, signs
 * included; outside of it there is nothing, so that its edges fade.
 */
class KELVO_EXPORT DirectionalBlurEffectGL2 : public DirectionalBlurEffect {
public:
    TREVIK_EFFECT_REFLECTION(DirectionalBlurEffectGL2, DirectionalBlurEffect, "DirectionalBlurResource")

    DirectionalBlurEffectGL2();
    DirectionalBlurEffectGL2(DirectionalBlurEffectGL2 const& other);
    ~DirectionalBlurEffectGL2() override;

    /**
     * Draws a textured sprite in its place, with an opacity from 0 to 1. Calls glVertexAttribPointer (0 and
     * 1), what GraphicsDeviceGL2::SetActiveShader, ShaderProgramGL2::SetSampler and
     * ShaderProgramGL2::SetParameter call, glBlendFuncSeparate, glBlendEquationSeparate and glDrawArrays, and
     * the first time what DirectionalBlurResourceGL2::Init calls. Render thread. False for a sprite without a
     * texture, which then draws itself.
     */
    bool OverrideDrawSprite(GraphicsDevice& device, Sprite& sprite, RealFloat opacity) override;
    bool InternalInit(EffectResource* pResource) override;

private:
    void SetParameters(GraphicsDeviceGL2& device, TextureGL2 const& texture, RealFloat opacity) const;
    void DrawExactly(GraphicsDeviceGL2& device, SpriteGL2& sprite, TextureGL2& texture,
                     RealFloat opacity) const;

    Ref<DirectionalBlurResourceGL2> m_pResource;
};

/** Names the program's attributes at their locations. */
KELVO_EXPORT void VertexAttribSetup_DirectionalBlurEffect(ShaderProgramGL2* pProgram);

} // namespace trevik::kelvo
