#pragma once

#include "Export.h"
#include "TextureGL2.h"
#include "trevik/Ref.h"
#include "trevik/Referenced.h"

namespace trevik::kelvo {

/**
 * An off-screen target: what is drawn while it is bound ends up in its colour texture, which can be sampled
 * afterwards. It may have a depth and stencil buffer, as a renderbuffer or as a second texture. Render
 * thread.
 */
class KELVO_EXPORT FramebufferGL2 : public Referenced {
public:
    /** How a target is made. */
    struct InitParams {
        int width;                       ///< pixels
        int height;                      ///< pixels
        bool depthStencil;               ///< attach a depth and stencil buffer
        bool depthStencilTexture;        ///< as a texture, not a renderbuffer; read only with depthStencil
        TextureFormat::Enum colorFormat; ///< of the colour texture
    };

    /** Makes the colour texture object; no GL objects yet. */
    FramebufferGL2();
    /**
     * Deletes framebuffer and renderbuffer and drops the depth texture. The colour texture keeps this
     * object's reference and stays for ever: intended (color-texture-kept). Calls glBindFramebuffer,
     * glFramebufferTexture2D, glDeleteFramebuffers and glDeleteRenderbuffers, and what
     * TextureGL2::ReleaseGLTexture calls. Render thread.
     */
    ~FramebufferGL2() override;
    FramebufferGL2(FramebufferGL2 const&) = delete;
    FramebufferGL2& operator=(FramebufferGL2 const&) = delete;

    /**
     * Makes the GL objects; the textures start as all zeros. To be called once. Calls glGenRenderbuffers,
     * glBindRenderbuffer and glRenderbufferStorage, glGenFramebuffers, glBindFramebuffer, what
     * TextureGL2::CreateGLTexture calls, glFramebufferTexture2D, glFramebufferRenderbuffer, glGetError and
     * glCheckFramebufferStatus; framebuffer 0 is bound afterwards. Render thread. False, without a message,
     * when a texture cannot be made or the framebuffer is not complete; it may stay bound then, and its
     * objects go with the destructor.
     */
    bool Create(InitParams const& params);
    /**
     * Draws go here from now on, with a viewport of the target's size; the viewport in force is remembered.
     * Clears colour, and depth where there is one, but never stencil, unless SetClearOnBind(false). Calls
     * glBindFramebuffer, glClear, glGetIntegerv and glViewport. Render thread.
     */
    void Bind();
    /**
     * Brings the viewport of before Bind back, then binds `pPrevious`, which clears it as any Bind does, or
     * the window's framebuffer for null. Calls glViewport, then what Bind calls, or glBindFramebuffer. Render
     * thread.
     */
    void Unbind(FramebufferGL2* pPrevious);

    /** Whether draws go here: from Bind to Unbind. */
    bool IsBound() const { return m_fBound; }
    /** Whether Bind clears; true at first. */
    void SetClearOnBind(bool fClear) { m_fClearOnBind = fClear; }
    /** What draws end up in; borrowed, there from the start. */
    TextureGL2* GetColorTexture() const { return m_pColorTexture.Get(); }
    /** Null without a depth and stencil texture. */
    TextureGL2* GetDepthTexture() const { return m_pDepthTexture.Get(); }
    /** Pixels; 0 before Create. */
    int GetWidth() const { return m_nWidth; }
    /** Pixels; 0 before Create. */
    int GetHeight() const { return m_nHeight; }

private:
    bool CreateDepthStencil(bool fTexture);
    bool PrepareTexture(TextureGL2& texture, TextureFormat::Enum format) const;
    void AttachDepthStencil() const;

    Ref<TextureGL2> m_pColorTexture;
    Ref<TextureGL2> m_pDepthTexture;
    GLuint m_nDepthRenderbuffer = 0;
    GLuint m_nFramebuffer = 0;
    int m_nWidth = 0;
    int m_nHeight = 0;
    GLint m_savedViewport[4] = {}; ///< x, y, width, height in force at Bind
    bool m_fBound = false;
    bool m_fClearOnBind = true;
};

} // namespace trevik::kelvo
