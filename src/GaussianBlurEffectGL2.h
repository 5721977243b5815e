#pragma once

#include "Export.h"
#include "FramebufferGL2.h"
#include "ShaderProgramGL2.h"
#include "trevik/Ref.h"
#include "trevik/kelvo/EffectResource.h"
#include "trevik/kelvo/GaussianBlurEffect.h"

namespace trevik::kelvo {

class GraphicsDeviceGL2;

/** What all GaussianBlurEffectGL2 objects of a device share: two targets of half its viewport's size and two
 * programs. The targets do not follow the viewport. */
class KELVO_EXPORT GaussianBlurResourceGL2 : public EffectResource {
public:
    /**
     * Makes the targets and the programs. Calls what FramebufferGL2::Create and ShaderProgramGL2::Compile
     * call. Render thread. False when a target cannot be made or a program does not compile.
     */
    bool Init(GraphicsDevice& device) override;

private:
    friend class GaussianBlurEffectGL2;

    bool CreateTargets(int nWidth, int nHeight);

    Ref<FramebufferGL2> m_blurTargetA; ///< the vertical pass's
    Ref<FramebufferGL2> m_blurTargetB; ///< the horizontal pass's
    Ref<ShaderProgramGL2> m_blurProgram;
    Ref<ShaderProgramGL2> m_blendProgram;
    float m_texelWidth = 0; ///< of the whole viewport, not of the targets: intended (blur-vertical-first)
    float m_texelHeight = 0;
};

/**
 * Blurs what its node's subtree draws: the subtree goes to a frame target, which two passes of nine taps blur
 * at half its size, first vertically, then horizontally; a third draws the mix of both over the window. Draws
 * everything sharp, as without the effect, while the amount is not above 0, and before the device has frame
 * targets.
 */
class KELVO_EXPORT GaussianBlurEffectGL2 : public GaussianBlurEffect {
public:
    TREVIK_EFFECT_REFLECTION(GaussianBlurEffectGL2, GaussianBlurEffect, "GaussianBlurResource")

    GaussianBlurEffectGL2();
    GaussianBlurEffectGL2(GaussianBlurEffectGL2 const& other);
    ~GaussianBlurEffectGL2() override;

    /**
     * Binds the back target, in which the subtree is then drawn. Calls what
     * GraphicsDeviceGL2::SwapTargetBuffers calls, and the first time what GaussianBlurResourceGL2::Init
     * calls. Render thread.
     */
    void PreRender(GraphicsDevice& device) override;
    /**
     * Blurs what has been drawn and composites it on the window's framebuffer, whatever was drawn to before:
     * intended (blur-to-window). The blending is that of the last draw. Calls what
     * GraphicsDeviceGL2::SwapTargetBuffers, GraphicsDeviceGL2::SetActiveShader, ShaderProgramGL2::SetSampler,
     * ShaderProgramGL2::SetParameter and GraphicsDeviceGL2::RenderFullscreenQuad call. Render thread.
     */
    void PostRender(GraphicsDevice& device) override;
    bool InternalInit(EffectResource* pResource) override;

private:
    bool IsWanted(GraphicsDeviceGL2& device) const;
    void Blur(GraphicsDeviceGL2& device, TextureGL2* pSource, float stepX, float stepY) const;
    void Composite(GraphicsDeviceGL2& device, RealFloat amount) const;

    Ref<GaussianBlurResourceGL2> m_pResource;
};

// Name a program's attributes at their locations.
KELVO_EXPORT void VertexAttribSetup_GaussianBlurEffect_Blur(ShaderProgramGL2* pProgram);
KELVO_EXPORT void VertexAttribSetup_GaussianBlurEffect_Blend(ShaderProgramGL2* pProgram);

} // namespace trevik::kelvo
