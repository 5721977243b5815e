#pragma once

#include "Export.h"
#include "trevik/kelvo/BitmapFont.h"

namespace trevik::kelvo {

/** A font whose glyph batches are drawn as textured quads. */
class KELVO_EXPORT BitmapFontGL2 : public BitmapFont {
public:
    BitmapFontGL2();
    ~BitmapFontGL2() override;

    bool Initialize() override;
    void RenderGlyphBatch(GraphicsDevice& device, List<GlyphInstance> const& instances,
                          GlyphBatch const& batch, Vector3T<RealFloat> const& position,
                          ColorT<RealFloat> const& color, bool fShadow,
                          Vector3T<RealFloat> const& shadowOffset,
                          ColorT<RealFloat> const& shadowColor) const override;
};

} // namespace trevik::kelvo
