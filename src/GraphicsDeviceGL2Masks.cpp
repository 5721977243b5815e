#include "GraphicsDeviceGL2.h"

#include "GlState.h"
#include "ShaderCatalogue.h"
#include "UniformNames.h"
#include "trevik/kelvo/Mask.h"

#include <GLES2/gl2.h>

namespace trevik::kelvo {

namespace {

/** Lets draws change stencil values alone, by `change`, and only those that equal the level. */
void DrawStencilOnly(unsigned int nLevel, GLenum change) {
    GlState::DisableFixedFunctionTexture();
    GlState::SetDepthWrite(false);
    GlState::SetColorWrite(false);
    GlState::SetStencilLevel(nLevel, change);
}

} // namespace

bool GraphicsDeviceGL2::PushMasks(List<Mask*>& masks) {
    if (!GraphicsDevice::PushMasks(masks)) {
        return false;
    }
    if (!masks.IsEmpty()) {
        EnterMasks(masks);
    }
    return true;
}

void GraphicsDeviceGL2::EnterMasks(List<Mask*> const& masks) {
    GlState::SetStencilTest(true);
    DrawStencilOnly(m_nMaskLevel, GL_INCR);
    DrawMasks(masks);
    ++m_nMaskLevel;
    GlState::SetColorWrite(true);
    GlState::SetStencilLevel(m_nMaskLevel, GL_KEEP);
    GlState::SetDepthWrite(true);
}

bool GraphicsDeviceGL2::PopMasks(List<Mask*>& masks) {
    if (!GraphicsDevice::PopMasks(masks)) {
        return false;
    }
    if (!masks.IsEmpty()) {
        LeaveMasks(masks);
    }
    return true;
}

void GraphicsDeviceGL2::LeaveMasks(List<Mask*> const& masks) {
    DrawStencilOnly(m_nMaskLevel, GL_DECR);
    DrawMasks(masks);
    --m_nMaskLevel;
    GlState::SetColorWrite(true);
    if (m_nMaskLevel != 0) {
        GlState::SetStencilLevel(m_nMaskLevel, GL_KEEP);
    } else {
        GlState::SetStencilTest(false);
    }
    GlState::SetDepthWrite(true);
}

void GraphicsDeviceGL2::DrawMasks(List<Mask*> const& masks) {
    ShaderProgramGL2* const pProgram = GetShader(ShaderId::Solid);
    SetActiveShader(pProgram);
    if (!pProgram) {
        return;
    }
    pProgram->SetParameter(ShaderType::Fragment, UniformNames::vColor, Vector4T<RealFloat>(1, 1, 1, 1));
    pProgram->SetParameter(ShaderType::Vertex, UniformNames::mWorldToView, m_modelView * ProjectionMatrix());
    for (Mask* const pMask : masks) {
        MaskGeometry const& geometry = pMask->GetGeometry();
        GlState::SetVertexArray(VertexAttributeIndex::Position, geometry.m_pVertices);
        glDrawArrays(GL_TRIANGLES, 0, static_cast<GLsizei>(geometry.m_nVertexCount));
    }
}

} // namespace trevik::kelvo
