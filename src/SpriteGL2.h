#pragma once

#include "Export.h"
#include "trevik/List.h"
#include "trevik/Matrix.h"
#include "trevik/Ref.h"
#include "trevik/kelvo/Sprite.h"

namespace trevik::kelvo {

class GraphicsDeviceGL2;
class ShaderProgramGL2;
class TextureGL2;

/**
 * A sprite drawn as one strip of four vertices, straight from client memory, with its corners in the order
 * (0, 0), (0, h), (w, 0), (w, h). Geometry is built by Load; a later change of the size property does not
 * move the corners.
 */
class KELVO_EXPORT SpriteGL2 : public Sprite {
public:
    TREVIK_NODE_REFLECTION(SpriteGL2, Sprite, "Sprite", VisitDrawable)

    SpriteGL2();
    /** Copies the host sprite and both vertex streams; without memory its property list is not whole. */
    SpriteGL2(SpriteGL2 const& other);
    ~SpriteGL2() override;

    /**
     * Loads the host sprite, then builds corners from its size and texture coordinates with a tiny inset.
     * False, with the geometry unchanged, when the host sprite cannot be loaded or there is no memory.
     */
    bool Load(Deserializer& deserializer) override;
    /**
     * Draws the sprite: masks, then the first effect that takes it, or, in the normal blend mode, itself.
     * Calls what GraphicsDeviceGL2::PushMasks, InternalRenderNonBlended and GraphicsDeviceGL2::PopMasks call;
     * an effect makes its own calls in place of the second's. Render thread.
     */
    void InternalRender(GraphicsDevice& device) override;
    /** Also narrows the texture coordinates to the texture's used area, once there are four (after Load). */
    void SetTexture(Texture* pTexture) override;

    /**
     * Draws the strip, then, with the antialias property, the outline. Calls glVertexAttribPointer (0 and,
     * with a texture, 1), what GraphicsDeviceGL2::SetActiveShader, ShaderProgramGL2::SetSampler and
     * ShaderProgramGL2::SetParameter call, without a texture glDisable(GL_TEXTURE_2D), then
     * glBlendFuncSeparate, glBlendEquationSeparate and glDrawArrays; for the outline these calls with another
     * program and, in place of the blending, glVertexAttribPointer (4 to 7) and glLineWidth. Render thread.
     * Nothing is drawn before Load, and nothing when the device has no program for it.
     */
    virtual void InternalRenderNonBlended(GraphicsDeviceGL2& device);

    /** Corner positions in node space; four after Load. */
    List<Vector3T<RealFloat>>& GetVertices() { return m_vertices; }
    /**
     * Writes the four texture coordinates to draw with, rows swapped for promoted textures, into `pOut`;
     * nothing before there are four (after Load).
     */
    void GetTextureCoords(Vector2T<RealFloat>* pOut);

    /** Makes the coverage ramp that all sprites' antialiased edges sample; true when it exists. */
    static bool CreateAntialiasFilter();
    /** Drops the coverage ramp. Programs that have sampled it hold it still. Render thread. */
    static void ReleaseAntialiasFilter();

    /**
     * Edge functions of the segment p0-p1 (clip space): four linear functions (x, y, constant) over window
     * pixels. The first and the third are 1 on the segment's line and grow to either side of it, so that the
     * lesser of them falls to 0 at `halfWidth` from a line along an axis; the second and the fourth are 1 at
     * p1 and p0, each moved out by twice `halfWidth`, and grow inwards. They are written to `pEquations`,
     * four from `nFirst` on, and again `nCopyDistance` further on; p0 and p1 come back divided by their w, as
     * device coordinates. With the differences dx and dy of the moved ends, the functions rise by sqrt((dx² +
     * dy²) / |dx² - dy²|) / `halfWidth` a pixel: the method of prefiltered lines, but for the difference of
     * squares, which is intended (edge-differences).
     */
    static void CalculateLineEq(Matrix4T<RealFloat> const& toWindow, Matrix4T<RealFloat> const& fromWindow,
                                Vector4T<RealFloat>& p0, Vector4T<RealFloat>& p1, RealFloat const& halfWidth,
                                Vector3T<RealFloat>* pEquations, unsigned int nFirst,
                                unsigned int nCopyDistance);

protected:
    /** The texture as this back end's own; null for none. */
    TextureGL2* GetTextureGL2() const;
    // Inline where SpriteParameters.h is included.
    /** Binds the texture's samplers to the active program. */
    static inline void SetTextureSamplers(ShaderProgramGL2& program, TextureGL2* pTexture);
    /**
     * Sets vColor: white (textured) or the colour property with the opacity as alpha, or the highlight
     * colour.
     */
    inline void SetColorParameter(GraphicsDeviceGL2& device, ShaderProgramGL2& program, bool fTextured);
    /** Sets mWorldToView to model-view × projection. */
    static inline void SetTransformParameter(GraphicsDeviceGL2& device, ShaderProgramGL2& program);

    List<Vector3T<RealFloat>> m_vertices;      ///< the corners, node space
    List<Vector2T<RealFloat>> m_textureCoords; ///< of the corners

private:
    struct CoordsStorage;

    static void SetAlphaSampler(ShaderProgramGL2& program, TextureGL2& texture);

    inline Vector2T<RealFloat> const* FindTextureCoords(CoordsStorage& storage);
    Vector2T<RealFloat> const* CopyTextureCoords(CoordsStorage& storage);
    inline void Draw(GraphicsDeviceGL2& device);
    void DrawProfiled(GraphicsDeviceGL2& device);
    bool DrawWithEffects(GraphicsDeviceGL2& device);
    void RenderAntialiasedEdges(GraphicsDeviceGL2& device, TextureGL2* pTexture);

    static Ref<Texture> s_antialiasFilter;
};

} // namespace trevik::kelvo
