#pragma once

#include "Export.h"
#include "trevik/kelvo/Text.h"

namespace trevik::kelvo {

/** A text node: sets the transform up around the host's walk over its glyph batches. */
class KELVO_EXPORT TextGL2 : public Text {
public:
    TREVIK_NODE_REFLECTION(TextGL2, Text, "Text", VisitDrawable)

    TextGL2();
    TextGL2(TextGL2 const& other);
    ~TextGL2() override;

    void InternalRender(GraphicsDevice& device) override;
    void RenderImageBatch(GraphicsDevice& device, List<GlyphInstance> const& instances,
                          GlyphBatch const& batch, ColorT<RealFloat> const& color) override;
};

} // namespace trevik::kelvo
