#pragma once

#include "Export.h"
#include "trevik/kelvo/BitmapFont.h"

namespace trevik::kelvo {

class GraphicsDeviceGL2;

/** A font whose glyph batches are drawn as textured quads, one batch at a time, straight from client memory.
 */
class KELVO_EXPORT BitmapFontGL2 : public BitmapFont {
public:
    BitmapFontGL2();
    ~BitmapFontGL2() override;

    bool Initialize() override;
    /**
     * Draws a batch, then, in an underlined font, its underlines, under the transform on top of the device's
     * stack. As a shadow, everything is moved by `shadowOffset` (font pixels) and takes the shadow colour
     * with its alpha multiplied in. `position` is not used; of `color` only the alpha is. Calls what
     * GraphicsDeviceGL2::SetActiveShader, ShaderProgramGL2::SetSampler and ShaderProgramGL2::SetParameter
     * call, all with ShaderId::Text, glVertexAttribPointer (0, 1, 4), glBlendFuncSeparate,
     * glBlendEquationSeparate and glDrawArrays, and for underlines the same with ShaderId::TextUnderline,
     * without texture and blending. Render thread. Draws nothing for a batch beyond the instances, without
     * memory, or while the device is not up.
     */
    void RenderGlyphBatch(GraphicsDevice& device, List<GlyphInstance> const& instances,
                          GlyphBatch const& batch, Vector3T<RealFloat> const& position,
                          ColorT<RealFloat> const& color, bool fShadow,
                          Vector3T<RealFloat> const& shadowOffset,
                          ColorT<RealFloat> const& shadowColor) const override;

private:
    template <class Tint, class Move>
    static void FillGlyphs(GlyphInstance const* pInstance, unsigned int nCount, Tint tint, Move move);
    template <class Tint, class Move>
    void FillUnderlines(GlyphInstance const* pInstance, unsigned int nCount, Tint tint, Move move) const;
    static void DrawGlyphs(GraphicsDeviceGL2& device, Texture* pTexture, RealFloat rFade,
                           unsigned int nVertices);
    static void DrawUnderlines(GraphicsDeviceGL2& device, RealFloat rFade, unsigned int nVertices);

    // Shared by all bitmap fonts: each batch fills them and is drawn at once. They only grow.
    static List<Vector3T<RealFloat>> s_vVertices;
    static List<Vector2T<RealFloat>> s_vTextureCoords;
    static List<ColorT<RealFloat>> s_vColorValues;
};

} // namespace trevik::kelvo
