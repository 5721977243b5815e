#include "BitmapFontGL2.h"

#include "Unavailable.h"

namespace trevik::kelvo {

BitmapFontGL2::BitmapFontGL2() = default;

BitmapFontGL2::~BitmapFontGL2() = default;

bool BitmapFontGL2::Initialize() {
    return Font::Initialize();
}

void BitmapFontGL2::RenderGlyphBatch(GraphicsDevice&, List<GlyphInstance> const&, GlyphBatch const&,
                                     Vector3T<RealFloat> const&, ColorT<RealFloat> const&, bool,
                                     Vector3T<RealFloat> const&, ColorT<RealFloat> const&) const {
    TraceUnavailable(u"BitmapFontGL2::RenderGlyphBatch");
}

} // namespace trevik::kelvo
