#pragma once

#include "FrameTarget.h"
#include "GraphicsDeviceGL2.h"
#include "ShaderProgramGL2.h"
#include "trevik/Matrix.h"
#include "trevik/Ref.h"
#include "trevik/Vector.h"
#include "trevik/kelvo/EffectResource.h"

#include <GLES2/gl2.h>

namespace trevik::kelvo::effects {

/** A rectangle of pixels: what lies from the first ones up to, not including, the last ones; y up. */
struct PixelArea {
    int left, bottom, right, top;
};

/**
 * How a blur of some radius is put together: the picture is halved some times, then each pixel of what is
 * left gets a weighted mean of its neighbours, across and up, and that is drawn at full size. What halving
 * and enlarging blur by themselves is taken into account.
 */
struct BlurSteps {
    enum : int {
        MostHalvings = 6,
        Neighbours = 7 ///< to each side
    };

    explicit BlurSteps(RealFloat radius);

    int m_nHalvings = 1;                 ///< 1 to MostHalvings
    RealFloat m_weights[Neighbours + 1]; ///< of a pixel and of its neighbours; with both sides their sum is 1
    RealFloat m_share = RealFloat(1);    ///< of the blurred picture, where even one halving blurs more
};

/** A texture that parts of the target in use are copied into. Let go of as a FrameTarget is. */
class CopyTexture {
public:
    CopyTexture() = default;
    ~CopyTexture() { Release(); }
    CopyTexture(CopyTexture const&) = delete;
    CopyTexture& operator=(CopyTexture const&) = delete;

    /** Makes the texture, GL_RGB or GL_RGBA, unless it has the size; false when the driver cannot make it. */
    bool Fit(GLenum format, int nWidth, int nHeight);
    /** Copies an area of the target in use, from (nX, nY) on. */
    void Copy(PixelArea const& area, int nX, int nY) const;
    GLuint GetName() const { return m_nName; }

private:
    void Release();

    GLuint m_nName = 0;
    int m_nWidth = 0; ///< asked for last, whether it could be had or not
    int m_nHeight = 0;
    unsigned int m_nContext = 0;
};

/**
 * What all backdrop blurs of a device share: programs, copies of what is behind, and targets for the blur's
 * passes, each half as wide and high as the one before. All are as large as the viewport asks for. Render
 * thread.
 */
class BackdropTargets : public EffectResource {
public:
    BackdropTargets();
    ~BackdropTargets() override;

    /** False when a program does not compile. */
    bool Init(GraphicsDevice& device) override;
    /** Makes what a blur with so many halvings takes; false, traced, when it cannot be had. */
    bool Reserve(int nHalvings);
    /**
     * Draws what is in the target in use, blurred, over the four corners of a sprite, in the space of the
     * model-view matrix. Nothing where Reserve is false.
     */
    void Draw(GraphicsDeviceGL2& device, Vector3T<RealFloat> const* pCorners, BlurSteps const& steps,
              RealFloat opacity);

private:
    bool MakeTargets(int nHalvings);
    void Blur(GraphicsDeviceGL2& device, PixelArea const& area, BlurSteps const& steps);
    void BlurAlong(GraphicsDeviceGL2& device, FrameTarget const& from, FrameTarget const& to,
                   PixelArea const& area, RealFloat stepX, RealFloat stepY);
    void DrawOver(GraphicsDeviceGL2& device, Vector3T<RealFloat> const* pCorners,
                  Matrix4T<RealFloat> const& toClip, BlurSteps const& steps, RealFloat opacity) const;

    Ref<ShaderProgramGL2> m_halveProgram;
    Ref<ShaderProgramGL2> m_blurProgram;
    Ref<ShaderProgramGL2> m_drawProgram;
    CopyTexture m_copies[2]; ///< of targets without and with alpha
    FrameTarget m_halves[BlurSteps::MostHalvings];
    FrameTarget m_blurred[BlurSteps::MostHalvings]; ///< across, of the same sizes
    // Of the target in use, as of the last Reserve.
    GLint m_viewport[4] = {};
    GLint m_nOuterName = 0;
    bool m_fAlpha = false;
};

} // namespace trevik::kelvo::effects
