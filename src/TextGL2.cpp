#include "TextGL2.h"

#include "Unavailable.h"
#include "trevik/ScopeCounter.h"
#include "trevik/kelvo/GraphicsDevice.h"

namespace trevik::kelvo {

TextGL2::TextGL2() = default;

TextGL2::TextGL2(TextGL2 const& other) = default;

TextGL2::~TextGL2() = default;

void TextGL2::InternalRender(GraphicsDevice& device) {
    ScopeCounter const counter(ScopeCounter::TextRender, true);
    device.SetCameraDepth(m_depth.GetValue());
    Matrix4T<RealFloat> modelView;
    Matrix4Multiply(m_worldMatrix, device.GetViewMatrix(), modelView);
    device.PushTransformMatrix(modelView);
    Text::InternalRender(device);
    device.PopTransformMatrix();
}

void TextGL2::RenderImageBatch(GraphicsDevice&, List<GlyphInstance> const&, GlyphBatch const&,
                               ColorT<RealFloat> const&) {
    TraceUnavailable(u"TextGL2::RenderImageBatch");
}

} // namespace trevik::kelvo
