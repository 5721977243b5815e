#pragma once

#include "Export.h"
#include "trevik/kelvo/PolygonalFont.h"

namespace trevik::kelvo {

/** A font whose glyphs are drawn one by one as solid meshes. */
class KELVO_EXPORT PolygonalFontGL2 : public PolygonalFont {
public:
    PolygonalFontGL2();
    ~PolygonalFontGL2() override;

    /** Does nothing: glyphs of this font are drawn one by one. */
    void RenderGlyphBatch(GraphicsDevice& device, List<GlyphInstance> const& instances,
                          GlyphBatch const& batch, Vector3T<RealFloat> const& position,
                          ColorT<RealFloat> const& color, bool fShadow,
                          Vector3T<RealFloat> const& shadowOffset,
                          ColorT<RealFloat> const& shadowColor) const override;
    /**
     * Draws one glyph's mesh in `*pColor`, with the blending that is in force, under the transform on top of
     * the device's stack, which has to lead to clip space: neither `position` nor the projection is applied.
     * Calls what GraphicsDeviceGL2::SetActiveShader and ShaderProgramGL2::SetParameter call, with
     * ShaderId::Solid, glVertexAttribPointer (0) and glDrawElements. Render thread. A mesh index that the
     * font does not have draws nothing, without any call.
     */
    void RenderGlyph(GraphicsDevice& device, Glyph const* pGlyph, Vector2T<RealFloat> const& position,
                     ColorT<RealFloat> const* pColor) override;
};

} // namespace trevik::kelvo
