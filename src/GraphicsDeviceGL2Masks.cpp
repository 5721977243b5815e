#include "GraphicsDeviceGL2.h"

#include "ShaderCatalogue.h"
#include "UniformNames.h"
#include "trevik/kelvo/Mask.h"

#include <GLES2/gl2.h>

namespace trevik::kelvo {

namespace {

constexpr GLuint AllBits = 0xFFFFFFFF;

/** Not of OpenGL ES 2: to disable it leaves GL_INVALID_ENUM behind. Intended (masks-untextured-error). */
constexpr GLenum FixedFunctionTexture = GL_TEXTURE_2D;

void SetColorMask(GLboolean fWrite) {
    glColorMask(fWrite, fWrite, fWrite, fWrite);
}

/** Lets draws change nothing but the stencil value, by `change`, where it is the level. */
void DrawStencilOnly(unsigned int nLevel, GLenum change) {
    glDisable(FixedFunctionTexture);
    glDepthMask(GL_FALSE);
    SetColorMask(GL_FALSE);
    glStencilFunc(GL_EQUAL, static_cast<GLint>(nLevel), AllBits);
    glStencilOp(GL_KEEP, change, change);
}

/** Lets draws pass where the stencil value is the level, and leaves the values alone. */
void DrawInsideLevel(unsigned int nLevel) {
    glStencilFunc(GL_EQUAL, static_cast<GLint>(nLevel), AllBits);
    glStencilOp(GL_KEEP, GL_KEEP, GL_KEEP);
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
    glEnable(GL_STENCIL_TEST);
    DrawStencilOnly(m_nMaskLevel, GL_INCR);
    DrawMasks(masks);
    ++m_nMaskLevel;
    SetColorMask(GL_TRUE);
    DrawInsideLevel(m_nMaskLevel);
    glDepthMask(GL_TRUE);
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
    SetColorMask(GL_TRUE);
    if (m_nMaskLevel != 0) {
        DrawInsideLevel(m_nMaskLevel);
    } else {
        glDisable(GL_STENCIL_TEST);
    }
    glDepthMask(GL_TRUE);
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
        glVertexAttribPointer(VertexAttributeIndex::Position, 3, GL_FLOAT, GL_FALSE, 0, geometry.m_pVertices);
        glDrawArrays(GL_TRIANGLES, 0, static_cast<GLsizei>(geometry.m_nVertexCount));
    }
}

} // namespace trevik::kelvo
