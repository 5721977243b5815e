#include "GraphicsDeviceGL2.h"

#include "Unavailable.h"

#include <GLES2/gl2.h>

namespace trevik::kelvo {

void GraphicsDeviceGL2::Clear() {
    SetAlphaTestEnabled(false);
    glClear(GL_COLOR_BUFFER_BIT | GL_DEPTH_BUFFER_BIT | GL_STENCIL_BUFFER_BIT);
    GraphicsDevice::Clear();
    SetActiveShader(nullptr);
}

void GraphicsDeviceGL2::SetClearColor(ColorT<RealFloat> const& color) {
    glClearColor(color.r, color.g, color.b, color.a);
    GraphicsDevice::SetClearColor(color);
}

void GraphicsDeviceGL2::RenderFullscreenQuad() {
    static constexpr GLfloat Positions[] = {-1, -1, 0, -1, 1, 0, 1, -1, 0, 1, 1, 0};
    static constexpr GLfloat TextureCoords[] = {0, 0, 0, 1, 1, 0, 1, 1};
    glVertexAttribPointer(VertexAttributeIndex::Position, 3, GL_FLOAT, GL_FALSE, 0, Positions);
    glVertexAttribPointer(VertexAttributeIndex::Texture, 2, GL_FLOAT, GL_FALSE, 0, TextureCoords);
    glDrawArrays(GL_TRIANGLE_STRIP, 0, 4);
}

bool GraphicsDeviceGL2::InitializeTargetBuffers() {
    TraceUnavailable(u"GraphicsDeviceGL2::InitializeTargetBuffers");
    return false;
}

FramebufferGL2* GraphicsDeviceGL2::GetFrontTargetBuffer() {
    return nullptr;
}

FramebufferGL2* GraphicsDeviceGL2::GetBackTargetBuffer() {
    return m_pTargetBuffers[m_nCurrentTarget == 1 ? 0 : 1];
}

void GraphicsDeviceGL2::SwapTargetBuffers(bool) {
    TraceUnavailable(u"GraphicsDeviceGL2::SwapTargetBuffers");
}

void GraphicsDeviceGL2::RenderForPostProcess() {
    TraceUnavailable(u"GraphicsDeviceGL2::RenderForPostProcess");
}

bool GraphicsDeviceGL2::ReadPixels(RectangleT<int> const&, Texture**) {
    TraceUnavailable(u"GraphicsDeviceGL2::ReadPixels");
    return false;
}

} // namespace trevik::kelvo
