#include "GroupTargets.h"

#include "GlState.h"
#include "ProgramBuilder.h"
#include "ShaderSources.h"
#include "UniformNames.h"
#include "trevik/Debug.h"

#include <GLES2/gl2.h>

#include <new>

namespace trevik::kelvo::effects {

namespace {

GLint GetInteger(GLenum name) {
    GLint nValue = 0;
    glGetIntegerv(name, &nValue);
    return nValue;
}

/**
 * Clears colour to nothing at all, and depth. The stencil gets the number of masks that are in force outside
 * of the group, so that draws pass everywhere inside: the group's picture as a whole is cut out by them
 * later.
 */
void ClearTarget(GraphicsDeviceGL2& device) {
    GLboolean fMasks = GL_FALSE;
    glGetBooleanv(GL_STENCIL_TEST, &fMasks);
    glClearStencil(fMasks ? GetInteger(GL_STENCIL_REF) : 0);
    GlState::SetClearColor(ColorT<RealFloat>(0, 0, 0, 0));
    glClear(GL_COLOR_BUFFER_BIT | GL_DEPTH_BUFFER_BIT | GL_STENCIL_BUFFER_BIT);
    GlState::SetClearColor(device.GetClearColor());
    GlState::SetClearStencilToZero();
}

} // namespace

GroupTargets::GroupTargets() = default;

GroupTargets::~GroupTargets() = default;

bool GroupTargets::Init(GraphicsDevice&) {
    if (!HasPackedDepthStencil()) {
        Debug::Trace(TraceLevel::Error,
                     u"[kelvo] Group opacity needs GL_OES_packed_depth_stencil, which the driver lacks");
        return false;
    }
    m_program =
        BuildProgram({ShaderSources::TexturedFragment, ShaderSources::QuadVertex, NamePositionAndTexture});
    return static_cast<bool>(m_program);
}

bool GroupTargets::Reserve() {
    GLint viewport[4] = {};
    glGetIntegerv(GL_VIEWPORT, viewport);
    if (m_nOpen == m_levels.GetCount()) {
        Ref<FrameTarget> const pTarget(new (std::nothrow) FrameTarget(FrameTarget::Kind::ColorDepthStencil));
        if (!pTarget || !m_levels.Append(pTarget)) {
            return false;
        }
    }
    FrameTarget& target = *m_levels[m_nOpen];
    // The making of a target leaves none bound.
    target.m_nOuterName = GetInteger(GL_FRAMEBUFFER_BINDING);
    bool const fFits = target.Fit(viewport[2], viewport[3]);
    GlState::BindFramebuffer(static_cast<GLuint>(target.m_nOuterName));
    return fFits;
}

bool GroupTargets::Begin(GraphicsDeviceGL2& device) {
    if (!Reserve()) {
        return false;
    }
    m_levels[m_nOpen]->GetFramebuffer().Bind();
    ++m_nOpen;
    ClearTarget(device);
    return true;
}

void GroupTargets::End(GraphicsDeviceGL2& device, RealFloat opacity) {
    --m_nOpen;
    FrameTarget const& target = *m_levels[m_nOpen];
    // A Gaussian blur inside has gone on to the window, and what followed it is there.
    if (GetInteger(GL_FRAMEBUFFER_BINDING) == target.GetName()) {
        target.GetFramebuffer().Unbind(nullptr);
        GlState::BindFramebuffer(static_cast<GLuint>(target.m_nOuterName));
    }
    if (opacity > 0) {
        Composite(device, target.GetFramebuffer().GetColorTexture(), opacity);
    }
}

/**
 * Plain blending over nothing at all leaves colours that are multiplied with their alpha already, so that
 * they are taken whole.
 */
void GroupTargets::Composite(GraphicsDeviceGL2& device, TextureGL2* pPicture, RealFloat opacity) const {
    bool const fDepthTest = device.IsDepthTestEnabled();
    device.SetDepthTestEnabled(false);
    device.SetActiveShader(m_program.Get());
    m_program->SetSampler(UniformNames::sTexture, pPicture, 0);
    m_program->SetParameter(ShaderType::Fragment, UniformNames::vColor,
                            Vector4T<RealFloat>(opacity, opacity, opacity, opacity));
    GlState::SetBlend(GL_ONE, GL_ONE_MINUS_SRC_ALPHA);
    device.RenderFullscreenQuad();
    device.SetActiveShader(nullptr); // lets go of the picture, which may be drawn into next
    GlState::SetPlainBlend();        // which what sets no blending of its own relies on
    device.SetDepthTestEnabled(fDepthTest);
}

} // namespace trevik::kelvo::effects
