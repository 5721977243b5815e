#include "PolygonalFontGL2.h"

#include "Unavailable.h"

namespace trevik::kelvo {

PolygonalFontGL2::PolygonalFontGL2() = default;

PolygonalFontGL2::~PolygonalFontGL2() = default;

void PolygonalFontGL2::RenderGlyphBatch(GraphicsDevice&, List<GlyphInstance> const&, GlyphBatch const&,
                                        Vector3T<RealFloat> const&, ColorT<RealFloat> const&, bool,
                                        Vector3T<RealFloat> const&, ColorT<RealFloat> const&) const {}

void PolygonalFontGL2::RenderGlyph(GraphicsDevice&, Glyph const*, Vector2T<RealFloat> const&,
                                   ColorT<RealFloat> const*) {
    TraceUnavailable(u"PolygonalFontGL2::RenderGlyph");
}

} // namespace trevik::kelvo
