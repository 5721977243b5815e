#include "FramebufferGL2.h"

#include "GlState.h"

#include <GLES2/gl2ext.h>

#include <new>

namespace trevik::kelvo {

FramebufferGL2::FramebufferGL2() : m_pColorTexture(new (std::nothrow) TextureGL2) {}

FramebufferGL2::~FramebufferGL2() {
    if (m_nFramebuffer != 0) {
        GlState::BindFramebuffer(m_nFramebuffer);
        glFramebufferTexture2D(GL_FRAMEBUFFER, GL_COLOR_ATTACHMENT0, GL_TEXTURE_2D, 0, 0);
        if (m_pDepthTexture) {
            // The stencil attachment is left as it is: intended (stencil-stays-attached).
            glFramebufferTexture2D(GL_FRAMEBUFFER, GL_DEPTH_ATTACHMENT, GL_TEXTURE_2D, 0, 0);
        }
        GlState::BindFramebuffer(0);
        glDeleteFramebuffers(1, &m_nFramebuffer);
        m_nFramebuffer = 0;
    }
    if (m_nDepthRenderbuffer != 0) {
        glDeleteRenderbuffers(1, &m_nDepthRenderbuffer);
        m_nDepthRenderbuffer = 0;
    }
    m_pDepthTexture.Reset();
    // The colour texture outlives the framebuffer, which keeps its reference to it: intended
    // (color-texture-kept).
    static_cast<void>(m_pColorTexture.Detach());
}

bool FramebufferGL2::Create(InitParams const& params) {
    m_nWidth = params.width;
    m_nHeight = params.height;
    if (params.depthStencil && !CreateDepthStencil(params.depthStencilTexture)) {
        return false;
    }
    glGenFramebuffers(1, &m_nFramebuffer);
    GlState::BindFramebuffer(m_nFramebuffer);
    if (!m_pColorTexture || !PrepareTexture(*m_pColorTexture, params.colorFormat)) {
        return false;
    }
    glFramebufferTexture2D(GL_FRAMEBUFFER, GL_COLOR_ATTACHMENT0, GL_TEXTURE_2D, m_pColorTexture->GetGLName(),
                           0);
    // The error is dropped: the status below tells whether the framebuffer can be drawn to.
    static_cast<void>(glGetError());
    if (params.depthStencil) {
        AttachDepthStencil();
    }
    if (glCheckFramebufferStatus(GL_FRAMEBUFFER) != GL_FRAMEBUFFER_COMPLETE) {
        return false; // still bound: intended (failed-create-bound)
    }
    GlState::BindFramebuffer(0);
    return true;
}

bool FramebufferGL2::CreateDepthStencil(bool fTexture) {
    if (fTexture) {
        m_pDepthTexture = Ref(new (std::nothrow) TextureGL2);
        return m_pDepthTexture && PrepareTexture(*m_pDepthTexture, TextureFormat::Depth24Stencil8);
    }
    glGenRenderbuffers(1, &m_nDepthRenderbuffer);
    GlState::BindRenderbuffer(m_nDepthRenderbuffer);
    glRenderbufferStorage(GL_RENDERBUFFER, GL_DEPTH24_STENCIL8_OES, m_nWidth, m_nHeight);
    GlState::BindRenderbuffer(0);
    return true;
}

/** Gives a texture one level of zeros in the target's size and makes its GL texture. */
bool FramebufferGL2::PrepareTexture(TextureGL2& texture, TextureFormat::Enum format) const {
    texture.SetSize(m_nWidth, m_nHeight);
    List<MipLevel> levels;
    if (!levels.Append(MipLevel{m_nWidth, m_nHeight, 0, 0})) {
        return false;
    }
    texture.GetMipLevels().SetValue(levels);
    texture.SetFormat(format);
    unsigned int const nBytes = Texture::GetImageSize(m_nWidth, m_nHeight, format);
    return texture.GetPixelData().GetBuffer().Allocate(nBytes) && texture.CreateGLTexture();
}

/** One object serves as depth and as stencil attachment. */
void FramebufferGL2::AttachDepthStencil() const {
    constexpr GLenum Attachments[] = {GL_DEPTH_ATTACHMENT, GL_STENCIL_ATTACHMENT};
    for (GLenum const attachment : Attachments) {
        if (m_pDepthTexture) {
            glFramebufferTexture2D(GL_FRAMEBUFFER, attachment, GL_TEXTURE_2D, m_pDepthTexture->GetGLName(),
                                   0);
        } else {
            glFramebufferRenderbuffer(GL_FRAMEBUFFER, attachment, GL_RENDERBUFFER, m_nDepthRenderbuffer);
        }
    }
}

void FramebufferGL2::Bind() {
    GlState::BindFramebuffer(m_nFramebuffer);
    if (m_fClearOnBind) {
        // The stencil stays: intended (stencil-not-cleared).
        bool const fDepth = m_pDepthTexture || m_nDepthRenderbuffer != 0;
        glClear(fDepth ? GL_COLOR_BUFFER_BIT | GL_DEPTH_BUFFER_BIT : GL_COLOR_BUFFER_BIT);
    }
    glGetIntegerv(GL_VIEWPORT, m_savedViewport);
    GlState::SetViewport(0, 0, m_nWidth, m_nHeight);
    m_fBound = true;
}

void FramebufferGL2::Unbind(FramebufferGL2* pPrevious) {
    GlState::SetViewport(m_savedViewport[0], m_savedViewport[1], m_savedViewport[2], m_savedViewport[3]);
    if (pPrevious) {
        pPrevious->Bind(); // and clears it, whatever it holds: intended (bind-clears)
    } else {
        GlState::BindFramebuffer(0);
    }
    m_fBound = false;
}

} // namespace trevik::kelvo
