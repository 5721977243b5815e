#pragma once

#include "Export.h"
#include "TextureGL2.h"
#include "trevik/Ref.h"
#include "trevik/Referenced.h"

namespace trevik::kelvo {

/** An off-screen target that can be sampled afterwards. Render thread. */
class KELVO_EXPORT FramebufferGL2 : public Referenced {
public:
    struct InitParams {
        int width;
        int height;
        bool depthStencil;        ///< attach a depth and stencil buffer
        bool depthStencilTexture; ///< as a texture, not a renderbuffer; read only with depthStencil
        TextureFormat::Enum colorFormat;
    };

    FramebufferGL2();
    ~FramebufferGL2() override;

    /** False, traced: this version has no off-screen targets. */
    bool Create(InitParams const& params);
    /** Nothing without a created framebuffer. */
    void Bind();
    void Unbind(FramebufferGL2* pPrevious);

    bool IsBound() const { return m_fBound; }
    void SetClearOnBind(bool fClear) { m_fClearOnBind = fClear; }
    TextureGL2* GetColorTexture() const { return m_pColorTexture.Get(); }
    TextureGL2* GetDepthTexture() const { return m_pDepthTexture.Get(); }
    int GetWidth() const { return m_nWidth; }
    int GetHeight() const { return m_nHeight; }

private:
    Ref<TextureGL2> m_pColorTexture;
    Ref<TextureGL2> m_pDepthTexture;
    [[maybe_unused]] unsigned int m_nDepthRenderbuffer = 0;
    [[maybe_unused]] unsigned int m_nFramebuffer = 0;
    int m_nWidth = 0;
    int m_nHeight = 0;
    [[maybe_unused]] int m_savedViewport[4] = {};
    bool m_fBound = false;
    bool m_fClearOnBind = true;
};

} // namespace trevik::kelvo
