#pragma once

#include "Export.h"
#include "trevik/Ref.h"
#include "trevik/kelvo/Text.h"

namespace trevik::kelvo {

class TextImageBackground;

/**
 * A text node: draws the sprite behind the text, then sets the transform up around the host's walk over its
 * glyph batches.
 */
class KELVO_EXPORT TextGL2 : public Text {
public:
    TREVIK_NODE_REFLECTION(TextGL2, Text, "Text", VisitDrawable)

    TextGL2();
    /** Copies the host text; what fits the background is made at the copy's own first draw. */
    TextGL2(TextGL2 const& other);
    ~TextGL2() override;

    /**
     * Draws the sprite behind the text, then the text's batches. Calls what SpriteGL2::InternalRender,
     * BitmapFontGL2::RenderGlyphBatch and RenderImageBatch call. Render thread.
     */
    void InternalRender(GraphicsDevice& device) override;
    /**
     * Draws a batch of glyph images as quads of their textures' used area, faded by the alpha of each
     * corner's colour and by that of `color`, under the transform on top of the device's stack. A highlight
     * changes nothing but this last alpha. Calls what GraphicsDeviceGL2::SetActiveShader,
     * ShaderProgramGL2::SetSampler and ShaderProgramGL2::SetParameter call, all with ShaderId::TextImage,
     * glVertexAttribPointer (0, 1, 4), glBlendFuncSeparate, glBlendEquationSeparate and glDrawArrays. Render
     * thread. Draws nothing for a batch beyond the instances, without memory, or while the device is not up.
     */
    void RenderImageBatch(GraphicsDevice& device, List<GlyphInstance> const& instances,
                          GlyphBatch const& batch, ColorT<RealFloat> const& color) override;

private:
    void RenderBackground(GraphicsDevice& device);
    static void FillImages(GlyphInstance const* pInstance, unsigned int nCount);

    /** Null until the first draw with a background, and kept from then on. */
    Ref<TextImageBackground> m_pBackground;

    // Shared by all texts: each image batch fills them and is drawn at once. They only grow.
    static List<Vector3T<RealFloat>> s_vVertices;
    static List<Vector2T<RealFloat>> s_vTextureCoords;
    static List<float> s_vFadeValues;
};

} // namespace trevik::kelvo
